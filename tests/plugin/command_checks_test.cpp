// Tests of what is checked of a command when it is compiled: a key or a record that its family does not list is found,
// and a scalar row whose record is not what it sends.
#include "DeviceDLLs/QX5SonarConfiguration/handlers/scalar.h"
#include <commands/catalogue.h>
#include <commands/checks.h>
#include <commands/gates.h>

#include <protocol/records/basic.h>
#include <protocol/records/shared_keys.h>
#include <protocol/records/tracker_detection.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace qx5;
using protocol::Convert;
using protocol::Key;
using protocol::Kind;
using protocol::RecordTable;
using protocol::Unit;
using protocol::Wire;

constexpr Key tilt{L"a tilt that no family lists", Kind::Double, Unit::Degree, "tilt of the fan"};
constexpr Key number{L"a number that no family lists", Kind::Int, Unit::None, "number"};
/// The text of a listed key, and yet another key.
constexpr Key twin{L"x5MinRangeGate", Kind::Double, Unit::Metre, "twin"};
constexpr RecordTable fan{1099, "a record that no family lists", 4, {{&tilt, 0, Wire::F32, Convert::Radians}}};

constexpr Operand listedKeys[]{protocol::keys::x5MinRangeGate};
constexpr Operand reportedKeys[]{protocol::keys::x5MinRangeGate, protocol::keys::x5PingNumber};
constexpr Operand strayKeys[]{protocol::keys::x5MinRangeGate, tilt};
constexpr Operand twinKeys[]{twin};
constexpr Sending strayRecords[]{{protocol::records::AbsoluteGates}, {fan}};

TEST(CommandChecks, WhatItsFamilyListsPasses)
{
    static_assert(EveryKeyIsListed(commands::RequestAbsoluteGates));
    static_assert(EveryRecordIsListed(commands::RequestAbsoluteGates));
    // When it runs: with sanitizers the compiler does not compare the addresses of some keys.
    EXPECT_TRUE(EveryKeyIsListed({.operands = reportedKeys}));
    EXPECT_EQ(Checked<commands::RequestAbsoluteGates>(), &commands::RequestAbsoluteGates);
}

TEST(CommandChecks, AKeyThatNoFamilyListsIsFound)
{
    EXPECT_TRUE(EveryKeyIsListed({.operands = listedKeys}));
    EXPECT_FALSE(EveryKeyIsListed({.operands = strayKeys}));
    EXPECT_FALSE(EveryKeyIsListed({.operands = twinKeys}));
}

TEST(CommandChecks, ACommandWithoutARowIsFound)
{
    EXPECT_TRUE(HasRow("RequestAbsoluteGates"));
    EXPECT_TRUE(HasRow("RequestOnOffDataRecording"));
    EXPECT_FALSE(HasRow("RequestAbsoluteGate"));
    EXPECT_FALSE(HasRow(""));
    // A table that is declared in another way is not asked for its row.
    std::vector<std::string> others;
    std::size_t asked = 0;
    for (auto const& file : std::filesystem::directory_iterator(QX5_COMMANDS)) {
        std::ifstream source(file.path());
        for (std::string line; std::getline(source, line);) {
            asked += line.starts_with("QX5_COMMAND(") ? 1 : 0;
            if (line.starts_with("inline constexpr Command ")) {
                others.push_back(line);
            }
        }
    }
    EXPECT_GT(asked, 100U);
    EXPECT_EQ(others, std::vector<std::string>{"inline constexpr Command RequestHeadingSensorConfiguration = {"});
}

TEST(CommandChecks, ARecordThatNoFamilyListsIsFound)
{
    EXPECT_FALSE(EveryRecordIsListed({.sends = strayRecords}));
    EXPECT_TRUE(EveryRecordIsListed({.sends = std::span(strayRecords).first(1)}));
}

