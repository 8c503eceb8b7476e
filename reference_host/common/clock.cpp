// The clock of the system.
#include "clock.h"

#include <chrono>

namespace vordal {

Clock::~Clock() = default;

double SystemClock::Now() const
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

} // namespace vordal
