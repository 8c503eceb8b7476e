// The tables as JSON.
#include "cli/table_json.h"

#include "cli/dissector_fields.h"
#include "cli/table_texts.h"

#include <protocol/print.h>
#include <protocol/record_table.h>

namespace qx5::cli {

namespace {

using protocol::Field;
using protocol::Tail;
using protocol::Wire;
using Members = std::vector<JsonValue::Member>;

JsonValue Text(std::string_view text)
{
    return JsonValue::Text(std::string(text));
}

JsonValue TextOrNull(std::string_view text)
{
    return text.empty() ? JsonValue{} : Text(text);
}

std::string_view FormName(Form form)
{
    switch (form) {
    case Form::Direct:
        return "direct";
    case Form::Strict:
        return "strict";
    case Form::Lax:
        return "lax";
    case Form::AllRequired:
        return "all required";
    case Form::Presence:
        return "presence";
    case Form::Own:
        return "own";
    }
    return "";
}

std::string_view SourceName(Source source)
{
    switch (source) {
    case Source::AsForm:
        return "as form";
    case Source::Request:
        return "request";
    case Source::Completed:
        return "completed";
    case Source::Stored:
        return "stored";
    case Source::Branch:
        return "branch";
    case Source::Told:
        return "told";
    }
    return "";
}

std::string_view TailName(Tail tail)
{
    switch (tail) {
    case Tail::None:
        return "";
    case Tail::Items:
        return "items";
    case Tail::I32List:
        return "i32";
    case Tail::U32List:
        return "u32";
    case Tail::U16List:
        return "u16";
    case Tail::Utf8:
        return "utf8";
    case Tail::Utf8Z:
        return "utf8z";
    case Tail::Bytes:
        return "bytes";
    case Tail::Arrays:
        return "arrays";
    }
    return "";
}

JsonValue TargetJson(Target const& target, Addressee addressee = Addressee::Target)
{
    bool const hasDevice = addressee == Addressee::Target;
    bool const hasEnumerator = addressee != Addressee::StoredSonar;
    return JsonValue::Object({{"device", hasDevice ? JsonValue::Integer(target.deviceId) : JsonValue{}},
                              {"enumerator", hasEnumerator ? JsonValue::Integer(target.enumerator) : JsonValue{}}});
}

JsonValue FieldsJson(std::span<Field const> fields)
{
    JsonValue list = JsonValue::Array();
    for (Field const& field : fields) {
        Members members{{"offset", JsonValue::Unsigned(field.offset)}, {"wire", Text(protocol::WireText(field.wire))}};
        bool const isBit = protocol::detail::IsBit(field.wire);
        if (isBit || field.wire == Wire::BitsOfU32) {
            members.emplace_back("bit", JsonValue::Unsigned(field.extent));
            members.emplace_back("bits", JsonValue::Unsigned(isBit ? 1 : field.bitCount));
        }
        members.emplace_back("width", JsonValue::Unsigned(protocol::WidthOf(field)));
        if (field.key != nullptr) {
            members.emplace_back("key", JsonValue::Text(field.key->text));
            members.emplace_back("part", JsonValue::Unsigned(field.part));
        } else {
            members.emplace_back("name", Text(TitleOf(field)));
            members.emplace_back("constant", JsonValue::Unsigned(field.constant));
        }
        members.emplace_back("unit", UnitOrNull(WireUnit(field)));
        members.emplace_back("conversion", TextOrNull(ConvertText(field.convert)));
        list.items.push_back(JsonValue::Object(std::move(members)));
    }
    return list;
}

JsonValue OperandsJson(Command const& command)
{
    JsonValue keys = JsonValue::Array();
    bool const completes = command.form == Form::Strict || command.form == Form::Lax;
    for (Operand const& operand : command.operands) {
        bool const triggers = IsRequestable(operand) && (!completes || operand.options.triggers);
        keys.items.push_back(JsonValue::Object(
            {{"key", JsonValue::Text(operand.key->text)},
             {"kind", Text(protocol::NameOf(operand.key->kind))},
             {"unit", UnitOrNull(operand.key->unit)},
             {"source", Text(SourceName(operand.options.source))},
             {"triggers", JsonValue::Bool(triggers)},
             {"optional", JsonValue::Bool(operand.options.optional)},
             {"echoed", JsonValue::Bool(command.echoFlags != NoEcho && operand.options.echo != Echo::None)}}));
    }
    return keys;
}

} // namespace

JsonValue UnitOrNull(protocol::Unit unit)
{
    return TextOrNull(protocol::UnitText(unit));
}

JsonValue KeyJson(protocol::Key const& key)
{
    return JsonValue::Object({{"key", JsonValue::Text(key.text)},
                              {"kind", Text(protocol::NameOf(key.kind))},
                              {"unit", UnitOrNull(key.unit)},
                              {"meaning", Text(key.meaning)},
                              {"filter", JsonValue::Text("x5." + FieldName(key))}});
}

JsonValue LayoutJson(protocol::RecordLayout const& record)
{
    JsonValue arrays = JsonValue::Array();
    for (protocol::ArrayField const& array : record.arrays) {
        arrays.items.push_back(JsonValue::Object({{"name", Text(array.name)},
                                                  {"wire", Text(protocol::WireText(array.wire))},
                                                  {"unit", UnitOrNull(array.unit)},
                                                  {"count", Text(array.count)},
                                                  {"rows", TextOrNull(array.rows)}}));
    }
    return JsonValue::Object(
        {{"number", JsonValue::Unsigned(record.id)},
         {"record", Text(record.name)},
         {"carrier", Text(CarrierName(record.carrier))},
         {"size", JsonValue::Unsigned(record.size)},
         {"layout", FieldsJson(record.fields)},
         {"tail", TextOrNull(TailName(record.tail))},
         {"tail_key", record.tailKey != nullptr ? JsonValue::Text(record.tailKey->text) : JsonValue{}},
         {"tail_name", TextOrNull(record.tailName)},
         {"item_size", JsonValue::Unsigned(record.itemSize)},
         {"items", FieldsJson(record.itemFields)},
         {"arrays", std::move(arrays)}});
}

JsonValue CommandJson(ChainEntry const& entry)
{
    Command const& command = *entry.command;
    JsonValue sends = JsonValue::Array();
    for (Sending const& sending : command.sends) {
        sends.items.push_back(JsonValue::Object({{"number", JsonValue::Unsigned(sending.record.id)},
                                                 {"record", Text(sending.record.name)},
                                                 {"carrier", Text(CarrierName(sending.record.carrier))},
                                                 {"size", JsonValue::Unsigned(sending.record.size)},
                                                 {"to", TargetJson(sending.target, sending.addressee)},
                                                 {"when", TextOrNull(sending.when.text)}}));
    }
    JsonValue asks = JsonValue::Array();
    for (FollowUp const& followUp : command.followUps) {
        asks.items.push_back(JsonValue::Object({{"number", JsonValue::Unsigned(followUp.recordId)},
                                                {"to", TargetJson(followUp.target)},
                                                {"when", TextOrNull(followUp.when.text)}}));
    }
    return JsonValue::Object(
        {{"row", JsonValue::Integer(entry.row)},
         {"handler", Text(entry.handler)},
         {"form", Text(FormName(command.form))},
         {"note", TextOrNull(command.note)},
         {"keys", OperandsJson(command)},
         {"sends", std::move(sends)},
         {"echo_flags", command.echoFlags == NoEcho ? JsonValue{} : JsonValue::Integer(command.echoFlags)},
         {"asks", std::move(asks)}});
}

} // namespace qx5::cli
