// The commands for motion and heading sensors, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestMotionSensorConfiguration{};

} // namespace qx5::commands
