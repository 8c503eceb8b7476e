// Backscattering of the bottoms by angle.
#include <simulator/acoustics/bottom.h>

#include <cmath>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

TEST(BottomScatteringTest, IsLambertsLawWhereItIsOblique)
{
    // 20 log sin 30 = -6.0206; nothing is left of the specular part but with rock, whose 10^-0.8 exp(-60^2 / (2 x
    // 16^2)) adds 0.7 per cent.
    EXPECT_NEAR(BottomStrength(Bottom::Mud, 30.0), -36.0206, 1e-3);
    EXPECT_NEAR(BottomStrength(Bottom::Sand, 30.0), -28.0206, 1e-3);
    EXPECT_NEAR(BottomStrength(Bottom::Gravel, 30.0), -22.0206, 1e-3);
    EXPECT_NEAR(BottomStrength(Bottom::Rock, 30.0), -16.9901, 1e-3);
}

TEST(BottomScatteringTest, HasASpecularPartStraightDown)
{
    // Sand: 10 log(10^-2.2 + 10^-1.0); 7 degrees off, 10 log(10^-2.2 cos^2 7 + 10^-1.0 e^-0.5).
    EXPECT_NEAR(BottomStrength(Bottom::Sand, 90.0), -9.7342, 1e-3);
    EXPECT_NEAR(BottomStrength(Bottom::Sand, 83.0), -11.7478, 1e-3);
}

TEST(BottomScatteringTest, IsStrongerTheHarderTheBottomAndTheSteeperTheBeam)
{
    for (double grazing = 0.01; grazing <= 90.0; grazing += 0.01) {
        for (std::size_t i = 0; i < Bottoms.size(); ++i) {
            double const strength = BottomStrength(Bottoms[i].bottom, grazing);
            EXPECT_TRUE(std::isfinite(strength));
            if (i > 0) {
                EXPECT_GT(strength, BottomStrength(Bottoms[i - 1].bottom, grazing)) << grazing << " " << i;
            }
            EXPECT_GT(strength, BottomStrength(Bottoms[i].bottom, grazing - 0.005)) << grazing << " " << i;
            EXPECT_EQ(static_cast<std::size_t>(Bottoms[i].bottom), i);
        }
    }
}

} // namespace
} // namespace qx5::acoustics
