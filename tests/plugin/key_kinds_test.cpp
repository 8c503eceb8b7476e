// Values of keys on their way from a request into an echo, where no record carries such a kind yet.
#include "DeviceDLLs/QX5SonarConfiguration/handlers/command_values.h"
#include "DeviceDLLs/QX5SonarConfiguration/handlers/echo_map.h"
#include "DeviceDLLs/QX5SonarConfiguration/handlers/reading.h"

#include <protocol/record_layout.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using qx5::protocol::Key;
using qx5::protocol::Kind;
using qx5::protocol::Value;

constexpr Key LengthKey{L"test length", Kind::Int64};
constexpr AttributeKey LengthAttribute{LengthKey.text};

TEST(KeyKinds, WholeNumbersOf64BitsAreReadAndTold)
{
    CAttributeMap request;
    request.Add(LengthAttribute, CVordalInt64(-5000000000), 0);
    Value value;
    ASSERT_TRUE(qx5::ReadKey(request, LengthKey, LengthAttribute, value));
    EXPECT_EQ(value, Value(std::int64_t{-5000000000}));

    qx5::EchoMap echo;
    echo.TellValue(LengthAttribute, value);
    std::int64_t told = 0;
    EXPECT_TRUE(echo.Tree().FindValue(LengthAttribute, 0).Get(told));
    EXPECT_EQ(told, -5000000000);
}

TEST(KeyKinds, PairsListsAndOffsetsAreReadAndTold)
{
    constexpr Key pairKey{L"test pair", Kind::Pair};
    constexpr Key wholeKey{L"test list", Kind::IntList};
    constexpr Key listKey{L"test numbers", Kind::DoubleList};
    constexpr Key offsetKey{L"test offset", Kind::Offset};
    CAttributeMap request;
    request.Add(pairKey.text, CVordalDouble2D(1.5, -2.5), 0);
    request.Add(wholeKey.text, CVordalIntList({3, -4}), 0);
    request.Add(listKey.text, CVordalDoubleList({0.25, 8.0, -1.0}), 0);
    request.Add(offsetKey.text, CVordalOffset(CCompOffset(1.0, 2.0, -3.0)), 0);

    qx5::EchoMap echo;
    auto const through = [&](Key const& key) {
        Value value;
        EXPECT_TRUE(qx5::ReadKey(request, key, AttributeKey(key.text), value));
        echo.TellValue(AttributeKey(key.text), value);
        return value;
    };
    EXPECT_EQ(through(pairKey), Value(std::pair(1.5, -2.5)));
    EXPECT_EQ(through(wholeKey), Value(std::vector<std::int32_t>{3, -4}));
    EXPECT_EQ(through(listKey), Value(std::vector<double>{0.25, 8.0, -1.0}));
    EXPECT_EQ(through(offsetKey), Value(std::array<double, 3>{1.0, 2.0, -3.0}));

    double first = 0.0;
    double second = 0.0;
    EXPECT_TRUE(echo.Tree().FindValue(pairKey.text, 0).Get(first, second));
    EXPECT_EQ(first, 1.5);
    EXPECT_EQ(second, -2.5);
    std::vector<int> whole;
    EXPECT_TRUE(echo.Tree().FindValue(wholeKey.text, 0).Get(whole));
    EXPECT_EQ(whole, (std::vector{3, -4}));
    std::vector<double> list;
    EXPECT_TRUE(echo.Tree().FindValue(listKey.text, 0).Get(list));
    EXPECT_EQ(list, (std::vector{0.25, 8.0, -1.0}));
    CCompOffset offset;
    EXPECT_TRUE(echo.Tree().FindValue(offsetKey.text, 0).Get(offset));
    std::array<double, 3> axes{};
    offset.GetOffset(axes[0], axes[1], axes[2]);
    EXPECT_EQ(axes, (std::array{1.0, 2.0, -3.0}));
}

TEST(KeyKinds, AValueOfAnotherKindIsNotRead)
{
    CAttributeMap request;
    request.Add(LengthAttribute, CVordalText(CString(L"text")), 0);
    for (Kind const kind : {Kind::Int, Kind::UInt, Kind::Int64, Kind::Bool, Kind::Double, Kind::Pair, Kind::IntList,
                            Kind::DoubleList, Kind::Offset, Kind::Branch, Kind::Any}) {
        Value value;
        EXPECT_FALSE(qx5::ReadKey(request, Key{LengthKey.text, kind}, LengthAttribute, value))
            << static_cast<int>(kind);
        EXPECT_TRUE(qx5::protocol::IsEmpty(value)) << static_cast<int>(kind);
        EXPECT_FALSE(qx5::ReadKey(CAttributeMap(), Key{LengthKey.text, kind}, LengthAttribute, value))
            << "nothing there";
    }
    Value value;
    EXPECT_TRUE(qx5::ReadKey(request, Key{LengthKey.text, Kind::String}, LengthAttribute, value));
    EXPECT_EQ(value, Value(std::wstring(L"text")));
}

