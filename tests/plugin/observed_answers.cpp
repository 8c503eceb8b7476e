// Commands with a way of their own: what their tables tell is held to all that was observed.
#include "command_rules.h"
#include "generated_values.h"

#include <protocol/records/all.h>

#include <algorithm>
#include <functional>
#include <span>
#include <string_view>
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

/// What a table's promise is not held to.
struct Exemption
{
    std::string_view handler;
    Key const* key; ///< null: the whole command
    std::string_view reason;
};

bool IsExempt(std::span<Exemption const> exemptions, ChainEntry const& row, Key const* key)
{
    return std::any_of(exemptions.begin(), exemptions.end(), [&](Exemption const& exemption) {
        return exemption.handler == row.handler && exemption.key == key;
    });
}

constexpr Exemption workedOut[]{
    {"RequestConstantSpacing", &keys::x5ConstantSpacing,
     "a hundredth of the range stands in for one that is not above 0"},
    {"RequestCustomBeams", &keys::x5CustomBeams, "the stored number comes within the stored limits"},
    {"RequestCustomBeams", &keys::x5CustomBeamsEnabled, "a number in the request says whether it is on"},
    {"RequestGainMode", &keys::x5Gain, "told with the gain that was parked"},
    {"RequestGainMode", &keys::x5GainAlt, "told with the gain that is parked now"},
};

constexpr Exemption storedCountsBesideRequest[]{
    {"RequestGainMode", &keys::x5GainMode, "whether the gains are swapped depends on the former mode"},
    {"SendDgnssNtripConfig", &keys::OstDgnssInsNtripVersion, "a stored one stands for the position interval as well"},
    {"UpdateSonarInstallationIdentifiers", &keys::x5Bracket, "the request changes the stored brackets key by key"},
};

constexpr Exemption neededByOneBranchAlone[]{
    {"RequestConnectSlave", &keys::x5DualHeadMode, "an integrated dual head, which couples no slave, does without"},
};

constexpr Exemption forSomeValuesAlone[]{
    {"RequestDisconnectSlave", nullptr, "any mode but 0 is for another command"},
    {"RequestConnectSlave", nullptr, "any mode but 1 is for another command"},
};

Side CompletingSide(Command const& table, Operand const& operand)
{
    Source source = operand.options.source;
    if (source == Source::Branch) {
        source = table.operands.front().options.source;
    }
    return source == Source::Request ? Side::Request : Side::Stored;
}

} // namespace

Finding CheckSource(Command const& table, Operand const& operand, Study& study)
{
    std::size_t const key = study.IndexOf(*operand.key);
    Source source = operand.options.source;
    bool const isInFirst = study.BranchOf(key, Side::Request) == table.operands.front().key;
    if (isInFirst != (source == Source::Branch)) {
        return isInFirst ? "it is read from the branch " + Text(*table.operands.front().key)
                         : "it is not read from the branch " + Text(*table.operands.front().key);
    }
    if (source == Source::Branch) {
        source = table.operands.front().options.source;
    }
    Facts const& facts = study.FactsOf(key);
    bool const fromRequest = source == Source::Request || source == Source::Completed;
    bool const fromStored = source == Source::Stored || source == Source::Completed;
    if (facts.requestMatters != fromRequest) {
        return fromRequest ? "the request's makes no difference" : "the request's makes a difference";
    }
    if (facts.storedMatters != fromStored) {
        return fromStored ? "the stored one makes no difference" : "the stored one makes a difference";
    }
    bool const isExempt =
        IsExempt(storedCountsBesideRequest, study.Row(), operand.key) || operand.options.source == Source::Branch;
    if (fromRequest && facts.besideMatters && !isExempt) {
        return "the stored one makes a difference beside the request's";
    }
    return std::nullopt;
}

