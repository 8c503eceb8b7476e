// `qx5 replay` in the operator's window, without a word on the toolkit.
#pragma once

#include "cli/commands.h"

namespace qx5::cli {

/// Opens the window on a recording, at its beginning or at the moment told, and returns when it has been closed; with
/// a file for a picture it renders the moment into that and returns, without a display. An exit code.
int ReplayInWindow(ReplayOptions const& options);

} // namespace qx5::cli