constexpr Key first{L"test first", Kind::Int};
constexpr Key second{L"test second", Kind::UInt};
constexpr Key third{L"test third", Kind::Bool};
constexpr qx5::Operand threeOperands[]{first, second, third};

TEST(Operands, AKeyBehindTheLastOfACommandIsNoneOfIts)
{
    qx5::Command const command{.operands = std::span(threeOperands).first(1)};
    EXPECT_EQ(qx5::OperandOf(command, first), 0U);
    EXPECT_EQ(qx5::OperandOf(command, third), 1U);
}

TEST(Operands, OneTriggersAnyOfThemOrTheFirstAsTheFormSays)
{
    using qx5::Form;
    CAttributeMap request;
    request.Add(second.text, CVordalUInt(1), 0);
    for (Form const form : {Form::Direct, Form::Strict, Form::Lax, Form::AllRequired, Form::Presence, Form::Own}) {
        qx5::Command const command{.form = form, .operands = threeOperands};
        EXPECT_EQ(qx5::IsTriggered(request, command), form == Form::Strict || form == Form::Lax || form == Form::Own)
            << static_cast<int>(form);
        EXPECT_EQ(qx5::IsTriggered(CAttributeMap(), command), form == Form::Own) << static_cast<int>(form);
    }
}

TEST(Operands, AFieldOfAKeyThatIsNoOperandStays0)
{
    using qx5::protocol::Wire;
    static constexpr qx5::protocol::Field fields[]{{&first, 0, Wire::I32}, {&third, 4, Wire::I32}};
    qx5::protocol::RecordLayout const record{.id = 1099, .size = 8, .fields = fields};
    qx5::Command const command{.operands = std::span(threeOperands).first(1)};
    qx5::CommandValues values;
    values[0] = std::int32_t{-2};
    values[1] = std::int32_t{7}; // left from elsewhere
    qx5::protocol::Payload payload(8);
    qx5::PackOperands(command, values, record, payload);
    EXPECT_TRUE(std::ranges::equal(payload.Bytes(), std::array<unsigned char, 8>{0xFE, 0xFF, 0xFF, 0xFF}));
}

TEST(Operands, AnEchoOfWhatWasSentIsOfTheKeysKind)
{
    using qx5::Echo;
    using qx5::protocol::Wire;
    static constexpr qx5::protocol::Field fields[]{
        {&first, 0, Wire::U32}, {&second, 4, Wire::U32}, {&LengthKey, 8, Wire::U32}};
    qx5::protocol::RecordLayout const record{.id = 1099, .size = 12, .fields = fields};
    static constexpr qx5::Operand operands[]{{first, {.echo = Echo::AsSent}},
                                             {second, {.echo = Echo::AsSent}},
                                             {LengthKey, {.echo = Echo::AsSent}},
                                             {third, {.echo = Echo::AsSent}}};
    qx5::protocol::Payload payload(12);
    std::ranges::fill(payload.Bytes(), static_cast<unsigned char>(0xFF));
    qx5::EchoMap echo;
    qx5::TellOperands({.operands = operands}, {}, record, payload, echo);
    // The last key stands in no field of the record.
    ASSERT_EQ(echo.Tree().Count(), 3);
    int number = 0;
    EXPECT_TRUE(echo.Tree().FindValue(first.text, 0).Get(number));
    EXPECT_EQ(number, -1);
    unsigned bits = 0;
    EXPECT_TRUE(echo.Tree().FindValue(second.text, 0).Get(bits));
    EXPECT_EQ(bits, 4294967295U);
    std::int64_t length = 0;
    EXPECT_TRUE(echo.Tree().FindValue(LengthAttribute, 0).Get(length));
    EXPECT_EQ(length, 4294967295);
}

TEST(Operands, AnEchoOfWhatIsTrueTellsNoNumber)
{
    qx5::protocol::RecordLayout const record{.id = 1099};
    static constexpr qx5::Operand operands[]{{third, {.echo = qx5::Echo::WhenTrue}}};
    qx5::CommandValues values;
    qx5::protocol::Payload const payload(0);
    qx5::EchoMap echo;
    values[0] = std::int32_t{1};
    qx5::TellOperands({.operands = operands}, values, record, payload, echo);
    values[0] = false;
    qx5::TellOperands({.operands = operands}, values, record, payload, echo);
    EXPECT_EQ(echo.Tree().Count(), 0);
    values[0] = true;
    qx5::TellOperands({.operands = operands}, values, record, payload, echo);
    EXPECT_EQ(echo.Tree().Count(), 1);
}

TEST(KeyKinds, NoOtherKindIsTakenForIt)
{
    CAttributeMap request;
    request.Add(LengthAttribute, CVordalInt(5), 0);
    Value value;
    EXPECT_FALSE(qx5::ReadKey(request, LengthKey, LengthAttribute, value));
    EXPECT_TRUE(qx5::protocol::IsEmpty(value));
}

} // namespace
