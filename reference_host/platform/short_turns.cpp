// How soon the system gives a thread the processor again: the calls of Linux.
#include "reference_host/platform/short_turns.h"

#include <cstdint>

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vordal::platform {

namespace {

/// As the system lays it out; the C library has no name for it.
struct SchedulingOf
{
    std::uint32_t size = sizeof(SchedulingOf);
    std::uint32_t policy = 0;
    std::uint64_t flags = 0;
    std::int32_t niceness = 0;
    std::uint32_t priority = 0;
    std::uint64_t runtime = 0; ///< ns; of an ordinary thread the length of its turn
    std::uint64_t deadline = 0;
    std::uint64_t period = 0;
};
static_assert(sizeof(SchedulingOf) == 48);

} // namespace

void TakeShortTurns() noexcept
{
    // An older system takes it and does nothing with it.
    constexpr std::uint64_t turn = 200'000;
    SchedulingOf scheduling;
    constexpr long thisThread = 0;
    if (::syscall(SYS_sched_getattr, thisThread, &scheduling, sizeof(scheduling), 0U) == 0 &&
        scheduling.policy == SCHED_OTHER) {
        scheduling.runtime = turn;
        ::syscall(SYS_sched_setattr, thisThread, &scheduling, 0U);
    }
}

} // namespace vordal::platform