TEST(CommandChecks, AConditionNeedsAValueThatIsSwitchedOnAndOff)
{
    static constexpr Sending sends[]{{protocol::records::AbsoluteGates, OwnSonar, WhenNot0}};
    static constexpr Sending always[]{{protocol::records::AbsoluteGates}};
    static constexpr FollowUp asks[]{{7503, OwnSonar, When0}};
    static constexpr Operand numberFirst[]{number, tilt};
    static constexpr Operand tiltFirst[]{tilt, number};
    EXPECT_TRUE(ConditionsHaveAValue({.operands = numberFirst, .sends = sends}));
    EXPECT_FALSE(ConditionsHaveAValue({.operands = tiltFirst, .sends = sends}));
    EXPECT_FALSE(ConditionsHaveAValue({.operands = tiltFirst, .followUps = asks}));
    EXPECT_FALSE(ConditionsHaveAValue({.sends = sends}));
    EXPECT_TRUE(ConditionsHaveAValue({.operands = tiltFirst, .sends = always}));
}

// What the tables say of a command to whoever explains it.

constexpr Operand plain{protocol::keys::x5MinRangeGate};
constexpr Operand completed{protocol::keys::x5MaxRangeGate, {.source = Source::Completed}};
constexpr Operand stored{protocol::keys::x5MinDepthGate, {.source = Source::Stored}};
constexpr Operand requested{protocol::keys::x5MaxDepthGate, {.source = Source::Request}};

TEST(CommandForms, StrictAndLaxOnesAreCompletedFromTheTree)
{
    for (Form const form : {Form::Direct, Form::Strict, Form::Lax, Form::AllRequired, Form::Presence, Form::Own}) {
        Command const command{.form = form};
        EXPECT_EQ(IsCompleted(command, plain), form == Form::Strict || form == Form::Lax) << static_cast<int>(form);
        EXPECT_TRUE(IsCompleted(command, completed)) << static_cast<int>(form);
        EXPECT_TRUE(IsCompleted(command, stored)) << static_cast<int>(form);
        EXPECT_FALSE(IsCompleted(command, requested)) << static_cast<int>(form);
    }
}

TEST(CommandForms, AKeyThatDoesNotTriggerNeedsOneThatDoes)
{
    static constexpr Operand operands[]{{protocol::keys::x5MinRangeGate, {.triggers = false}},
                                        {protocol::keys::x5MaxRangeGate, {.triggers = false}},
                                        protocol::keys::x5MinDepthGate,
                                        protocol::keys::x5MaxDepthGate};
    Command const command{.form = Form::Lax, .operands = operands};
    EXPECT_EQ(NeededBeside(command, operands[0]), std::vector{&operands[2]});
    EXPECT_EQ(NeededBeside(command, operands[2]), std::vector<Operand const*>());
}

TEST(CommandForms, AllRequiredMeansAllThatAreNotOptional)
{
    static constexpr Operand operands[]{protocol::keys::x5MinRangeGate,
                                        protocol::keys::x5MaxRangeGate,
                                        {protocol::keys::x5MinDepthGate, {.optional = true}},
                                        {protocol::keys::x5MaxDepthGate, {.triggers = false}}};
    Command const all{.form = Form::AllRequired, .operands = operands};
    EXPECT_EQ(NeededBeside(all, operands[0]), (std::vector{&operands[1], &operands[3]}));
    EXPECT_EQ(NeededBeside(all, operands[2]), (std::vector{&operands[0], &operands[1], &operands[3]}));
    for (Form const form : {Form::Direct, Form::Strict, Form::Lax, Form::Presence, Form::Own}) {
        Command const some{.form = form, .operands = operands};
        EXPECT_EQ(NeededBeside(some, operands[0]), std::vector<Operand const*>()) << static_cast<int>(form);
        EXPECT_EQ(NeededBeside(some, operands[3]), std::vector{&operands[0]}) << static_cast<int>(form);
    }
}

