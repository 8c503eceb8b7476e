// Forms that tell all: what comes of a request follows from the table, byte by byte.
#include "command_rules.h"
#include "generated_values.h"

#include <protocol/pack.h>
#include <protocol/records/all.h>

#include <algorithm>
#include <span>
#include <utility>

namespace keys = qx5::protocol::keys;

namespace qx5::conformance {

using protocol::Carrier;
using protocol::Field;
using protocol::Key;
using protocol::Kind;
using protocol::RecordLayout;
using protocol::Value;

namespace {

/// The one thing that a handler changes about a command whose table tells all else.
void Amend(ChainEntry const& row, Command const& table, std::vector<Value>& values)
{
    if (row.handler != "Request7042Options") {
        return;
    }
    Value* divisor = nullptr;
    bool downsamples = false;
    for (std::size_t i = 0; i < table.operands.size(); ++i) {
        auto const* const number = std::get_if<std::int32_t>(&values[i]);
        if (table.operands[i].key == &keys::x57042DownsampleDivisor) {
            divisor = &values[i];
        } else if (table.operands[i].key == &keys::x57042DownsampleType) {
            downsamples = number != nullptr && *number != 0;
        }
    }
    auto const* const number = divisor != nullptr ? std::get_if<std::int32_t>(divisor) : nullptr;
    if (downsamples && number != nullptr && *number < 2) {
        *divisor = std::int32_t{2};
    }
}

struct Promise
{
    std::vector<Sent> sent;
    std::vector<Asked> asked;
    std::vector<std::vector<std::pair<Key const*, Value>>> told;
};

/// The values of the operands; none when the command does not start or lacks one.
std::optional<std::vector<Value>> ValuesOf(Command const& table, Study const& study, Case const& at)
{
    std::vector<Value> values(table.operands.size());
    auto const isAsked = [&](Operand const& operand) {
        return operand.options.source != Source::Stored && operand.options.source != Source::Told &&
               study.Find(at, study.IndexOf(*operand.key), Side::Request).isThere;
    };
    bool const starts = CompletesByForm(table)
                            ? std::any_of(table.operands.begin(), table.operands.end(),
                                          [&](Operand const& each) { return each.options.triggers && isAsked(each); })
                            : study.Find(at, study.IndexOf(*table.operands.front().key), Side::Request).isThere;
    if (!starts || table.form == Form::Presence) {
        return starts ? std::optional(values) : std::nullopt;
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        Operand const& operand = table.operands[i];
        std::size_t const key = study.IndexOf(*operand.key);
        Source const source = operand.options.source;
        if (source == Source::Told) {
            values[i] = FallbackOf(operand);
            continue;
        }
        bool const completes = source == Source::Stored || source == Source::Completed ||
                               (source == Source::AsForm && CompletesByForm(table));
        auto const requested = study.Find(at, key, Side::Request);
        auto const stored = study.Find(at, key, Side::Stored);
        if (source != Source::Stored && requested.isReadable && operand.key->kind != Kind::Branch) {
            values[i] = *requested.value;
        } else if (completes && stored.isReadable && operand.key->kind != Kind::Branch) {
            values[i] = *stored.value;
        } else if (table.form == Form::Lax || operand.options.optional) {
            values[i] = FallbackOf(operand);
        } else {
            return std::nullopt;
        }
    }
    return values;
}

std::string PayloadOf(Command const& table, std::vector<Value> const& values, RecordLayout const& record)
{
    std::string bytes(record.size, '\0');
    std::span<unsigned char> const payload(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    protocol::PackConstants(record, payload);
    for (Field const& field : record.fields) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (field.key == table.operands[i].key) {
                protocol::PackField(field, values[i], payload);
                break;
            }
        }
    }
    return bytes;
}

/// What is to leave hangs on the command's first value.
bool Holds(Condition const& condition, Value const& first)
{
    auto const* const number = std::get_if<std::int32_t>(&first);
    auto const* const truth = std::get_if<bool>(&first);
    bool const isSet = number != nullptr ? *number != 0 : truth != nullptr && *truth;
    return condition.kind == Condition::Kind::Set ? isSet : condition.kind != Condition::Kind::Clear || !isSet;
}

Promise PromiseOf(Command const& table, Study const& study, Case const& at)
{
    Promise promise;
    auto values = ValuesOf(table, study, at);
    if (!values) {
        return promise;
    }
    Amend(study.Row(), table, *values);
    if (table.longTexts == LongTexts::Refused) {
        for (Sending const& sending : table.sends) {
            for (std::size_t i = 0; i < values->size(); ++i) {
                Field const* const field = TextFieldOf(sending.record, *table.operands[i].key);
                if (field != nullptr && IsTooLong(&(*values)[i], *field)) {
                    return promise;
                }
            }
        }
    }
    RecordLayout last;
    std::string payload;
    for (Sending const& sending : table.sends) {
        if (!Holds(sending.when, values->front())) {
            continue;
        }
        last = sending.record;
        payload = PayloadOf(table, *values, sending.record);
        auto const target = TargetOf(sending, study, at);
        if (target) {
            promise.sent.push_back({sending.record.carrier, sending.record.id, *target, payload});
        }
    }
    if (table.echoFlags != NoEcho) {
        auto& told = promise.told.emplace_back();
        for (Operand const* const operand : EchoedOf(table)) {
            auto const which = std::find_if(table.operands.begin(), table.operands.end(),
                                            [&](Operand const& each) { return each.key == operand->key; });
            if (which == table.operands.end()) {
                continue;
            }
            Value const& read = (*values)[static_cast<std::size_t>(which - table.operands.begin())];
            bool const* const flag = std::get_if<bool>(&read);
            Value value = operand->options.echo == Echo::AsSent ? ValueInRecord(last, *operand->key, payload) : read;
            if (operand->options.echo == Echo::WhenTrue && (flag == nullptr || !*flag)) {
                value = {};
            }
            if (!protocol::IsEmpty(value)) {
                told.emplace_back(operand->key, std::move(value));
            }
        }
    }
    for (FollowUp const& followUp : table.followUps) {
        if (Holds(followUp.when, values->front())) {
            promise.asked.push_back({followUp.recordId, followUp.target});
        }
    }
    return promise;
}

Finding Broken(Promise const& promise, Command const& table, Observation const& seen)
{
    for (std::size_t i = 0; i < std::max(promise.sent.size(), seen.sent.size()); ++i) {
        if (i >= seen.sent.size()) {
            return "no " + Text(promise.sent[i]);
        }
        if (i >= promise.sent.size()) {
            return "a " + Text(seen.sent[i]) + " that it does not tell of";
        }
        if (promise.sent[i] != seen.sent[i]) {
            return Text(seen.sent[i]) + " in place of " + Text(promise.sent[i]) +
                   (Text(seen.sent[i]) == Text(promise.sent[i]) ? " with other bytes" : "");
        }
    }
    if (promise.asked != seen.asked) {
        return "other questions";
    }
    if (promise.told.size() != seen.told.size()) {
        return std::to_string(seen.told.size()) + " echoes in place of " + std::to_string(promise.told.size());
    }
    for (std::size_t i = 0; i < promise.told.size(); ++i) {
        CAttributeMap const& tree = seen.told[i].tree;
        if (seen.told[i].flags != table.echoFlags) {
            return "an echo of flags " + std::to_string(seen.told[i].flags);
        }
        if (tree.Count() != static_cast<int>(promise.told[i].size())) {
            return "an echo of " + std::to_string(tree.Count()) + " keys in place of " +
                   std::to_string(promise.told[i].size());
        }
        int position = 0;
        for (auto const& [key, value] : promise.told[i]) {
            CAttributeMap const& child = tree.GetChild(position++);
            if (child.KeyText() != key->text || !IsSame(value, child.Value())) {
                return "an echo with " + Text(child.KeyText()) + '=' + child.Value().ToText() + " in place of " +
                       Text(*key) + '=' + Vordal(value)->ToText();
            }
        }
    }
    if (!seen.others.empty()) {
        return seen.others.front();
    }
    return std::nullopt;
}

} // namespace

Finding CheckPromises(Command const& table, Study& study)
{
    for (Sending const& sending : table.sends) {
        if (sending.when.kind == Condition::Kind::Stated && sending.record.carrier != Carrier::PassThrough) {
            return "a record of a form that tells all has no condition that only a text tells, unless it is passed on";
        }
    }
    for (FollowUp const& followUp : table.followUps) {
        if (followUp.when.kind == Condition::Kind::Stated) {
            return "a question of a form that tells all has no condition that only a text tells";
        }
    }
    for (std::size_t i = 0; Case const* const at = study.At(i); ++i) {
        if (auto const broken = Broken(PromiseOf(table, study, *at), table, at->observed)) {
            return *broken + InCase(*at, study);
        }
    }
    return std::nullopt;
}

} // namespace qx5::conformance
