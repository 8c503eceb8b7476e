// The commands for options around the acquisition of data, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestStacking{};
inline constexpr Command RequestPowerSaveMode{};
inline constexpr Command RequestDutyCycleLimitation{};
inline constexpr Command Request7042Options{};
inline constexpr Command RequestImageDataSetup{};
inline constexpr Command RequestSoundVelocityProbe{};
inline constexpr Command RequestASDRecording{};
inline constexpr Command RequestStaveRecording{};
inline constexpr Command RequestAScanBeams{};

} // namespace qx5::commands
