// Writes the messages of a session into a file.
#include "session_writer.h"

namespace qx5::recording {

namespace {

std::string LibraryOf(McapTexts const& program)
{
    std::string text = "qx5";
    for (auto const& [name, value] : program) {
        text += name == "version" ? ' ' + value : std::string();
    }
    return text;
}

} // namespace

SessionWriter::SessionWriter(std::filesystem::path const& file, McapTexts const& program)
    : m_writer(file, LibraryOf(program))
{
    m_writer.Write(McapMetadata{std::string(ProgramMetadata), program});
}

std::uint16_t SessionWriter::ChannelOf(RecordedKind const& kind, std::string const& sonar, std::string const& name)
{
    McapChannel channel;
    channel.topic = (sonar.empty() ? "/" : std::string(SonarTopic) + sonar + '/') + std::string(kind.name);
    channel.encoding = kind.schema.empty() ? FrameEncoding : "json";
    if (!sonar.empty()) {
        channel.metadata.emplace_back("sonar", sonar);
    }
    if (!name.empty()) {
        channel.metadata.emplace_back("name", name);
    }
    McapSchema const schema{0, std::string(kind.name), "jsonschema", std::string(kind.schema)};
    return ChannelLike(channel, kind.schema.empty() ? nullptr : &schema);
}

std::uint16_t SessionWriter::ChannelLike(McapChannel const& channel, McapSchema const* schema)
{
    auto const [place, isNew] = m_channels.try_emplace(channel.topic, std::uint16_t{0});
    if (isNew) {
        McapChannel own = channel;
        own.schema = 0;
        if (schema != nullptr) {
            auto const [known, isNewSchema] = m_schemas.try_emplace(schema->name, std::uint16_t{0});
            if (isNewSchema) {
                known->second = m_writer.Add(*schema);
            }
            own.schema = known->second;
        }
        place->second = m_writer.Add(std::move(own));
    }
    return place->second;
}

void SessionWriter::Write(std::uint16_t channel, MessageTimes const& times, RecordedContent const& content)
{
    if (auto const* const frame = std::get_if<RecordedFrame>(&content)) {
        m_writer.Write(channel, times, frame->bytes);
        return;
    }
    auto const text = WriteJson(WriteContent(content));
    m_writer.Write(channel, times, {reinterpret_cast<unsigned char const*>(text.data()), text.size()});
}

} // namespace qx5::recording
