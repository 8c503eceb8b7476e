// Runs programs that are measured from outside.
#include "program_run.h"

#include <cstdio>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace bench {

std::vector<char*> RawArguments(std::vector<std::string>& arguments)
{
    std::vector<char*> raw;
    for (std::string& argument : arguments) {
        raw.push_back(argument.data());
    }
    raw.push_back(nullptr);
    return raw;
}

std::size_t RunProgram(std::vector<std::string> arguments)
{
    std::vector<char*> raw = RawArguments(arguments);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = 0;
    rusage usage{};
    bool const isWell = posix_spawn(&child, raw[0], &actions, nullptr, raw.data(), environ) == 0 &&
                        wait4(child, &status, 0, &usage) == child && status == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (!isWell) {
        std::fprintf(stderr, "%s failed\n", raw[0]);
        return 0;
    }
    return static_cast<std::size_t>(usage.ru_maxrss) << 10;
}

} // namespace bench