TEST(CommandForms, WhatOnlyTheRequestCanHoldIsNeededThere)
{
    static constexpr Operand operands[]{{protocol::keys::x5MinRangeGate, {.source = Source::Request}},
                                        {protocol::keys::x5MaxRangeGate, {.source = Source::Completed}},
                                        {protocol::keys::x5MinDepthGate, {.source = Source::Request, .optional = true}},
                                        {protocol::keys::x5MaxDepthGate, {.source = Source::Stored}}};
    Command const command{.form = Form::Strict, .operands = operands};
    EXPECT_EQ(NeededBeside(command, operands[0]), std::vector<Operand const*>());
    EXPECT_EQ(NeededBeside(command, operands[1]), std::vector{&operands[0]});
    EXPECT_EQ(NeededBeside(command, operands[2]), std::vector{&operands[0]});
}

TEST(CommandForms, AKeyWithinABranchNeedsTheBranch)
{
    static constexpr Operand operands[]{protocol::keys::x5MinRangeGate,
                                        {protocol::keys::x5MaxRangeGate, {.source = Source::Branch}},
                                        {protocol::keys::x5MinDepthGate, {.source = Source::Told}}};
    Command const command{.form = Form::Own, .operands = operands};
    EXPECT_EQ(NeededBeside(command, operands[0]), std::vector<Operand const*>());
    EXPECT_EQ(NeededBeside(command, operands[1]), std::vector{&operands[0]});
    EXPECT_EQ(NeededBeside(command, operands[2]), std::vector<Operand const*>());
}

TEST(CommandForms, WhatIsStoredOrToldCannotBeRequested)
{
    for (Source const source : {Source::AsForm, Source::Request, Source::Completed, Source::Branch}) {
        EXPECT_TRUE(IsRequestable({protocol::keys::x5MinRangeGate, {.source = source}})) << static_cast<int>(source);
    }
    for (Source const source : {Source::Stored, Source::Told}) {
        EXPECT_FALSE(IsRequestable({protocol::keys::x5MinRangeGate, {.source = source}})) << static_cast<int>(source);
    }
}

/// The handlers of the rows that read the key, as they stand in the chain.
std::vector<std::string_view> HandlersOf(Key const& key)
{
    std::vector<std::string_view> handlers;
    for (ChainEntry const* const entry : RowsOfKey(key)) {
        handlers.push_back(entry->handler);
    }
    return handlers;
}

TEST(CommandForms, AKeysRowsAreThoseThatReadItFromARequest)
{
    using Handlers = std::vector<std::string_view>;
    EXPECT_EQ(HandlersOf(protocol::keys::x5MinRangeGate), Handlers{"RequestAbsoluteGates"});
    EXPECT_EQ(HandlersOf(protocol::keys::x5Range), Handlers{"RequestValue"});
    // Others tell the first and look the second up.
    EXPECT_EQ(HandlersOf(protocol::keys::AutoConfigManualDone), Handlers());
    EXPECT_EQ(HandlersOf(protocol::keys::x5SystemIDH), Handlers());
    EXPECT_EQ(HandlersOf(number), Handlers());
}

TEST(CommandForms, AFilterLetsThroughWhatHasOneOfItsBitsOfEachKind)
{
    KeyFilter const filter{.lowerBits = 0x5, .upperBits = 0x5};
    EXPECT_TRUE(filter.Passes(0x1));
    EXPECT_TRUE(filter.Passes(0x4));
    EXPECT_FALSE(filter.Passes(0x2));
    EXPECT_FALSE(filter.Passes(0));
    KeyFilter const apart{.lowerBits = 0x1, .upperBits = 0x4};
    EXPECT_TRUE(apart.Passes(0x5));
    EXPECT_FALSE(apart.Passes(0x1));
    EXPECT_FALSE(apart.Passes(0x4));
}

TEST(CommandForms, OneThatReadsInItsOwnWayMayConcernAnyTree)
{
    for (Form const form : {Form::Own, Form::Lax}) {
        Command const command{.form = form, .operands = listedKeys};
        EXPECT_EQ(MayConcern(0, command), form == Form::Own);
        EXPECT_TRUE(MayConcern(listedKeys[0].attribute.Filter(), command));
    }
}

namespace keys = protocol::keys;
namespace records = protocol::records;

