// Byte order, narrowing and truncation at their limits.
#include <bit>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <protocol/bytes.h>
#include <protocol/numbers.h>

#include "hex.h"

namespace qx5::protocol::test {

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

TEST(Bytes, AreLittleEndianAtAnyOffset)
{
    std::vector<unsigned char> bytes(27);
    PutU16LE(bytes, 1, 0x1234);
    PutU32LE(bytes, 3, 0x89ABCDEF);
    PutI32LE(bytes, 7, -2);
    PutF32LE(bytes, 11, 1.0F);
    PutF64LE(bytes, 15, -2.0);
    PutU32LE(bytes, 23, 1);
    EXPECT_EQ(bytes, Bytes("00 3412 efcdab89 feffffff 0000803f 00000000000000c0 01000000"));
    EXPECT_EQ(GetU16LE(bytes, 1), 0x1234);
    EXPECT_EQ(GetU32LE(bytes, 3), 0x89ABCDEFU);
    EXPECT_EQ(GetI32LE(bytes, 7), -2);
    EXPECT_EQ(GetF32LE(bytes, 11), 1.0F);
    EXPECT_EQ(GetF64LE(bytes, 15), -2.0);
    EXPECT_EQ(GetU64LE(bytes, 15), 0xC000000000000000U);
}

TEST(Bytes, FitsNeverOverflows)
{
    EXPECT_TRUE(Fits(8, 4, 4));
    EXPECT_FALSE(Fits(8, 5, 4));
    EXPECT_FALSE(Fits(8, 9, 0));
    EXPECT_FALSE(Fits(8, std::numeric_limits<std::size_t>::max(), 2));
    EXPECT_FALSE(Fits(8, 2, std::numeric_limits<std::size_t>::max()));
}

TEST(Numbers, TruncateTowardZeroAndSaturate)
{
    EXPECT_EQ(TruncateToInt32(2.9), 2);
    EXPECT_EQ(TruncateToInt32(-2.9), -2);
    EXPECT_EQ(TruncateToInt32(-0.0), 0);
    EXPECT_EQ(TruncateToInt32(2147483646.9), 2147483646);
    EXPECT_EQ(TruncateToInt32(2147483647.5), 2147483647);
    EXPECT_EQ(TruncateToInt32(1e300), 2147483647);
    EXPECT_EQ(TruncateToInt32(-2147483648.9), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(TruncateToInt32(-Infinity), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(TruncateToInt32(Infinity), 2147483647);
    EXPECT_EQ(TruncateToInt32(NotANumber), 0);
}

TEST(Numbers, NarrowToFloatAtTheEdgesOfItsRange)
{
    constexpr double greatest = std::numeric_limits<float>::max();
    EXPECT_EQ(NarrowToFloat(greatest), std::numeric_limits<float>::max());
    EXPECT_EQ(NarrowToFloat(std::nextafter(greatest, Infinity)), std::numeric_limits<float>::max());
    EXPECT_EQ(NarrowToFloat(std::nextafter(0x1.ffffffp127, 0.0)), std::numeric_limits<float>::max());
    EXPECT_TRUE(std::isinf(NarrowToFloat(0x1.ffffffp127)));
    EXPECT_EQ(NarrowToFloat(-1e39), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(NarrowToFloat(Infinity), std::numeric_limits<float>::infinity());
    EXPECT_EQ(NarrowToFloat(0.1), 0.1F);
    EXPECT_EQ(NarrowToFloat(1e-60), 0.0F);
    EXPECT_TRUE(std::signbit(NarrowToFloat(-0.0)));
}

TEST(Numbers, AnyNanIsThePositiveQuietOne)
{
    EXPECT_EQ(std::bit_cast<std::uint32_t>(NarrowToFloat(NotANumber)), 0x7FC00000U);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(NarrowToFloat(-NotANumber)), 0x7FC00000U);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(WithPlainNan(-NotANumber)), 0x7FF8000000000000U);
    EXPECT_EQ(WithPlainNan(1.5), 1.5);
}

TEST(Numbers, DegreesAndRadians)
{
    EXPECT_EQ(DegreesToRadians(180.0), 3.141592653589793);
    EXPECT_EQ(DegreesToRadians(0.0), 0.0);
    EXPECT_EQ(RadiansToDegrees(3.141592653589793), 180.0);
}

TEST(Numbers, LowBits)
{
    EXPECT_EQ(Low8Bits(std::int32_t{-1}), 255);
    EXPECT_EQ(Low8Bits(std::int32_t{0x1FE}), 0xFE);
    EXPECT_EQ(Low16Bits(std::int32_t{70000}), 4464);
    EXPECT_EQ(Low16Bits(std::uint32_t{0xFFFF8000}), 0x8000);
}

} // namespace qx5::protocol::test
