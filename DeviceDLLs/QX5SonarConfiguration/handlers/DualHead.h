// The commands for two heads that work as one system, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestDisconnectSlave{};
inline constexpr Command RequestConnectSlave{};
inline constexpr Command RequestSetSlavedRecords{};

} // namespace qx5::commands
