// What each wire form and conversion makes of a value, in bytes.
#include <limits>

#include <gtest/gtest.h>

#include <protocol/pack.h>
#include <protocol/records/basic.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();

/// The bytes of a payload of `size` zero bytes after one field was packed; empty when packing refuses.
template <typename Kind>
std::vector<unsigned char> Packed(std::size_t size, Field const& field, Kind const& value)
{
    std::vector<unsigned char> payload(size);
    if (!PackField(field, value, payload)) {
        return {};
    }
    return payload;
}

TEST(PackField, IntegersLoseTheirHighBits)
{
    EXPECT_EQ(Packed(3, {.offset = 1, .wire = Wire::U8}, 0x1FE), Bytes("00 fe 00"));
    EXPECT_EQ(Packed(2, {.wire = Wire::U16}, 70000), Bytes("7011"));
    EXPECT_EQ(Packed(2, {.wire = Wire::U16}, -1), Bytes("ffff"));
    EXPECT_EQ(Packed(4, {.wire = Wire::I32}, Least), Bytes("00000080"));
    EXPECT_EQ(Packed(4, {.wire = Wire::U32}, std::uint32_t{0xFFFFFFFE}), Bytes("feffffff"));
    EXPECT_EQ(Packed(4, {.wire = Wire::U32}, std::int64_t{0x123456789}), Bytes("89674523"));
    EXPECT_EQ(Packed(4, {.wire = Wire::I32}, Value(std::int64_t{-2})), Bytes("feffffff"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32}, std::int64_t{8589934592}), Bytes("00000050")); // 2^33
    EXPECT_EQ(Packed(2, {.wire = Wire::BitOfU16, .extent = 0}, std::int64_t{0x100000000}), Bytes("0100"));
}

TEST(PackField, BoolsAreOneOrZeroOfAnyWidth)
{
    EXPECT_EQ(Packed(1, {.wire = Wire::U8}, true), Bytes("01"));
    EXPECT_EQ(Packed(2, {.wire = Wire::U16}, true), Bytes("0100"));
    EXPECT_EQ(Packed(4, {.wire = Wire::U32}, true), Bytes("01000000"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32}, true), Bytes("0000803f"));
    EXPECT_EQ(Packed(4, {.wire = Wire::I32}, false), Bytes("00000000"));
}

TEST(PackField, DoublesGoToIntegersTruncated)
{
    EXPECT_EQ(Packed(4, {.wire = Wire::I32, .convert = Convert::Truncated}, -2.9), Bytes("feffffff"));
    EXPECT_EQ(Packed(4, {.wire = Wire::I32, .convert = Convert::Truncated}, 1e20), Bytes("ffffff7f"));
    EXPECT_EQ(Packed(2, {.wire = Wire::U16, .convert = Convert::Truncated}, -1.5), Bytes("ffff"));
}

TEST(PackField, DoublesNarrowToFloat)
{
    EXPECT_EQ(Packed(4, {.wire = Wire::F32}, 50.0), Bytes("00004842"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32}, 1e300), Bytes("0000807f"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32}, -std::numeric_limits<double>::quiet_NaN()), Bytes("0000c07f"));
    EXPECT_EQ(Packed(8, {.wire = Wire::F64}, 0.5), Bytes("000000000000e03f"));
}

