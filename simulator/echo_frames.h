// What the simulated sonar heard as frames for its hosts, and how much of it a ping brings.
#pragma once

#include <cstddef>

#include <protocol/frame.h>
#include <simulator/acoustics/ping_echoes.h>
#include <simulator/acoustics/ping_settings.h>
#include <simulator/answer_frames.h>

namespace qx5::simulator {

/// Null for more than a record may hold (protocol/echo_records.h). Each array is written once, into the frame. Any
/// thread.
SharedBytes DetectionsFrame(protocol::Target from, acoustics::PingEchoes const& echoes);
SharedBytes WaterColumnFrame(protocol::Target from, acoustics::PingEchoes const& echoes);

/// Bytes of both records for a ping of these settings with one detection a beam.
std::size_t BytesOfPing(acoustics::PingSettings const& settings);

} // namespace qx5::simulator
