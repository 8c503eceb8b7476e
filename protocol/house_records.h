// Records of this project's own, which its host and its simulated sonar agree on where the sonar protocol leaves the
// wire form to them. Their ids begin at 90001, beyond all that a sonar uses.
//
//   90001  record request        remote-control command: send that record once
//   90002  pass-through command  remote-control command: hand a command on to another unit of the sonar
//   90010  attribute tree        data record, sonar to host: attributes to merge into the device's tree
//   90011  playback operation    remote-control command: steer the playback of a recorded file
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <protocol/frame.h>
#include <protocol/record_table.h>

namespace qx5::protocol {

namespace records {

inline constexpr RecordTable RecordRequest{
    90001, "record request", 4, {Field{.offset = 0, .wire = Wire::U32, .name = "record id"}}};

/// The command's payload follows the fixed fields; `size` is its length in bytes.
inline constexpr RecordTable PassThroughCommand{90002,
                                                "pass-through command",
                                                16,
                                                {Field{.offset = 0, .wire = Wire::U32, .name = "target device"},
                                                 Field{.offset = 4, .wire = Wire::U16, .name = "target enumerator"},
                                                 Field{.offset = 6, .wire = Wire::U16, .name = "reserved"},
                                                 Field{.offset = 8, .wire = Wire::U32, .name = "command id"},
                                                 Field{.offset = 12, .wire = Wire::U32, .name = "size"}},
                                                RecordOptions{.tail = Tail::Bytes, .tailName = "payload"}};

/// See LinkTree in tree_codec.h for the bytes.
inline constexpr RecordTable AttributeTree{
    90010,
    "attribute tree",
    4,
    {Field{.offset = 0, .wire = Wire::U32, .name = "format", .constant = 1}},
    RecordOptions{.carrier = Carrier::Data, .tail = Tail::Bytes, .tailName = "nodes"}};

inline constexpr RecordTable PlaybackCommand{
    90011,
    "playback operation",
    20,
    {Field{.offset = 0, .wire = Wire::U32, .name = "operation"},
     Field{.offset = 4, .wire = Wire::F64, .unit = Unit::Second, .name = "command time"},
     Field{.offset = 12, .wire = Wire::F64, .name = "value"}}};

inline constexpr std::array<RecordLayout, 4> HouseRecords{RecordRequest, PassThroughCommand, AttributeTree,
                                                          PlaybackCommand};

} // namespace records

/// Asks for a record once.
std::vector<unsigned char> EncodeRecordRequest(std::uint32_t recordId);
/// The id asked for; nothing when the payload has another size.
std::optional<std::uint32_t> DecodeRecordRequest(std::span<unsigned char const> payload);

/// A command on its way to another unit. `payload` points to bytes of the caller.
struct PassThrough
{
    Target target;
    std::uint32_t commandId = 0;
    std::span<unsigned char const> payload;
};
/// Throws std::length_error for a payload that no frame can hold.
std::vector<unsigned char> EncodePassThrough(PassThrough const& command);
/// Nothing when the sizes do not agree. The enumerator comes back as a signed 16-bit number, so that -1 stays -1.
std::optional<PassThrough> DecodePassThrough(std::span<unsigned char const> payload);

enum class PlaybackOperation : std::uint32_t
{
    SetSpeed = 1,
    SetPosition = 2,
    StepForward = 3,
    StepBack = 4,
    SetLoop = 5,
};
struct Playback
{
    PlaybackOperation operation = PlaybackOperation::SetSpeed;
    double commandTime = 0.0; ///< as the request gave it
    double value = 0.0;       ///< speed, position or loop; 0 for the steps
};
std::vector<unsigned char> EncodePlayback(Playback const& playback);
/// Nothing for another size or an unknown operation.
std::optional<Playback> DecodePlayback(std::span<unsigned char const> payload);

} // namespace qx5::protocol
