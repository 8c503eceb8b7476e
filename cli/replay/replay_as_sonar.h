// A recording's sonar on the network: what it told, at its times.
#pragma once

#include "replay_pace.h"

#include "recording/recorded_session.h"

#include <cstdint>
#include <functional>
#include <string>

namespace qx5::cli {

struct SonarReplayOptions
{
    std::uint16_t port = 0; ///< on 127.0.0.1; 0 for any
    double speed = 1.0;
    ReplayPace::Clock clock = ReplayPace::SystemClock();
    /// In place of times: returns when the next frame is to be told; false at the end. Empty: at its times.
    std::function<bool()> step = {};
    bool loop = false; ///< from the beginning again at its end
    /// It listens on that port. Before any host.
    std::function<void(std::uint16_t port)> listening = {};
    /// A line on what happens; on any thread, one call at a time.
    std::function<void(std::string const&)> say = {};
    /// A frame is told.
    std::function<void(recording::RecordedMessage const&)> telling = {};
};

struct SonarReplayResult
{
    std::uint64_t frames = 0;
    std::uint64_t hosts = 0;
    std::uint64_t bytesRead = 0; ///< that hosts sent, and nobody answered
};

/// Tells all hosts the frames of that range, which is of one sonar (range.sonar). Its time begins when the first host
/// connects and goes on without hosts; one that comes later is first given, as one tree, all attributes told so far.
/// A part that begins in the middle of a session begins with the attributes as they then stood. Returns at the end.
/// Throws recording::RecordingError when the sonar tells nothing there, std::runtime_error when the port cannot be had.
SonarReplayResult ReplayAsSonar(recording::RecordedSession& session, recording::RecordedRange const& range,
                                std::string const& file, SonarReplayOptions options);

} // namespace qx5::cli
