// Every key of every command, alone, in a request to a fresh simulated sonar over TCP: a record arrives, or the
// command's own table says which other keys it needs, and with these a record arrives.
#include "stage.h"

#include <commands/catalogue.h>
#include <commands/sample_request.h>

#include <protocol/bytes.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

using protocol::Kind;

constexpr std::uint32_t remoteControl = 7500;
constexpr std::uint32_t recordRequest = 90001;
constexpr std::uint32_t passThrough = 90002;

// Offsets in a frame that the sonar received.
constexpr std::size_t recordIdAt = 32;
constexpr std::size_t commandIdAt = 64;
constexpr std::size_t payloadAt = 88;
constexpr std::size_t passedIdAt = payloadAt + 8;

/// A record as it arrived: what carried it, and its number; of a request for a record, that record's.
struct Arrived
{
    protocol::Carrier carrier = protocol::Carrier::Data;
    bool isRequestFor = false;
    std::uint32_t id = 0;

    friend bool operator==(Arrived const&, Arrived const&) = default;
};

Arrived ArrivedIn(Bytes const& frame)
{
    std::uint32_t const record = protocol::GetU32LE(frame, recordIdAt);
    if (record != remoteControl) {
        return {protocol::Carrier::Data, false, record};
    }
    std::uint32_t const command = protocol::GetU32LE(frame, commandIdAt);
    if (command == recordRequest) {
        return {protocol::Carrier::RemoteControl, true, protocol::GetU32LE(frame, payloadAt)};
    }
    if (command == passThrough) {
        return {protocol::Carrier::PassThrough, false, protocol::GetU32LE(frame, passedIdAt)};
    }
    return {protocol::Carrier::RemoteControl, false, command};
}

/// What shows that the command did something; empty when it sends and asks for nothing of its own.
std::vector<Arrived> SignsOf(Command const& command)
{
    std::vector<Arrived> signs;
    for (Sending const& sending : command.sends) {
        signs.push_back({sending.record.carrier, false, sending.record.id});
    }
    if (signs.empty()) {
        for (FollowUp const& followUp : command.followUps) {
            signs.push_back({protocol::Carrier::RemoteControl, true, followUp.recordId});
        }
    }
    return signs;
}

/// Values to try; some commands do something with one of them alone.
std::vector<protocol::Value> ValuesOf(protocol::Key const& key)
{
    switch (key.kind) {
    case Kind::Int:
        return {1, 0};
    case Kind::Bool:
    case Kind::Any:
        return {true, false};
    default:
        return {protocol::ExampleOf(key.kind)};
    }
}

/// What a fresh simulated sonar gets of the request. One of `signs` ends the wait early: a sonar that was shut down
/// hears nothing more.
std::vector<Arrived> ArrivalsOf(CAttributeMap const& request, std::vector<Arrived> const& signs)
{
    constexpr float last = 61.0F;
    FarEnd far;
    NearEnd near(far.Port());
    EXPECT_TRUE(near.Connect());
    near.Ask(request);
    near.Send(last); // behind all that the request sent
    std::vector<Arrived> arrived;
    EXPECT_TRUE(Eventually([&] {
        arrived.clear();
        for (FarEnd::Arrival const& arrival : far.Arrivals()) {
            if (RangeOf(arrival.frame) == last) {
                return true;
            }
            arrived.push_back(ArrivedIn(arrival.frame));
        }
        return std::any_of(signs.begin(), signs.end(), [&](Arrived const& sign) {
            return (sign.id == 1000 || sign.id == 1001) && // shut down, reboot
                   std::find(arrived.begin(), arrived.end(), sign) != arrived.end();
        });
    }));
    return arrived;
}

bool HasOneOf(std::vector<Arrived> const& arrived, std::vector<Arrived> const& signs)
{
    return std::find_first_of(arrived.begin(), arrived.end(), signs.begin(), signs.end()) != arrived.end();
}

/// Sends the operand alone or with others, each value in turn, until the command has done something.
bool DoesSomething(Command const& command, Operand const& operand, std::vector<Operand const*> const& others)
{
    auto const signs = SignsOf(command);
    for (auto const& value : ValuesOf(*operand.key)) {
        CAttributeMap request;
        PutOperand(request, command, operand, value);
        for (Operand const* const other : others) {
            PutOperand(request, command, *other, ValuesOf(*other->key).front());
        }
        if (HasOneOf(ArrivalsOf(request, signs), signs)) {
            return true;
        }
    }
    return false;
}

TEST(EveryKey, AloneBringsARecordOrItsTableSaysWhatElseIsNeeded)
{
    std::set<protocol::Key const*> keys;
    int commands = 0;
    int pairs = 0;
    int alone = 0;
    int withOthers = 0;
    int withoutRecord = 0;
    for (ChainEntry const& entry : Chain()) {
        Command const& command = *entry.command;
        ++commands;
        std::set<protocol::Key const*> ofCommand;
        for (Operand const& operand : command.operands) {
            if (!IsRequestable(operand) || !ofCommand.insert(operand.key).second) {
                continue;
            }
            keys.insert(operand.key);
            ++pairs;
            std::string const name = std::string(entry.handler) + ": " + protocol::EncodeUtf8(operand.key->text) +
                                     " (row " + std::to_string(entry.row) + ")";
            if (SignsOf(command).empty()) {
                EXPECT_FALSE(command.note.empty()) << name << " sends nothing, and no note says what it does";
                ++withoutRecord;
                continue;
            }
            bool const isInBranch = operand.options.source == Source::Branch;
            if (!isInBranch && DoesSomething(command, operand, {})) {
                ++alone;
                continue;
            }
            auto const needed = NeededBeside(command, operand);
            EXPECT_FALSE(needed.empty()) << name << " brings no record, and its table names no other key";
            if (!needed.empty()) {
                EXPECT_TRUE(DoesSomething(command, operand, needed))
                    << name << " brings no record, even with what its table names";
                ++withOthers;
            }
        }
    }
    std::printf("%zu keys in %d uses by %d commands: %d bring a record alone, %d with the others that the table names, "
                "%d are of commands that send nothing of their own\n",
                keys.size(), pairs, commands, alone, withOthers, withoutRecord);
    RecordProperty("keys", static_cast<int>(keys.size()));
    RecordProperty("records", alone);
    RecordProperty("needingOthers", withOthers);
}

} // namespace
} // namespace qx5::test