TEST(PackField, Conversions)
{
    // 10 degrees are 0.17453292519943295 rad; the nearest float is 0x3E32B8C2.
    EXPECT_EQ(Packed(4, {.wire = Wire::F32, .convert = Convert::Radians}, 10.0), Bytes("c2b8323e"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32, .convert = Convert::NegatedRadians}, 10.0), Bytes("c2b832be"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32, .convert = Convert::Negated}, 1.0), Bytes("000080bf"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32, .convert = Convert::TimesThousand}, 0.5), Bytes("0000fa43")); // 500
    EXPECT_EQ(Packed(8, {.wire = Wire::F64, .convert = Convert::Thousandth}, 500.0), Bytes("000000000000e03f"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32, .convert = Convert::FifthOfFloat}, 5), Bytes("0000803f"));
    EXPECT_EQ(Packed(4, {.wire = Wire::F32, .convert = Convert::FifthOfFloat}, -10), Bytes("000000c0"));
    EXPECT_EQ(Packed(2, {.wire = Wire::U16, .convert = Convert::TimesTwenty}, 10), Bytes("c800"));
    EXPECT_EQ(Packed(2, {.wire = Wire::U16, .convert = Convert::TimesTwenty}, 4000), Bytes("8038")); // 80000 - 65536
    EXPECT_EQ(Packed(2, {.wire = Wire::U16, .convert = Convert::TimesTwenty}, 2147483647), Bytes("ecff")); // -20
    EXPECT_EQ(Packed(2, {.wire = Wire::U16, .convert = Convert::TimesTwenty}, -1), Bytes("ecff"));
    EXPECT_EQ(Packed(1, {.wire = Wire::U8, .convert = Convert::PlusOne}, 1), Bytes("02"));
    EXPECT_EQ(Packed(1, {.wire = Wire::U8, .convert = Convert::PlusOne}, 255), Bytes("00"));
    EXPECT_EQ(Packed(4, {.wire = Wire::I32, .convert = Convert::PlusOne}, 2147483647), Bytes("00000080"));
}

TEST(PackField, Bits)
{
    EXPECT_EQ(Packed(4, {.wire = Wire::BitOfU32, .extent = 13}, true), Bytes("00200000"));
    EXPECT_EQ(Packed(3, {.offset = 1, .wire = Wire::BitOfU16, .extent = 9}, true), Bytes("000002"));
    EXPECT_EQ(Packed(8, {.wire = Wire::BitOfU64, .extent = 57}, true), Bytes("0000000000000002"));
    EXPECT_EQ(Packed(2, {.wire = Wire::BitOfU16, .extent = 0}, false), Bytes("0000"));
    Field const whenZero{.wire = Wire::BitOfU32, .convert = Convert::SetWhenZero, .extent = 1};
    EXPECT_EQ(Packed(4, whenZero, 0), Bytes("02000000"));
    EXPECT_EQ(Packed(4, whenZero, 2), Bytes("00000000"));
    Field const whenOne{.wire = Wire::BitOfU16, .convert = Convert::SetWhenOne, .extent = 2};
    EXPECT_EQ(Packed(2, whenOne, 1), Bytes("0400"));
    EXPECT_EQ(Packed(2, whenOne, 3), Bytes("0000"));
}

TEST(PackField, ABitLeavesItsNeighboursAlone)
{
    auto payload = Bytes("ffff");
    EXPECT_TRUE(PackField({.wire = Wire::BitOfU16, .extent = 3}, false, payload));
    EXPECT_EQ(payload, Bytes("f7ff"));
}

TEST(PackField, RunsOfBitsAreShiftedAndOredWithoutMask)
{
    std::vector<unsigned char> payload(4);
    EXPECT_TRUE(PackField({.wire = Wire::BitOfU32, .extent = 1}, true, payload));
    EXPECT_TRUE(PackField({.wire = Wire::BitsOfU32, .extent = 4, .bitCount = 4}, 0x12, payload));
    EXPECT_TRUE(PackField({.wire = Wire::BitsOfU32, .extent = 8, .bitCount = 24}, 2, payload));
    EXPECT_EQ(payload, Bytes("22 03 00 00"));
}

TEST(PackField, TextLeavesRoomForItsEnd)
{
    EXPECT_EQ(Packed(5, {.wire = Wire::Text, .extent = 4}, std::wstring_view(L"ab")), Bytes("61620000 00"));
    EXPECT_EQ(Packed(5, {.wire = Wire::Text, .extent = 4}, std::wstring_view(L"abcdef")), Bytes("61626300 00"));
    EXPECT_EQ(Packed(5, {.wire = Wire::Bytes, .extent = 4}, std::wstring_view(L"abcdef")), Bytes("61626364 00"));
    EXPECT_EQ(Packed(4, {.wire = Wire::Text, .extent = 4}, std::wstring_view(L"ab\u00B5")), Bytes("6162c200"));
    EXPECT_EQ(Packed(4, {.wire = Wire::Text, .extent = 4}, std::string_view("xyz9")), Bytes("78797a00"));
    EXPECT_EQ(Packed(4, {.wire = Wire::Text, .extent = 4}, std::wstring_view()), Bytes("00000000"));
}

