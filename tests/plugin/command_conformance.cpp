// Commands held to their tables: what a table may say at all, and what decides how the rest is compared.
#include "command_conformance.h"

#include "command_rules.h"
#include "generated_values.h"

#include <protocol/pack.h>
#include <protocol/record_table.h>
#include <protocol/records/all.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <utility>

namespace keys = qx5::protocol::keys;

namespace qx5::conformance {

using protocol::Carrier;
using protocol::Field;
using protocol::Key;
using protocol::Kind;
using protocol::RecordLayout;
using protocol::Value;

bool CompletesByForm(Command const& table)
{
    return table.form == Form::Strict || table.form == Form::Lax;
}

std::optional<Target> TargetOf(Sending const& sending, Study const& study, Case const& at)
{
    Target target = sending.target;
    if (sending.record.carrier == Carrier::PassThrough && !Study::SurroundingsOf(at.base).sonarPort) {
        return std::nullopt;
    }
    if (sending.addressee != Addressee::Target) {
        target.deviceId = study.StoredNumber(at, keys::DeviceId);
    }
    if (sending.addressee == Addressee::StoredSonar) {
        if (target.deviceId == 0) {
            return std::nullopt;
        }
        bool const integrated = study.StoredNumber(at, keys::x5SystemIDH) != 0;
        target.enumerator = integrated ? 0 : study.StoredNumber(at, keys::DeviceEnum);
    }
    return target;
}

Field const* TextFieldOf(RecordLayout const& record, Key const& key)
{
    for (Field const& field : record.fields) {
        if (field.key == &key && field.wire == protocol::Wire::Text && field.convert != protocol::Convert::Computed) {
            return &field;
        }
    }
    return nullptr;
}

bool IsTooLong(Value const* value, Field const& field)
{
    auto const* const text = std::get_if<std::wstring>(value);
    return text != nullptr && protocol::Utf8Length(*text) >= field.extent;
}

Value ValueInRecord(RecordLayout const& record, Key const& key, std::string const& payload)
{
    Field const* const field = protocol::FindField(record, key);
    if (field == nullptr) {
        return {};
    }
    Value const wire =
        protocol::UnpackField(*field, {reinterpret_cast<unsigned char const*>(payload.data()), payload.size()}).wire;
    auto const* const word = std::get_if<std::uint32_t>(&wire);
    if (word != nullptr && key.kind == Kind::Int) {
        return static_cast<std::int32_t>(*word);
    }
    if (word != nullptr && key.kind == Kind::Int64) {
        return static_cast<std::int64_t>(*word);
    }
    return wire;
}

bool IsSame(Value const& value, CVordalType const& vordal)
{
    return Vordal(value)->IsSame(vordal);
}

std::string InCase(Case const& at, Study const& study)
{
    std::string text = " (base " + std::to_string(at.base) + ':';
    constexpr char const* kinds[]{"-", "?", "=", "~"};
    for (std::size_t k = 0; k < at.cells.size(); ++k) {
        auto const tell = [&](Choice const& choice) {
            std::string told = kinds[choice.kind];
            if (choice.kind == Choice::Alike || choice.kind == Choice::Varying) {
                told += std::to_string(choice.number);
            }
            return told;
        };
        text += ' ' + Text(*study.Keys()[k]) + ' ' + tell(at.cells[k].request) + '/' + tell(at.cells[k].stored);
    }
    return text + ')';
}

std::vector<Operand const*> EchoedOf(Command const& table)
{
    std::vector<Operand const*> echoed;
    auto const take = [&](Operand const& operand) {
        if (operand.options.echo != Echo::None) {
            echoed.push_back(&operand);
        }
    };
    if (table.echoes.empty()) {
        std::for_each(table.operands.begin(), table.operands.end(), take);
    } else {
        std::for_each(table.echoes.begin(), table.echoes.end(), [&](Operand const* operand) { take(*operand); });
    }
    return echoed;
}

namespace {

bool IsRequiredFromRequest(Operand const& operand)
{
    return operand.options.source == Source::Request && !operand.options.optional;
}

} // namespace

std::string_view WhyTriggersSaysNothing(Command const& table, Operand const& operand)
{
    Source const source = operand.options.source;
    if (source == Source::Stored || source == Source::Told) {
        return "it cannot be requested";
    }
    if (source == Source::Branch) {
        return "the branch triggers";
    }
    if (table.form != Form::Strict && table.form != Form::Lax && table.form != Form::Own) {
        return "the form tells what triggers";
    }
    bool const needsOthers = std::any_of(table.operands.begin(), table.operands.end(), [&](Operand const& other) {
        return &other != &operand && IsRequiredFromRequest(other);
    });
    return table.form == Form::Own && needsOthers ? "others are required in the request" : "";
}

std::string_view WhyOptionalSaysNothing(Command const& table, Operand const& operand)
{
    if (operand.options.source == Source::Told) {
        return "it is not read";
    }
    switch (table.form) {
    case Form::Direct:
    case Form::Presence:
        return "the form tells";
    case Form::Lax:
        return "a lax command needs no value";
    case Form::AllRequired:
        return &operand == &table.operands.front() ? "the first key triggers" : "";
    default:
        return "";
    }
}

std::string_view WhyFallbackSaysNothing(Command const& table, Operand const& operand)
{
    if (!HasNumber(operand.key->kind)) {
        return "its kind has one fallback";
    }
    if (operand.options.source == Source::Told) {
        return table.form == Form::Own ? "the handler tells it" : "";
    }
    bool const goesOn = table.form == Form::Lax || operand.options.optional;
    return goesOn ? "" : "the command does not go on without it";
}

namespace {

/// A table by itself: nothing in it is without a meaning.
Finding SaysNothing(Command const& table)
{
    bool const isOwn = table.form == Form::Own;
    if (isOwn && table.note.empty()) {
        return "a command with a way of its own tells it in a note";
    }
    auto const isRead = [](Operand const& operand) { return operand.options.source != Source::Told; };
    if (table.form == Form::Direct && std::count_if(table.operands.begin(), table.operands.end(), isRead) != 1) {
        return "a direct command reads one key";
    }
    if (!isOwn && !CompletesByForm(table) && !isRead(table.operands.front())) {
        return "the first key is the one that the form reads";
    }
    OperandOptions const usual;
    for (Operand const& operand : table.operands) {
        OperandOptions const& options = operand.options;
        std::string const of = " of " + Text(*operand.key) + " says nothing: ";
        if (isOwn && options.source == Source::AsForm) {
            return "the form does not tell where " + Text(*operand.key) + " is looked for";
        }
        if (!isOwn && options.source == Source::Branch) {
            return Text(*operand.key) + " has a source that the form does not know";
        }
        if (!isRead(operand) && (options.echo == Echo::None || table.echoFlags == NoEcho)) {
            return Text(*operand.key) + " is neither read nor told";
        }
        if (auto const why = WhyTriggersSaysNothing(table, operand);
            !why.empty() && options.triggers != usual.triggers) {
            return "'triggers'" + of + std::string(why);
        }
        if (auto const why = WhyOptionalSaysNothing(table, operand); !why.empty() && options.optional) {
            return "'optional'" + of + std::string(why);
        }
        if (auto const why = WhyFallbackSaysNothing(table, operand); !why.empty() && options.fallback != 0.0) {
            return "'fallback'" + of + std::string(why);
        }
        if (options.echo == Echo::WhenTrue && (operand.key->kind != Kind::Bool || options.source == Source::Told)) {
            return Text(*operand.key) + " is not read as true";
        }
        bool const isCarried = std::any_of(table.sends.begin(), table.sends.end(), [&](Sending const& sending) {
            return protocol::FindField(sending.record, *operand.key) != nullptr;
        });
        if (options.echo == Echo::AsSent && !isCarried) {
            return Text(*operand.key) + " is never sent";
        }
        bool const isListed = std::find(table.echoes.begin(), table.echoes.end(), &operand) != table.echoes.end();
        if (!table.echoes.empty() && isListed != (options.echo != Echo::None)) {
            return Text(*operand.key) + " is echoed and not in the echo's order, or the other way round";
        }
    }
    for (Sending const& sending : table.sends) {
        if (sending.addressee == Addressee::StoredSonar && sending.target != OwnSonar) {
            return "the target says nothing where the stored tree tells it";
        }
    }
    if (table.echoFlags != NoEcho && table.form != Form::Own && table.sends.empty()) {
        return "without a record nothing is echoed";
    }
    auto const isText = [&](Operand const& operand) {
        return std::any_of(table.sends.begin(), table.sends.end(), [&](Sending const& sending) {
            return TextFieldOf(sending.record, *operand.key) != nullptr;
        });
    };
    if (table.longTexts == LongTexts::Refused && std::none_of(table.operands.begin(), table.operands.end(), isText)) {
        return "no text goes into a field, none can be too long";
    }
    return std::nullopt;
}

} // namespace

std::vector<std::string> Discrepancies(Command const& table, Study& study, std::size_t limit)
{
    std::vector<std::string> found;
    auto const isFull = [&](Finding finding) {
        if (finding) {
            found.push_back(*std::move(finding));
        }
        return found.size() >= limit;
    };
    if (isFull(SaysNothing(table))) {
        return found;
    }
    bool const namesSonar = std::any_of(table.sends.begin(), table.sends.end(), [](Sending const& sending) {
        return sending.addressee == Addressee::StoredSonar;
    });
    if (study.OthersMatter(!namesSonar) && isFull("a key that the table does not name makes a difference")) {
        return found;
    }
    if (table.form != Form::Own) {
        isFull(CheckPromises(table, study));
        return found;
    }
    for (Operand const& operand : table.operands) {
        for (auto const check : {&CheckSource, &CheckOptions}) {
            Finding finding = check(table, operand, study);
            if (finding && isFull(Text(*operand.key) + ": " + *finding)) {
                return found;
            }
        }
    }
    isFull(CheckCases(table, study));
    return found;
}

bool CarriesAllValues(Command const& table, Sending const& sending, Key const& key)
{
    using protocol::Wire;
    Field const* const field = protocol::FindField(sending.record, key);
    if (field == nullptr || field->convert != protocol::Convert::None) {
        return false;
    }
    Wire const wire = field->wire;
    switch (key.kind) {
    case Kind::Bool:
        return wire == Wire::BitOfU16 || wire == Wire::BitOfU32 || wire == Wire::BitOfU64;
    case Kind::Int:
    case Kind::UInt:
        return wire == Wire::I32 || wire == Wire::U32;
    case Kind::Double:
        return wire == Wire::F64;
    case Kind::String:
        return wire == Wire::Text && table.longTexts == LongTexts::Refused;
    default:
        return false;
    }
}

std::vector<Key const*> KeysOf(Command const& table)
{
    std::vector<Key const*> all;
    for (Operand const& operand : table.operands) {
        if (std::find(all.begin(), all.end(), operand.key) == all.end()) {
            all.push_back(operand.key);
        }
    }
    return all;
}

} // namespace qx5::conformance
