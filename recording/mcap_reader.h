// Reads an MCAP file of this program: whole ones by their index, cut and damaged ones chunk for chunk.
#pragma once

#include "mcap_format.h"
#include "platform/recording_file.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace qx5::recording {

struct McapMessage
{
    std::uint16_t channel = 0;
    std::uint32_t sequence = 0;
    std::uint64_t logTime = 0;           ///< ns
    std::uint64_t publishTime = 0;       ///< ns
    std::span<unsigned char const> data; ///< valid during the call
};

/// One file, one thread. A chunk whose checksum is wrong is passed over: what is given was written so.
class McapReader
{
public:
    /// A longer chunk is damage.
    static constexpr std::uint64_t GreatestChunk = std::uint64_t{1} << 30;

    /// Throws RecordingError where there is no such file or it is no recording of a kind that is known here.
    explicit McapReader(std::filesystem::path file);

    /// Whether the file was closed in order: its index and end are there and agree.
    bool IsComplete() const { return m_isComplete; }
    /// What was passed over: bytes that are no whole record, and chunks with a wrong checksum. Those that were not read
    /// yet are not known.
    std::uint64_t SkippedBytes() const { return m_skipped; }
    std::uint64_t DamagedChunks() const { return m_damagedChunks; }

    std::vector<McapChunkPlace> const& Chunks() const { return m_chunks; }
    /// The channels of the messages in that chunk as the index beside it says. Of a file that is not complete no
    /// checksum vouches for that.
    std::vector<std::uint16_t> const& ChannelsIn(std::size_t chunk) const { return m_channelsIn[chunk]; }
    /// Of a file that is not complete those that were seen, which after a walk over all is all; from the beginning
    /// those of chunks that are whole.
    std::map<std::uint16_t, McapChannel> const& Channels() const { return m_channels; }
    std::map<std::uint16_t, McapSchema> const& Schemas() const { return m_schemas; }
    std::vector<McapMetadata> const& Metadata() const { return m_metadata; }
    /// By channel; nothing where the file does not tell without a walk.
    std::optional<std::map<std::uint16_t, std::uint64_t>> const& MessageCounts() const { return m_counts; }
    /// The earliest and the latest log time of the chunks; nothing where there is none.
    std::optional<std::uint64_t> Start() const;
    std::optional<std::uint64_t> End() const;

    /// Called for each message; false ends the walk.
    using Visit = std::function<bool(McapChannel const& channel, McapMessage const& message)>;
    /// Whether a chunk is to be read at all.
    using Choose = std::function<bool(std::size_t chunk)>;
    /// All messages with log times from `from` to `to`, both included, in the order in which they were written. Reads
    /// the chunks alone that may hold some, and of those the ones that are chosen (empty: all).
    void ForEach(Visit const& visit, std::uint64_t from = 0,
                 std::uint64_t to = std::numeric_limits<std::uint64_t>::max(), Choose const& choose = {});
    /// All messages of one chunk, in `bytes`, which they point into; none when it is damaged, which counts.
    std::vector<McapMessage> MessagesIn(std::size_t chunk, std::vector<unsigned char>& bytes);

private:
    bool ReadIndex();
    void Scan();
    void DescribeChannels();
    std::optional<std::uint64_t> TakeRecord(std::uint8_t kind, std::uint64_t offset, std::uint64_t length);
    /// The place of the next chunk that stands at or behind `offset`, where the sequence of records is broken.
    std::optional<std::uint64_t> FindChunk(std::uint64_t offset) const;
    std::optional<McapChunkPlace> ChunkAt(std::uint64_t offset) const;
    /// The number of the channel, if it describes one.
    std::optional<std::uint16_t> TakeDescription(std::uint8_t kind, std::span<unsigned char const> content);
    /// The chunk's records, when its checksum is right.
    std::optional<std::span<unsigned char const>> ReadChunk(McapChunkPlace const& place,
                                                            std::vector<unsigned char>& bytes) const;
    /// The same of a chunk by its number; one that is damaged is counted once. The channels that it describes are known
    /// from then on.
    std::optional<std::span<unsigned char const>> ReadChunk(std::size_t chunk, std::vector<unsigned char>& bytes);
    /// The message of that record, if it is one of a channel that is described no later than in its chunk: whatever was
    /// read before, the same messages are read.
    std::optional<McapMessage> MessageOf(std::span<unsigned char const> content, std::size_t chunk) const;

    RecordedFile m_file;
    bool m_isComplete = false;
    std::uint64_t m_skipped = 0;
    std::uint64_t m_damagedChunks = 0;
    std::vector<McapChunkPlace> m_chunks;
    std::vector<std::vector<std::uint16_t>> m_channelsIn; ///< by chunk
    std::vector<bool> m_isDamaged;                        ///< of the chunks, those that were found to be
    std::vector<bool> m_isDescribed;                      ///< of the chunks, those whose descriptions were taken
    std::map<std::uint16_t, McapChannel> m_channels;
    std::map<std::uint16_t, std::size_t>
        m_describedIn; ///< the first chunk that describes it; none: known from the start
    std::map<std::uint16_t, McapSchema> m_schemas;
    std::vector<McapMetadata> m_metadata;
    std::optional<std::map<std::uint16_t, std::uint64_t>> m_counts;
    std::vector<unsigned char> m_buffer;
};

} // namespace qx5::recording
