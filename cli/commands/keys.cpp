// `qx5 keys` and `qx5 explain`: the request keys and what becomes of them, told from the tables that the handlers use.
#include "cli/commands.h"

#include "cli/key_values.h"
#include "cli/table_json.h"
#include "cli/table_texts.h"
#include <commands/catalogue.h>
#include <protocol/catalogue.h>
#include <protocol/print.h>
#include <protocol/record_table.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using protocol::Field;
using protocol::Kind;

std::string Text(protocol::Key const& key)
{
    return protocol::EncodeUtf8(key.text);
}

std::string_view FormText(Form form)
{
    switch (form) {
    case Form::Direct:
        return "direct: the key must be readable in the request";
    case Form::Strict:
        return "strict: any key marked * in the request starts it; each value is taken from the request, failing that "
               "from the device's stored tree; a value found in neither drops the whole request";
    case Form::Lax:
        return "lax: any key marked * in the request starts it; each value is taken from the request, failing that "
               "from the device's stored tree; a value found in neither keeps its default";
    case Form::AllRequired:
        return "all required: every key must be readable in the request";
    case Form::Presence:
        return "presence: that the key is in the request is enough, its value is not read";
    case Form::Own:
        return "in its own way";
    }
    return "";
}

std::string TargetText(Target const& target, Addressee addressee = Addressee::Target)
{
    if (addressee == Addressee::StoredDevice) {
        return fmt::format("device \"DeviceId\" of the stored tree (0 when it is not there), enumerator {}",
                           target.enumerator);
    }
    if (addressee == Addressee::StoredSonar) {
        return "device \"DeviceId\" and enumerator \"DeviceEnum\" of the stored tree (enumerator 0 where "
               "\"x5SystemIDH\" is true), not while \"DeviceId\" is 0";
    }
    if (target == OwnSonar) {
        return "the sonar (device 0, enumerator -1)";
    }
    if (target == Processor) {
        return "the sonar processor (device 7000, enumerator 0)";
    }
    return fmt::format("device {}, enumerator {}", target.deviceId, target.enumerator);
}

/// The places of a key in a record, for a table; empty when the record does not carry it.
std::string PlacesOf(protocol::RecordLayout const& record, protocol::Key const& key)
{
    std::string places;
    auto const add = [&](Field const& field, std::string_view prefix) {
        if (field.key == &key) {
            places += (places.empty() ? "" : ", ") + std::string(prefix) + Place(field);
        }
    };
    for (Field const& field : record.fields) {
        add(field, "");
    }
    for (Field const& field : record.itemFields) {
        add(field, "item ");
    }
    if (record.tailKey == &key) {
        places += (places.empty() ? "" : ", ") + fmt::format("@{} to the end", record.size);
    }
    return places;
}

struct KeyRow
{
    std::string key;
    std::string kind;
    std::string unit;
    std::string record;
    std::string offset;
    std::string handler;
    protocol::Key const* last = nullptr; ///< of a path, the key whose value it is
    int row = 0;                         ///< of the chain
    std::vector<std::uint32_t> numbers = {};
    std::vector<std::string> places = {}; ///< in the records, in their order; empty where one does not carry the key
};

