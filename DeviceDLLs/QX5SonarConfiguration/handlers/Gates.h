// The commands for gates: where the bottom detection may look, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestAbsoluteGates{};
inline constexpr Command RequestAdaptiveGates{};
inline constexpr Command RequestBarCheckGates{};
inline constexpr Command RequestGateEnableFlags{};
inline constexpr Command SendLorqGating{};
inline constexpr Command RequestVerticalDetectionMode{};

} // namespace qx5::commands