TEST(ScalarChecks, ARecordThatIsWhatTheRowSendsPasses)
{
    EXPECT_TRUE(FitsScalarPath(records::Range, keys::x5Range, PARM_FLOAT));
    EXPECT_TRUE(FitsScalarPath(records::Absorption, keys::x5Absorption, PARM_FLOAT));
    EXPECT_TRUE(FitsScalarPath(records::BeamSteer, keys::x5BeamSteer, PARM_ANGLE_PAIR));
    EXPECT_TRUE(FitsScalarPath(records::Projector, keys::DeviceEnum, PARM_INT));
}

TEST(ScalarChecks, AKindThatIsNotTheKeysIsFound)
{
    EXPECT_FALSE(FitsScalarPath(records::Range, keys::x5Range, PARM_INT));
    EXPECT_FALSE(FitsScalarPath(records::Range, keys::x5Range, PARM_ANGLE_PAIR));
    EXPECT_FALSE(FitsScalarPath(records::BeamSteer, keys::x5BeamSteer, PARM_FLOAT));
    EXPECT_FALSE(FitsScalarPath(records::Range, keys::x5Range, PARMTYPE{3}));
}

TEST(ScalarChecks, AnotherKeysRecordIsFound)
{
    EXPECT_FALSE(FitsScalarPath(records::Range, keys::x5Power, PARM_FLOAT));
}

TEST(ScalarChecks, AConversionThatTheScalarPathDoesNotMakeIsFound)
{
    EXPECT_FALSE(FitsScalarPath(fan, tilt, PARM_FLOAT));
}

TEST(ScalarChecks, ARecordThatHoldsMoreIsFound)
{
    constexpr RecordTable wider{1099, "wider", 8, {{&tilt, 0, Wire::F32}}};
    EXPECT_FALSE(FitsScalarPath(wider, tilt, PARM_FLOAT));
    EXPECT_FALSE(FitsScalarPath(records::CoverageSector, keys::x5CoverageAngle, PARM_FLOAT));
}

// Layouts that no table may have, too: each differs from what passes in one thing.

constexpr Key angles{L"angles that no family lists", Kind::Pair, Unit::Degree, "two angles"};

/// A record of one number.
bool FitsAs(PARMTYPE kind, Key const& key, protocol::Field const& field, std::uint32_t size = 4)
{
    return FitsScalarPath({.id = 1099, .size = size, .fields = std::span(&field, 1)}, key, kind);
}

TEST(ScalarChecks, AFieldThatLiesOtherwiseIsFound)
{
    EXPECT_TRUE(FitsAs(PARM_FLOAT, tilt, {&tilt, 0, Wire::F32}));
    EXPECT_FALSE(FitsAs(PARM_FLOAT, tilt, {&tilt, 4, Wire::F32}));
    EXPECT_FALSE(FitsAs(PARM_FLOAT, tilt, {&tilt, 0, Wire::I32}));
    EXPECT_FALSE(FitsAs(PARM_FLOAT, tilt, {.key = &tilt, .wire = Wire::F32, .part = 1}));
    EXPECT_FALSE(FitsAs(PARM_FLOAT, tilt, {&tilt, 0, Wire::F32}, 8));
    EXPECT_TRUE(FitsAs(PARM_INT, number, {&number, 0, Wire::I32}));
    EXPECT_FALSE(FitsAs(PARM_INT, number, {&number, 4, Wire::I32}));
    EXPECT_FALSE(FitsAs(PARM_INT, number, {&number, 0, Wire::U32}));
    EXPECT_FALSE(FitsAs(PARM_INT, number, {.key = &number, .wire = Wire::I32, .part = 1}));
    EXPECT_FALSE(FitsAs(PARM_INT, number, {&number, 0, Wire::I32, Convert::PlusOne}));
}

TEST(ScalarChecks, AKeyOfAnotherKindIsFound)
{
    EXPECT_FALSE(FitsAs(PARM_FLOAT, number, {&number, 0, Wire::F32}));
    EXPECT_FALSE(FitsAs(PARM_INT, tilt, {&tilt, 0, Wire::I32}));
}

/// A record of two angles.
bool FitsAsAngles(Key const& key, protocol::Field const& first, protocol::Field const& second)
{
    protocol::Field const fields[]{first, second};
    return FitsScalarPath({.id = 1099, .size = 8, .fields = fields}, key, PARM_ANGLE_PAIR);
}

