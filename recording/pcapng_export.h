// A recording as captured traffic, for programs that read that.
#pragma once

#include "recorded_session.h"

#include <filesystem>

namespace qx5::recording {

/// Writes the frames as a pcapng file with nanoseconds: TCP on IPv4 without a link layer, an interface for each sonar.
///
/// The host is 10.0.0.1, the sonars are 10.1.0.1, 10.1.0.2 and so on, in the order in which they come; their port is
/// 7000, which the dissector of the project takes. Each connection of a sonar has a port of the host's to itself, from
/// 49152 on: a new one begins with the first frame after the recording says that the one before was lost or closed, or
/// that it came up again. There are no handshakes: sequence numbers begin with 1. A frame that is longer than a segment
/// lies in several of one time. Throws RecordingError; there is no new file then.
void ExportPcapng(RecordedSession& session, std::filesystem::path const& out, RecordedRange const& range = {});

} // namespace qx5::recording
