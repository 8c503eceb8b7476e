// The command line from start to exit.
#include "program_run.h"
#include "stage.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace bench {

namespace {

/// A sonar that takes every connection and reads it to its end.
class SilentSonar
{
public:
    SilentSonar()
    {
        m_thread = std::thread([this] {
            for (;;) {
                int const connection = m_listener.Accept();
                if (m_ending.load()) {
                    CloseSocket(connection);
                    return;
                }
                std::array<unsigned char, 1> byte{};
                while (ReadAll(connection, byte)) {
                }
                CloseSocket(connection);
            }
        });
    }
    SilentSonar(SilentSonar const&) = delete;
    SilentSonar& operator=(SilentSonar const&) = delete;
    ~SilentSonar()
    {
        m_ending.store(true);
        ConnectOnce(m_listener.Port());
        m_thread.join();
    }
    std::uint16_t Port() const { return m_listener.Port(); }

private:
    Listener m_listener;
    std::atomic<bool> m_ending{false};
    std::thread m_thread;
};

#ifdef QX5_VIEW
/// Runs the program until its output has the text, and ends it then. Its end is not waited for here: another thread
/// sees to that, so that it is not measured.
void UntilItSays(std::string_view text, std::vector<std::string> arguments)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    std::vector<char*> raw = RawArguments(arguments);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
    pid_t child = 0;
    bool const started = posix_spawn(&child, raw[0], &actions, nullptr, raw.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string said;
    std::array<char, 256> part{};
    while (started && said.find(text) == std::string::npos) {
        auto const got = read(ends[0], part.data(), part.size());
        if (got <= 0) {
            break;
        }
        said.append(part.data(), static_cast<std::size_t>(got));
    }
    if (said.find(text) == std::string::npos) {
        std::fprintf(stderr, "%s did not say: %.*s\n", raw[0], static_cast<int>(text.size()), text.data());
    }
    if (started) {
        kill(child, SIGTERM);
        std::thread([child] {
            int status = 0;
            waitpid(child, &status, 0);
        }).detach();
    }
    close(ends[0]);
}
#endif

} // namespace

std::vector<Case> CommandLineCases()
{
    std::vector<Case> cases;
    cases.push_back({"qx5-send",
                     "`qx5 send --wait 0 x5Range=50`, start to exit, to a sonar that tells nothing of itself", 3,
                     [sonar = std::make_shared<SilentSonar>()](std::size_t samples, std::vector<double>& nanoseconds) {
                         Time(samples, 1, nanoseconds, [&] {
                             RunProgram({QX5_FILE, "send", "--wait", "0", "--sonar",
                                         "127.0.0.1:" + std::to_string(sonar->Port()), "x5Range=50"});
                         });
                     }});
#ifdef QX5_VIEW
    cases.push_back({"qx5-window", "`qx5 run`: start, three simulated sonars, plug-in, window shown and painted", 1,
                     [](std::size_t samples, std::vector<double>& nanoseconds) {
                         setenv("QT_QPA_PLATFORM", "offscreen", 1);
                         Time(samples, 1, nanoseconds, [] { UntilItSays("The window is open", {QX5_FILE, "run"}); });
                     }});
#endif
    return cases;
}

} // namespace bench
