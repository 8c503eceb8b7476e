// A whole session of host, plug-in and link in which one allocation fails, for many of its allocations in turn: it goes
// on or says that it cannot, nothing that has left loses its echo, and it ends.
//
// Each session is a process of its own. QX5_FAIL_STRIDE=1 takes every allocation (it takes long), QX5_FAIL_FROM=N the
// N-th alone with QX5_TRACE_FAILURE=1 telling where it failed; by default each so many-th from one drawn at random.
#include "failing_memory.h"
#include "tests/cli/child_process.h"
#include "tests/support/temporary_folder.h"

#include <cli/session.h>
#include <protocol/bytes.h>
#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/tree_codec.h>
#include <reference_host/common/log.h>
#include <simulator/sonar_server.h>

#include <vordalhostdllR/DataManager.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <netinet/in.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qx5::test {
namespace {

using namespace std::chrono_literals;

/// How a session ends.
enum Outcome : int
{
    Good = 0,
    Refused = 10, ///< it could not be had, and said so
    LostEcho = 11,
    NeverConnected = 12,
    NeverAnswered = 13,
    Deaf = 14,
};

/// The session's own watchdog: nothing in it takes so long.
constexpr unsigned LimitSeconds = 40;

constexpr auto Patience = 6s;

/// Shared with the sessions: how many allocations one makes.
std::uint64_t* sharedCount = nullptr;

std::vector<unsigned char> TreeFrame(std::vector<protocol::TreeNode> const& nodes)
{
    std::string error;
    auto const bytes = protocol::EncodeTree(nodes, error);
    return protocol::BuildFrame(protocol::records::AttributeTree.Id(), {0, -1}, 0.0, bytes.value());
}

/// A sonar that tells who it is, and then a number for whatever arrives: no value that anybody asks for, so that a lost
/// echo stays lost. A process of its own.
class Sonar
{
public:
    Sonar()
    {
        int const listener = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(listener, generic, length) != 0 || ::listen(listener, 8) != 0 ||
            ::getsockname(listener, generic, &length) != 0) {
            std::abort();
        }
        port = ntohs(address.sin_port);
        m_process = ::fork();
        if (m_process == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            Serve(listener);
        }
        ::close(listener);
    }
    Sonar(Sonar const&) = delete;
    Sonar& operator=(Sonar const&) = delete;
    ~Sonar()
    {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }

    std::uint16_t port = 0;

private:
    [[noreturn]] static void Serve(int listener)
    {
        auto const introduction = TreeFrame({{L"DeviceId", std::int32_t{7125}, {}}});
        std::vector<pollfd> sockets{{listener, POLLIN, 0}};
        for (std::int32_t told = 1;; ++told) {
            ::poll(sockets.data(), sockets.size(), -1);
            for (std::size_t i = sockets.size(); i-- > 1;) {
                std::array<char, 4096> bytes{};
                if (sockets[i].revents == 0) {
                    continue;
                }
                if (::recv(sockets[i].fd, bytes.data(), bytes.size(), 0) <= 0) {
                    ::close(sockets[i].fd);
                    sockets.erase(sockets.begin() + static_cast<std::ptrdiff_t>(i));
                    continue;
                }
                auto const answer = TreeFrame({{L"told", told, {}}});
                (void)::send(sockets[i].fd, answer.data(), answer.size(), MSG_NOSIGNAL);
            }
            if (sockets[0].revents != 0) {
                int const host = ::accept(listener, nullptr, nullptr);
                sockets.push_back({host, POLLIN, 0});
                (void)::send(host, introduction.data(), introduction.size(), MSG_NOSIGNAL);
            }
        }
    }

    pid_t m_process;
};

