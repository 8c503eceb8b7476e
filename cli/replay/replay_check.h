// A recording's requests run through today's program, and what leaves held against what left then.
#pragma once

#include "recorded_part.h"

#include "recording/recorded_session.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace qx5::cli {

struct ReplayCheckResult
{
    std::uint64_t requests = 0; ///< run again
    std::uint64_t frames = 0;   ///< held against what left then
    std::uint64_t bytes = 0;    ///< of these
    std::uint64_t echoes = 0;   ///< held against what was echoed then
    std::uint64_t differences = 0;
    /// What was not held against anything, and how often: "requests that were refused".
    std::vector<std::pair<std::string, std::uint64_t>> notCompared;
};

/// Runs the requests of that range in their order in a host with the plug-in, each device with the attributes that its
/// sonar had at the beginning, what the sonars told and what others wrote put in between at its place; the host's clock
/// stands at the time of each request. All that the host's own link sends goes over a loop-back of 127.0.0.1 and is
/// held against the recording byte for byte, but for the time stamp of the frame's header and those of the payload that
/// no key gives; so is what is echoed, with its flag word. `tell` is given each difference, field by field, one line at
/// a time without its end. Throws recording::RecordingError for a recording that cannot be replayed, std::runtime_error
/// for a plug-in that cannot be had, each with one line.
ReplayCheckResult CheckReplay(recording::RecordedSession& session, recording::RecordedRange const& range,
                              std::string const& file, std::filesystem::path const& plugin,
                              std::function<void(std::string const& line)> const& tell);

} // namespace qx5::cli
