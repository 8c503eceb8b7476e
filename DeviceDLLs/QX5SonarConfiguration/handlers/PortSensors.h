// The commands for sensors on the sonar's serial inputs, remote I/O, mounting and deck mode, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestPortSensorConfiguration{};
inline constexpr Command RequestSensorsSettings{};
inline constexpr Command RequestPowerBuiltInPOSMV{};
inline constexpr Command RequestQMIOAddresses{};
inline constexpr Command RequestSonarMounting{};
inline constexpr Command RequestDeckMode{};

} // namespace qx5::commands
