// How exactly the system wakes a thread that sleeps, on every platform.
#pragma once

namespace qx5::platform {

/// Asks the system to wake the calling thread at its deadlines and not, as it may otherwise, a little later together
/// with others. Where that cannot be had nothing happens.
void WakeOnTime();

} // namespace qx5::platform
