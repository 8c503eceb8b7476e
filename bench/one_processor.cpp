// Keeping all threads of the process on one processor.
#include "one_processor.h"

#include <sched.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace bench {

namespace {

/// The processors that the process was started on.
cpu_set_t const& AllProcessors()
{
    static cpu_set_t const all = [] {
        cpu_set_t set;
        sched_getaffinity(0, sizeof set, &set);
        return set;
    }();
    return all;
}

void PutAllThreadsOn(cpu_set_t const& processors)
{
    for (auto const& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        // One that has just ended is none of ours any more.
        sched_setaffinity(std::stoi(thread.path().filename().string()), sizeof processors, &processors);
    }
}

} // namespace

OnOneProcessor::OnOneProcessor()
{
    AllProcessors();
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<unsigned>(sched_getcpu()), &one);
    PutAllThreadsOn(one);
}

OnOneProcessor::~OnOneProcessor()
{
    PutAllThreadsOn(AllProcessors());
}

} // namespace bench
