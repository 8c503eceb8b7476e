// The dissector's fields, put together from the record tables.
#include "cli/dissector_fields.h"

#include <protocol/catalogue.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <set>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using protocol::Convert;
using protocol::Field;
using protocol::Kind;
using protocol::RecordLayout;
using protocol::Tail;
using protocol::Unit;
using protocol::Wire;

bool IsSmallLetter(char c)
{
    return c >= 'a' && c <= 'z';
}
bool IsCapitalLetter(char c)
{
    return c >= 'A' && c <= 'Z';
}
bool IsDigitOfName(char c)
{
    return c >= '0' && c <= '9';
}

/// What the frame, and what surrounds the records' own fields, tell.
std::vector<DissectorField> FieldsOfFrame()
{
    return {
        {"version", "Protocol version", FieldType::UInt32},
        {"size", "Size", FieldType::UInt32, Unit::Byte, "of the whole frame"},
        {"time", "Time", FieldType::Time, Unit::None, "of the frame's own time stamp, UTC"},
        {"record_version", "Record version", FieldType::UInt32},
        {"record", "Record", FieldType::UInt32, Unit::None, "7500 for every remote-control record"},
        {"device", "Device", FieldType::UInt32},
        {"enumerator", "Enumerator", FieldType::UInt32},
        {"command", "Command", FieldType::UInt32, Unit::None, "of a remote-control record, or passed on in one"},
        {"ticket", "Ticket", FieldType::UInt32},
        {"tracking_number", "Tracking number", FieldType::Bytes},
        {"number", "Number", FieldType::UInt32, Unit::None,
         "the command's of a remote-control record, else the record's"},
        {"name", "Name", FieldType::String, Unit::None, "of the record of that number"},
        {"to_sonar", "To the sonar", FieldType::Bool, Unit::None, "false for what the sonar sent"},
        {"payload", "Payload", FieldType::Bytes, Unit::None, "that no table tells"},
        {"passed_on", "Passed on", FieldType::String, Unit::None, "the name of a command for another unit"},
        {"item", "Item", FieldType::UInt32, Unit::None, "of what repeats in a record, from 0"},
        {"note", "Note", FieldType::String, Unit::None, "what stands in place of many numbers, or of no time"},
        {"attribute.path", "Attribute", FieldType::String, Unit::None, "keys with / between them"},
        {"attribute.kind", "Kind", FieldType::String, Unit::None, "of an attribute's value; none for a branch alone"},
        {"attribute.value", "Value", FieldType::String, Unit::None, "of an attribute as text"},
        {"begins", "Begins", FieldType::UInt32, Unit::Byte, "a record that ends in a later segment, or never"},
        {"skipped", "Bytes that belong to no record", FieldType::Bytes},
    };
}

bool CarriesTime(Field const& field)
{
    return field.wire == Wire::TimeX5;
}

/// Keys whose values travel as time stamps.
std::set<protocol::Key const*> KeysOfTimes()
{
    std::set<protocol::Key const*> keys;
    for (RecordLayout const& record : protocol::AllLayouts()) {
        for (auto const fields : {record.fields, record.itemFields}) {
            for (Field const& field : fields) {
                if (field.key != nullptr && CarriesTime(field)) {
                    keys.insert(field.key);
                }
            }
        }
    }
    return keys;
}

FieldType TypeOf(Kind kind)
{
    switch (kind) {
    case Kind::Int:
        return FieldType::Int32;
    case Kind::UInt:
        return FieldType::UInt32;
    case Kind::Int64:
    case Kind::IntList: // records carry lists of signed and of unsigned words
        return FieldType::Int64;
    case Kind::Bool:
        return FieldType::Bool;
    case Kind::Double:
    case Kind::Pair:
    case Kind::Offset:
    case Kind::DoubleList:
        return FieldType::Double;
    case Kind::DataId:
    case Kind::String:
        return FieldType::String;
    case Kind::Branch:
    case Kind::Any:
        return FieldType::None;
    }
    return FieldType::None;
}

FieldType TypeOf(Wire wire)
{
    switch (wire) {
    case Wire::U8:
    case Wire::U16:
    case Wire::U32:
    case Wire::BitsOfU32:
        return FieldType::UInt32;
    case Wire::I32:
        return FieldType::Int32;
    case Wire::F32:
    case Wire::F64:
        return FieldType::Double;
    case Wire::BitOfU16:
    case Wire::BitOfU32:
    case Wire::BitOfU64:
        return FieldType::Bool;
    case Wire::Text:
    case Wire::Bytes:
        return FieldType::String;
    case Wire::TimeX5:
        return FieldType::Time;
    }
    return FieldType::None;
}

FieldType TypeOf(Tail tail)
{
    switch (tail) {
    case Tail::I32List:
    case Tail::U32List:
        return FieldType::Int64;
    case Tail::U16List:
        return FieldType::UInt32;
    case Tail::Utf8:
    case Tail::Utf8Z:
        return FieldType::String;
    case Tail::None:
    case Tail::Items:
    case Tail::Arrays:
    case Tail::Bytes:
        break;
    }
    return FieldType::Bytes;
}

std::string NameWithin(RecordLayout const& record, std::string_view name)
{
    return fmt::format("{}.{}", SnakeCase(record.name), SnakeCase(name));
}

