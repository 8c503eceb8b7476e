// The 64-byte frame that every record travels in, and the remote-control record that wraps a command.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <protocol/time_stamp.h>

namespace qx5::protocol {

inline constexpr std::uint16_t ProtocolVersion = 5;
inline constexpr std::uint16_t DataSectionOffset = 60; ///< of the data section, counted from byte 4
inline constexpr std::uint32_t SyncWord = 0x0000FFFF;
inline constexpr std::uint16_t RecordVersion = 1;
inline constexpr std::size_t FrameHeaderSize = 64;
inline constexpr std::size_t TrailingWordSize = 4;
inline constexpr std::size_t FrameOverhead = FrameHeaderSize + TrailingWordSize;
/// No frame is longer; a size beyond this is damage. Room for the image of a contact.
inline constexpr std::size_t MaximumFrameSize = std::size_t{128} * 1024 * 1024;

inline constexpr std::uint32_t RemoteControlRecordId = 7500;
inline constexpr std::size_t RemoteControlHeaderSize = 24; ///< command id, ticket, tracking number
inline constexpr std::size_t RemoteControlOverhead = FrameOverhead + RemoteControlHeaderSize;

/// Where a record goes: the device's own sonar by default.
struct Target
{
    std::int32_t deviceId = 0;
    std::int32_t enumerator = -1; ///< on the wire its low 16 bits

    friend bool operator==(Target const&, Target const&) = default;
};

inline constexpr Target OwnSonar{0, -1};
inline constexpr Target SonarProcessor{7000, 0};

/// What a frame tells of itself.
struct FrameHeader
{
    std::uint32_t totalSize = 0; ///< bytes, frame and trailing word included
    TimeX5 time = {};
    std::uint16_t recordVersion = RecordVersion;
    std::uint32_t recordId = 0;
    std::uint32_t deviceId = 0;
    std::uint16_t enumerator = 0;
};

/// A checked frame: views into the bytes that it was parsed from.
struct FrameView
{
    FrameHeader header;
    std::span<unsigned char const> bytes; ///< the whole frame
    std::span<unsigned char const> data;  ///< the data section, without the trailing word
};

/// Why bytes are not a frame.
enum class FrameError : std::uint8_t
{
    None,
    TooShort, ///< fewer bytes than the frame claims, or than any frame has
    BadVersion,
    BadOffset,
    BadSync,
    BadSize,         ///< below 68 or above MaximumFrameSize
    BadTrailingWord, ///< not 0
};
std::string_view Describe(FrameError error);

/// Writes the 64 bytes of the frame at the start of `frame`, which holds at least those; everything not listed is 0.
void WriteFrameHeader(std::span<unsigned char> frame, std::uint32_t totalSize, std::uint32_t recordId, Target target,
                      double secondsSince1970);

/// A whole frame of data.size() + 68 bytes. The time is in seconds since 1970-01-01 UTC. Throws std::length_error when
/// the frame would exceed what its size word can tell.
std::vector<unsigned char> BuildFrame(std::uint32_t recordId, Target target, double secondsSince1970,
                                      std::span<unsigned char const> data);

/// A whole remote-control record of payload.size() + 92 bytes: the ticket is the command id, the tracking number 0.
std::vector<unsigned char> BuildRemoteControlRecord(std::uint32_t commandId, std::span<unsigned char const> payload,
                                                    Target target, double secondsSince1970);

/// Of a frame of which the header is there at least; 0 where it is not.
std::uint32_t RecordIdOf(std::span<unsigned char const> frame);

/// Looks at the first 12 bytes or more: None when they may begin a frame. `totalSize` is set on None.
FrameError CheckFrameStart(std::span<unsigned char const> bytes, std::uint32_t& totalSize);

/// The frame at the start of `bytes`, which may go on behind it; nothing, and why, when there is none.
std::optional<FrameView> ParseFrame(std::span<unsigned char const> bytes, FrameError* error = nullptr);

/// A remote-control record's data section taken apart.
struct RemoteControlView
{
    std::uint32_t commandId = 0;
    std::uint32_t ticket = 0;
    std::span<unsigned char const> trackingNumber; ///< 16 bytes
    std::span<unsigned char const> payload;
};
/// Nothing when the frame is another record or too short for one.
std::optional<RemoteControlView> ParseRemoteControl(FrameView const& frame);

} // namespace qx5::protocol