Finding CheckOptions(Command const& table, Operand const& operand, Study& study)
{
    std::size_t const key = study.IndexOf(*operand.key);
    OperandOptions const& options = operand.options;
    if (WhyTriggersSaysNothing(table, operand).empty() && options.triggers != study.FactsOf(key).startsAlone) {
        return options.triggers ? "it does not trigger" : "it triggers";
    }
    if (WhyOptionalSaysNothing(table, operand).empty() && !IsExempt(neededByOneBranchAlone, study.Row(), operand.key) &&
        options.optional != study.FactsOf(key).goesOnWithout) {
        return options.optional ? "nothing happens without it" : "the command goes on without it";
    }
    if (WhyFallbackSaysNothing(table, operand).empty()) {
        auto const& asGood = study.AsGoodAsAbsent(key, CompletingSide(table, operand));
        auto const isAsGood = [&](double number) {
            return std::find(asGood.begin(), asGood.end(), number) != asGood.end();
        };
        // Where nothing, or 0 as well, stands for the value, the default says it.
        bool const needsOther = !asGood.empty() && !isAsGood(0.0);
        if (needsOther ? !isAsGood(options.fallback) : options.fallback != 0.0) {
            return "the fallback is another";
        }
    }
    return std::nullopt;
}

namespace {

/// Whether the table lets the command start: what it needs is there, and something that triggers.
bool MayStart(Command const& table, Study const& study, Case const& at)
{
    bool isTriggered = false;
    for (Operand const& operand : table.operands) {
        Source source = operand.options.source;
        std::size_t const key = study.IndexOf(*operand.key);
        auto const requested = study.Find(at, key, Side::Request);
        if (source == Source::Branch) {
            source = table.operands.front().options.source;
        }
        bool const isAsked = requested.isReadable || (requested.isThere && operand.key->kind == Kind::Any);
        bool const asks = source == Source::Request || source == Source::Completed;
        bool const completes = source == Source::Stored || source == Source::Completed;
        bool const isFound = (asks && isAsked) || (completes && study.Find(at, key, Side::Stored).isReadable);
        if (!isFound && !operand.options.optional && source != Source::Told) {
            return false;
        }
        isTriggered = isTriggered || (asks && isAsked && operand.options.triggers);
    }
    return isTriggered && !at.observed.threw;
}

/// Rows of a table against what happened: each event is one of them, in their order; each row occurs; one without a
/// condition whenever something happens or the command may start; one with a condition not always, or more than once.
template <typename Row, typename Event>
class RowsCheck
{
public:
    using Matches = std::function<bool(Row const&, Event const&, Case const&)>;
    using IsPossible = std::function<bool(Row const&, Case const&)>;

    RowsCheck(Study const& study, std::string what, std::span<Row const> rows, Matches matches, IsPossible isPossible)
        : m_what(std::move(what)), m_rows(rows), m_matches(std::move(matches)), m_isPossible(std::move(isPossible)),
          m_isAlways(!IsExempt(forSomeValuesAlone, study.Row(), nullptr)), m_occurs(rows.size()),
          m_isConditional(rows.size())
    {
    }

    Finding Look(Case const& at, std::vector<Event> const& events, bool mayStart)
    {
        std::vector<bool> isHere(m_rows.size());
        std::size_t row = 0;
        for (Event const& event : events) {
            while (row < m_rows.size() && !m_matches(m_rows[row], event, at)) {
                ++row;
            }
            if (row == m_rows.size()) {
                return "a " + Text(event) + " that it does not tell of here";
            }
            if (isHere[row] && m_rows[row].when.IsAlways()) {
                return "a second " + Text(event);
            }
            m_isConditional[row] = m_isConditional[row] || isHere[row];
            isHere[row] = true;
        }
        for (row = 0; row < m_rows.size(); ++row) {
            bool const isMissed = !isHere[row] && (at.observed.Happened() || (mayStart && m_isAlways));
            if (isMissed && m_rows[row].when.IsAlways() && m_isPossible(m_rows[row], at)) {
                return Name(row) + " is missing";
            }
            m_occurs[row] = m_occurs[row] || isHere[row];
            m_isConditional[row] = m_isConditional[row] || isMissed;
        }
        return std::nullopt;
    }
    Finding End() const
    {
        for (std::size_t row = 0; row < m_rows.size(); ++row) {
            if (!m_occurs[row]) {
                return Name(row) + " never occurs";
            }
            if (!m_rows[row].when.IsAlways() && !m_isConditional[row]) {
                return Name(row) + " has a condition and occurs always, and once";
            }
        }
        return std::nullopt;
    }

private:
    std::string Name(std::size_t row) const { return m_what + ' ' + std::to_string(row + 1); }

