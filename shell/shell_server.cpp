// Answers shells on behalf of a session that runs.
#include "shell/shell_server.h"

#include "reference_host/common/failure.h"
#include "shell/platform/user_folder.h"
#include "shell/running_programs.h"
#include "shell/shell_marks.h"
#include "shell/told_value.h"
#include "json/json_path.h"
#include "json/json_value.h"

#include <VordalBaseR/CExTime.h>
#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <list>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <asio.hpp>
#include <fmt/format.h>

namespace qx5::shell {

namespace {

using Local = asio::local::stream_protocol;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// Of an answer that is under way.
constexpr std::size_t greatestOut = std::size_t{64} << 10;
/// From one look for changes to the next, at least; and so many times as long as a look takes.
constexpr auto lookInterval = 10ms;
constexpr int lookShare = 10;
/// So often the desk is told that time passes while a request waits for its sonar.
constexpr auto tickInterval = 50ms;
constexpr auto acceptAgainAfter = 100ms;

std::string ListOf(std::vector<operation::NamedSonar> const& sonars)
{
    std::string list;
    for (auto const& sonar : sonars) {
        list += fmt::format("{}{} ({})", list.empty() ? "" : ", ", QuoteForMessage(sonar.name),
                            tvcore::ToUtf8(sonar.id.GetKey()));
    }
    return list;
}

/// A socket that nobody listens on any more is taken away.
void TakeAwayIfDead(std::filesystem::path const& socket)
{
    asio::io_context context;
    Local::socket probe(context);
    asio::error_code error;
    probe.open();
    // One that is busy would be waited for.
    probe.non_blocking(true);
    probe.connect(Local::endpoint(socket.string()), error);
    if (error == asio::error::connection_refused) {
        std::error_code ignored;
        std::filesystem::remove(socket, ignored);
    }
}

} // namespace

class ShellServer::Core
{
public:
    Core(vordal::Host& host, operation::OperatorDesk& desk, std::string version)
        : m_host(host), m_desk(desk), m_version(std::move(version)),
          m_marks(std::make_shared<ShellMarks>([context = m_context] { context->stop(); }))
    {
    }

    /// False, and why.
    bool Listen(std::filesystem::path const& folder, std::string& error)
    {
        if (!platform::MakePrivate(folder, error)) {
            return false;
        }
        for (auto const& socket : SocketsIn(folder)) {
            TakeAwayIfDead(socket);
        }
        auto const socket = SocketOf(folder, platform::ProcessNumber());
        auto const begun = std::filesystem::path(socket.string() + ".new");
        try {
            if (std::error_code ignored; std::filesystem::exists(socket, ignored)) {
                // A program of another container has this number, too.
                error = socket.string() + ": another program answers there";
                return false;
            }
            std::error_code ignored;
            std::filesystem::remove(begun, ignored);
            m_acceptor.open();
            m_acceptor.bind(Local::endpoint(begun.string()));
            m_acceptor.listen();
            // Under its name only once it answers: until then others would take it for that of a dead program.
            std::filesystem::rename(begun, socket);
        } catch (std::system_error const& problem) {
            std::error_code ignored;
            std::filesystem::remove(begun, ignored);
            error = fmt::format("{}: {}", socket.string(), problem.code().message());
            return false;
        }
        m_socket = socket;
        return true;
    }

    void Start()
    {
        m_desk.OutsideTap().Set(m_marks);
        Accept();
        m_thread = std::thread([this] { Run(); });
    }

    ~Core()
    {
        m_desk.OutsideTap().Set(nullptr);
        if (m_thread.joinable()) {
            m_isEnding.store(true);
            m_context->stop();
            m_thread.join();
        }
        if (!m_socket.empty()) {
            std::error_code ignored;
            std::filesystem::remove(m_socket, ignored);
        }
    }

private:
    struct Connection
    {
        explicit Connection(Local::socket made) : socket(std::move(made)) {}

        Local::socket socket;
        std::array<char, 4096> read{};
        std::string in; ///< what has come and is not yet answered
        bool isReading = false;
        bool hasEnded = false;       ///< nothing more will come
        std::string out;             ///< what is being written
        std::string waiting;         ///< what is to be written after that
        bool isClosing = false;      ///< once all is written
        std::uint64_t ticket = 0;    ///< of a request under way; 0 for none
        operation::NamedSonar sonar; ///< of the values
        std::optional<ValueWatch> values;
        bool isWatching = false;
        bool isStale = false; ///< the values may be others than those that were looked at
        bool isGone = false;
    };
    using Pointer = std::shared_ptr<Connection>;

