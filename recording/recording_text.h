// The messages of a recording as lines: for people and for programs.
#pragma once

#include "recorded_session.h"

#include "reference_host/monitor/record_filter.h"

#include <map>
#include <span>
#include <string>
#include <string_view>

namespace qx5::recording {

/// What the lines of one recording have in common. One thread.
class RecordingText
{
public:
    explicit RecordingText(std::vector<RecordedSonar> const& sonars);

    /// For people, without its end: time, what it is, sonar, and what it says; frames as the record monitor shows them.
    /// Sonars bear the names that their settings told up to here. No control characters.
    std::string PlainLine(RecordedMessage const& message);
    /// Empty where the filter does not let it through, which also looks at what the line does not show.
    std::string PlainLine(RecordedMessage const& message, vordal::RecordFilter const& filter);
    /// One object on a line, without its end: "time" (ISO 8601), "kind", "sonar" (its id, where there is one); of a
    /// frame "number", "record", "fields" and "bytes" (hexadecimal), of all else the members of its message.
    std::string JsonLine(RecordedMessage const& message);
    /// The same, empty where the filter does not let it through.
    std::string JsonLine(RecordedMessage const& message, vordal::RecordFilter const& filter);

private:
    std::string NameOf(RecordedMessage const& message);

    std::map<std::string, std::string> m_names;
};

/// "05003c00...": two digits a byte, in lower case.
std::string HexText(std::span<unsigned char const> bytes);

/// The text with a blank in the place of each control character.
std::string Printable(std::string_view text);

} // namespace qx5::recording