std::vector<KeyRow> CollectRows()
{
    std::vector<KeyRow> rows;
    for (ChainEntry const& entry : Chain()) {
        std::set<protocol::Key const*> told;
        for (Operand const& operand : entry.command->operands) {
            if (!IsRequestable(operand) || !told.insert(operand.key).second) {
                continue;
            }
            KeyRow row;
            row.key = Text(*operand.key);
            if (operand.options.source == Source::Branch) {
                row.key = Text(*entry.command->operands.front().key) + '/' + row.key;
            }
            row.kind = protocol::NameOf(operand.key->kind);
            row.unit = protocol::UnitText(operand.key->unit);
            row.handler = entry.handler;
            row.last = &*operand.key;
            row.row = entry.row;
            std::set<std::uint32_t> records;
            for (Sending const& sending : entry.command->sends) {
                std::string const places = PlacesOf(sending.record, *operand.key);
                if (records.insert(sending.record.id).second) {
                    row.numbers.push_back(sending.record.id);
                    row.places.push_back(places);
                    row.record += (row.record.empty() ? "" : ", ") + std::to_string(sending.record.id);
                    row.offset += (row.offset.empty() || places.empty() ? "" : ", ") + places;
                }
            }
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

/// {"key", "kind", "unit", "meaning", "filter", "handler", "row", "records"}, a path of keys in place of the key.
JsonValue RowJson(KeyRow const& row)
{
    auto json = KeyJson(*row.last);
    json.members.front().second = JsonValue::Text(row.key);
    JsonValue records = JsonValue::Array();
    for (std::size_t i = 0; i < row.numbers.size(); ++i) {
        records.items.push_back(
            JsonValue::Object({{"number", JsonValue::Unsigned(row.numbers[i])},
                               {"place", row.places[i].empty() ? JsonValue{} : JsonValue::Text(row.places[i])}}));
    }
    json.members.emplace_back("handler", JsonValue::Text(row.handler));
    json.members.emplace_back("row", JsonValue::Integer(row.row));
    json.members.emplace_back("records", std::move(records));
    return json;
}

bool Matches(KeyRow const& row, std::string const& filter)
{
    auto const lower = [](std::string text) {
        for (char& character : text) {
            if (character >= 'A' && character <= 'Z') {
                character = static_cast<char>(character - 'A' + 'a');
            }
        }
        return text;
    };
    std::string const wanted = lower(filter);
    return lower(row.key).find(wanted) != std::string::npos || lower(row.handler).find(wanted) != std::string::npos ||
           row.record.find(wanted) != std::string::npos;
}

void PrintFields(std::span<Field const> fields, protocol::Key const* marked, std::string_view indent)
{
    for (Field const& field : fields) {
        std::string line = fmt::format("{}{:<14} {:<6} ", indent, Place(field), protocol::WireText(field.wire));
        if (field.key != nullptr) {
            line += Text(*field.key);
            if (field.key->kind == Kind::Pair || field.key->kind == Kind::Offset) {
                line += fmt::format("[{}]", field.part);
            }
        } else {
            line += field.name.empty() ? std::string("constant") : std::string(field.name);
            if (field.constant != 0) {
                line += fmt::format(" = {}", field.constant);
            }
        }
        if (std::string_view const unit = protocol::UnitText(protocol::WireUnit(field)); !unit.empty()) {
            line += fmt::format(" [{}]", unit);
        }
        if (field.extent != 0 && (field.wire == protocol::Wire::Text || field.wire == protocol::Wire::Bytes)) {
            line += fmt::format(", {} bytes", field.extent);
        }
        if (std::string_view const convert = ConvertText(field.convert); !convert.empty()) {
            line += fmt::format(", {}", convert);
        }
        if (marked != nullptr && field.key == marked) {
            line += "  <--";
        }
        fmt::print("{}\n", line);
    }
}

std::string DefaultText(Operand const& operand)
{
    switch (operand.key->kind) {
    case Kind::Bool:
        return operand.options.fallback != 0.0 ? "true" : "false";
    case Kind::String:
    case Kind::IntList:
    case Kind::DoubleList:
        return "empty";
    default:
        return protocol::NumberText(operand.options.fallback);
    }
}

std::string_view CarrierWords(protocol::Carrier carrier)
{
    switch (carrier) {
    case protocol::Carrier::RemoteControl:
        return "record";
    case protocol::Carrier::Data:
        return "data record";
    case protocol::Carrier::PassThrough:
        return "command to be passed through";
    }
    return "";
}

std::string SizeText(protocol::RecordLayout const& record)
{
    std::string const size = fmt::format("{} bytes", record.size);
    if (record.tail == protocol::Tail::None) {
        return size;
    }
    std::string const rest = record.tail == protocol::Tail::Items    ? fmt::format("items of {} bytes", record.itemSize)
                             : record.tail == protocol::Tail::Arrays ? std::string("arrays")
                             : record.tailName.empty()               ? std::string("what follows")
                                                                     : std::string(record.tailName);
    return fmt::format("{} and {}", size, rest);
}

void PrintLayout(protocol::RecordLayout const& record, protocol::Key const* marked)
{
    PrintFields(record.fields, marked, "          ");
    PrintFields(record.itemFields, marked, "          item ");
    if (record.tailKey != nullptr) {
        fmt::print("          @{} to the end  {}\n", record.size, Text(*record.tailKey));
    }
    for (protocol::ArrayField const& array : record.arrays) {
        std::string_view const unit = protocol::UnitText(array.unit);
        fmt::print("          array          {:<6} {}{}, {}{}{}\n", protocol::WireText(array.wire), array.name,
                   unit.empty() ? "" : fmt::format(" [{}]", unit), array.rows, array.rows.empty() ? "" : " x ",
                   array.count);
    }
}

void ExplainEntry(ChainEntry const& entry, protocol::Key const* marked)
{
    Command const& command = *entry.command;
    fmt::print("row {} of the chain, {}\n", entry.row, entry.handler);
    fmt::print("  read    {}\n", FormText(command.form));
    bool const completes = command.form == Form::Strict || command.form == Form::Lax;
    for (Operand const& operand : command.operands) {
        std::string line = fmt::format("          {}{:<36} {:<8}",
                                       completes && operand.options.triggers && IsRequestable(operand) ? "* " : "  ",
                                       Text(*operand.key), protocol::NameOf(operand.key->kind));
        if (std::string_view const unit = protocol::UnitText(operand.key->unit); !unit.empty()) {
            line += fmt::format(" [{}]", unit);
        }
        if (operand.options.source == Source::Stored) {
            line += " from the stored tree alone";
        } else if (operand.options.source == Source::Completed) {
            line += " from the request or the stored tree";
        } else if (operand.options.source == Source::Branch) {
            line += fmt::format(" in the branch {}", Text(*command.operands.front().key));
        } else if (operand.options.source == Source::Told) {
            line += command.form == Form::Own ? " not read, only told" : " not read, told as " + DefaultText(operand);
        } else if (operand.options.source == Source::Request && command.form != Form::Direct &&
                   command.form != Form::AllRequired) {
            line += " from the request alone";
        }
        bool const hasDefault = operand.key->kind != Kind::Branch && operand.key->kind != Kind::Any;
        if ((command.form == Form::Lax || operand.options.optional) && hasDefault &&
            operand.options.source != Source::Told) {
            line += " default " + DefaultText(operand);
        }
        if (&*operand.key == marked) {
            line += "  <--";
        }
        fmt::print("{}\n", line);
    }
    if (!command.note.empty()) {
        fmt::print("  note    {}\n", command.note);
    }
    if (command.longTexts == LongTexts::Refused) {
        fmt::print("  note    A text that does not fit its field drops the request.\n");
    }
    for (Sending const& sending : command.sends) {
        fmt::print("  sent    {} {} {}, {}, to {}{}\n", CarrierWords(sending.record.carrier), sending.record.id,
                   sending.record.name, SizeText(sending.record), TargetText(sending.target, sending.addressee),
                   sending.when.IsAlways() ? "" : fmt::format(", when {}", sending.when.text));
        PrintLayout(sending.record, marked);
    }
    if (command.sends.empty()) {
        fmt::print("  sent    nothing\n");
    }
    if (command.echoFlags == NoEcho) {
        fmt::print("  echoed  nothing\n");
    } else {
        std::string echoed;
        auto const tell = [&](Operand const& operand) {
            if (operand.options.echo == Echo::None) {
                return;
            }
            echoed += (echoed.empty() ? "" : ", ") + Text(*operand.key);
            if (operand.options.echo == Echo::AsSent) {
                echoed += " (as sent)";
            } else if (operand.options.echo == Echo::WhenTrue) {
                echoed += " (when true)";
            }
        };
        if (command.echoes.empty()) {
            for (Operand const& operand : command.operands) {
                tell(operand);
            }
        } else {
            for (Operand const* operand : command.echoes) {
                tell(*operand);
            }
        }
        fmt::print("  echoed  {} (flags {})\n", echoed.empty() ? "see the note" : echoed, command.echoFlags);
    }
    for (FollowUp const& followUp : command.followUps) {
        fmt::print("  asked   record {} of {}{}\n", followUp.recordId, TargetText(followUp.target),
                   followUp.when.IsAlways() ? "" : fmt::format(", when {}", followUp.when.text));
    }
}

/// The number of a record: decimal, or hexadecimal with 0x.
std::optional<std::uint32_t> RecordNumber(std::string_view text)
{
    bool const isHex = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHex ? 2 : 0);
    std::uint32_t number = 0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), number, isHex ? 16 : 10);
    bool const isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

bool Sends(ChainEntry const& entry, protocol::RecordLayout const& record)
{
    return std::any_of(entry.command->sends.begin(), entry.command->sends.end(), [&](Sending const& sending) {
        return sending.record.id == record.id && sending.record.name == record.name;
    });
}

bool AsksFor(ChainEntry const& entry, std::uint32_t number)
{
    return std::any_of(entry.command->followUps.begin(), entry.command->followUps.end(),
                       [&](FollowUp const& followUp) { return followUp.recordId == number; });
}

/// Keys that the command can be asked for by.
std::vector<std::string> KeysOf(Command const& command)
{
    std::vector<std::string> keys;
    for (Operand const& operand : command.operands) {
        if (IsRequestable(operand)) {
            keys.push_back(Text(*operand.key));
        }
    }
    return keys;
}

void ExplainRecord(protocol::RecordLayout const& record)
{
    fmt::print("{} {} {}, {}\n", CarrierWords(record.carrier), record.id, record.name, SizeText(record));
    PrintLayout(record, nullptr);
    bool isSent = false;
    for (ChainEntry const& entry : Chain()) {
        if (Sends(entry, record)) {
            isSent = true;
            fmt::print("  sent    by row {} of the chain, {}: {}\n", entry.row, entry.handler,
                       fmt::join(KeysOf(*entry.command), ", "));
        }
    }
    for (ChainEntry const& entry : Chain()) {
        if (AsksFor(entry, record.id)) {
            fmt::print("  asked   for by row {} of the chain, {}\n", entry.row, entry.handler);
        }
    }
    if (!isSent) {
        fmt::print("  sent    by no handler\n");
    }
    fmt::print("\n");
}

/// As LayoutJson, then {"sent_by": [{"row", "handler", "keys"}], "asked_by": [{"row", "handler"}]}.
JsonValue RecordJson(protocol::RecordLayout const& record)
{
    auto json = LayoutJson(record);
    JsonValue senders = JsonValue::Array();
    JsonValue askers = JsonValue::Array();
    for (ChainEntry const& entry : Chain()) {
        std::vector<JsonValue::Member> members{{"row", JsonValue::Integer(entry.row)},
                                               {"handler", JsonValue::Text(std::string(entry.handler))}};
        if (AsksFor(entry, record.id)) {
            askers.items.push_back(JsonValue::Object(members));
        }
        if (Sends(entry, record)) {
            JsonValue keys = JsonValue::Array();
            for (auto& key : KeysOf(*entry.command)) {
                keys.items.push_back(JsonValue::Text(std::move(key)));
            }
            members.emplace_back("keys", std::move(keys));
            senders.items.push_back(JsonValue::Object(std::move(members)));
        }
    }
    json.members.emplace_back("sent_by", std::move(senders));
    json.members.emplace_back("asked_by", std::move(askers));
    return json;
}

/// What one name may be: a key, rows of the chain, records.
struct Meant
{
    protocol::Key const* key = nullptr;
    std::vector<ChainEntry const*> rows; ///< of the key, or of the handler
    std::vector<protocol::RecordLayout const*> records;
};

Meant WhatIsMeant(std::string const& name)
{
    Meant meant;
    meant.key = protocol::FindKey(protocol::DecodeUtf8(name));
    if (meant.key != nullptr) {
        meant.rows = RowsOfKey(*meant.key);
    }
    for (ChainEntry const& entry : Chain()) {
        if (entry.handler == name) {
            meant.rows.push_back(&entry);
        }
    }
    if (auto const number = RecordNumber(name)) {
        for (protocol::RecordLayout const& record : protocol::AllLayouts()) {
            if (record.id == *number) {
                meant.records.push_back(&record);
            }
        }
    }
    return meant;
}

void PrintMeant(std::string const& name, Meant const& meant)
{
    if (meant.key != nullptr) {
        std::string_view const unit = protocol::UnitText(meant.key->unit);
        fmt::print("{}: {}\n  {}{}\n\n", name, meant.key->meaning, protocol::NameOf(meant.key->kind),
                   unit.empty() ? "" : fmt::format(", in {}", unit));
    }
    for (ChainEntry const* entry : meant.rows) {
        ExplainEntry(*entry, meant.key);
        fmt::print("\n");
    }
    if (meant.key != nullptr && meant.rows.empty()) {
        fmt::print("no handler reads it from a request; it is read from the device's stored tree or belongs "
                   "to a branch\n\n");
    }
    for (protocol::RecordLayout const* record : meant.records) {
        ExplainRecord(*record);
    }
}

/// {"name", "key" (or null), "rows", "records"}.
JsonValue MeantJson(std::string const& name, Meant const& meant)
{
    JsonValue rows = JsonValue::Array();
    for (ChainEntry const* entry : meant.rows) {
        rows.items.push_back(CommandJson(*entry));
    }
    JsonValue records = JsonValue::Array();
    for (protocol::RecordLayout const* record : meant.records) {
        records.items.push_back(RecordJson(*record));
    }
    return JsonValue::Object({{"name", JsonValue::Text(name)},
                              {"key", meant.key != nullptr ? KeyJson(*meant.key) : JsonValue{}},
                              {"rows", std::move(rows)},
                              {"records", std::move(records)}});
}

} // namespace

