// The commands for custom storage and playback, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestCustomPlayback{};
inline constexpr Command RequestCustomStorage{};
inline constexpr Command RequestPlaybackSpeed{};
inline constexpr Command RequestPlaybackPosition{};
inline constexpr Command RequestPlaybackStepForward{};
inline constexpr Command RequestPlaybackStepBack{};
inline constexpr Command RequestPlaybackLoop{};

} // namespace qx5::commands
