// What two frames of the same record tell otherwise, field by field.
#pragma once

#include <protocol/frame.h>
#include <protocol/record_layout.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qx5::cli {

/// A frame as a command or a record.
struct FrameParts
{
    protocol::FrameView view;
    protocol::Carrier carrier = protocol::Carrier::Data;
    std::uint32_t id = 0;                   ///< of the command, or the record
    std::span<unsigned char const> payload; ///< behind the head of a remote-control record, or the data section
};

/// Views of the bytes; nothing when they are no frame.
std::optional<FrameParts> PartsOf(std::span<unsigned char const> frame);

/// "1003 range", "7611 absorption"; "no frame" for other bytes.
std::string NameOf(std::span<unsigned char const> frame);

/// The frame with zeros in the place of what tells when it left: the header's time stamp, and the time stamps of the
/// payload that no key of a request gives. Other bytes stay as they are.
std::vector<unsigned char> WithoutTimes(std::span<unsigned char const> frame);

/// Whether the two are the same but for times.
bool AreSame(std::span<unsigned char const> recorded, std::span<unsigned char const> today);

/// A line for each field that differs, times apart, without its end: "@0  f32  x5Range: recorded 50, today 49", offsets
/// from the start of the payload; bytes that are no field as "byte 12 of the frame: ...". Empty when they are the same.
std::vector<std::string> FieldDifferences(std::span<unsigned char const> recorded,
                                          std::span<unsigned char const> today);

} // namespace qx5::cli
