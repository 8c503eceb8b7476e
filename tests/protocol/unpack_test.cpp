// Payloads taken apart, also those too short, too long or with a tail.
#include <cmath>

#include <gtest/gtest.h>

#include <protocol/records/basic.h>
#include <protocol/unpack.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

constexpr Key CountKey{L"test count", Kind::Int, Unit::None, ""};
constexpr Key LengthKey{L"test length", Kind::Int64, Unit::Byte, ""};
constexpr Key OnKey{L"test on", Kind::Bool, Unit::None, ""};
constexpr Key ListKey{L"test list", Kind::IntList, Unit::None, ""};
constexpr Key AxesKey{L"test axes", Kind::Offset, Unit::Metre, ""};

TEST(Unpack, APairInDegrees)
{
    auto const payload = Bytes("c2b8323e c2b832be");
    auto const record = Unpack(records::BeamSteer, payload);
    ASSERT_EQ(record.fields.size(), 2U);
    EXPECT_EQ(std::get<double>(record.fields[0].wire), static_cast<double>(0.17453292F));
    EXPECT_NEAR(std::get<double>(record.fields[0].attribute), 10.0, 1e-6);
    EXPECT_NEAR(std::get<double>(record.fields[1].attribute), -10.0, 1e-6);
    auto const values = KeyValues(record.fields);
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(values[0].first, &keys::x5BeamSteer);
    auto const pair = std::get<std::pair<double, double>>(values[0].second);
    EXPECT_NEAR(pair.first, 10.0, 1e-6);
    EXPECT_NEAR(pair.second, -10.0, 1e-6);
}

TEST(Unpack, WholeNumbersOf64BitsKeepTheSignOfTheirField)
{
    auto const payload = Bytes("feffffff");
    EXPECT_EQ(UnpackField({.key = &LengthKey, .wire = Wire::U32}, payload).attribute, Value(std::int64_t{4294967294}));
    EXPECT_EQ(UnpackField({.key = &LengthKey, .wire = Wire::I32}, payload).attribute, Value(std::int64_t{-2}));
}

TEST(Unpack, AnOffsetIsJoined)
{
    static constexpr RecordTable table{1,
                                       "axes",
                                       12,
                                       {Field{.key = &AxesKey, .offset = 0, .wire = Wire::F32, .part = 0},
                                        Field{.key = &AxesKey, .offset = 4, .wire = Wire::F32, .part = 1},
                                        Field{.key = &AxesKey, .offset = 8, .wire = Wire::F32, .part = 2}}};
    auto const record = Unpack(table, Bytes("0000803f 00000040 00008040"));
    auto const values = KeyValues(record.fields);
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(values[0].second, Value(std::array<double, 3>{1.0, 2.0, 4.0}));
}

TEST(Unpack, FlagsAndNamelessFields)
{
    auto const payload = Bytes("0500 00c0bb44 03 000000");
    auto const record = Unpack(records::ManualSoundVelocity, payload);
    ASSERT_EQ(record.fields.size(), 5U);
    EXPECT_EQ(record.fields[0].attribute, Value(true));
    EXPECT_EQ(record.fields[1].wire, Value(false));
    EXPECT_TRUE(IsEmpty(record.fields[1].attribute));
    EXPECT_EQ(record.fields[2].wire, Value(true));
    EXPECT_EQ(record.fields[3].attribute, Value(1502.0));
    EXPECT_EQ(record.fields[4].attribute, Value(std::int32_t{3}));
}

TEST(Unpack, ATooShortPayloadGivesWhatItHolds)
{
    auto const payload = Bytes("0100 00c0bb");
    auto const record = Unpack(records::ManualSoundVelocity, payload);
    EXPECT_EQ(record.fields.size(), 3U);
    EXPECT_EQ(record.missingBytes, 5U);
    EXPECT_EQ(Unpack(records::ManualSoundVelocity, {}).missingBytes, 10U);
}

TEST(Unpack, ATooLongPayloadSaysSo)
{
    auto const payload = Bytes("00004842 ffff");
    auto const record = Unpack(records::Range, payload);
    EXPECT_EQ(record.fields[0].attribute, Value(50.0));
    EXPECT_EQ(record.excessBytes, 2U);
    EXPECT_EQ(record.missingBytes, 0U);
}

TEST(Unpack, Items)
{
    static constexpr RecordTable table{1,
                                       "items",
                                       4,
                                       {Field{.offset = 0, .wire = Wire::U32, .name = "count"}},
                                       RepeatedItems{3,
                                                     {Field{.key = &CountKey, .offset = 0, .wire = Wire::U16},
                                                      Field{.key = &OnKey, .offset = 2, .wire = Wire::U8}}}};
    auto const record = Unpack(table, Bytes("02000000 0100 01 ffff 00 09"));
    ASSERT_EQ(record.items.size(), 2U);
    EXPECT_EQ(record.items[0][0].attribute, Value(std::int32_t{1}));
    EXPECT_EQ(record.items[0][1].attribute, Value(true));
    EXPECT_EQ(record.items[1][0].attribute, Value(std::int32_t{65535}));
    EXPECT_EQ(record.items[1][1].attribute, Value(false));
    EXPECT_EQ(record.excessBytes, 1U);
}

