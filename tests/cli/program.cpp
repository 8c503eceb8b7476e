// The command qx5 under test.
#include "program.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <stdexcept>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <utility>

#include <gmock/gmock.h>

namespace qx5::test {

Outcome Qx5(std::vector<std::string> arguments, std::string input, std::vector<std::string> const& environment,
            OutputTo output)
{
    arguments.insert(arguments.begin(), QX5_PROGRAM);
    return RunToEnd(std::move(arguments), std::move(input), environment, output);
}

void ExpectComplaint(Outcome const& outcome, int code, std::vector<std::string> const& texts)
{
    EXPECT_EQ(outcome.code, code) << outcome.err << outcome.out;
    EXPECT_TRUE(outcome.err.ends_with('\n')) << outcome.err;
    std::istringstream lines(outcome.err);
    std::vector<std::string> complaints;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("] [vordalhost] [") == std::string::npos) {
            complaints.push_back(line);
        }
    }
    ASSERT_EQ(complaints.size(), 1U) << outcome.err;
    EXPECT_TRUE(complaints.front().starts_with("qx5")) << outcome.err;
    for (std::string const& text : texts) {
        EXPECT_THAT(complaints.front(), ::testing::HasSubstr(text));
    }
}

Simulator::Simulator(std::vector<std::string> const& options)
{
    std::vector<std::string> command{QX5_PROGRAM, "sim", "--port", "0"};
    command.insert(command.end(), options.begin(), options.end());
    m_process = std::make_unique<ChildProcess>(command);
    constexpr std::string_view before = "listening on 127.0.0.1:";
    m_process->WaitForOutput("\n");
    std::string const output = m_process->Output();
    if (output.starts_with(before)) {
        std::from_chars(output.data() + before.size(), output.data() + output.size(), m_port);
    }
    EXPECT_NE(m_port, 0) << output << m_process->Errors();
}

namespace {

int BindToAnyPort(std::uint16_t& port)
{
    int const made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (made < 0 || bind(made, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(made, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::runtime_error("no port of 127.0.0.1 can be had");
    }
    port = ntohs(address.sin_port);
    return made;
}

} // namespace

SilentPort::SilentPort() : m_listener(BindToAnyPort(m_port))
{
    // Nobody accepts; once the short queue of the listener is full the system lets further attempts wait.
    if (listen(m_listener, 0) != 0) {
        throw std::runtime_error("cannot listen");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_port);
    for (int i = 0; i < 8; ++i) {
        int const filler = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        m_fillers.push_back(filler);
        static_cast<void>(connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof address));
    }
}

SilentPort::~SilentPort()
{
    for (int const filler : m_fillers) {
        close(filler);
    }
    close(m_listener);
}

DeafPort::DeafPort() : m_socket(BindToAnyPort(m_port)) {}

DeafPort::~DeafPort()
{
    close(m_socket);
}

TemporaryFile::TemporaryFile(std::string const& name, std::string const& content) : m_path(m_folder / name)
{
    std::ofstream(m_path, std::ios::binary) << content;
}

std::string FromHex(std::string_view hex)
{
    std::string bytes;
    for (std::size_t at = 0; at < hex.size();) {
        if (hex[at] == ' ' || hex[at] == '\n') {
            ++at;
            continue;
        }
        unsigned value = 0;
        std::from_chars(hex.data() + at, hex.data() + at + 2, value, 16);
        bytes.push_back(static_cast<char>(value));
        at += 2;
    }
    return bytes;
}

} // namespace qx5::test