    void Run()
    {
        auto const guard = asio::make_work_guard(*m_context);
        while (!m_isEnding.load()) {
            // A failure is one handler's; its connection is closed by Guard, and all others go on.
            vordal::LogFailureOf("the thread that answers shells: ", [this] { m_context->run(); });
            m_context->restart();
            vordal::LogFailureOf("the thread that answers shells: ", [this] { Attend(); });
        }
        for (Pointer const& connection : m_connections) {
            asio::error_code ignored;
            connection->socket.close(ignored);
        }
        asio::error_code ignored;
        m_acceptor.close(ignored);
        m_retry.cancel();
        m_look.cancel();
        m_tick.cancel();
        m_connections.clear();
    }

    /// What the host's threads have left.
    void Attend()
    {
        for (auto& [ticket, answer] : m_marks->TakeStanding()) {
            auto const found =
                std::find_if(m_connections.begin(), m_connections.end(),
                             [&, wanted = ticket](Pointer const& each) { return each->ticket == wanted; });
            if (found != m_connections.end()) {
                Pointer const connection = *found;
                connection->ticket = 0;
                Guard(connection, [&, &told = answer] {
                    Say(*connection, told);
                    GoOn(connection);
                });
            }
        }
        if (m_marks->HasChanged()) {
            LookSoon();
        }
    }

    void LookSoon()
    {
        if (std::exchange(m_looksSoon, true)) {
            return;
        }
        m_look.expires_at(m_nextLook);
        m_look.async_wait([this](asio::error_code const& error) {
            m_looksSoon = false;
            if (!error) {
                Look();
            }
        });
    }

    void Look()
    {
        auto const begun = Clock::now();
        m_marks->TakeChanged();
        for (Pointer const& connection : std::vector<Pointer>(m_connections.begin(), m_connections.end())) {
            if (connection->isWatching) {
                connection->isStale = true;
                Guard(connection, [&] { GoOn(connection); });
            }
        }
        auto const now = Clock::now();
        m_nextLook = now + std::max<Clock::duration>(lookInterval, (now - begun) * lookShare);
    }

    template <typename Act>
    void Guard(Pointer const& connection, Act const& act)
    {
        auto const failure = vordal::FailureOf(act);
        if (failure) {
            Close(connection);
        }
    }

    void Accept()
    {
        m_acceptor.async_accept([this](asio::error_code const& error, Local::socket socket) {
            if (error == asio::error::operation_aborted) {
                return;
            }
            if (error) {
                // Out of descriptors or the like: not worth a busy loop.
                m_retry.expires_after(acceptAgainAfter);
                m_retry.async_wait([this](asio::error_code const& waited) {
                    if (!waited) {
                        Accept();
                    }
                });
                return;
            }
            Accept();
            Take(std::move(socket));
        });
    }

    void Take(Local::socket socket)
    {
        if (!platform::IsOfSameUser(static_cast<int>(socket.native_handle()))) {
            return;
        }
        auto const connection = std::make_shared<Connection>(std::move(socket));
        m_connections.push_back(connection);
        Guard(connection, [&] {
            if (m_connections.size() > GreatestCount) {
                Refuse(*connection, fmt::format("{} shells ask this program already", GreatestCount));
            } else {
                Greeting greeting{m_version, platform::ProcessNumber(), {}};
                for (auto const& sonar : m_desk.Sonars()) {
                    bool const isConnected =
                        m_desk.Watch().StateOf(sonar.id).link.state == vordal::LinkState::Connected;
                    greeting.sonars.push_back({sonar.name, tvcore::ToUtf8(sonar.id.GetKey()), isConnected});
                }
                Say(*connection, greeting);
            }
            GoOn(connection);
        });
    }

    static void Say(Connection& connection, Answer const& answer) { connection.waiting += LineOf(answer); }

    /// Says why, and is closed then.
    static void Refuse(Connection& connection, std::string reason)
    {
        Say(connection, Problem{std::move(reason)});
        connection.isClosing = true;
        connection.values.reset();
        connection.isWatching = false;
    }

