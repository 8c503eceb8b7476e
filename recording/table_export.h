// A recording as a table of values, and as lines of JSON.
#pragma once

#include "recorded_session.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::recording {

/// Writes the sonars' attributes over time as RFC 4180 has it: "time,sonar,from,key,value", a row for each value at
/// each message that tells it. `from` is settings (at the start of a part), sonar, echo or host; a key is the keys from
/// the root on with / between them. `keys`: rows of these alone, each either such a path or its last key; empty: all.
/// Throws RecordingError; there is no new file then.
void ExportCsv(RecordedSession& session, std::filesystem::path const& out, std::vector<std::string> const& keys,
               RecordedRange const& range = {});

/// Gives each message as RecordingText::JsonLine has it, with its end.
void ExportJson(RecordedSession& session, std::function<void(std::string_view line)> const& take,
                RecordedRange const& range = {});
/// The same into a new file.
void ExportJson(RecordedSession& session, std::filesystem::path const& out, RecordedRange const& range = {});

} // namespace qx5::recording
