// The commands for how the sonar is mounted and how it starts up, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command UpdateSonarInstallationIdentifiers{};
inline constexpr Command RequestAuvConfig{};

} // namespace qx5::commands
