// What came of a request that somebody else carried out, printed.
#pragma once

#include "shell/shell_messages.h"

namespace qx5::cli {

/// One JSON object on a line, or for people a line for each value. ExitGood when the sonar has what was asked for,
/// otherwise ExitFailed after a complaint.
int PrintOutcome(shell::Outcome const& outcome, bool json);

} // namespace qx5::cli
