// Writes an MCAP file.
#include "mcap_writer.h"

#include "mcap_bytes.h"

#include <algorithm>
#include <cassert>

namespace qx5::recording {

McapWriter::McapWriter(std::filesystem::path const& file, std::string_view library, std::size_t chunkBytes)
    : m_file(file), m_chunkBytes(chunkBytes)
{
    std::vector<unsigned char> bytes(McapMagic.begin(), McapMagic.end());
    McapPut put(bytes);
    auto const begin = put.BeginRecord(McapRecord::Header);
    put.Text("");
    put.Text(library);
    put.EndRecord(begin);
    m_file.Append(bytes);
    m_records.reserve(m_chunkBytes + m_chunkBytes / 8);
}

std::uint16_t McapWriter::Add(McapSchema schema)
{
    schema.id = static_cast<std::uint16_t>(m_schemas.size() + 1);
    m_schemas.push_back(std::move(schema));
    m_schemaInChunk.push_back(false);
    return m_schemas.back().id;
}

std::uint16_t McapWriter::Add(McapChannel channel)
{
    channel.id = static_cast<std::uint16_t>(m_channels.size());
    m_channels.push_back({std::move(channel), 0, 0, false, {}});
    return m_channels.back().description.id;
}

void McapWriter::Write(McapMetadata const& metadata)
{
    CloseChunk();
    m_scratch.clear();
    PutMetadata(m_scratch, metadata);
    auto const offset = m_file.Size();
    m_file.Append(m_scratch);
    m_metadata.push_back({offset, m_scratch.size(), metadata.name});
}

void McapWriter::PutIntoChunk(Channel& channel)
{
    auto const schema = channel.description.schema;
    if (schema != 0 && !m_schemaInChunk[schema - 1U]) {
        m_schemaInChunk[schema - 1U] = true;
        PutSchema(m_records, m_schemas[schema - 1U]);
    }
    PutChannel(m_records, channel.description);
    channel.isInChunk = true;
    m_inChunk.push_back(channel.description.id);
}

void McapWriter::Write(std::uint16_t id, MessageTimes const& times, std::span<unsigned char const> data,
                       std::span<unsigned char const> more)
{
    assert(id < m_channels.size());
    auto& channel = m_channels[id];
    if (!channel.isInChunk) {
        PutIntoChunk(channel);
    }
    if (m_inChunk.size() == 1 && channel.index.empty()) {
        m_chunkStart = m_chunkEnd = times.log;
    }
    m_chunkStart = std::min(m_chunkStart, times.log);
    m_chunkEnd = std::max(m_chunkEnd, times.log);
    auto const at = m_records.size();
    m_records.resize(at + McapRecordHead + McapMessageHead);
    auto const head = std::span(m_records).subspan(at);
    protocol::PutU8(head, 0, static_cast<std::uint8_t>(McapRecord::Message));
    protocol::PutU64LE(head, 1, McapMessageHead + data.size() + more.size());
    protocol::PutU16LE(head, 9, id);
    protocol::PutU32LE(head, 11, channel.sequence++);
    protocol::PutU64LE(head, 15, times.log);
    protocol::PutU64LE(head, 23, times.publish);
    m_records.insert(m_records.end(), data.begin(), data.end());
    m_records.insert(m_records.end(), more.begin(), more.end());
    auto const entry = channel.index.size();
    channel.index.resize(entry + 16);
    protocol::PutU64LE(channel.index, entry, times.log);
    protocol::PutU64LE(channel.index, entry + 8, at);
    if (m_records.size() >= m_chunkBytes) {
        CloseChunk();
    }
}

void McapWriter::CloseChunk()
{
    if (m_inChunk.empty()) {
        return;
    }
    WrittenChunk chunk;
    chunk.place = {m_file.Size(), McapRecordHead + McapChunkHead + m_records.size(), m_chunkStart, m_chunkEnd};
    chunk.recordsSize = m_records.size();
    m_scratch.clear();
    McapPut put(m_scratch);
    put.U8(static_cast<std::uint8_t>(McapRecord::Chunk));
    put.U64(McapChunkHead + m_records.size());
    put.U64(m_chunkStart);
    put.U64(m_chunkEnd);
    put.U64(m_records.size());
    put.U32(McapCrc(m_records));
    put.Text("");
    put.U64(m_records.size());
    m_file.Append(m_scratch, m_records);

    std::uint64_t messages = 0;
    m_scratch.clear();
    auto const indexesAt = m_file.Size();
    for (auto const id : m_inChunk) {
        auto& channel = m_channels[id];
        chunk.indexes.emplace_back(id, indexesAt + m_scratch.size());
        auto const begin = put.BeginRecord(McapRecord::MessageIndex);
        put.U16(id);
        auto const sized = put.BeginSized();
        put.Bytes(channel.index);
        put.EndSized(sized);
        put.EndRecord(begin);
        channel.messages += channel.index.size() / 16;
        messages += channel.index.size() / 16;
        channel.index.clear();
        channel.isInChunk = false;
    }
    chunk.indexLength = m_scratch.size();
    m_start = m_chunks.empty() ? m_chunkStart : std::min(m_start, m_chunkStart);
    m_end = m_chunks.empty() ? m_chunkEnd : std::max(m_end, m_chunkEnd);
    m_messages += messages;
    m_inChunk.clear();
    m_schemaInChunk.assign(m_schemas.size(), false);
    m_records.clear();
    m_chunks.push_back(std::move(chunk));
    m_file.Append(m_scratch);
}

void McapWriter::Finish()
{
    CloseChunk();
    WriteSummary();
    m_file.Sync();
}

void McapWriter::WriteSummary()
{
    std::vector<unsigned char> bytes;
    McapPut put(bytes);
    auto begin = put.BeginRecord(McapRecord::DataEnd);
    put.U32(0);
    put.EndRecord(begin);
    auto const summaryInBytes = bytes.size();
    auto const summaryAt = m_file.Size() + summaryInBytes;

    struct Group
    {
        McapRecord kind;
        std::size_t from;
        std::size_t to;
    };
    std::vector<Group> groups;
    auto const group = [&](McapRecord kind, auto&& write) {
        auto const from = bytes.size();
        write();
        if (bytes.size() != from) {
            groups.push_back({kind, from, bytes.size()});
        }
    };
    group(McapRecord::Schema, [&] {
        for (auto const& schema : m_schemas) {
            PutSchema(bytes, schema);
        }
    });
    group(McapRecord::Channel, [&] {
        for (auto const& channel : m_channels) {
            PutChannel(bytes, channel.description);
        }
    });
    group(McapRecord::Statistics, [&] {
        begin = put.BeginRecord(McapRecord::Statistics);
        put.U64(m_messages);
        put.U16(static_cast<std::uint16_t>(m_schemas.size()));
        put.U32(static_cast<std::uint32_t>(m_channels.size()));
        put.U32(0);
        put.U32(static_cast<std::uint32_t>(m_metadata.size()));
        put.U32(static_cast<std::uint32_t>(m_chunks.size()));
        put.U64(m_start);
        put.U64(m_end);
        auto const sized = put.BeginSized();
        for (auto const& channel : m_channels) {
            put.U16(channel.description.id);
            put.U64(channel.messages);
        }
        put.EndSized(sized);
        put.EndRecord(begin);
    });
    group(McapRecord::ChunkIndex, [&] {
        for (auto const& chunk : m_chunks) {
            begin = put.BeginRecord(McapRecord::ChunkIndex);
            put.U64(chunk.place.start);
            put.U64(chunk.place.end);
            put.U64(chunk.place.offset);
            put.U64(chunk.place.length);
            auto const sized = put.BeginSized();
            for (auto const& [channel, offset] : chunk.indexes) {
                put.U16(channel);
                put.U64(offset);
            }
            put.EndSized(sized);
            put.U64(chunk.indexLength);
            put.Text("");
            put.U64(chunk.recordsSize);
            put.U64(chunk.recordsSize);
            put.EndRecord(begin);
        }
    });
    group(McapRecord::MetadataIndex, [&] {
        for (auto const& metadata : m_metadata) {
            begin = put.BeginRecord(McapRecord::MetadataIndex);
            put.U64(metadata.offset);
            put.U64(metadata.length);
            put.Text(metadata.name);
            put.EndRecord(begin);
        }
    });
    auto const offsetsAt = m_file.Size() + bytes.size();
    for (auto const& each : groups) {
        begin = put.BeginRecord(McapRecord::SummaryOffset);
        put.U8(static_cast<std::uint8_t>(each.kind));
        put.U64(m_file.Size() + each.from);
        put.U64(each.to - each.from);
        put.EndRecord(begin);
    }
    put.BeginRecord(McapRecord::Footer);
    put.U64(summaryAt);
    put.U64(offsetsAt);
    protocol::PutU64LE(bytes, bytes.size() - 24, McapFooter);
    put.U32(McapCrc(std::span(bytes).subspan(summaryInBytes)));
    put.Bytes(McapMagic);
    m_file.Append(bytes);
}

} // namespace qx5::recording
