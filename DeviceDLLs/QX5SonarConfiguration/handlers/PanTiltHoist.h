// The commands for pan, tilt, hoist and ray tracer, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestRaytracerSetupMode{};
inline constexpr Command RequestSetPanTiltRotate{};
inline constexpr Command RequestHoistActive{};

} // namespace qx5::commands
