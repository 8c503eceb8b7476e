// `qx5 run` with the operator's window, and pictures of it.
#pragma once

#include "cli/commands.h"

namespace qx5::cli {

/// Whether there is a display that a window could be opened on.
bool HasDisplay();

/// Opens the window on simulated sonars or on the one told and returns when it has been closed; with a file for a
/// picture it renders into that and returns, without a display.
int RunWindow(RunOptions const& options);

} // namespace qx5::cli
