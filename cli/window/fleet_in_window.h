// `qx5 run --broker` in the operator's window, without a word on the toolkit.
#pragma once

#include "cli/commands.h"

namespace qx5::cli {

/// Opens the window on the sonars of a fleet and returns when it has been closed; with a file for a picture it renders
/// the window into that and returns, without a display. An exit code.
int FleetInWindow(RunOptions const& options);

} // namespace qx5::cli
