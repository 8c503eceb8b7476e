// Every row of the chain does what its command's table tells, and a table that is changed in one place is found out.
#include "command_conformance.h"

#include <protocol/catalogue.h>
#include <protocol/record_table.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace qx5;
using conformance::Bench;
using conformance::Discrepancies;
using conformance::KeysOf;
using conformance::Study;
using protocol::Key;

std::string Where(ChainEntry const& row)
{
    return "row " + std::to_string(row.row) + ", " + std::string(row.handler) + ": ";
}

TEST(CommandTables, TellWhatTheHandlersDo)
{
    Bench bench;
    for (ChainEntry const& row : Chain()) {
        Study study(bench, row, KeysOf(*row.command));
        for (std::string const& finding : Discrepancies(*row.command, study, 8)) {
            ADD_FAILURE() << Where(row) << finding;
        }
    }
}

/// A table that can be changed.
struct Table
{
    explicit Table(Command const& command)
        : head(command), operands(command.operands.begin(), command.operands.end()),
          sends(command.sends.begin(), command.sends.end()),
          followUps(command.followUps.begin(), command.followUps.end())
    {
        for (Operand const* const operand : command.echoes) {
            echoes.push_back(static_cast<std::size_t>(operand - command.operands.data()));
        }
    }

    Command View()
    {
        m_echoed.clear();
        for (std::size_t const operand : echoes) {
            if (operand < operands.size()) {
                m_echoed.push_back(&operands[operand]);
            }
        }
        Command command = head;
        command.operands = operands;
        command.sends = sends;
        command.followUps = followUps;
        command.echoes = m_echoed;
        return command;
    }
    void Drop(std::size_t operand)
    {
        operands.erase(operands.begin() + static_cast<std::ptrdiff_t>(operand));
        std::erase(echoes, operand);
        for (std::size_t& each : echoes) {
            each -= each > operand ? 1 : 0;
        }
    }

    Command head;
    std::vector<Operand> operands;
    std::vector<Sending> sends;
    std::vector<FollowUp> followUps;
    std::vector<std::size_t> echoes; ///< by their places among the operands

private:
    std::vector<Operand const*> m_echoed;
};

/// One way to change a table.
struct Change
{
    std::string kind;
    std::string text;
    std::function<void(Table&)> make;
};

/// The changes of one table, and how many of each kind say what the table says anyhow.
struct Changes
{
    std::vector<Change> all;
    std::map<std::string, int> sameByRule;

    void Add(std::string kind, std::string const& text, std::function<void(Table&)> make)
    {
        all.push_back({std::move(kind), text, std::move(make)});
    }
};

std::string Text(Key const& key)
{
    return protocol::EncodeUtf8(key.text);
}

std::string_view NameOf(Form form)
{
    constexpr std::string_view names[]{"Direct", "Strict", "Lax", "AllRequired", "Presence", "Own"};
    return names[static_cast<std::size_t>(form)];
}
std::string_view NameOf(Source source)
{
    constexpr std::string_view names[]{"AsForm", "Request", "Completed", "Stored", "Branch", "Told"};
    return names[static_cast<std::size_t>(source)];
}
std::string_view NameOf(Echo echo)
{
    constexpr std::string_view names[]{"AsRead", "AsSent", "WhenTrue", "None"};
    return names[static_cast<std::size_t>(echo)];
}

/// A key that the table does not have, of the same kind if there is one.
Key const& OtherThan(Command const& command, Key const& key)
{
    auto const all = protocol::AllKeys();
    auto const isFree = [&](Key const* other) {
        return std::none_of(command.operands.begin(), command.operands.end(),
                            [&](Operand const& operand) { return operand.key == other; });
    };
    auto const at = std::find_if(all.begin(), all.end(), [&](Key const* other) {
        return other->kind == key.kind && other->text > key.text && isFree(other);
    });
    return at != all.end() ? **at : **std::find_if(all.begin(), all.end(), isFree);
}

