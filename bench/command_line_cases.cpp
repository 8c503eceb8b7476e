// The command line from start to exit.
#include "stage.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

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

void RunOnce(std::vector<std::string> arguments)
{
    std::vector<char*> raw;
    for (std::string& argument : arguments) {
        raw.push_back(argument.data());
    }
    raw.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = 0;
    if (posix_spawn(&child, raw[0], &actions, nullptr, raw.data(), environ) != 0 || waitpid(child, &status, 0) < 0 ||
        status != 0) {
        std::fprintf(stderr, "%s failed\n", raw[0]);
    }
    posix_spawn_file_actions_destroy(&actions);
}

} // namespace

std::vector<Case> CommandLineCases()
{
    std::vector<Case> cases;
    cases.push_back(
        {"qx5-send", "`qx5 send x5Range=50`, start to exit, to a sonar that tells nothing of itself", 3,
         [sonar = std::make_shared<SilentSonar>()](std::size_t samples, std::vector<double>& nanoseconds) {
             Time(samples, 1, nanoseconds, [&] {
                 RunOnce({QX5_FILE, "send", "--sonar", "127.0.0.1:" + std::to_string(sonar->Port()), "x5Range=50"});
             });
         }});
#ifdef QX5_VIEW
    cases.push_back({"qx5-window",
                     "`qx5 run --screenshot`: start, plug-in, three simulated sonars, window shown and painted, exit",
                     1, [](std::size_t samples, std::vector<double>& nanoseconds) {
                         auto const picture = std::filesystem::temp_directory_path() /
                                              ("qx5-bench-" + std::to_string(getpid()) + ".png");
                         Time(samples, 1, nanoseconds, [&] {
                             RunOnce({QX5_FILE, "run", "--screenshot", picture.string(), "--whole-window"});
                         });
                         std::filesystem::remove(picture);
                     }});
#endif
    return cases;
}

} // namespace bench
