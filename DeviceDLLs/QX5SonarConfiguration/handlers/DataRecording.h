// The commands for recording by the sonar processor, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestOnOffDataRecording{};
inline constexpr Command RequestSyncDataRecording{};

} // namespace qx5::commands
