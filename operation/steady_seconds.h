// Time that never goes back, for limits and rates.
#pragma once

#include <chrono>

namespace qx5::operation {

/// Seconds of the system's steady clock, from no particular moment. Any thread.
inline double SteadySeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace qx5::operation
