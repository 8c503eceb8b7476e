// Counts and numbers from outside, at their edges.
#include <protocol/outside_sizes.h>

#include <gtest/gtest.h>

#include <limits>

namespace qx5::protocol {
namespace {

TEST(OutsideSizes, ACountHoldsWhereItsThingsLieWithinTheBytes)
{
    EXPECT_TRUE(HoldCount(0, 0, 4));
    EXPECT_FALSE(HoldCount(0, 1, 1));
    EXPECT_TRUE(HoldCount(12, 3, 4));
    EXPECT_FALSE(HoldCount(11, 3, 4));
    // 2^62 things of 4 bytes are 2^64, which is 0 again.
    EXPECT_FALSE(HoldCount(100, std::uint64_t{1} << 62U, 4));
    EXPECT_FALSE(HoldCount(100, std::numeric_limits<std::uint64_t>::max(), 1));
}

TEST(OutsideSizes, ANumberIsTheSameInAnotherTypeOrNone)
{
    EXPECT_EQ(SameNumber<unsigned short>(std::int64_t{65535}), 65535);
    EXPECT_EQ(SameNumber<unsigned short>(std::int64_t{65536}), std::nullopt);
    EXPECT_EQ(SameNumber<unsigned short>(std::int64_t{-1}), std::nullopt);
    EXPECT_EQ(SameNumber<int>(std::int64_t{-2147483648}), std::numeric_limits<int>::min());
    EXPECT_EQ(SameNumber<int>(std::int64_t{2147483648}), std::nullopt);
    EXPECT_EQ(SameNumber<std::int32_t>(std::uint32_t{0xFFFFFFFF}), std::nullopt);
    EXPECT_EQ(SameNumber<std::uint64_t>(-1), std::nullopt);
}

} // namespace
} // namespace qx5::protocol
