// Tests of what is checked of a command when it is compiled: a key or a record that its family does not list is found,
// and a scalar row whose record is not what it sends.
#include "DeviceDLLs/QX5SonarConfiguration/handlers/Gates.h"
#include "DeviceDLLs/QX5SonarConfiguration/handlers/command_catalogue.h"
#include "DeviceDLLs/QX5SonarConfiguration/handlers/command_checks.h"
#include "DeviceDLLs/QX5SonarConfiguration/handlers/scalar_checks.h"

#include <protocol/records/basic.h>

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

TEST(CommandChecks, ARecordThatNoFamilyListsIsFound)
{
    EXPECT_FALSE(EveryRecordIsListed({.sends = strayRecords}));
    EXPECT_TRUE(EveryRecordIsListed({.sends = std::span(strayRecords).first(1)}));
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

TEST(ScalarChecks, ACarrierThatTheNumberDoesNotHaveIsFound)
{
    using protocol::Carrier;
    constexpr RecordTable wrapped{7613, "wrapped", 4, {{&tilt, 0, Wire::F32}}};
    EXPECT_FALSE(FitsScalarPath(wrapped, tilt, PARM_FLOAT));
    constexpr RecordTable framed{1099, "framed", 4, {{&tilt, 0, Wire::F32}}, {.carrier = Carrier::Data}};
    EXPECT_FALSE(FitsScalarPath(framed, tilt, PARM_FLOAT));
    constexpr RecordTable framedInt{7613, "framed int", 4, {{&number, 0, Wire::I32}}, {.carrier = Carrier::Data}};
    EXPECT_FALSE(FitsScalarPath(framedInt, number, PARM_INT));
}

} // namespace
