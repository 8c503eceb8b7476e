// Records as text for people: `qx5 decode` and the record monitor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include <protocol/frame.h>
#include <protocol/record_layout.h>
#include <protocol/value.h>

namespace qx5::protocol {

/// "m", "deg", "dB/km"...; empty for None.
std::string_view UnitText(Unit unit);
/// "u16", "f32", "bit"...
std::string_view WireText(Wire wire);

/// The shortest text that reads back to the same number, whatever the locale: "50", "0.1", "-0", "nan", "inf".
std::string NumberText(double value);
std::string NumberText(float value);

/// A value in one line, texts in quotes with control characters escaped, lists in brackets; "none" for no value.
std::string ValueText(Value const& value);

/// Lines of 16 bytes: offset, hexadecimal bytes, characters; each line begins with `indent` and ends with a newline.
/// Of more than `limit` bytes the rest is only counted.
std::string HexDump(std::span<unsigned char const> bytes, std::string_view indent, std::size_t limit = 4096);

/// The fields of a payload line by line, with units; a converted field tells the attribute's value first and the wire's
/// after it. Each line begins with `indent` and ends with a newline.
std::string PrintPayload(RecordLayout const& layout, std::span<unsigned char const> payload, std::string_view indent);

/// The same for a record that is looked up in the catalogue; unknown ones become a hex dump.
std::string PrintPayload(Carrier carrier, std::uint32_t id, std::span<unsigned char const> payload,
                         std::string_view indent);

/// A whole record: a line on its frame, for a remote-control record one on its command, then the fields.
std::string PrintFrame(FrameView const& frame);

} // namespace qx5::protocol