protocol::RecordLayout const& OtherThan(protocol::RecordLayout const& record)
{
    auto const all = protocol::AllLayouts();
    auto const at = std::find_if(all.begin(), all.end(), [&](protocol::RecordLayout const& other) {
        return other.carrier == record.carrier && other.size == record.size && other.id != record.id;
    });
    return at != all.end() ? *at : *std::find_if(all.begin(), all.end(), [&](protocol::RecordLayout const& other) {
        return other.id != record.id;
    });
}

Target OtherThan(Target target)
{
    return target == OwnSonar ? Processor : OwnSonar;
}

/// None for a condition that only a text tells.
std::optional<Condition> OtherThan(Condition const& condition)
{
    switch (condition.kind) {
    case Condition::Kind::Set:
        return When0;
    case Condition::Kind::Clear:
        return WhenNot0;
    default:
        return std::nullopt;
    }
}

/// Two directions of one comparison.
template <typename T>
bool IsPair(T one, T other, T first, T second)
{
    return (one == first && other == second) || (one == second && other == first);
}

// Changes that say the same. Each is a rule with its reason; no row is named.

/// One key in the request alone is read alike either way; what is read and goes nowhere need not be read.
bool SaysTheSame(Command const& command, Form form)
{
    auto const isRead = [](Operand const& operand) { return operand.options.source != Source::Told; };
    if (std::count_if(command.operands.begin(), command.operands.end(), isRead) != 1) {
        return false;
    }
    bool const goesNowhere = command.echoFlags == NoEcho &&
                             std::none_of(command.sends.begin(), command.sends.end(), [&](Sending const& each) {
                                 return protocol::FindField(each.record, *command.operands.front().key) != nullptr;
                             });
    return IsPair(command.form, form, Form::Direct, Form::AllRequired) ||
           (goesNowhere && IsPair(command.form, form, Form::Presence, Form::Lax));
}

/// What a form tells by itself may be told once more.
bool SaysTheSame(Command const& command, Operand const& operand, Source source)
{
    Source const before = operand.options.source;
    switch (command.form) {
    case Form::Strict:
    case Form::Lax:
        return IsPair(before, source, Source::AsForm, Source::Completed);
    case Form::Direct:
    case Form::AllRequired:
        return IsPair(before, source, Source::AsForm, Source::Request);
    case Form::Presence:
        // No value is read, from wherever.
        return source != Source::Branch && source != Source::Told;
    default:
        return false;
    }
}

/// Where nothing is echoed, how does not matter; where a field holds every value, what is sent is what was read.
bool SaysTheSame(Command const& command, Operand const& operand, Echo echo)
{
    if (command.echoFlags == NoEcho) {
        return true;
    }
    bool const carries = std::any_of(command.sends.begin(), command.sends.end(), [&](Sending const& sending) {
        return conformance::CarriesAllValues(command, sending, *operand.key);
    });
    return carries && IsPair(operand.options.echo, echo, Echo::AsRead, Echo::AsSent);
}

/// Records that never leave for one request have no order.
bool LeaveTogether(Study& study, Sending const& one, Sending const& other)
{
    for (std::size_t i = 0; conformance::Case const* const at = study.At(i); ++i) {
        auto const hasLeft = [&](Sending const& sending) {
            return std::any_of(at->observed.sent.begin(), at->observed.sent.end(),
                               [&](conformance::Sent const& sent) { return sent.record == sending.record.id; });
        };
        if (hasLeft(one) && hasLeft(other)) {
            return true;
        }
    }
    return false;
}