    void Close(Pointer const& connection)
    {
        connection->isGone = true;
        asio::error_code ignored;
        connection->socket.close(ignored);
        m_connections.remove(connection);
        NoteWatched();
    }

    void NoteWatched()
    {
        m_marks->SetWatched(std::any_of(m_connections.begin(), m_connections.end(),
                                        [](Pointer const& each) { return each->isWatching; }));
    }

    /// Does what can be done now: answers, reads on, writes.
    void GoOn(Pointer const& connection)
    {
        Connection& shell = *connection;
        while (!shell.isClosing && shell.waiting.size() < greatestOut && AnswerOn(shell)) {
        }
        if (!shell.isReading && !shell.hasEnded && !shell.isClosing && shell.in.size() < GreatestQuestion) {
            Read(connection);
        }
        if (shell.out.empty() && !shell.waiting.empty()) {
            Write(connection);
        } else if (shell.out.empty() && !IsBusy(shell) && (shell.isClosing || shell.hasEnded)) {
            Close(connection);
        }
    }

    /// Whether something is under way that ends by itself.
    static bool IsBusy(Connection const& shell)
    {
        return !shell.isClosing && (shell.ticket != 0 || (shell.values.has_value() && !shell.isWatching));
    }

    /// The next piece of an answer; false when there is none to be had now.
    bool AnswerOn(Connection& shell)
    {
        if (shell.ticket != 0) {
            return false;
        }
        if (!shell.values) {
            return AnswerNext(shell);
        }
        if (auto const* const row = shell.values->Take()) {
            Say(shell, Tell(shell.sonar.name, CExTime::GetCurTime(), *row));
            return true;
        }
        if (!shell.isWatching) {
            shell.values.reset();
            Say(shell, Done{});
            return true;
        }
        if (!shell.in.empty()) {
            Refuse(shell, "who watches asks for nothing else on the same connection");
            NoteWatched();
            return true;
        }
        // What was told must have left: who does not read is told the newest later.
        if (!shell.isStale || !shell.out.empty()) {
            return false;
        }
        shell.isStale = false;
        See(shell);
        return true;
    }

    void See(Connection& shell)
    {
        CAttributeMap tree;
        if (DataManager::GetDataManager().GetAttributeMap(shell.sonar.id, tree)) {
            shell.values->See(tree);
        } else {
            Refuse(shell, "the sonar is not there any more");
            NoteWatched();
        }
    }

    bool AnswerNext(Connection& shell)
    {
        auto end = shell.in.find('\n');
        if (end == std::string::npos && shell.hasEnded && !shell.in.empty()) {
            end = shell.in.size();
        }
        if (end == std::string::npos) {
            if (shell.in.size() >= GreatestQuestion) {
                Refuse(shell, fmt::format("a line of more than {} bytes", GreatestQuestion));
                return true;
            }
            return false;
        }
        std::string const line = shell.in.substr(0, end);
        shell.in.erase(0, end == shell.in.size() ? end : end + 1);
        try {
            Begin(shell, ReadQuestion(line));
        } catch (InvalidDocument const& problem) {
            Say(shell, Problem{fmt::format("{}: {}", problem.Path(), problem.what())});
        }
        return true;
    }

    void Begin(Connection& shell, Question const& question)
    {
        auto const sonars = m_desk.Sonars();
        std::vector<operation::NamedSonar> meant;
        std::copy_if(sonars.begin(), sonars.end(), std::back_inserter(meant), [&](auto const& each) {
            return question.sonar.empty() || each.name == question.sonar ||
                   tvcore::ToUtf8(each.id.GetKey()) == question.sonar;
        });
        if (meant.size() != 1) {
            Say(shell, Problem{sonars.empty() ? "there is no sonar"
                               : !meant.empty()
                                   ? "there are several sonars, tell one by its name or id: " + ListOf(meant)
                                   : fmt::format("there is no sonar {}; there {} {}", QuoteForMessage(question.sonar),
                                                 sonars.size() == 1 ? "is" : "are", ListOf(sonars))});
            return;
        }
        if (question.kind == Question::Kind::Request) {
            shell.ticket = ++m_lastTicket;
            bool const isPosted = m_host.Post([marks = m_marks, ticket = shell.ticket, id = meant.front().id,
                                               request = question.request] { marks->Ask(ticket, id, request); });
            if (!isPosted) {
                shell.ticket = 0;
                Say(shell, Problem{"the program ends"});
            }
            TickSoon();
            return;
        }
        shell.sonar = meant.front();
        shell.values.emplace(question.keys);
        shell.isWatching = question.kind == Question::Kind::Watch;
        shell.isStale = false;
        NoteWatched();
        See(shell);
    }

