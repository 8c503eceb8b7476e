// Documents written from the record tables.
#include "cli/documents/record_documents.h"

#include "cli/dissector_fields.h"
#include "cli/documents/templates.h"
#include "cli/table_texts.h"

#include <protocol/catalogue.h>
#include <protocol/print.h>
#include <protocol/utf8.h>

#include <set>
#include <string_view>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using protocol::Carrier;
using protocol::Field;
using protocol::RecordLayout;
using protocol::Tail;
using protocol::Wire;

std::string Utf8(protocol::Key const& key)
{
    return protocol::EncodeUtf8(key.text);
}

std::string NameOf(Field const& field)
{
    if (field.key == nullptr) {
        return std::string(TitleOf(field));
    }
    bool const hasParts = field.key->kind == protocol::Kind::Pair || field.key->kind == protocol::Kind::Offset;
    return hasParts ? fmt::format("{}[{}]", Utf8(*field.key), field.part) : Utf8(*field.key);
}

std::string WireOf(Field const& field)
{
    bool const hasWidth = field.wire == Wire::Text || field.wire == Wire::Bytes;
    return hasWidth ? fmt::format("{}[{}]", protocol::WireText(field.wire), field.extent)
                    : std::string(protocol::WireText(field.wire));
}

std::string_view CarrierText(Carrier carrier)
{
    switch (carrier) {
    case Carrier::RemoteControl:
        return "command";
    case Carrier::Data:
        return "data record";
    case Carrier::PassThrough:
        return "command passed on";
    }
    return "";
}

std::string_view TailText(Tail tail)
{
    switch (tail) {
    case Tail::None:
    case Tail::Items:
    case Tail::Arrays:
        return "";
    case Tail::I32List:
        return "i32, to the end";
    case Tail::U32List:
        return "u32, to the end";
    case Tail::U16List:
        return "u16, to the end";
    case Tail::Utf8:
        return "UTF-8 text, to the end";
    case Tail::Utf8Z:
        return "UTF-8 text and a 0, to the end";
    case Tail::Bytes:
        return "bytes, to the end";
    }
    return "";
}

std::string TailName(RecordLayout const& record)
{
    return record.tailKey != nullptr ? Utf8(*record.tailKey) : std::string(record.tailName);
}

// The manual's tables.

std::string FieldRows(std::span<Field const> fields)
{
    std::string text;
    for (Field const& field : fields) {
        std::string remark(ConvertText(field.convert));
        if (field.constant != 0) {
            remark += fmt::format("{}always {}", remark.empty() ? "" : "; ", field.constant);
        }
        text += fmt::format("| {} | {} | {} | {} | {} |\n", Place(field), WireOf(field), NameOf(field),
                            protocol::UnitText(WireUnit(field)), remark);
    }
    return text;
}

std::string ArrayRows(std::span<protocol::ArrayField const> arrays)
{
    std::string text;
    for (protocol::ArrayField const& array : arrays) {
        text += fmt::format("| {} | {} | {} | {}{}{} |\n", protocol::WireText(array.wire), array.name,
                            protocol::UnitText(array.unit), array.rows, array.rows.empty() ? "" : " x ", array.count);
    }
    return text;
}

// The dissector. It is a table of fields, one of the records, and a program that reads both.

std::string LuaText(std::string_view text)
{
    std::string quoted = "\"";
    for (char const character : text) {
        if (character == '"' || character == '\\') {
            quoted += '\\';
        }
        quoted += character;
    }
    return quoted + '"';
}

/// By what name the dissector knows the way from the wire's number to the key's value; empty where that is the number.
std::string_view LuaConversion(protocol::Convert convert)
{
    using protocol::Convert;
    switch (convert) {
    case Convert::None:
        return "";
    case Convert::Radians:
    case Convert::RadiansByFactor:
        return "radians";
    case Convert::NegatedRadians:
    case Convert::NegatedRadiansByFactor:
        return "negated_radians";
    case Convert::Negated:
        return "negated";
    case Convert::TimesThousand:
        return "times_thousand";
    case Convert::Thousandth:
        return "thousandth";
    case Convert::TimesTwenty:
        return "times_twenty";
    case Convert::FifthOfFloat:
        return "fifth_of_float";
    case Convert::Truncated:
        return "truncated";
    case Convert::SetWhenZero:
        return "set_when_zero";
    case Convert::SetWhenOne:
        return "set_when_one";
    case Convert::PlusOne:
        return "plus_one";
    case Convert::Computed:
        return "computed";
    }
    return "";
}

std::string LuaDefinitions()
{
    std::string text;
    for (DissectorField const& field : DissectorFields()) {
        text += fmt::format("    {{ name = {}, kind = {}, title = {}", LuaText(field.name),
                            LuaText(TypeText(field.type)), LuaText(field.title));
        if (auto const unit = protocol::UnitText(field.unit); !unit.empty()) {
            text += fmt::format(", unit = {}", LuaText(unit));
        }
        if (!field.meaning.empty()) {
            text += fmt::format(", meaning = {}", LuaText(field.meaning));
        }
        text += field.key != nullptr ? ", key = true },\n" : " },\n";
    }
    return text;
}

