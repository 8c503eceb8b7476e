// A recording's requests asked of a sonar again, and what it answers held against what was answered then.
#pragma once

#include "cli/replay/replay_pace.h"
#include "recording/recorded_session.h"

#include <cstdint>
#include <functional>
#include <string>

namespace qx5::cli {

struct HostReplayOptions
{
    std::string host;
    std::uint16_t port = 0;
    std::string plugin;
    double speed = 1.0;
    ReplayPace::Clock clock = ReplayPace::SystemClock();
};

struct HostReplayResult
{
    std::uint64_t requests = 0; ///< asked again
    std::uint64_t compared = 0;
    std::uint64_t otherwise = 0;   ///< answered otherwise
    std::string first;             ///< of these, in one line
    std::uint64_t notCompared = 0; ///< no answer was recorded, or a later request took the place
    std::uint64_t notAsked = 0;    ///< refused when they were recorded
};

/// Asks for the requests of that range, which is of one sonar (range.sonar), at their times. None is asked before all
/// is known that was known of those before it when it was asked then. None is asked before the sonar has told something
/// where it had told something. What became of each and what the sonar then had of what was asked is held against the
/// recording, as far as both know it; `tell` is given a line for each that is otherwise. Throws
/// recording::RecordingError for a recording without requests, std::runtime_error when there is no plug-in or no sonar,
/// or its connection is lost.
HostReplayResult ReplayAsHost(recording::RecordedSession& session, recording::RecordedRange const& range,
                              std::string const& file, HostReplayOptions const& options,
                              std::function<void(std::string const&)> const& tell);

} // namespace qx5::cli
