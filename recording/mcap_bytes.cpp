// The content of MCAP records.
#include "mcap_bytes.h"

#include <zlib.h>

namespace qx5::recording {

void McapPut::Text(std::string_view text)
{
    auto const begin = BeginSized();
    m_bytes.insert(m_bytes.end(), text.begin(), text.end());
    EndSized(begin);
}

void McapPut::Texts(McapTexts const& texts)
{
    auto const begin = BeginSized();
    for (auto const& [name, text] : texts) {
        Text(name);
        Text(text);
    }
    EndSized(begin);
}

std::size_t McapPut::BeginRecord(McapRecord kind)
{
    U8(static_cast<std::uint8_t>(kind));
    U64(0);
    return m_bytes.size();
}

void McapPut::EndRecord(std::size_t begin)
{
    protocol::PutU64LE(m_bytes, begin - 8, m_bytes.size() - begin);
}

std::size_t McapPut::BeginSized()
{
    U32(0);
    return m_bytes.size();
}

void McapPut::EndSized(std::size_t begin)
{
    protocol::PutU32LE(m_bytes, begin - 4, static_cast<std::uint32_t>(m_bytes.size() - begin));
}

void PutSchema(std::vector<unsigned char>& bytes, McapSchema const& schema)
{
    McapPut put(bytes);
    auto const begin = put.BeginRecord(McapRecord::Schema);
    put.U16(schema.id);
    put.Text(schema.name);
    put.Text(schema.encoding);
    put.Text(schema.data);
    put.EndRecord(begin);
}

void PutChannel(std::vector<unsigned char>& bytes, McapChannel const& channel)
{
    McapPut put(bytes);
    auto const begin = put.BeginRecord(McapRecord::Channel);
    put.U16(channel.id);
    put.U16(channel.schema);
    put.Text(channel.topic);
    put.Text(channel.encoding);
    put.Texts(channel.metadata);
    put.EndRecord(begin);
}

void PutMetadata(std::vector<unsigned char>& bytes, McapMetadata const& metadata)
{
    McapPut put(bytes);
    auto const begin = put.BeginRecord(McapRecord::Metadata);
    put.Text(metadata.name);
    put.Texts(metadata.texts);
    put.EndRecord(begin);
}

std::span<unsigned char const> McapTake::Bytes(std::uint64_t size)
{
    return Has(size) ? Next(static_cast<std::size_t>(size)) : std::span<unsigned char const>();
}

std::string McapTake::Text()
{
    auto const bytes = Bytes(U32());
    return {bytes.begin(), bytes.end()};
}

McapTexts McapTake::Texts()
{
    McapTexts texts;
    McapTake inside(Bytes(U32()));
    while (!inside.IsAtEnd() && inside.IsGood()) {
        auto name = inside.Text();
        texts.emplace_back(std::move(name), inside.Text());
    }
    m_isGood = m_isGood && inside.IsGood();
    return texts;
}

std::optional<McapRecordView> NextRecord(McapTake& take)
{
    if (take.IsAtEnd()) {
        return {};
    }
    McapRecordView record;
    record.kind = take.U8();
    record.content = take.Bytes(take.U64());
    return take.IsGood() ? std::optional(record) : std::nullopt;
}

std::optional<McapSchema> GetSchema(std::span<unsigned char const> content)
{
    McapTake take(content);
    McapSchema schema;
    schema.id = take.U16();
    schema.name = take.Text();
    schema.encoding = take.Text();
    schema.data = take.Text();
    return take.IsGood() && schema.id != 0 ? std::optional(std::move(schema)) : std::nullopt;
}

std::optional<McapChannel> GetChannel(std::span<unsigned char const> content)
{
    McapTake take(content);
    McapChannel channel;
    channel.id = take.U16();
    channel.schema = take.U16();
    channel.topic = take.Text();
    channel.encoding = take.Text();
    channel.metadata = take.Texts();
    return take.IsGood() ? std::optional(std::move(channel)) : std::nullopt;
}

std::optional<McapMetadata> GetMetadata(std::span<unsigned char const> content)
{
    McapTake take(content);
    McapMetadata metadata;
    metadata.name = take.Text();
    metadata.texts = take.Texts();
    return take.IsGood() && take.IsAtEnd() ? std::optional(std::move(metadata)) : std::nullopt;
}

std::uint32_t McapCrc(std::span<unsigned char const> bytes)
{
    return static_cast<std::uint32_t>(crc32_z(0, bytes.data(), bytes.size()));
}

} // namespace qx5::recording
