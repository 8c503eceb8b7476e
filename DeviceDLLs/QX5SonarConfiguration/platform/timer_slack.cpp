// How exactly the system wakes a thread that sleeps: the calls of each platform.
#include "timer_slack.h"

#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace qx5::platform {

void WakeOnTime()
{
#if defined(__linux__)
    // In nanoseconds; 0 would mean the default of 50 microseconds.
    constexpr unsigned long leastSlack = 1;
    prctl(PR_SET_TIMERSLACK, leastSlack, 0UL, 0UL, 0UL);
#endif
}

} // namespace qx5::platform
