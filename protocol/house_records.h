// Records of this project's own, which its host and its simulated sonar agree on where the sonar protocol leaves the
// wire form to them. Their ids begin at 90001, beyond all that a sonar uses.
//
//   90001  record request        remote-control command: send that record once
//   90002  pass-through command  remote-control command: hand a command on to another unit of the sonar
//   90010  attribute tree        data record, sonar to host: attributes to merge into the device's tree
//   90011  playback operation    remote-control command: steer the playback of a recorded file
//   90020  echo request          remote-control command: which of the next two are wanted from now on
//   90021  detections            data record, sonar to host: what was taken for the bottom at one ping
//   90022  water column          data record, sonar to host: the levels of all beams over one ping
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

/// Which echoes the host that sends it is to be told of from now on, of the head that it is for; without a bit, none.
inline constexpr RecordTable EchoRequest{
    90020,
    "echo request",
    4,
    {Field{.offset = 0, .wire = Wire::BitOfU32, .extent = 0, .name = "detections"},
     Field{.offset = 0, .wire = Wire::BitOfU32, .extent = 1, .name = "water column"}}};

/// With what both records of echoes begin; behind it further fields, then arrays. Angles are off the sonar's own
/// vertical, those of beams and detections across track, positive to starboard; levels in dB re 1 uPa at the array, the
/// receiver's gain included.
inline constexpr std::array<Field, 12> EchoHead{
    Field{.offset = 0, .wire = Wire::I32, .name = "ping number"},
    Field{.offset = 4, .wire = Wire::F64, .unit = Unit::Second, .name = "time"}, // since 1970, of transmission
    Field{.offset = 12, .wire = Wire::F64, .unit = Unit::MetrePerSecond, .name = "sound velocity"},
    Field{.offset = 20, .wire = Wire::F64, .unit = Unit::Metre, .name = "east"},
    Field{.offset = 28, .wire = Wire::F64, .unit = Unit::Metre, .name = "north"},
    Field{.offset = 36, .wire = Wire::F64, .unit = Unit::Metre, .name = "depth"}, // of the sonar
    Field{.offset = 44, .wire = Wire::F64, .unit = Unit::Degree, .name = "heading"},
    Field{.offset = 52, .wire = Wire::F64, .unit = Unit::Degree, .name = "roll"},  // starboard down
    Field{.offset = 60, .wire = Wire::F64, .unit = Unit::Degree, .name = "pitch"}, // bow up
    Field{.offset = 68, .wire = Wire::F64, .unit = Unit::Metre, .name = "heave"},  // up
    Field{.offset = 76, .wire = Wire::F64, .unit = Unit::Degree, .name = "steering"},
    Field{.offset = 84, .wire = Wire::U32, .name = "beams"}};

inline constexpr std::array<ArrayField, 5> DetectionArrays{
    ArrayField{.name = "beam", .wire = Wire::U16, .count = "detections"},
    ArrayField{.name = "angle", .wire = Wire::F32, .unit = Unit::Degree, .count = "detections"},
    ArrayField{.name = "travel time", .wire = Wire::F32, .unit = Unit::Second, .count = "detections"},
    ArrayField{.name = "level", .wire = Wire::F32, .unit = Unit::Decibel, .count = "detections"},
    ArrayField{.name = "quality", .wire = Wire::F32, .count = "detections"}};

/// A beam may have none or several.
inline constexpr RecordTable Detections{
    90021, "detections", 92, JoinedFields(EchoHead, {Field{.offset = 88, .wire = Wire::U32, .name = "detections"}}),
    RecordOptions{.carrier = Carrier::Data, .tail = Tail::Arrays, .arrays = DetectionArrays}};

inline constexpr std::array<ArrayField, 4> WaterColumnArrays{
    ArrayField{.name = "beam angle", .wire = Wire::F32, .unit = Unit::Degree, .count = "beams"},
    ArrayField{.name = "gain", .wire = Wire::F32, .unit = Unit::Decibel, .count = "samples"},
    ArrayField{.name = "noise", .wire = Wire::F32, .unit = Unit::Decibel, .count = "samples"},
    ArrayField{.name = "level", .wire = Wire::U8, .count = "samples", .rows = "beams"}};

/// Sample k is of k + 1/2 intervals after transmission; a level of n is floor + n x step.
inline constexpr RecordTable WaterColumn{
    90022, "water column", 116,
    JoinedFields(EchoHead, {Field{.offset = 88, .wire = Wire::U32, .name = "samples"},
                            Field{.offset = 92, .wire = Wire::F64, .unit = Unit::Second, .name = "interval"},
                            Field{.offset = 100, .wire = Wire::F64, .unit = Unit::Decibel, .name = "floor"},
                            Field{.offset = 108, .wire = Wire::F64, .unit = Unit::Decibel, .name = "step"}}),
    RecordOptions{.carrier = Carrier::Data, .tail = Tail::Arrays, .arrays = WaterColumnArrays}};

inline constexpr std::array<RecordLayout, 3> EchoRecords{EchoRequest, Detections, WaterColumn};

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
