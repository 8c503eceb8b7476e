// Every field that the dissector tells, each under the one name by which captured traffic is filtered and exported.
#pragma once

#include <protocol/record_layout.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// What a field of the dissector holds.
enum class FieldType : std::uint8_t
{
    None, ///< only that it is there
    Bool,
    UInt32,
    Int32,
    Int64,
    Double,
    String,
    Bytes,
    Time, ///< a moment
};
/// Of Wireshark's Lua: "bool", "uint32", "absolute_time"...
std::string_view TypeText(FieldType type);

/// One field: what it is called, what it holds, what it says.
struct DissectorField
{
    std::string name;  ///< by which it is filtered, after "x5.": "depth_gate_tilt", "detections.ping_number"
    std::string title; ///< by which it is shown: the key's text, or words
    FieldType type = FieldType::None;
    protocol::Unit unit = protocol::Unit::None;
    std::string_view meaning = {};
    protocol::Key const* key = nullptr; ///< whose value it is; null for none
};

/// The name of what is called `text`: its words in lower case with '_' between them. A word begins with a capital
/// letter behind a small one or a digit, and with the last one of several capital letters that a small one follows;
/// what is neither letter nor digit stands between words. An "x5" that begins a key and what stands in brackets at the
/// end do not count: "x5AGWindowSize" becomes "ag_window_size", "state (0 off, 1 on)" becomes "state".
std::string SnakeCase(std::string_view text);

/// Of the value of a key.
std::string FieldName(protocol::Key const& key);
/// Of a field of that record: of its key's value where it has one; of the number on the wire where no value can be told
/// from that ("custom_beams.wire"), or there is no key ("detections.ping_number").
std::string FieldName(protocol::RecordLayout const& record, protocol::Field const& field);
std::string FieldName(protocol::RecordLayout const& record, protocol::ArrayField const& array);
/// Of what follows the record's fixed fields, where that is no array and no list of items.
std::string TailFieldName(protocol::RecordLayout const& record);

/// What a field is called in words where it has no key.
std::string_view TitleOf(protocol::Field const& field);

/// All of them: of the frame, of the keys, of what records carry without key. One that several records have stands
/// once.
std::vector<DissectorField> DissectorFields();

/// What is wrong with such a list, a line each: a name that stands twice, one that is empty or that no filter can hold.
std::vector<std::string> LintDissectorFields(std::span<DissectorField const> fields);

} // namespace qx5::cli
