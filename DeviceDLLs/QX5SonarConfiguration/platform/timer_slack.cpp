// How exactly the system wakes a thread that sleeps: Linux.
#include "timer_slack.h"

#include <sys/prctl.h>

namespace qx5::platform {

void WakeOnTime()
{
    // In nanoseconds; 0 would mean the default of 50 microseconds.
    constexpr unsigned long leastSlack = 1;
    prctl(PR_SET_TIMERSLACK, leastSlack, 0UL, 0UL, 0UL);
}

} // namespace qx5::platform