TEST(PackField, AShorterTextLeavesNothingOfTheOneBefore)
{
    auto payload = Bytes("ffffffffff");
    EXPECT_TRUE(PackField({.wire = Wire::Text, .extent = 4}, std::wstring_view(L"a"), payload));
    EXPECT_EQ(payload, Bytes("61000000ff"));
}

TEST(PackField, TimeStamp)
{
    EXPECT_EQ(Packed(10, {.wire = Wire::TimeX5}, 1700000000.0), Bytes("e707 3e01 0000a041 16 0d"));
}

TEST(PackField, RefusesWhatDoesNotFit)
{
    EXPECT_TRUE(Packed(3, {.wire = Wire::U32}, 1).empty());
    EXPECT_TRUE(Packed(4, {.offset = 65535, .wire = Wire::U8}, 1).empty());
    EXPECT_TRUE(Packed(4, {.wire = Wire::U32}, std::wstring_view(L"1")).empty());
    EXPECT_TRUE(Packed(4, {.wire = Wire::Text, .extent = 4}, 1).empty());
    EXPECT_TRUE(Packed(4, {.wire = Wire::Text, .extent = 4}, 1.0).empty());
    EXPECT_TRUE(Packed(4, {.wire = Wire::Text, .extent = 5}, std::wstring_view(L"a")).empty());
    EXPECT_TRUE(Packed(4, {.wire = Wire::U32}, Value{}).empty());
    EXPECT_TRUE(Packed(4, {.wire = Wire::U32}, Value(std::vector<std::int32_t>{1})).empty());
}

TEST(PackField, PairsAndOffsetsByPart)
{
    std::vector<unsigned char> payload(8);
    Value const pair = std::pair(10.0, -10.0);
    for (Field const& field : records::BeamSteer.Fields()) {
        EXPECT_TRUE(PackField(field, pair, payload));
    }
    EXPECT_EQ(payload, Bytes("c2b8323e c2b832be"));
    Value const offset = std::array<double, 3>{1.0, 2.0, 4.0};
    EXPECT_EQ(Packed(4, {.wire = Wire::F32, .part = 2}, offset), Bytes("00008040"));
    EXPECT_TRUE(Packed(4, {.wire = Wire::F32, .part = 2}, pair).empty());
    EXPECT_TRUE(Packed(4, {.wire = Wire::F32, .part = 3}, offset).empty());
}

TEST(PackField, TheFlagsOfAManualSoundVelocity)
{
    // Override on, no new velocity, filter 3.
    auto const& table = records::ManualSoundVelocity;
    Payload payload(table.Size());
    EXPECT_TRUE(PackField(table.FieldOf(keys::x5SoundVelocityOverride), true, payload));
    EXPECT_TRUE(PackField(table.Fields()[1], true, payload));
    EXPECT_TRUE(PackField(table.Fields()[2], true, payload));
    EXPECT_TRUE(PackField(table.FieldOf(keys::x5SoundVelocityFilter), 3, payload));
    EXPECT_EQ(Copy(payload.Bytes()), Bytes("0700 00000000 03 000000"));
}

TEST(PackConstants, WritesOnlyConstants)
{
    static constexpr RecordTable table{1,
                                       "with constants",
                                       7,
                                       {Field{.offset = 0, .wire = Wire::U16, .constant = 25},
                                        Field{.offset = 2, .wire = Wire::BitOfU16, .extent = 0, .constant = 1},
                                        Field{.offset = 4, .wire = Wire::U16, .name = "other"}}};
    auto payload = Bytes("0000 0000 eeee ee");
    PackConstants(table, payload);
    EXPECT_EQ(payload, Bytes("1900 0100 eeee ee"));
}

TEST(Payload, IsZeroOnBothSidesOfItsInlineSize)
{
    for (std::size_t const size : {std::size_t{0}, std::size_t{1}, Payload::InlineSize, Payload::InlineSize + 1}) {
        Payload const payload(size);
        EXPECT_EQ(payload.Size(), size);
        EXPECT_EQ(Copy(payload.Bytes()), std::vector<unsigned char>(size));
        EXPECT_EQ(payload.Data() == nullptr, size == 0);
    }
}

} // namespace

} // namespace qx5::protocol::test