int Keys(KeysOptions const& options)
{
    std::vector<KeyRow> rows = CollectRows();
    std::erase_if(rows, [&](KeyRow const& row) { return !Matches(row, options.filter); });
    if (rows.empty()) {
        return Complain(ExitFailed, fmt::format("no key, handler or record matches '{}'", options.filter));
    }
    if (options.json) {
        for (KeyRow const& row : rows) {
            fmt::print("{}\n", WriteJson(RowJson(row)));
        }
        return ExitGood;
    }
    if (options.markdown) {
        fmt::print("| key | kind | unit | record | offset | handler |\n|---|---|---|---|---|---|\n");
        for (KeyRow const& row : rows) {
            fmt::print("| `{}` | {} | {} | {} | {} | `{}` |\n", row.key, row.kind, row.unit, row.record, row.offset,
                       row.handler);
        }
        return ExitGood;
    }
    KeyRow const heading{"key", "kind", "unit", "record", "offset", "handler"};
    std::size_t widths[5]{};
    auto const measure = [&](KeyRow const& row) {
        std::string const* cells[]{&row.key, &row.kind, &row.unit, &row.record, &row.offset};
        for (std::size_t i = 0; i < 5; ++i) {
            widths[i] = std::max(widths[i], cells[i]->size());
        }
    };
    measure(heading);
    for (KeyRow const& row : rows) {
        measure(row);
    }
    auto const print = [&](KeyRow const& row) {
        fmt::print("{:<{}}  {:<{}}  {:<{}}  {:<{}}  {:<{}}  {}\n", row.key, widths[0], row.kind, widths[1], row.unit,
                   widths[2], row.record, widths[3], row.offset, widths[4], row.handler);
    };
    print(heading);
    for (KeyRow const& row : rows) {
        print(row);
    }
    return ExitGood;
}

int Explain(ExplainOptions const& options)
{
    int code = ExitGood;
    for (std::string const& name : options.names) {
        Meant const meant = WhatIsMeant(name);
        if (meant.key == nullptr && meant.rows.empty() && meant.records.empty()) {
            if (RecordNumber(name)) {
                code = Complain(ExitFailed, fmt::format("there is no record {}; docs/records.md lists them", name));
                continue;
            }
            std::string const nearest = NearestKey(name);
            code = Complain(ExitFailed, fmt::format("there is no key or handler '{}'{}", name,
                                                    nearest.empty() ? "; `qx5 keys` lists them"
                                                                    : fmt::format("; did you mean {}?", nearest)));
        } else if (options.json) {
            fmt::print("{}\n", WriteJson(MeantJson(name, meant)));
        } else {
            PrintMeant(name, meant);
        }
    }
    return code;
}

} // namespace qx5::cli
