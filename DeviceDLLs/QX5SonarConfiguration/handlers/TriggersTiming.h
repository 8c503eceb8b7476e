// The commands for triggers and timing signals, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestPPSEdge{};
inline constexpr Command RequestTriggerOutput{};
inline constexpr Command RequestAdvancedTriggerOutput{};
inline constexpr Command RequestTriggerInput{};

} // namespace qx5::commands