std::string LuaFields(RecordLayout const& record, std::span<Field const> fields)
{
    std::string text;
    for (Field const& field : fields) {
        text += fmt::format("            {{ at = {}, width = {}, wire = {}, name = {}, field = {}", field.offset,
                            protocol::WidthOf(field), LuaText(protocol::WireText(field.wire)), LuaText(NameOf(field)),
                            LuaText(FieldName(record, field)));
        bool const isBit = field.wire == Wire::BitOfU16 || field.wire == Wire::BitOfU32 || field.wire == Wire::BitOfU64;
        if (isBit || field.wire == Wire::BitsOfU32) {
            text += fmt::format(", bit = {}, bits = {}", field.extent, isBit ? 1 : int{field.bitCount});
        }
        if (auto const unit = protocol::UnitText(WireUnit(field)); !unit.empty()) {
            text += fmt::format(", unit = {}", LuaText(unit));
        }
        if (auto const conversion = LuaConversion(field.convert); !conversion.empty() && field.key != nullptr) {
            text += fmt::format(", convert = {}", LuaText(conversion));
            if (auto const unit = protocol::UnitText(field.key->unit); !unit.empty()) {
                text += fmt::format(", keyUnit = {}", LuaText(unit));
            }
        }
        if (field.key == nullptr && field.constant != 0) {
            text += fmt::format(", constant = {}", field.constant);
        }
        text += " },\n";
    }
    return text;
}

std::string LuaArrays(RecordLayout const& record)
{
    std::string text;
    for (protocol::ArrayField const& array : record.arrays) {
        text += fmt::format("            {{ wire = {}, width = {}, name = {}, field = {}, unit = {}, count = {}",
                            LuaText(protocol::WireText(array.wire)), protocol::WidthOf(array), LuaText(array.name),
                            LuaText(FieldName(record, array)), LuaText(protocol::UnitText(array.unit)),
                            LuaText(array.count));
        text += array.rows.empty() ? " },\n" : fmt::format(", rows = {} }},\n", LuaText(array.rows));
    }
    return text;
}

std::string_view LuaTail(Tail tail)
{
    switch (tail) {
    case Tail::None:
        return "none";
    case Tail::Items:
        return "items";
    case Tail::I32List:
        return "i32";
    case Tail::U32List:
        return "u32";
    case Tail::U16List:
        return "u16";
    case Tail::Utf8:
    case Tail::Utf8Z:
        return "text";
    case Tail::Bytes:
        return "bytes";
    case Tail::Arrays:
        return "arrays";
    }
    return "none";
}

std::string_view LuaCarrier(Carrier carrier)
{
    switch (carrier) {
    case Carrier::RemoteControl:
        return "command";
    case Carrier::Data:
        return "data";
    case Carrier::PassThrough:
        return "passed";
    }
    return "data";
}

} // namespace

std::string Filled(std::string_view document, std::string_view name, std::string_view text)
{
    std::size_t const mark = document.find(fmt::format("@{}@", name));
    std::size_t const begin = document.rfind('\n', mark) + 1;
    std::size_t const end = document.find('\n', mark) + 1;
    return fmt::format("{}{}{}", document.substr(0, begin), text, document.substr(end));
}

std::string RecordTables()
{
    std::string text;
    for (RecordLayout const& record : protocol::AllLayouts()) {
        text += fmt::format("## {} {}\n\n{}, {} bytes{}\n\n", record.id, record.name, CarrierText(record.carrier),
                            record.size, record.tail == Tail::None ? "" : " and what follows them");
        if (!record.fields.empty() || record.tail != Tail::None) {
            text += "| at | wire | key or name | unit | remark |\n|---|---|---|---|---|\n" + FieldRows(record.fields);
        }
        if (record.tail == Tail::Items) {
            text += fmt::format("\nThen items of {} bytes to the end:\n\n| at | wire | key or name | unit | remark |\n"
                                "|---|---|---|---|---|\n",
                                record.itemSize) +
                    FieldRows(record.itemFields);
        } else if (record.tail == Tail::Arrays) {
            text +=
                fmt::format("\nThen arrays without gaps:\n\n| wire | name | unit | numbers |\n|---|---|---|---|\n{}",
                            ArrayRows(record.arrays));
        } else if (record.tail != Tail::None) {
            text += fmt::format("| @{} | {} | {} | | |\n", record.size, TailText(record.tail), TailName(record));
        }
        text += '\n';
    }
    std::string keys;
    for (protocol::Key const* const key : protocol::AllKeys()) {
        std::set<std::uint32_t> ids;
        for (RecordLayout const& record : protocol::AllLayouts()) {
            bool carries = record.tailKey == key;
            for (auto const fields : {record.fields, record.itemFields}) {
                for (Field const& field : fields) {
                    carries = carries || field.key == key;
                }
            }
            if (carries) {
                ids.insert(record.id);
            }
        }
        keys += fmt::format("| `{}` | {} | {} | {} | {} |\n", Utf8(*key), protocol::NameOf(key->kind),
                            protocol::UnitText(key->unit), key->meaning, fmt::join(ids, ", "));
    }
    return Filled(Filled(documents::records_md, "records", text), "keys", keys);
}

std::string WiresharkDissector()
{
    std::string text;
    for (RecordLayout const& record : protocol::AllLayouts()) {
        text += fmt::format("    {{ carrier = {}, id = {}, name = {}, size = {}, tail = {}, tailName = {},\n"
                            "        itemSize = {}, ",
                            LuaText(LuaCarrier(record.carrier)), record.id, LuaText(record.name), record.size,
                            LuaText(LuaTail(record.tail)), LuaText(TailName(record)), record.itemSize);
        bool const tellsTail = record.tail != Tail::None && record.tail != Tail::Arrays;
        if (tellsTail && (record.tail != Tail::Items || record.tailKey != nullptr)) {
            text += fmt::format("tailField = {}, ", LuaText(TailFieldName(record)));
        }
        text += "fields = {\n" + LuaFields(record, record.fields) + "        }, items = {\n" +
                LuaFields(record, record.itemFields) + "        }";
        if (!record.arrays.empty()) {
            text += ", arrays = {\n" + LuaArrays(record) + "        }";
        }
        text += " },\n";
    }
    return Filled(Filled(documents::x5_records_lua, "records", text), "fields", LuaDefinitions());
}

} // namespace qx5::cli