    std::string m_what;
    std::span<Row const> m_rows;
    Matches m_matches;
    IsPossible m_isPossible;
    bool m_isAlways;
    std::vector<bool> m_occurs;
    std::vector<bool> m_isConditional;
};

bool IsSentAs(Sending const& sending, Sent const& sent, std::optional<Target> target)
{
    RecordLayout const& record = sending.record;
    bool const isLonger = record.tail != protocol::Tail::None && sent.payload.size() > record.size;
    return sent.carrier == record.carrier && sent.record == record.id && target == sent.target &&
           (isLonger || sent.payload.size() == record.size);
}

/// Texts that are longer than their fields.
class LongTextsCheck
{
public:
    LongTextsCheck(Command const& table, Study const& study) : m_table(table)
    {
        for (Operand const& operand : table.operands) {
            for (Sending const& sending : table.sends) {
                if (Field const* const field = TextFieldOf(sending.record, *operand.key)) {
                    m_fields.emplace_back(study.IndexOf(*operand.key), field);
                }
            }
        }
    }

    void Look(Case const& at, Study const& study)
    {
        for (auto const& [key, field] : m_fields) {
            m_isCut =
                m_isCut || (at.observed.Happened() && IsTooLong(study.Find(at, key, Side::Request).value, *field));
        }
    }
    Finding End() const
    {
        if (m_fields.empty() || m_isCut == (m_table.longTexts == LongTexts::Cut)) {
            return std::nullopt;
        }
        return m_isCut ? "a text that is too long is cut" : "a text that is too long is refused";
    }

private:
    Command const& m_table;
    std::vector<std::pair<std::size_t, Field const*>> m_fields;
    bool m_isCut = false;
};

/// One node of an echo with its branch above it.
void Flatten(CAttributeMap const& tree, std::vector<CAttributeMap const*>& nodes)
{
    for (CAttributeMap const& child : tree) {
        nodes.push_back(&child);
        Flatten(child, nodes);
    }
}

/// What the operand was read as; none where that cannot be told.
std::optional<Value> ReadValue(Command const& table, Operand const& operand, Study const& study, Case const& at)
{
    std::size_t const key = study.IndexOf(*operand.key);
    Source source = operand.options.source;
    if (source == Source::Branch) {
        source = table.operands.front().options.source;
    }
    auto const requested = study.Find(at, key, Side::Request);
    auto const stored = study.Find(at, key, Side::Stored);
    bool const asks = source == Source::Request || source == Source::Completed;
    bool const completes = source == Source::Stored || source == Source::Completed;
    if (source == Source::Told || operand.key->kind == Kind::Branch || operand.key->kind == Kind::Any ||
        (asks && !requested.isOne) || (completes && !stored.isOne)) {
        return std::nullopt;
    }
    if (asks && requested.isReadable) {
        return *requested.value;
    }
    if (completes && stored.isReadable) {
        return *stored.value;
    }
    bool const isOfOtherKind = (asks && requested.isThere) || (completes && stored.isThere);
    return operand.options.optional && !isOfOtherKind ? std::optional(FallbackOf(operand)) : std::nullopt;
}

Finding CheckEchoValue(Command const& table, Operand const& operand, Study const& study, Case const& at,
                       CVordalType const& value)
{
    bool flag = false;
    if (operand.options.echo == Echo::WhenTrue && value.Get(flag) && !flag) {
        return "is echoed though it is false";
    }
    if (operand.options.echo == Echo::AsSent) {
        for (Sent const& sent : at.observed.sent) {
            for (Sending const& sending : table.sends) {
                if (sending.record.id == sent.record &&
                    IsSame(ValueInRecord(sending.record, *operand.key, sent.payload), value)) {
                    return std::nullopt;
                }
            }
        }
        return "is not echoed as sent";
    }
    auto const read = ReadValue(table, operand, study, at);
    if (read && !IsSame(*read, value) && !IsExempt(workedOut, study.Row(), operand.key)) {
        return "is echoed as " + value.ToText() + " in place of " + Vordal(*read)->ToText();
    }
    return std::nullopt;
}

/// Echoes: their flags, their keys, which are those that the table tells, in its order, and their values.
class EchoesCheck
{
public:
    EchoesCheck(Command const& table, Study const& study)
        : m_table(table), m_study(study), m_echoed(EchoedOf(table)), m_occurs(m_echoed.size()),
          m_isFalse(m_echoed.size())
    {
    }

