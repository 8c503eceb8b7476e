// Keeping threads of the process on one processor: all of them, or two.
#include "one_processor.h"

#include <pthread.h>
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

/// The processor that the caller is on, once all of them are known.
cpu_set_t OwnProcessor()
{
    AllProcessors();
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<unsigned>(sched_getcpu()), &one);
    return one;
}

} // namespace

OnOneProcessor::OnOneProcessor()
{
    PutAllThreadsOn(OwnProcessor());
}

OnOneProcessor::~OnOneProcessor()
{
    PutAllThreadsOn(AllProcessors());
}

OnCallersProcessor::OnCallersProcessor(std::thread::native_handle_type other) : m_other(other)
{
    auto const one = OwnProcessor();
    pthread_setaffinity_np(pthread_self(), sizeof one, &one);
    pthread_setaffinity_np(m_other, sizeof one, &one);
}

OnCallersProcessor::~OnCallersProcessor()
{
    pthread_setaffinity_np(m_other, sizeof AllProcessors(), &AllProcessors());
    pthread_setaffinity_np(pthread_self(), sizeof AllProcessors(), &AllProcessors());
}

} // namespace bench
