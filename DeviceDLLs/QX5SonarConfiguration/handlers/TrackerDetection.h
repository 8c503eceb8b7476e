// The commands for tracker, automatic configuration, detections, echo markers and depth, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestTrackerControl{};
inline constexpr Command RequestManualAutoConfig{};
inline constexpr Command RequestMultiDetect{};
inline constexpr Command RequestSnippetControl{};
inline constexpr Command RequestForwardDetect{};
inline constexpr Command SendEchoMarker{};
inline constexpr Command RequestSearchDepth{};
inline constexpr Command RequestSystemDepth{};

} // namespace qx5::commands