void AddChangesOfRecords(Command const& command, Study& study, Changes& changes)
{
    for (std::size_t i = 0; i < command.sends.size(); ++i) {
        Sending const& sending = command.sends[i];
        std::string const of = " of record " + std::to_string(sending.record.id);
        changes.Add("record", "another in place" + of,
                    [i](Table& table) { table.sends[i].record = OtherThan(table.sends[i].record); });
        changes.Add("record's target", "another" + of,
                    [i](Table& table) { table.sends[i].target = OtherThan(table.sends[i].target); });
        changes.Add("record dropped", of,
                    [i](Table& table) { table.sends.erase(table.sends.begin() + static_cast<std::ptrdiff_t>(i)); });
        for (Addressee const addressee : {Addressee::Target, Addressee::StoredDevice, Addressee::StoredSonar}) {
            if (addressee != sending.addressee) {
                changes.Add("addressee", std::to_string(static_cast<int>(addressee)) + of,
                            [i, addressee](Table& table) { table.sends[i].addressee = addressee; });
            }
        }
        if (i + 1 < command.sends.size()) {
            if (LeaveTogether(study, sending, command.sends[i + 1])) {
                changes.Add("records swapped", of,
                            [i](Table& table) { std::swap(table.sends[i], table.sends[i + 1]); });
            } else {
                ++changes.sameByRule["records swapped"];
            }
        }
        if (!sending.when.IsAlways()) {
            // What is passed on takes a sonar's port, whether the table says so or not.
            if (sending.record.carrier == protocol::Carrier::PassThrough) {
                ++changes.sameByRule["record's condition"];
            } else {
                changes.Add("record's condition", "none" + of, [i](Table& table) { table.sends[i].when = {}; });
            }
            if (auto const other = OtherThan(sending.when)) {
                changes.Add("record's condition", "the other way" + of,
                            [i, other](Table& table) { table.sends[i].when = *other; });
            }
        }
    }
}

void AddChangesOfQuestions(Command const& command, Changes& changes)
{
    for (std::size_t i = 0; i < command.followUps.size(); ++i) {
        FollowUp const& followUp = command.followUps[i];
        std::string const of = " of question " + std::to_string(followUp.recordId);
        changes.Add("question", "another in place" + of, [i](Table& table) { ++table.followUps[i].recordId; });
        changes.Add("question's target", "another" + of,
                    [i](Table& table) { table.followUps[i].target = OtherThan(table.followUps[i].target); });
        changes.Add("question dropped", of, [i](Table& table) {
            table.followUps.erase(table.followUps.begin() + static_cast<std::ptrdiff_t>(i));
        });
        if (i + 1 < command.followUps.size()) {
            changes.Add("questions swapped", of,
                        [i](Table& table) { std::swap(table.followUps[i], table.followUps[i + 1]); });
        }
        if (!followUp.when.IsAlways()) {
            changes.Add("question's condition", "none" + of, [i](Table& table) { table.followUps[i].when = {}; });
            if (auto const other = OtherThan(followUp.when)) {
                changes.Add("question's condition", "the other way" + of,
                            [i, other](Table& table) { table.followUps[i].when = *other; });
            }
        }
    }
}

void AddChangesOfOperand(Command const& command, std::size_t i, Changes& changes)
{
    Operand const& operand = command.operands[i];
    std::string const of = " of " + Text(*operand.key);
    if (command.operands.size() > 1) {
        changes.Add("key dropped", of, [i](Table& table) { table.Drop(i); });
    }
    Key const& other = OtherThan(command, *operand.key);
    changes.Add("key", Text(other) + " in place" + of,
                [i, &other](Table& table) { table.operands[i] = Operand(other, table.operands[i].options); });
    for (Source const source :
         {Source::AsForm, Source::Request, Source::Completed, Source::Stored, Source::Branch, Source::Told}) {
        if (source == operand.options.source) {
            continue;
        }
        if (SaysTheSame(command, operand, source)) {
            ++changes.sameByRule["source"];
        } else {
            changes.Add("source", std::string(NameOf(source)) + of,
                        [i, source](Table& table) { table.operands[i].options.source = source; });
        }
    }
    for (Echo const echo : {Echo::AsRead, Echo::AsSent, Echo::WhenTrue, Echo::None}) {
        if (echo == operand.options.echo) {
            continue;
        }
        if (SaysTheSame(command, operand, echo)) {
            ++changes.sameByRule["echo"];
        } else {
            changes.Add("echo", std::string(NameOf(echo)) + of,
                        [i, echo](Table& table) { table.operands[i].options.echo = echo; });
        }
    }
    changes.Add("triggers", "flipped" + of,
                [i](Table& table) { table.operands[i].options.triggers = !table.operands[i].options.triggers; });
    changes.Add("optional", "flipped" + of,
                [i](Table& table) { table.operands[i].options.optional = !table.operands[i].options.optional; });
    changes.Add("fallback", "another" + of, [i](Table& table) {
        OperandOptions& options = table.operands[i].options;
        bool const isTruth = table.operands[i].key->kind == protocol::Kind::Bool;
        options.fallback = !isTruth ? options.fallback + 5.0 : options.fallback != 0.0 ? 0.0 : 1.0;
    });
}

