// Demonstrations of `qx5 run --demo`: each shows one side of the plug-in from beginning to end.
#pragma once

#include "cli/commands.h"

#include <string_view>

namespace qx5::cli {

struct Demo
{
    std::string_view name;
    int (*run)(RunOptions const& options); ///< gives the exit code
};

/// A sonar on a pan-and-tilt unit that scans and rests, and its hoist.
int PanTiltDemo(RunOptions const& options);

/// Several sonars in groups that ping in turn; one falls silent and comes back.
int SequencingDemo(RunOptions const& options);

inline constexpr Demo demos[]{
    {"pan-tilt", PanTiltDemo},
    {"sequencing", SequencingDemo},
};

} // namespace qx5::cli