/// What records carry that is not a key's value.
class FieldsWithoutKey
{
public:
    void AddRecord(RecordLayout const& record)
    {
        for (auto const fields : {record.fields, record.itemFields}) {
            for (Field const& field : fields) {
                AddField(record, field);
            }
        }
        for (protocol::ArrayField const& array : record.arrays) {
            // Many rows are shown as the bytes that they are.
            auto const type = array.rows.empty() ? TypeOf(array.wire) : FieldType::Bytes;
            Add({FieldName(record, array), std::string(array.name), type, array.unit});
        }
        bool const tellsTail = record.tail != Tail::None && record.tail != Tail::Items && record.tail != Tail::Arrays;
        if (tellsTail && record.tailKey == nullptr) {
            Add({TailFieldName(record), std::string(record.tailName), TypeOf(record.tail)});
        }
    }
    std::vector<DissectorField> Take() { return std::move(m_fields); }

private:
    void AddField(RecordLayout const& record, Field const& field)
    {
        if (field.key == nullptr) {
            Add({FieldName(record, field), std::string(TitleOf(field)), TypeOf(field.wire), WireUnit(field)});
        } else if (field.convert == Convert::Computed) {
            Add({FieldName(record, field), protocol::EncodeUtf8(field.key->text) + " on the wire", TypeOf(field.wire),
                 WireUnit(field), field.key->meaning});
        }
    }
    /// Forms of one record, and fields of one name in one record, share a field where they hold the same.
    void Add(DissectorField field)
    {
        bool const isKnown = std::any_of(m_fields.begin(), m_fields.end(), [&](DissectorField const& known) {
            return known.name == field.name && known.type == field.type && known.unit == field.unit;
        });
        if (!isKnown) {
            m_fields.push_back(std::move(field));
        }
    }

    std::vector<DissectorField> m_fields;
};

} // namespace

std::string_view TypeText(FieldType type)
{
    switch (type) {
    case FieldType::None:
        return "none";
    case FieldType::Bool:
        return "bool";
    case FieldType::UInt32:
        return "uint32";
    case FieldType::Int32:
        return "int32";
    case FieldType::Int64:
        return "int64";
    case FieldType::Double:
        return "double";
    case FieldType::String:
        return "string";
    case FieldType::Bytes:
        return "bytes";
    case FieldType::Time:
        return "absolute_time";
    }
    return "none";
}

std::string SnakeCase(std::string_view text)
{
    text = text.substr(0, text.find(" ("));
    bool const hasPrefix = text.size() > 2 && (text[0] == 'x' || text[0] == 'X') && text[1] == '5' &&
                           (IsCapitalLetter(text[2]) || IsDigitOfName(text[2]));
    if (hasPrefix) {
        text.remove_prefix(2);
    }
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        if (!IsSmallLetter(c) && !IsCapitalLetter(c) && !IsDigitOfName(c)) {
            if (!name.empty() && name.back() != '_') {
                name += '_';
            }
            continue;
        }
        bool const followsSmall = i > 0 && (IsSmallLetter(text[i - 1]) || IsDigitOfName(text[i - 1]));
        bool const followsCapital = i > 0 && IsCapitalLetter(text[i - 1]);
        bool const precedesSmall = i + 1 < text.size() && IsSmallLetter(text[i + 1]);
        if (IsCapitalLetter(c) && (followsSmall || (followsCapital && precedesSmall))) {
            name += '_';
        }
        name += IsCapitalLetter(c) ? static_cast<char>(c - 'A' + 'a') : c;
    }
    while (name.ends_with('_')) {
        name.pop_back();
    }
    return name;
}

std::string FieldName(protocol::Key const& key)
{
    return SnakeCase(protocol::EncodeUtf8(key.text));
}

std::string_view TitleOf(Field const& field)
{
    return field.name.empty() ? std::string_view("constant") : field.name;
}

std::string FieldName(RecordLayout const& record, Field const& field)
{
    if (field.key == nullptr) {
        return NameWithin(record, TitleOf(field));
    }
    return field.convert == Convert::Computed ? FieldName(*field.key) + ".wire" : FieldName(*field.key);
}

std::string FieldName(RecordLayout const& record, protocol::ArrayField const& array)
{
    return NameWithin(record, array.name);
}

std::string TailFieldName(RecordLayout const& record)
{
    return record.tailKey != nullptr ? FieldName(*record.tailKey) : NameWithin(record, record.tailName);
}

std::vector<DissectorField> DissectorFields()
{
    auto all = FieldsOfFrame();
    auto const times = KeysOfTimes();
    for (protocol::Key const* const key : protocol::AllKeys()) {
        bool const isTime = times.contains(key);
        all.push_back({FieldName(*key), protocol::EncodeUtf8(key->text), isTime ? FieldType::Time : TypeOf(key->kind),
                       isTime ? Unit::None : key->unit, key->meaning, key});
    }
    FieldsWithoutKey others;
    for (RecordLayout const& record : protocol::AllLayouts()) {
        others.AddRecord(record);
    }
    auto fields = others.Take();
    std::move(fields.begin(), fields.end(), std::back_inserter(all));
    return all;
}

std::vector<std::string> LintDissectorFields(std::span<DissectorField const> fields)
{
    std::vector<std::string> problems;
    std::set<std::string_view> names;
    for (DissectorField const& field : fields) {
        bool const isSound = std::all_of(field.name.begin(), field.name.end(), [](char c) {
            return IsSmallLetter(c) || IsDigitOfName(c) || c == '_' || c == '.';
        });
        if (field.name.empty() || field.name.front() == '.' || field.name.back() == '.' || !isSound) {
            problems.push_back(fmt::format("'{}' ({}) is no name of a field", field.name, field.title));
        }
        if (!names.insert(field.name).second) {
            problems.push_back(fmt::format("{} ({}) stands twice", field.name, field.title));
        }
    }
    return problems;
}

} // namespace qx5::cli
