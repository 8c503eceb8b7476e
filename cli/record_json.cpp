// Frames taken apart into JSON.
#include "cli/record_json.h"

#include "cli/dissector_fields.h"
#include "cli/sonar_frames.h"
#include "cli/table_json.h"
#include "cli/table_texts.h"
#include "recording/recording_text.h"
#include "reference_host/monitor/monitored_record.h"
#include "json/tree_json.h"
#include "json/value_json.h"

#include <protocol/catalogue.h>
#include <protocol/echo_records.h>
#include <protocol/house_records.h>
#include <protocol/print.h>
#include <protocol/record_table.h>
#include <protocol/tree_codec.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <optional>
#include <set>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using protocol::Carrier;
using protocol::FieldValue;
using protocol::RecordLayout;
using protocol::Tail;
using protocol::Unit;
using Members = std::vector<JsonValue::Member>;

JsonValue KeyText(protocol::Key const& key)
{
    return JsonValue::Text(key.text);
}

/// The values of a record, one after another.
class Values
{
public:
    void AddFields(std::span<FieldValue const> fields, std::optional<std::size_t> item = {})
    {
        auto const ofKeys = protocol::KeyValues(fields);
        std::set<protocol::Key const*> told;
        for (FieldValue const& field : fields) {
            protocol::Key const* const key = field.field->key;
            if (key == nullptr) {
                Add({{"name", JsonValue::Text(std::string(TitleOf(*field.field)))},
                     {"value", WriteValue(field.wire)},
                     {"unit", UnitOrNull(WireUnit(*field.field))}},
                    item);
            } else if (field.field->convert == protocol::Convert::Computed) {
                Add({{"key", KeyText(*key)},
                     {"wire", WriteValue(field.wire)},
                     {"unit", UnitOrNull(WireUnit(*field.field))}},
                    item);
            } else if (told.insert(key).second) {
                auto const at =
                    std::find_if(ofKeys.begin(), ofKeys.end(), [&](auto const& known) { return known.first == key; });
                Add({{"key", KeyText(*key)},
                     {"value", at != ofKeys.end() ? WriteValue(at->second) : JsonValue{}},
                     {"unit", UnitOrNull(key->unit)}},
                    item);
            }
        }
    }

    void AddArray(protocol::UnpackedArray const& array, std::span<unsigned char const> payload)
    {
        protocol::Field const number{.wire = array.array->wire};
        std::size_t at = array.offset;
        auto const row = [&] {
            JsonValue numbers = JsonValue::Array();
            for (std::size_t i = 0; i < array.count; ++i, at += WidthOf(number)) {
                auto const bytes = payload.subspan(at, WidthOf(number));
                numbers.items.push_back(WriteValue(protocol::UnpackField(number, bytes).wire));
            }
            return numbers;
        };
        JsonValue value = JsonValue::Array();
        if (array.array->rows.empty()) {
            value = row();
        } else {
            for (std::size_t i = 0; i < array.rows; ++i) {
                value.items.push_back(row());
            }
        }
        Add({{"name", JsonValue::Text(std::string(array.array->name))},
             {"value", std::move(value)},
             {"unit", UnitOrNull(array.array->unit)}});
    }

    void AddTail(RecordLayout const& layout, protocol::UnpackedRecord const& record)
    {
        JsonValue::Member name = layout.tailKey != nullptr
                                     ? JsonValue::Member{"key", KeyText(*layout.tailKey)}
                                     : JsonValue::Member{"name", JsonValue::Text(std::string(layout.tailName))};
        if (layout.tail == Tail::Bytes) {
            Add({std::move(name), {"bytes", JsonValue::Text(recording::HexText(record.tailBytes))}});
            return;
        }
        if (protocol::IsEmpty(record.tail)) {
            return;
        }
        JsonValue value = WriteValue(record.tail);
        if (auto const* words = std::get_if<std::vector<std::int32_t>>(&record.tail);
            words != nullptr && layout.tail == Tail::U32List) {
            value = JsonValue::Array();
            for (auto const word : *words) {
                value.items.push_back(JsonValue::Unsigned(static_cast<std::uint32_t>(word)));
            }
        }
        auto const unit = layout.tailKey != nullptr ? layout.tailKey->unit : Unit::None;
        Add({std::move(name), {"value", std::move(value)}, {"unit", UnitOrNull(unit)}});
    }

