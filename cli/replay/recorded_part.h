// What must be known of a part of a recording before it is gone through: how its sonars begin, what became of requests.
#pragma once

#include "operation/action.h"
#include "recording/recorded_session.h"

#include <VordalBaseR/CDataId.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace qx5::cli {

struct RecordedBeginning
{
    recording::RecordedSettings settings;
    /// Of the message that tells them; nothing where they stood before the part begins.
    std::optional<std::uint64_t> toldAt;
};

struct RecordedPart
{
    /// By id; of sonars alone that something was asked of or that left something.
    std::map<std::string, RecordedBeginning> sonars;
    /// What became of the request of that number, as operation::ToText has it.
    std::map<std::uint64_t, std::string> results;

    bool HasResult(std::uint64_t request, operation::Result result) const;
};

/// Goes through that range once, and through what is before it for the settings. Throws RecordingError when a sonar has
/// no settings before the first that is asked of it, or when nothing was asked at all.
RecordedPart LookOver(recording::RecordedSession& session, recording::RecordedRange const& range,
                      std::string const& file);

/// The id of "1.78.1.1".
CDataId SonarIdOf(std::string const& text);

/// Which connections stood at a moment of the recording that is gone through.
class RecordedLines
{
public:
    explicit RecordedLines(RecordedPart const& part) : m_part(part) {}

    void Take(std::string const& sonar, recording::RecordedConnection const& connection);
    /// Whether what a request sends left: neither is the sonar's connection known to be down, nor did the request's
    /// result say that it found no room.
    bool DoesLeave(std::string const& sonar, std::uint64_t request) const;

private:
    RecordedPart const& m_part;
    std::map<std::string, bool> m_isUp; ///< by line; of those that were told
};

/// What the sonars of one connection have in common: the connection's name, or the sonar's id where none is known.
std::string LineOf(std::string const& sonar, RecordedPart const& part);

} // namespace qx5::cli
