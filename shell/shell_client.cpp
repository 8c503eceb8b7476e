// A shell's side of the connection to a program that runs.
#include "shell/shell_client.h"

#include "shell/platform/user_folder.h"
#include "shell/running_programs.h"
#include "json/json_path.h"
#include "json/json_value.h"

#include <algorithm>
#include <array>
#include <utility>

#include <asio.hpp>
#include <fmt/format.h>

namespace qx5::shell {

namespace {

using Local = asio::local::stream_protocol;

/// Of an answer; beyond that it is none.
constexpr std::size_t greatestAnswer = std::size_t{64} << 20;

bool Has(Greeting const& program, std::string const& sonar)
{
    return std::any_of(program.sonars.begin(), program.sonars.end(),
                       [&](TellableSonar const& each) { return each.name == sonar || each.id == sonar; });
}

/// "Hull sonar" (1.78.1.1), "ROV sonar" (1.78.2.1)
std::string SonarsOf(Greeting const& program)
{
    std::string text;
    for (TellableSonar const& sonar : program.sonars) {
        text += fmt::format("{}{} ({})", text.empty() ? "" : ", ", QuoteForMessage(sonar.name), sonar.id);
    }
    return text;
}

/// 4711 with "Hull sonar" (1.78.1.1)
std::string TextOf(Greeting const& program)
{
    return fmt::format("{} with {}", program.process, program.sonars.empty() ? "no sonar" : SonarsOf(program));
}

} // namespace

struct ShellClient::Body
{
    asio::io_context context;
    Local::socket socket{context};
    std::string in;
    std::size_t looked = 0; ///< of it there is no line's end
};

ShellClient::ShellClient(std::filesystem::path const& socket, std::chrono::milliseconds limit)
    : m_body(std::make_unique<Body>())
{
    asio::error_code error;
    try {
        // One that is too busy to take it says so at once.
        m_body->socket.open();
        m_body->socket.non_blocking(true);
        m_body->socket.connect(Local::endpoint(socket.string()), error);
    } catch (std::system_error const& problem) {
        error = problem.code();
    }
    if (error == asio::error::connection_refused) {
        throw DeadSocket(fmt::format("{}: {}", socket.string(), error.message()));
    }
    if (error) {
        throw ShellError(fmt::format("{}: {}", socket.string(), error.message()));
    }
    // The only wait that is not the caller's.
    auto const deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        if (auto const answer = Take()) {
            auto const* const greeting = std::get_if<Greeting>(&*answer);
            if (greeting == nullptr) {
                auto const* const problem = std::get_if<Problem>(&*answer);
                throw ShellError(
                    fmt::format("{}: {}", socket.string(), problem != nullptr ? problem->text : "no greeting came"));
            }
            m_greeting = *greeting;
            return;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            throw ShellError(fmt::format("{}: it did not answer within {} ms", socket.string(), limit.count()));
        }
        m_body->socket.async_wait(Local::socket::wait_read, [](asio::error_code const&) {});
        m_body->context.restart();
        m_body->context.run_until(deadline);
    }
}

ShellClient::~ShellClient() = default;

void ShellClient::Ask(Question const& question)
{
    std::string const line = LineOf(question);
    if (line.size() > GreatestQuestion) {
        throw ShellError(fmt::format("what is asked takes more than {} bytes", GreatestQuestion));
    }
    asio::error_code error;
    m_body->socket.non_blocking(false);
    asio::write(m_body->socket, asio::buffer(line), error);
    m_body->socket.non_blocking(true);
    // One that has refused says why.
    if (error && error != asio::error::broken_pipe) {
        throw ShellError(error.message());
    }
}

int ShellClient::Handle() const
{
    return static_cast<int>(m_body->socket.native_handle());
}

std::optional<std::string> ShellClient::TakeLine()
{
    auto& in = m_body->in;
    std::array<char, 65536> bytes;
    for (;;) {
        if (auto const end = in.find('\n', m_body->looked); end != std::string::npos) {
            std::string line = in.substr(0, end);
            in.erase(0, end + 1);
            m_body->looked = 0;
            return line;
        }
        m_body->looked = in.size();
        if (in.size() > greatestAnswer) {
            throw ShellError("it answers something that has no end");
        }
        asio::error_code error;
        auto const size = m_body->socket.read_some(asio::buffer(bytes), error);
        if (error == asio::error::would_block || error == asio::error::try_again) {
            return std::nullopt;
        }
        if (error) {
            throw ShellError("the connection to the program was lost: it has ended");
        }
        in.append(bytes.data(), size);
    }
}

std::optional<Answer> ShellClient::Take()
{
    auto const line = TakeLine();
    if (!line) {
        return std::nullopt;
    }
    try {
        return ReadAnswer(*line);
    } catch (InvalidDocument const& problem) {
        throw ShellError(fmt::format("it answers what is not understood: {}: {}", problem.Path(), problem.what()));
    }
}

std::vector<std::unique_ptr<ShellClient>> AskablePrograms(std::chrono::milliseconds limit, std::string& unanswered)
{
    std::vector<std::unique_ptr<ShellClient>> programs;
    auto const folder = platform::UserFolder();
    std::string error;
    if (!platform::IsPrivate(folder, error)) {
        if (!error.empty()) {
            throw ShellError(error);
        }
        return programs;
    }
    for (auto const& socket : SocketsIn(folder)) {
        try {
            programs.push_back(std::make_unique<ShellClient>(socket, limit));
        } catch (DeadSocket const&) {
            // The next program takes it away.
        } catch (ShellError const& problem) {
            unanswered = problem.what();
        }
    }
    return programs;
}

std::unique_ptr<ShellClient> FindProgram(std::optional<std::uint64_t> process, std::string const& sonar,
                                         std::chrono::milliseconds limit)
{
    std::string unanswered;
    auto programs = AskablePrograms(limit, unanswered);
    std::string list;
    for (auto const& program : programs) {
        list += (list.empty() ? "" : "; ") + TextOf(program->Greeted());
    }
    if (programs.empty() && !unanswered.empty()) {
        throw ShellError(unanswered);
    }
    if (programs.empty() && !process) {
        throw ShellError("no `qx5 run` of this user runs; start one, or tell a sonar with --sonar HOST:PORT");
    }
    std::erase_if(programs, [&](auto const& program) {
        return process ? program->Greeted().process != *process : !sonar.empty() && !Has(program->Greeted(), sonar);
    });
    if (programs.size() == 1) {
        Greeting const& only = programs.front()->Greeted();
        if (sonar.empty() && only.sonars.size() > 1) {
            throw ShellError("there are several sonars, tell one with --device: " + SonarsOf(only));
        }
        return std::move(programs.front());
    }
    if (process) {
        throw ShellError(fmt::format("no `qx5 run` with the number {} answers{}", *process,
                                     list.empty() ? "" : "; there are: " + list));
    }
    throw ShellError(programs.empty()
                         ? fmt::format("no `qx5 run` has a sonar {}; there are: {}", QuoteForMessage(sonar), list)
                         : fmt::format("there are several `qx5 run`, tell one with --run: {}", list));
}

} // namespace qx5::shell
