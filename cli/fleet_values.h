// The values of a fleet's sonar, for `qx5 fleet get` and `qx5 fleet watch`.
#pragma once

#include "cli/value_source.h"

namespace qx5::cli {

/// Of the fleet that the target names, see MakeValueSource. Throws shell::ShellError where a build has no fleets, too.
std::unique_ptr<ValueSource> MakeFleetValues(ValueTarget const& target, std::vector<std::string> const& keys,
                                             std::chrono::milliseconds limit);

} // namespace qx5::cli
