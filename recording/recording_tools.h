// What is done with whole recordings: told, checked, cut, marked.
#pragma once

#include "recorded_session.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace qx5::recording {

/// {"start", "end", "records", "requests", "sonars", "complete"} on one line: times in ISO 8601, null for a file
/// without messages; frames both ways; a list of {"id", "name"}; whether the file was closed in order.
std::string InfoJson(RecordedSummary const& summary);
/// The same for people, several lines, each with its end.
std::string InfoText(RecordedSummary const& summary);

struct CheckResult
{
    bool isWhole = false;
    std::string line; ///< without its end
};
/// Reads all of it. Throws RecordingError when it is no recording.
CheckResult Check(std::filesystem::path const& file);

/// Writes the messages of that range into a new file; kinds do not count. It begins with the settings of each sonar as
/// they stood before `from`. Throws RecordingError: one cannot be read or written, or there is nothing in that range;
/// there is no new file then.
void Cut(std::filesystem::path const& file, std::filesystem::path const& out, RecordedRange const& range);

/// Puts a mark into a file, in the place of what it was: a file beside it, which takes its name when it is whole.
/// Throws RecordingError, and leaves the file as it was, when it is being recorded, is damaged, or does not reach over
/// `time`.
void AddMark(std::filesystem::path const& file, std::string const& text, std::uint64_t time);

} // namespace qx5::recording