    JsonValue Take() { return std::move(m_values); }

private:
    void Add(Members members, std::optional<std::size_t> item = {})
    {
        if (item) {
            members.insert(members.begin(), {"item", JsonValue::Unsigned(*item)});
        }
        m_values.items.push_back(JsonValue::Object(std::move(members)));
    }

    JsonValue m_values = JsonValue::Array();
};

/// What the payload of a record of known carrier and number says, for the members behind its head.
void AddContents(Members& members, Carrier carrier, std::uint32_t number, std::span<unsigned char const> payload)
{
    Values values;
    std::string damage;
    RecordLayout const* const layout = protocol::FindLayout(carrier, number, payload);
    if (layout != nullptr) {
        auto const record = protocol::Unpack(*layout, payload);
        values.AddFields(record.fields);
        for (std::size_t i = 0; i < record.items.size(); ++i) {
            values.AddFields(record.items[i], i);
        }
        for (auto const& array : record.arrays) {
            values.AddArray(array, payload);
        }
        bool const isTree = number == protocol::records::AttributeTree.Id() && carrier == Carrier::Data;
        if (record.missingBytes == 0 && !isTree) {
            values.AddTail(*layout, record);
        }
        if (record.missingBytes != 0) {
            damage = "it is shorter than what it tells";
        } else if (record.excessBytes != 0) {
            damage = fmt::format("{} bytes at the end belong to nothing", record.excessBytes);
        }
    }
    members.emplace_back("values", values.Take());
    if (carrier == Carrier::Data && number == protocol::records::AttributeTree.Id()) {
        std::string error;
        if (!protocol::DecodeTree(payload, error)) {
            damage = error;
        }
    }
    if (!damage.empty()) {
        members.emplace_back("damage", JsonValue::Text(damage));
    }
}

} // namespace

std::vector<JsonValue::Member> RecordMembers(protocol::FrameView const& frame)
{
    vordal::MonitoredRecord const shown(
        {.link = {}, .bytes = {frame.bytes.begin(), frame.bytes.end()}, .totalBytes = frame.bytes.size()});
    auto const command = protocol::ParseRemoteControl(frame);
    auto const carrier = command ? Carrier::RemoteControl : Carrier::Data;
    auto const payload = command ? command->payload : frame.data;
    auto const stamp = protocol::FromTimeX5(frame.header.time);
    Members members{{"number", JsonValue::Unsigned(shown.Number())},
                    {"record", JsonValue::Text(shown.Name())},
                    {"carrier", JsonValue::Text(std::string(CarrierName(carrier)))},
                    {"device", JsonValue::Unsigned(frame.header.deviceId)},
                    {"enumerator", JsonValue::Unsigned(frame.header.enumerator)}};
    if (command) {
        members.emplace_back("ticket", JsonValue::Unsigned(command->ticket));
    }
    members.emplace_back("stamp", stamp ? JsonValue::Double(*stamp) : JsonValue{});
    members.emplace_back("fields", JsonValue::Text(shown.Summary()));
    AddContents(members, carrier, shown.Number(), payload);
    if (auto const told = ToldAttributes(frame.bytes)) {
        members.emplace_back("tree", WriteTree(*told));
    }
    auto const passed = command && command->commandId == protocol::records::PassThroughCommand.Id()
                            ? protocol::DecodePassThrough(command->payload)
                            : std::nullopt;
    if (passed) {
        RecordLayout const* const layout =
            protocol::FindLayout(Carrier::PassThrough, passed->commandId, passed->payload);
        Members inner{{"number", JsonValue::Unsigned(passed->commandId)},
                      {"record", JsonValue::Text(std::string(layout != nullptr ? layout->name : "unknown"))},
                      {"carrier", JsonValue::Text(std::string(CarrierName(Carrier::PassThrough)))},
                      {"device", JsonValue::Integer(passed->target.deviceId)},
                      {"enumerator", JsonValue::Integer(passed->target.enumerator)}};
        AddContents(inner, Carrier::PassThrough, passed->commandId, passed->payload);
        members.emplace_back("passes", JsonValue::Object(std::move(inner)));
    }
    members.emplace_back("bytes", JsonValue::Text(recording::HexText(frame.bytes)));
    return members;
}

} // namespace qx5::cli
