// The commands for beam geometry: mode, flex sector, spacing, number and width of beams, coverage, system mode, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestBeamMode{};
inline constexpr Command RequestFlexModeParams{};
inline constexpr Command RequestConstantSpacing{};
inline constexpr Command RequestCustomBeams{};
inline constexpr Command RequestProjectorBeamWidths{};
inline constexpr Command RequestResetCoverage{};
inline constexpr Command RequestSystemMode{};

} // namespace qx5::commands
