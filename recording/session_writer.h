// Writes the messages of a session into a file: each kind and sonar on a channel of its own.
#pragma once

#include "mcap_writer.h"
#include "recorded_content.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace qx5::recording {

/// One file, one thread. Operations throw RecordingError when the disk refuses.
class SessionWriter
{
public:
    /// Makes the file; one that is there already is refused and left alone. `program` tells which program records.
    SessionWriter(std::filesystem::path const& file, McapTexts const& program);

    /// The channel of that kind for a sonar ("1.78.1.1"; empty for what concerns none). What the operator calls the
    /// sonar is told to readers of the index, too, when it is known at the channel's first use.
    std::uint16_t ChannelOf(RecordedKind const& kind, std::string const& sonar, std::string const& name = {});
    /// The channel of that topic, described as in another file where it is new.
    std::uint16_t ChannelLike(McapChannel const& channel, McapSchema const* schema);

    /// Into a channel of the content's kind.
    void Write(std::uint16_t channel, MessageTimes const& times, RecordedContent const& content);

    /// What is written into it by channel, closed and finished.
    McapWriter& File() { return m_writer; }

private:
    McapWriter m_writer;
    std::map<std::string, std::uint16_t> m_schemas;  ///< by name
    std::map<std::string, std::uint16_t> m_channels; ///< by topic
};

} // namespace qx5::recording