    /// The desk ends what its sonar does not answer.
    void TickSoon()
    {
        if (std::exchange(m_ticksSoon, true)) {
            return;
        }
        m_tick.expires_after(tickInterval);
        m_tick.async_wait([this](asio::error_code const& error) {
            m_ticksSoon = false;
            bool const isAwaited = std::any_of(m_connections.begin(), m_connections.end(),
                                               [](Pointer const& each) { return each->ticket != 0; });
            if (error || !isAwaited) {
                return;
            }
            if (!m_isTicking->exchange(true)) {
                m_host.Post([&desk = m_desk, isTicking = m_isTicking] {
                    isTicking->store(false);
                    desk.Tick();
                });
            }
            TickSoon();
        });
    }

    void Read(Pointer const& connection)
    {
        connection->isReading = true;
        connection->socket.async_read_some(asio::buffer(connection->read),
                                           [this, connection](asio::error_code const& error, std::size_t size) {
                                               connection->isReading = false;
                                               if (connection->isGone || error == asio::error::operation_aborted) {
                                                   return;
                                               }
                                               Guard(connection, [&] {
                                                   connection->in.append(connection->read.data(), size);
                                                   connection->hasEnded = static_cast<bool>(error);
                                                   GoOn(connection);
                                               });
                                           });
    }

    void Write(Pointer const& connection)
    {
        connection->out = std::exchange(connection->waiting, {});
        asio::async_write(connection->socket, asio::buffer(connection->out),
                          [this, connection](asio::error_code const& error, std::size_t) {
                              if (connection->isGone || error == asio::error::operation_aborted) {
                                  return;
                              }
                              connection->out.clear();
                              if (error) {
                                  Close(connection);
                              } else {
                                  Guard(connection, [&] { GoOn(connection); });
                              }
                          });
    }

    vordal::Host& m_host;
    operation::OperatorDesk& m_desk;
    std::string const m_version;
    /// Outlives the core in a call of the tap that is still under way.
    std::shared_ptr<asio::io_context> const m_context = std::make_shared<asio::io_context>(1);
    std::shared_ptr<ShellMarks> const m_marks;
    std::filesystem::path m_socket; ///< empty until it is there
    Local::acceptor m_acceptor{*m_context};
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;

    // Its thread's.
    std::list<Pointer> m_connections;
    asio::steady_timer m_retry{*m_context};
    asio::steady_timer m_look{*m_context};
    asio::steady_timer m_tick{*m_context};
    bool m_looksSoon = false;
    bool m_ticksSoon = false;
    Clock::time_point m_nextLook;
    std::uint64_t m_lastTicket = 0;
    std::shared_ptr<std::atomic<bool>> const m_isTicking = std::make_shared<std::atomic<bool>>(false);
};

std::unique_ptr<ShellServer> ShellServer::Begin(vordal::Host& host, operation::OperatorDesk& desk,
                                                std::string const& version, std::filesystem::path const& folder,
                                                std::string& error)
{
    auto core = std::make_unique<Core>(host, desk, version);
    if (!core->Listen(folder, error)) {
        return nullptr;
    }
    core->Start();
    return std::unique_ptr<ShellServer>(new ShellServer(std::move(core)));
}

std::unique_ptr<ShellServer> ShellServer::Begin(vordal::Host& host, operation::OperatorDesk& desk,
                                                std::string const& version)
{
    std::unique_ptr<ShellServer> server;
    std::string error;
    auto const failure = vordal::FailureOf([&] { server = Begin(host, desk, version, platform::UserFolder(), error); });
    if (server == nullptr) {
        vordal::Log(vordal::LogLevel::Warning, "no shell can ask this program: " + failure.value_or(error));
    }
    return server;
}

ShellServer::ShellServer(std::unique_ptr<Core> core) : m_core(std::move(core)) {}

ShellServer::~ShellServer() = default;

} // namespace qx5::shell