TEST(ScalarChecks, EachOfTwoAnglesIsLookedAt)
{
    auto const angle = [](Key const& key, std::uint8_t part) {
        return protocol::Field{.key = &key,
                               .offset = static_cast<std::uint16_t>(4 * part),
                               .wire = Wire::F32,
                               .convert = Convert::Radians,
                               .part = part};
    };
    protocol::Field const first = angle(angles, 0);
    protocol::Field const second = angle(angles, 1);
    EXPECT_TRUE(FitsAsAngles(angles, first, second));
    EXPECT_FALSE(FitsAsAngles(angles, second, second));
    EXPECT_FALSE(FitsAsAngles(angles, first, first));
    EXPECT_FALSE(FitsAsAngles(angles, second, first));
    EXPECT_FALSE(FitsAsAngles(tilt, angle(tilt, 0), angle(tilt, 1)));
    for (auto const change : {+[](protocol::Field& field) { field.convert = Convert::None; },
                              +[](protocol::Field& field) { field.wire = Wire::I32; },
                              +[](protocol::Field& field) { field.key = &tilt; }}) {
        protocol::Field changed = first;
        change(changed);
        EXPECT_FALSE(FitsAsAngles(angles, changed, second));
        changed = second;
        change(changed);
        EXPECT_FALSE(FitsAsAngles(angles, first, changed));
    }
}

TEST(ScalarChecks, AnotherCountOfFieldsIsFound)
{
    protocol::Field const numbers[]{{&number, 0, Wire::I32}, {nullptr, 4, Wire::I32}};
    EXPECT_FALSE(FitsScalarPath({.id = 1099, .size = 8, .fields = numbers}, number, PARM_INT));
    protocol::Field const floats[]{{&tilt, 0, Wire::F32}, {nullptr, 4, Wire::F32}};
    EXPECT_FALSE(FitsScalarPath({.id = 1099, .size = 8, .fields = floats}, tilt, PARM_FLOAT));
    auto const angle = [](protocol::KeyPointer key, std::uint8_t part) {
        return protocol::Field{.key = key,
                               .offset = static_cast<std::uint16_t>(4 * part),
                               .wire = Wire::F32,
                               .convert = Convert::Radians,
                               .part = part};
    };
    protocol::Field const three[]{angle(&angles, 0), angle(&angles, 1), angle(nullptr, 2)};
    EXPECT_FALSE(FitsScalarPath({.id = 1099, .size = 12, .fields = three}, angles, PARM_ANGLE_PAIR));
}

TEST(ScalarChecks, WhatFollowsTheFieldsIsFound)
{
    protocol::Field const field{&tilt, 0, Wire::F32};
    EXPECT_FALSE(FitsScalarPath({.id = 1099, .size = 4, .fields = std::span(&field, 1), .tail = protocol::Tail::Bytes},
                                tilt, PARM_FLOAT));
}

TEST(ScalarChecks, ACarrierThatTheNumberDoesNotHaveIsFound)
{
    using protocol::Carrier;
    constexpr RecordTable wrapped{7613, "wrapped", 4, {{&tilt, 0, Wire::F32}}};
    EXPECT_FALSE(FitsScalarPath(wrapped, tilt, PARM_FLOAT));
    constexpr RecordTable framed{1099, "framed", 4, {{&tilt, 0, Wire::F32}}, {.carrier = Carrier::Data}};
    EXPECT_FALSE(FitsScalarPath(framed, tilt, PARM_FLOAT));
    constexpr RecordTable framedInt{7613, "framed int", 4, {{&number, 0, Wire::I32}}, {.carrier = Carrier::Data}};
    EXPECT_FALSE(FitsScalarPath(framedInt, number, PARM_INT));
    constexpr RecordTable wrappedInt{7613, "wrapped int", 4, {{&number, 0, Wire::I32}}};
    EXPECT_FALSE(FitsScalarPath(wrappedInt, number, PARM_INT));
}

} // namespace
