// The exponent that a curve's costs make up.
#include <bench/growth/curve.h>

#include <gtest/gtest.h>

namespace bench {
namespace {

TEST(Growth, ExponentIsThatOfThePowerWhichTheCostsFollow)
{
    EXPECT_NEAR(ExponentOf({{10, 7.0}, {100, 7.0}, {1000, 7.0}, {10'000, 7.0}}), 0.0, 1e-12);
    EXPECT_NEAR(ExponentOf({{10, 30.0}, {100, 300.0}, {1000, 3000.0}, {10'000, 30'000.0}}), 1.0, 1e-12);
    EXPECT_NEAR(ExponentOf({{2, 4.0}, {4, 16.0}, {8, 64.0}, {16, 256.0}}), 2.0, 1e-12);
}

TEST(Growth, ExponentOfCostsThatFollowNonePassesBetweenThem)
{
    // Logarithms to base 10: sizes 1 2 3, costs 0 0 3. The mean cost is 1, the slope (-1 * -1 + 1 * 2) / 2.
    EXPECT_NEAR(ExponentOf({{10, 1.0}, {100, 1.0}, {1000, 1000.0}}), 1.5, 1e-12);
}

} // namespace
} // namespace bench