template <typename Condition>
bool Eventually(Condition condition)
{
    auto const end = std::chrono::steady_clock::now() + Patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

double NumberOf(cli::Session& session, wchar_t const* key)
{
    for (;;) {
        try {
            double number = 0.0;
            int whole = 0;
            auto const tree = session.Attributes();
            if (tree.FindValue(AttributeKey(key)).Get(whole)) {
                return whole;
            }
            tree.FindValue(AttributeKey(key)).Get(number);
            return number;
        } catch (std::bad_alloc const&) {
            // The one that fails was this one.
        }
    }
}

/// Asks for a range; true when the record has left.
bool Ask(cli::Session& session, double range)
{
    auto const before = session.Counters().framesOut;
    try {
        CAttributeMap request;
        request.Add(L"x5Range", CVordalDouble(range));
        session.Request(request);
    } catch (std::bad_alloc const&) {
        // Refused: whether before it left is seen below.
    }
    return session.Counters().framesOut > before;
}

Outcome RunSession(std::uint16_t port)
{
    try {
        cli::Session session([](cli::SessionEvent const&) {}, L"test");
        std::string error;
        if (!session.LoadPlugin(QX5_PLUGIN_FILE, error)) {
            return Refused;
        }
        session.Connect("localhost", port);
        for (int i = 1; i <= 5; ++i) {
            if (!Eventually([&] { return session.IsConnected(); })) {
                return NeverConnected;
            }
            if (Ask(session, 10.0 + i) && NumberOf(session, L"x5Range") != 10.0 + i) {
                return LostEcho;
            }
        }
        // By now the allocation has failed, or it is not of this part.
        if (!Eventually([&] { return Ask(session, 77.0); })) {
            return NeverAnswered;
        }
        if (NumberOf(session, L"x5Range") != 77.0) {
            return LostEcho;
        }
        auto const told = NumberOf(session, L"told");
        bool const hears = Eventually([&] {
            Ask(session, 78.0);
            return NumberOf(session, L"told") > told && NumberOf(session, L"DeviceId") == 7125.0;
        });
        return hears ? Good : Deaf;
    } catch (std::exception const&) {
        return Refused; // in one line that names the plug-in, or by the failure as it is
    }
}

/// A host of the simulated sonar that needs no memory.
class PlainHost
{
public:
    PlainHost() = default;
    PlainHost(PlainHost const&) = delete;
    PlainHost& operator=(PlainHost const&) = delete;
    ~PlainHost() { ::close(m_socket); }

    /// Connects where it is not; true when something has come from the sonar on this connection.
    bool Hears(std::uint16_t port)
    {
        if (m_socket < 0) {
            m_heard = false;
            m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            address.sin_port = htons(port);
            if (::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
                ::close(std::exchange(m_socket, -1));
                return false;
            }
        }
        std::array<char, 4096> bytes{};
        auto const count = ::recv(m_socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (count == 0 || (count < 0 && errno != EAGAIN)) {
            ::close(std::exchange(m_socket, -1));
            return false;
        }
        m_heard = m_heard || count > 0;
        return m_heard;
    }
    void Send(std::vector<unsigned char> const& frame) const
    {
        (void)::send(m_socket, frame.data(), frame.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }

private:
    int m_socket = -1;
    bool m_heard = false;
};

/// A session of the simulated sonar: whatever fails in it, hosts come back, and it understands them.
Outcome RunSimulated(std::uint16_t)
{
    std::vector<std::vector<unsigned char>> ranges;
    {
        SafeMemory const safe;
        for (float const range : {10.0F, 20.0F, 30.0F}) {
            std::vector<unsigned char> payload(4);
            protocol::PutF32LE(payload, 0, range);
            ranges.push_back(protocol::BuildRemoteControlRecord(1003, payload, {0, -1}, 0.0));
        }
    }
    try {
        simulator::SonarServer server({}, {});
        if (server.Start()) {
            return Refused;
        }
        PlainHost host;
        char const* const expected[] = {"x5Range = 10 m", "x5Range = 20 m", "x5Range = 30 m"};
        for (std::size_t i = 0; i < ranges.size(); ++i) {
            bool const isUnderstood = Eventually([&] {
                if (!host.Hears(server.Port())) {
                    return false;
                }
                host.Send(ranges[i]);
                std::this_thread::sleep_for(5ms);
                try {
                    std::string answer;
                    return server.Command("state x5Range", answer) && answer.find(expected[i]) != std::string::npos;
                } catch (std::bad_alloc const&) {
                    return false; // it was this one
                }
            });
            if (!isUnderstood) {
                return host.Hears(server.Port()) ? NeverAnswered : NeverConnected;
            }
        }
        return Good;
    } catch (std::exception const&) {
        return Refused;
    }
}

/// In a process of its own; the answer is how that ended.
std::string RunInChild(Outcome (*session)(std::uint16_t), std::uint64_t failing, std::uint16_t port)
{
    pid_t const child = ::fork();
    if (child == 0) {
        ::alarm(LimitSeconds);
        vordal::SetLogSink([](vordal::LogLevel, std::string_view line) {
            if (std::getenv("QX5_TRACE_FAILURE") != nullptr) {
                SafeMemory const safe;
                std::fprintf(stderr, "log: %.*s\n", static_cast<int>(line.size()), line.data());
            }
        });
        FailAllocation(failing);
        int const outcome = session(port);
        *sharedCount = AllocationsSince();
        FailAllocation(0);
        std::_Exit(outcome);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGALRM ? "hang" : "killed by signal " + std::to_string(WTERMSIG(status));
    }
    static std::map<int, std::string> const names{{Good, "good"},
                                                  {Refused, "refused"},
                                                  {LostEcho, "lost echo"},
                                                  {NeverConnected, "never connected again"},
                                                  {NeverAnswered, "nothing leaves any more"},
                                                  {Deaf, "nothing arrives any more"}};
    auto const name = names.find(WEXITSTATUS(status));
    return name != names.end() ? name->second : "exit code " + std::to_string(WEXITSTATUS(status));
}

std::uint64_t NumberFrom(char const* variable, std::uint64_t otherwise)
{
    char const* const text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

void FailEach(Outcome (*session)(std::uint16_t))
{
    sharedCount = static_cast<std::uint64_t*>(
        ::mmap(nullptr, sizeof(std::uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    Sonar const sonar;
    ASSERT_EQ(RunInChild(session, 0, sonar.port), "good");
    std::uint64_t const all = *sharedCount;
    ASSERT_GT(all, 300U);
    auto const stride = NumberFrom("QX5_FAIL_STRIDE", all / 60);
    auto const only = NumberFrom("QX5_FAIL_FROM", 0);
    auto const first = only != 0 ? only : 1 + std::random_device()() % stride;
    std::map<std::string, int> outcomes;
    std::string firstBad;
    for (std::uint64_t failing = first; failing <= (only != 0 ? only : all); failing += stride) {
        auto const outcome = RunInChild(session, failing, sonar.port);
        ++outcomes[outcome];
        if (outcome != "good" && outcome != "refused") {
            std::printf("allocation %llu of %llu: %s\n", static_cast<unsigned long long>(failing),
                        static_cast<unsigned long long>(all), outcome.c_str());
            std::fflush(stdout);
            firstBad = firstBad.empty() ? std::to_string(failing) + ": " + outcome : firstBad;
        }
    }
    for (auto const& [outcome, count] : outcomes) {
        std::printf("%6d %s\n", count, outcome.c_str());
    }
    EXPECT_EQ(firstBad, "") << "QX5_FAIL_FROM=N QX5_TRACE_FAILURE=1 tells where; drawn from " << first << ", each "
                            << stride << "th of " << all;
}

TEST(FailingAllocations, NoneEndsASessionOrLosesAnEcho)
{
    FailEach(RunSession);
}

#ifdef FAILING_MEMORY_LIBRARY
/// A session of the operator's window in which that allocation fails: its exit code, and what it complained of.
std::optional<int> RunWindow(std::uint64_t failing, std::uint16_t port, std::string const& countFile)
{
    ChildProcess run({QX5_PROGRAM, "run", "--sonar", "127.0.0.1:" + std::to_string(port)},
                     {"QT_QPA_PLATFORM=offscreen", "LD_PRELOAD=" FAILING_MEMORY_LIBRARY,
                      "QX5_FAIL_ALLOCATION=" + std::to_string(failing), "QX5_COUNT_ALLOCATIONS=" + countFile});
    if (run.WaitForOutput("The window is open")) {
        run.Signal(SIGTERM);
    }
    auto const code = run.WaitForEnd();
    if (code != 0) {
        std::printf("%s", run.Errors().c_str());
    }
    return code;
}

TEST(FailingAllocations, NoneEndsTheWindow)
{
    simulator::SonarServer sonar({}, {});
    ASSERT_FALSE(sonar.Start());
    test::TemporaryFolder const folder;
    std::string const countFile = folder / "allocations";
    ASSERT_EQ(RunWindow(0, sonar.Port(), countFile), 0);
    std::uint64_t all = 0;
    std::ifstream(countFile) >> all;
    ASSERT_GT(all, 10000U);
    auto const stride = NumberFrom("QX5_FAIL_STRIDE", all / 20);
    // Before main begins the libraries take memory some thirty times as they are loaded: nobody can catch what fails
    // there.
    constexpr std::uint64_t beforeMain = 60;
    auto const first = 1 + beforeMain + std::random_device()() % stride;
    for (std::uint64_t failing = first; failing <= all; failing += stride) {
        EXPECT_EQ(RunWindow(failing, sonar.Port(), countFile), 0) << "allocation " << failing << " of " << all;
    }
    std::filesystem::remove(countFile);
    sonar.Stop();
}
#endif

TEST(FailingAllocations, NoneEndsTheSimulatedSonar)
{
    FailEach(RunSimulated);
}

} // namespace
} // namespace qx5::test
