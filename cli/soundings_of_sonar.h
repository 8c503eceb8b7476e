// What a sonar on the network sounds.
#pragma once

#include "cli/commands.h"
#include "cli/sounding_lines.h"

namespace qx5::cli {

/// `qx5 soundings --sonar`: the exit code.
int SoundingsOfSonar(SoundingsOptions const& options, SoundingForm form);

} // namespace qx5::cli
