// Writes an MCAP file: messages in chunks that can each be read alone, an index at the end.
#pragma once

#include "mcap_format.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <span>
#include <string_view>
#include <vector>

#include "platform/recording_file.h"

namespace qx5::recording {

/// When a message happened.
struct MessageTimes
{
    std::uint64_t log = 0;     ///< ns; of the file, never going back
    std::uint64_t publish = 0; ///< ns; by the system's clock, which may be set
};

/// One file, one thread. What Write took is in the system's hands after CloseChunk: the end of the program loses
/// nothing of it; that of the machine nothing after Sync. Operations throw RecordingError when the disk refuses; the
/// file then ends with the last whole chunk, as a reader sees it.
class McapWriter
{
public:
    /// A chunk that has grown to so many bytes is closed by Write.
    static constexpr std::size_t UsualChunk = std::size_t{1} << 20;

    /// Makes the file; one that is there already is refused and left alone. `library` names the writing program.
    McapWriter(std::filesystem::path const& file, std::string_view library, std::size_t chunkBytes = UsualChunk);

    /// Gives the schema's id. Its own does not count.
    std::uint16_t Add(McapSchema schema);
    /// Gives the channel's id, likewise. The schema must have been added, or be 0.
    std::uint16_t Add(McapChannel channel);
    /// Written at once, between chunks.
    void Write(McapMetadata const& metadata);
    /// Puts a message into the open chunk. `data` is that of the message in two parts, one after the other.
    void Write(std::uint16_t channel, MessageTimes const& times, std::span<unsigned char const> data,
               std::span<unsigned char const> more = {});
    /// Writes the open chunk, if there is anything in it.
    void CloseChunk();
    /// What was written is on the disk when it returns.
    void Sync() { m_file.Sync(); }
    /// Closes the chunk and writes index and end; nothing may be written after it.
    void Finish();

    /// Bytes of the file with the open chunk.
    std::uint64_t Size() const { return m_file.Size() + m_records.size(); }
    std::uint64_t Messages() const { return m_messages; }

private:
    struct Channel
    {
        McapChannel description;
        std::uint32_t sequence = 0;
        std::uint64_t messages = 0;
        bool isInChunk = false;
        std::vector<unsigned char> index; ///< of the open chunk: time and place of each message
    };
    struct WrittenChunk
    {
        McapChunkPlace place;
        std::vector<std::pair<std::uint16_t, std::uint64_t>> indexes; ///< channel, and where its index is
        std::uint64_t indexLength = 0;
        std::uint64_t recordsSize = 0;
    };

    void PutIntoChunk(Channel& channel);
    void WriteSummary();

    RecordingFile m_file;
    std::size_t const m_chunkBytes;
    std::vector<McapSchema> m_schemas;
    std::vector<Channel> m_channels;
    std::vector<std::uint16_t> m_inChunk; ///< channels with messages in the open chunk
    std::vector<bool> m_schemaInChunk;    ///< by place in m_schemas
    std::vector<unsigned char> m_records; ///< of the open chunk
    std::vector<unsigned char> m_scratch;
    std::uint64_t m_chunkStart = 0;
    std::uint64_t m_chunkEnd = 0;
    std::vector<WrittenChunk> m_chunks;
    struct WrittenMetadata
    {
        std::uint64_t offset;
        std::uint64_t length;
        std::string name;
    };
    std::vector<WrittenMetadata> m_metadata;
    std::uint64_t m_messages = 0;
    std::uint64_t m_start = 0;
    std::uint64_t m_end = 0;
};

} // namespace qx5::recording