TEST(Unpack, Lists)
{
    auto const tail = [](Tail kind, std::string_view hex) {
        RecordLayout const layout{.tail = kind, .tailKey = &ListKey};
        auto const payload = Bytes(hex);
        auto record = Unpack(layout, payload);
        return std::pair(record.tail, record.excessBytes);
    };
    using Numbers = std::vector<std::int32_t>;
    EXPECT_EQ(tail(Tail::I32List, "01000000 ffffffff aa"), std::pair(Value(Numbers{1, -1}), std::size_t{1}));
    EXPECT_EQ(tail(Tail::U32List, "02000000"), std::pair(Value(Numbers{2}), std::size_t{0}));
    EXPECT_EQ(tail(Tail::U16List, "0100 ffff"), std::pair(Value(Numbers{1, 65535}), std::size_t{0}));
    EXPECT_EQ(tail(Tail::Utf8, "61c2b5"), std::pair(Value(std::wstring(L"a\u00B5")), std::size_t{0}));
    EXPECT_EQ(tail(Tail::Utf8Z, "616200"), std::pair(Value(std::wstring(L"ab")), std::size_t{0}));
    EXPECT_EQ(tail(Tail::I32List, ""), std::pair(Value(Numbers{}), std::size_t{0}));
}

TEST(Unpack, Texts)
{
    Field const text{.wire = Wire::Text, .extent = 4, .name = "text"};
    EXPECT_EQ(UnpackField(text, Bytes("61620000")).wire, Value(std::wstring(L"ab")));
    EXPECT_EQ(UnpackField(text, Bytes("61626364")).wire, Value(std::wstring(L"abcd")));
    EXPECT_EQ(UnpackField(text, Bytes("6100ff61")).wire, Value(std::wstring(L"a")));
    EXPECT_TRUE(IsEmpty(UnpackField(text, Bytes("616263")).wire));
}

TEST(Unpack, ConversionsBackwards)
{
    auto const attribute = [](Field field, Key const& key, std::string_view hex) {
        field.key = &key;
        return UnpackField(field, Bytes(hex)).attribute;
    };
    static constexpr Key real{L"test real", Kind::Double, Unit::None, ""};
    EXPECT_EQ(attribute({.wire = Wire::F32, .convert = Convert::Negated}, real, "000080bf"), Value(1.0));
    EXPECT_EQ(attribute({.wire = Wire::F32, .convert = Convert::TimesThousand}, real, "0000fa43"), Value(0.5));
    EXPECT_EQ(attribute({.wire = Wire::F64, .convert = Convert::Thousandth}, real, "000000000000e03f"), Value(500.0));
    EXPECT_EQ(attribute({.wire = Wire::I32, .convert = Convert::Truncated}, real, "feffffff"), Value(-2.0));
    EXPECT_EQ(attribute({.wire = Wire::F32, .convert = Convert::FifthOfFloat}, CountKey, "000000c0"),
              Value(std::int32_t{-10}));
    EXPECT_EQ(attribute({.wire = Wire::U16, .convert = Convert::TimesTwenty}, CountKey, "c800"),
              Value(std::int32_t{10}));
    EXPECT_EQ(attribute({.wire = Wire::U8, .convert = Convert::PlusOne}, CountKey, "02"), Value(std::int32_t{1}));
    Field const whenZero{.wire = Wire::BitOfU32, .convert = Convert::SetWhenZero, .extent = 1};
    EXPECT_EQ(attribute(whenZero, CountKey, "02000000"), Value(std::int32_t{0}));
    EXPECT_EQ(attribute(whenZero, CountKey, "00000000"), Value(std::int32_t{1}));
    EXPECT_EQ(attribute({.wire = Wire::BitsOfU32, .extent = 4, .bitCount = 4}, CountKey, "32000000"),
              Value(std::int32_t{3}));
    EXPECT_TRUE(IsEmpty(attribute({.wire = Wire::U32, .convert = Convert::Computed}, CountKey, "01000000")));
    EXPECT_EQ(attribute({.wire = Wire::F32, .convert = Convert::FifthOfFloat}, CountKey, "0000c07f"),
              Value(std::int32_t{0}));
}

TEST(Unpack, TimeStamps)
{
    Field const time{.wire = Wire::TimeX5, .name = "time"};
    EXPECT_EQ(UnpackField(time, Bytes("e707 3e01 0000a041 16 0d")).wire, Value(1700000000.0));
    EXPECT_TRUE(IsEmpty(UnpackField(time, Bytes("00000000000000000000")).wire));
}

} // namespace

} // namespace qx5::protocol::test
