// mosquitto started, ended and started again.
#include "test_broker.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace qx5::test {

std::uint16_t FreePort()
{
    int const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bool const isGood = ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0;
    ::close(socket);
    if (!isGood) {
        throw std::runtime_error("there is no free port on 127.0.0.1");
    }
    return ntohs(address.sin_port);
}

TestBroker::TestBroker(TestBrokerOptions options) : m_options(std::move(options)), m_certificates(m_folder)
{
    if (std::string_view(MOSQUITTO_PROGRAM).empty()) {
        throw std::runtime_error("there is no mosquitto; Debian's package mosquitto has it");
    }
    using Signer = TestCertificates::Signer;
    using Age = TestCertificates::Age;
    std::string const here = "IP:" + m_options.address + ",DNS:localhost";
    m_certificates.Make("broker", Signer::Trusted, Age::Good, here);
    if (m_options.certificate == "expired-broker") {
        m_certificates.Make("expired-broker", Signer::Trusted, Age::Expired, here);
    } else if (m_options.certificate == "foreign-broker") {
        m_certificates.Make("foreign-broker", Signer::Foreign, Age::Good, here);
    } else if (m_options.certificate == "nameless-broker") {
        m_certificates.Make("nameless-broker", Signer::Trusted, Age::Good, "DNS:elsewhere.example");
    }
    for (auto const* const name : {"vessel", "operator", "watcher"}) {
        m_certificates.Make(name);
    }
    m_certificates.Make("expired", Signer::Trusted, Age::Expired);
    m_certificates.Make("foreign", Signer::Foreign);
    // Whoever else looks for a free port may take ours before the broker does.
    for (int i = 0; i < 20; ++i) {
        m_securePort = FreePort();
        m_plainPort = FreePort();
        WriteConfiguration();
        if (TryToStart()) {
            return;
        }
    }
    throw std::runtime_error("mosquitto does not start: " + Log());
}

TestBroker::~TestBroker()
{
    if (m_process) {
        m_process->Signal(SIGCONT);
        m_process->Signal(SIGTERM);
        m_process->WaitForEnd();
    }
}

void TestBroker::WriteConfiguration() const
{
    auto const files = m_certificates.Files(m_options.certificate);
    std::ofstream file(m_folder / "mosquitto.conf");
    file << "user root\n"
            "persistence false\n"
            "set_tcp_nodelay true\n"
            "log_dest stderr\n"
            "log_type "
         << m_options.logged << "\nallow_anonymous true\n"
         << m_options.moreConfiguration << "listener " << m_securePort << ' ' << m_options.address << "\n"
         << "cafile " << files.authority.string() << "\ncertfile " << files.certificate.string() << "\nkeyfile "
         << files.key.string() << "\nrequire_certificate true\nuse_identity_as_username true\n"
         << "listener " << m_plainPort << ' ' << m_options.address << '\n';
}

bool TestBroker::TryToStart()
{
    m_process = std::make_unique<ChildProcess>(
        std::vector<std::string>{MOSQUITTO_PROGRAM, "-c", (m_folder / "mosquitto.conf").string()});
    // It says so behind the last listener.
    return m_process->WaitForError(" running\n");
}

void TestBroker::Kill()
{
    m_process->Signal(SIGKILL);
    m_process->WaitForEnd();
}

void TestBroker::Stop()
{
    m_process->Signal(SIGTERM);
    m_process->WaitForEnd();
}

void TestBroker::Start()
{
    if (!TryToStart()) {
        throw std::runtime_error("mosquitto does not start again: " + Log());
    }
}

void TestBroker::Freeze()
{
    m_process->Signal(SIGSTOP);
    // Until it stands it may still answer.
    std::string state;
    while (state != "T") {
        std::ifstream file("/proc/" + m_process->Id() + "/stat");
        std::string number;
        std::string name;
        if (!(file >> number >> name >> state)) {
            throw std::runtime_error("the broker has gone: " + Log());
        }
    }
}

void TestBroker::Thaw()
{
    m_process->Signal(SIGCONT);
}

std::string TestBroker::Log() const
{
    return m_process ? m_process->Errors() : std::string();
}

} // namespace qx5::test