Changes ChangesOf(Command const& command, Study& study)
{
    Changes changes;
    for (Form const form : {Form::Direct, Form::Strict, Form::Lax, Form::AllRequired, Form::Presence, Form::Own}) {
        if (form == command.form) {
            continue;
        }
        if (SaysTheSame(command, form)) {
            ++changes.sameByRule["form"];
        } else {
            changes.Add("form", std::string(NameOf(form)), [form](Table& table) { table.head.form = form; });
        }
    }
    changes.Add("long texts", "flipped", [](Table& table) {
        bool const isCut = table.head.longTexts == LongTexts::Cut;
        table.head.longTexts = isCut ? LongTexts::Refused : LongTexts::Cut;
    });
    for (int const flags : {NoEcho, 0, 4, 1}) {
        if (flags != command.echoFlags) {
            changes.Add("echo's flags", std::to_string(flags), [flags](Table& table) { table.head.echoFlags = flags; });
        }
    }
    for (std::size_t i = 0; i + 1 < command.echoes.size(); ++i) {
        changes.Add("echoes swapped", Text(*command.echoes[i]->key),
                    [i](Table& table) { std::swap(table.echoes[i], table.echoes[i + 1]); });
    }
    AddChangesOfRecords(command, study, changes);
    AddChangesOfQuestions(command, changes);
    for (std::size_t i = 0; i < command.operands.size(); ++i) {
        AddChangesOfOperand(command, i, changes);
    }
    return changes;
}

/// What became of the changes of one kind.
struct Tally
{
    int made = 0;
    int found = 0;
    int sameByRule = 0;
};

TEST(CommandTables, AreFoundOutWhenOneThingIsChanged)
{
    Bench bench;
    std::map<std::string, Tally> tallies;
    for (ChainEntry const& row : Chain()) {
        Study study(bench, row, KeysOf(*row.command));
        Changes const changes = ChangesOf(*row.command, study);
        for (auto const& [kind, count] : changes.sameByRule) {
            tallies[kind].sameByRule += count;
        }
        for (Change const& change : changes.all) {
            Table table(*row.command);
            change.make(table);
            Command const changed = table.View();
            Tally& tally = tallies[change.kind];
            ++tally.made;
            bool isFound = false;
            if (KeysOf(changed) == study.Keys()) {
                isFound = !Discrepancies(changed, study, 1).empty();
            } else {
                Study ofOtherKeys(bench, row, KeysOf(changed));
                isFound = !Discrepancies(changed, ofOtherKeys, 1).empty();
            }
            tally.found += isFound ? 1 : 0;
            EXPECT_TRUE(isFound) << Where(row) << change.kind << ": " << change.text << " shows nowhere";
        }
    }
    int made = 0;
    for (auto const& [kind, tally] : tallies) {
        std::printf("%-22s %5d changed, %5d found out, %5d say the same by rule\n", kind.c_str(), tally.made,
                    tally.found, tally.sameByRule);
        made += tally.made;
    }
    EXPECT_GT(made, 5000);
}

} // namespace
