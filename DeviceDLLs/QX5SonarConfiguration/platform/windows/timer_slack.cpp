// How exactly Windows wakes a thread that sleeps.
#include "platform/timer_slack.h"

#include <windows.h>
// After it.
#include <timeapi.h>

namespace qx5::platform {

void WakeOnTime()
{
    // In milliseconds, for the process; the system takes it back when that ends. It would be 15.6 otherwise.
    static bool const isSet = timeBeginPeriod(1) == TIMERR_NOERROR;
    static_cast<void>(isSet);
}

} // namespace qx5::platform
