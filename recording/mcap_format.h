// The parts of an MCAP file, version 0, as its public description names them: what writer and reader agree on.
//
//   magic, header, data section (metadata, chunks, each chunk followed by its message indexes), data end,
//   summary section (schemas, channels, statistics, chunk indexes, metadata indexes), summary offsets, footer, magic
//
// All numbers are little-endian; times are nanoseconds since 1970 UTC. Each chunk of ours holds the schemas and
// channels of its messages, so that it can be read without any other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qx5::recording {

inline constexpr std::array<unsigned char, 8> McapMagic{0x89, 'M', 'C', 'A', 'P', 0x30, '\r', '\n'};

enum class McapRecord : std::uint8_t
{
    Header = 0x01,
    Footer = 0x02,
    Schema = 0x03,
    Channel = 0x04,
    Message = 0x05,
    Chunk = 0x06,
    MessageIndex = 0x07,
    ChunkIndex = 0x08,
    Statistics = 0x0B,
    Metadata = 0x0C,
    MetadataIndex = 0x0D,
    SummaryOffset = 0x0E,
    DataEnd = 0x0F,
};

// Bytes of what has a fixed size.
inline constexpr std::size_t McapRecordHead = 9;   ///< kind and length of the content
inline constexpr std::size_t McapMessageHead = 22; ///< of a message's content: channel, sequence, both times
inline constexpr std::size_t McapChunkHead = 40;   ///< of an uncompressed chunk's content, up to its records
inline constexpr std::size_t McapFooter = 20;      ///< of its content

/// Texts by name, in their order.
using McapTexts = std::vector<std::pair<std::string, std::string>>;

/// How the data of a channel's messages is to be read.
struct McapSchema
{
    std::uint16_t id = 0; ///< from 1
    std::string name;
    std::string encoding; ///< such as "jsonschema"
    std::string data;
};

/// A series of messages of one kind.
struct McapChannel
{
    std::uint16_t id = 0;     ///< from 0
    std::uint16_t schema = 0; ///< 0 for none
    std::string topic;
    std::string encoding; ///< of the messages, such as "json"
    McapTexts metadata;
};

/// What a file says of itself as a whole or in part.
struct McapMetadata
{
    std::string name;
    McapTexts texts;
};

/// Where a chunk lies, and from when to when its messages are.
struct McapChunkPlace
{
    std::uint64_t offset = 0; ///< of its record in the file
    std::uint64_t length = 0; ///< of its record, head included
    std::uint64_t start = 0;  ///< the earliest log time in it
    std::uint64_t end = 0;    ///< the latest
};

} // namespace qx5::recording