    Finding Look(Case const& at)
    {
        std::size_t furthest = 0;
        std::vector<bool> isHere(m_echoed.size());
        for (Told const& told : at.observed.told) {
            if (told.flags != m_table.echoFlags) {
                return "an echo of flags " + std::to_string(told.flags);
            }
            m_any = true;
            std::vector<CAttributeMap const*> nodes;
            Flatten(told.tree, nodes);
            for (CAttributeMap const* const node : nodes) {
                auto const which = static_cast<std::size_t>(
                    std::find_if(m_echoed.begin(), m_echoed.end(),
                                 [&](Operand const* each) { return each->key->text == node->KeyText(); }) -
                    m_echoed.begin());
                if (which == m_echoed.size()) {
                    return Text(node->KeyText()) + " is echoed";
                }
                if (!isHere[which] && which < furthest) {
                    return Text(node->KeyText()) + " is echoed behind " + Text(*m_echoed[furthest]->key);
                }
                furthest = std::max(furthest, which);
                isHere[which] = true;
                m_occurs[which] = true;
                bool flag = true;
                m_isFalse[which] = m_isFalse[which] || (node->Value().Get(flag) && !flag);
                if (auto const wrong = CheckEchoValue(m_table, *m_echoed[which], m_study, at, node->Value())) {
                    return Text(node->KeyText()) + ' ' + *wrong;
                }
            }
        }
        return std::nullopt;
    }
    Finding End() const
    {
        if (m_table.echoFlags == NoEcho) {
            return std::nullopt;
        }
        if (!m_any) {
            return "it never echoes";
        }
        for (std::size_t i = 0; i < m_echoed.size(); ++i) {
            Operand const& operand = *m_echoed[i];
            if (!m_occurs[i]) {
                return Text(*operand.key) + " is never echoed";
            }
            bool const isRead = operand.options.echo != Echo::WhenTrue && operand.options.source != Source::Told;
            if (operand.key->kind == Kind::Bool && isRead && !m_isFalse[i]) {
                return Text(*operand.key) + " is never echoed when it is false";
            }
        }
        return std::nullopt;
    }

private:
    Command const& m_table;
    Study const& m_study;
    std::vector<Operand const*> m_echoed;
    std::vector<bool> m_occurs;
    std::vector<bool> m_isFalse;
    bool m_any = false;
};

} // namespace

Finding CheckCases(Command const& table, Study& study)
{
    RowsCheck<Sending, Sent> sends(
        study, "record", table.sends,
        [&](Sending const& sending, Sent const& sent, Case const& at) {
            return IsSentAs(sending, sent, TargetOf(sending, study, at));
        },
        [&](Sending const& sending, Case const& at) { return TargetOf(sending, study, at).has_value(); });
    RowsCheck<FollowUp, Asked> questions(
        study, "question", table.followUps,
        [](FollowUp const& followUp, Asked const& asked, Case const&) {
            return followUp.recordId == asked.record && followUp.target == asked.target;
        },
        [](FollowUp const&, Case const&) { return true; });
    LongTextsCheck longTexts(table, study);
    EchoesCheck echoes(table, study);
    for (std::size_t i = 0; Case const* const at = study.At(i); ++i) {
        bool const mayStart = MayStart(table, study, *at);
        Finding finding = sends.Look(*at, at->observed.sent, mayStart);
        if (!finding) {
            finding = questions.Look(*at, at->observed.asked, mayStart);
        }
        if (!finding) {
            finding = echoes.Look(*at);
        }
        if (finding) {
            return *finding + InCase(*at, study);
        }
        longTexts.Look(*at, study);
    }
    for (Finding const& finding : {sends.End(), questions.End(), echoes.End(), longTexts.End()}) {
        if (finding) {
            return finding;
        }
    }
    return std::nullopt;
}

} // namespace qx5::conformance
