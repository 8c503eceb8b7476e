// Tests of what is checked of a command when it is compiled: a key or a record that its family does not list is found.
#include "DeviceDLLs/QX5SonarConfiguration/handlers/Gates.h"
#include "DeviceDLLs/QX5SonarConfiguration/handlers/command_checks.h"

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

} // namespace
