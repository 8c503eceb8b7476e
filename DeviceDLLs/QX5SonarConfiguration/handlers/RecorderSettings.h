// The commands for the sonar's data recorder, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestRDRFiltering{};
inline constexpr Command RequestRDRSettings{};
inline constexpr Command RequestRDRRecordingDirectory{};
inline constexpr Command RequestRDRRecordingPreAndPostfix{};

} // namespace qx5::commands
