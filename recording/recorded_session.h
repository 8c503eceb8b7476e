// What a recording holds, in the terms of a session: frames, requests, attributes, connections, marks.
#pragma once

#include "mcap_reader.h"
#include "recorded_content.h"
#include "recorded_kinds.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::recording {

struct RecordedMessage
{
    RecordedKind const* kind = nullptr;
    std::string const* sonar = nullptr;  ///< its id, "1.78.1.1"; null for what concerns none; valid during the call
    std::uint64_t time = 0;              ///< ns since 1970 UTC, never going back within a file
    std::uint64_t systemTime = 0;        ///< the same by the system's clock as it then was
    std::span<unsigned char const> data; ///< as it lies in the file; valid during the call
    RecordedContent content;
};

struct RecordedSonar
{
    std::string id;   ///< "1.78.1.1"
    std::string name; ///< what the operator calls it; the id where the file does not tell

    bool operator==(RecordedSonar const&) const = default;
};

/// Which messages somebody wants to see.
struct RecordedRange
{
    std::uint64_t from = 0; ///< ns since 1970 UTC, both included
    std::uint64_t to = std::numeric_limits<std::uint64_t>::max();
    std::string sonar = {};                      ///< an id: of that sonar, and what concerns none; empty: of all
    std::vector<RecordedKind const*> kinds = {}; ///< empty: all
};

/// What stood at a moment.
struct RecordedState
{
    std::optional<RecordedSettings> settings;
    std::optional<RecordedConnection> connection;
};

/// What a file says of itself.
struct RecordedSummary
{
    std::optional<std::uint64_t> start; ///< ns since 1970 UTC; nothing for a file without messages
    std::optional<std::uint64_t> end;
    std::uint64_t records = 0; ///< frames, both ways
    std::uint64_t requests = 0;
    std::uint64_t messages = 0; ///< of all kinds
    std::vector<RecordedSonar> sonars;
    bool isComplete = false;
    McapTexts program; ///< which wrote it
};

/// One file, one thread. Operations throw RecordingError when it cannot be read; what is damaged in it is passed over
/// and counted.
class RecordedSession
{
public:
    explicit RecordedSession(std::filesystem::path const& file);

    /// Of a file that was closed in order from its index alone; another is read to its end.
    RecordedSummary Summary();
    /// In the order of their ids. Of a file that was not closed in order those that were seen up to now.
    std::vector<RecordedSonar> Sonars() const;
    /// The id of the sonar of that id or name; nothing when there is none. Reads a file that was not closed in order.
    std::optional<std::string> FindSonar(std::string_view idOrName);

    /// Called for each message; false ends the walk.
    using Visit = std::function<bool(RecordedMessage const&)>;
    /// In the order in which they were written.
    void ForEach(RecordedRange const& range, Visit const& visit);
    /// The same for the messages as they lie in the file, of unknown kinds, too; of `range` the kinds do not count.
    using RawVisit = std::function<bool(McapChannel const&, McapMessage const&)>;
    void ForEachRaw(RecordedRange const& range, RawVisit const& visit);

    /// A sonar's settings as they stood before that time: those at the start of the part, and what was told and echoed
    /// since. Nothing of sonars that the file says no settings of. By id.
    std::map<std::string, RecordedSettings> SettingsBefore(std::uint64_t time, std::string const& sonar = {});
    /// The same with how the connections stood, of all sonars of which there is something to tell. Reads the part that
    /// the moment lies in, and the index.
    std::map<std::string, RecordedState> StateBefore(std::uint64_t time, std::string const& sonar = {});
    /// The time of the last message of these kinds before that time; nothing when there is none.
    std::optional<std::uint64_t> LastBefore(std::uint64_t time, std::vector<RecordedKind const*> const& kinds);

    /// The message in the terms of a session; nothing where it is of no kind that is known here, or not what that says.
    std::optional<RecordedMessage> Understand(McapMessage const& message);

    /// Messages that are not what their kind says, of what was walked over, and what the first of them lacks, in one
    /// line.
    std::uint64_t Unreadable() const { return m_unreadable; }
    std::string const& FirstUnreadable() const { return m_firstUnreadable; }
    McapReader const& File() const { return m_reader; }
    McapReader& File() { return m_reader; }

private:
    struct Topic
    {
        RecordedKind const* kind = nullptr; ///< null: not known here
        std::string sonar;
    };
    Topic const& TopicOf(McapChannel const& channel);
    std::optional<RecordedContent> ReadOne(RecordedKind const& kind, McapChannel const& channel,
                                           McapMessage const& message);
    /// The channels that have messages of such a kind, of that sonar where it is not empty.
    std::set<std::uint16_t> ChannelsOf(std::vector<RecordedKind const*> const& kinds, std::string const& sonar);
    bool HasAny(std::size_t chunk, std::set<std::uint16_t> const& channels) const;
    std::size_t PartBefore(std::uint64_t time, std::string const& sonar);

    McapReader m_reader;
    std::map<std::uint16_t, Topic> m_topics;
    std::vector<unsigned char> m_chunk;
    std::uint64_t m_unreadable = 0;
    std::string m_firstUnreadable;
};

} // namespace qx5::recording
