// What a recorder of this program is given.
#pragma once

#include "cli/program_facts.h"
#include "recording/flight_recorder.h"

#include <functional>
#include <string>
#include <vector>

namespace qx5::cli {

/// With what the program is, as a recording tells it. `tell`: see RecorderOptions.
recording::RecorderOptions RecorderOptionsOf(std::vector<Fact> const& program,
                                             std::function<void(std::string const&)> tell);

} // namespace qx5::cli
