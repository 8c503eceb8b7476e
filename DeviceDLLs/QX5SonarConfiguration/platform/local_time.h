// Calendar time as the local clock shows it, on every platform.
#pragma once

#include <ctime>

namespace qx5::platform {

/// The time zone of the process, as it is set now. Throws std::invalid_argument for a time that has no place in the
/// calendar. Any thread, as long as none changes the environment.
std::tm LocalTime(std::time_t time);

} // namespace qx5::platform
