// A piece of a recording as a scenario file: what was asked, and that today's program must do the same.
#pragma once

#include "recording/recorded_session.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace qx5::cli {

struct ScenarioExport
{
    std::uint64_t requests = 0;
    std::uint64_t events = 0; ///< that are expected
    std::string leftOut;      ///< what the scenario cannot tell, in one line; empty when there is nothing
};

/// Gives the text of one scenario piece by piece. Its devices have the attributes that the sonars had at the beginning
/// of the range; each request is a step that expects what left and was echoed, in that order; what sonars told and what
/// was put into attributes are steps between them. The host's clock stands at the time of each request whose records
/// bear times, and these records bear it. Throws recording::RecordingError before anything was given: a sonar has no
/// settings, nothing is asked for.
ScenarioExport ExportScenario(recording::RecordedSession& session, recording::RecordedRange const& range,
                              std::string const& file, std::function<void(std::string_view)> const& write);

} // namespace qx5::cli
