// Directions of beams, sampling and ping rate, each worked out by hand.
#include <simulator/acoustics/ping_settings.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

std::vector<float> AnglesOf(PingSettings const& settings, double depth = 20.0)
{
    std::vector<float> angles;
    FillBeamAngles(settings, depth, angles);
    for (std::size_t i = 1; i < angles.size(); ++i) {
        EXPECT_GT(angles[i], angles[i - 1]) << "ascending";
    }
    return angles;
}

double Tangent(float angle)
{
    return std::tan(static_cast<double>(angle) * std::numbers::pi / 180.0);
}

PingSettings Fan(BeamMode mode)
{
    PingSettings settings;
    settings.mode = mode;
    settings.beams = 101;
    settings.coverage = 120.0;
    return settings;
}

TEST(BeamAngles, AreEvenByAngleOrByDistanceOrBetween)
{
    auto const byAngle = AnglesOf(Fan(BeamMode::EquiAngle));
    ASSERT_EQ(byAngle.size(), 101U);
    EXPECT_FLOAT_EQ(byAngle.front(), -60.0F);
    EXPECT_FLOAT_EQ(byAngle[25], -30.0F);
    EXPECT_FLOAT_EQ(byAngle.back(), 60.0F);
    auto const byDistance = AnglesOf(Fan(BeamMode::EquiDistant));
    ASSERT_EQ(byDistance.size(), 101U);
    EXPECT_NEAR(byDistance.front(), -60.0F, 1e-4);
    // Half of tan 60: atan 0.8660 = 40.893.
    EXPECT_NEAR(byDistance[25], -40.893F, 1e-3);
    EXPECT_NEAR(byDistance[50], 0.0F, 1e-4);
    auto const between = AnglesOf(Fan(BeamMode::Intermediate));
    EXPECT_NEAR(between[25], (-30.0F - 40.893F) / 2.0F, 1e-3);
}

TEST(BeamAngles, FollowCoverageAndSteering)
{
    PingSettings settings = Fan(BeamMode::EquiAngle);
    settings.coverage = 40.0;
    settings.sectorSteering = 25.0;
    auto angles = AnglesOf(settings);
    EXPECT_FLOAT_EQ(angles.front(), 5.0F);
    EXPECT_FLOAT_EQ(angles.back(), 45.0F);
    settings.sectorSteering = -80.0;
    angles = AnglesOf(settings);
    EXPECT_NEAR(angles.front(), -85.0F, 1e-4) << "no further than can be formed";
    EXPECT_FLOAT_EQ(angles.back(), -60.0F);
}

TEST(BeamAngles, AreDenseInTheFlexSector)
{
    PingSettings settings = Fan(BeamMode::Flex);
    settings.flexCoverage = 20.0;
    settings.flexSteering = 10.0;
    settings.outsideSpacing = 4.0;
    auto const angles = AnglesOf(settings);
    ASSERT_EQ(angles.size(), 101U);
    // Outside: 60 degrees to port and 40 to starboard by 4 each, 15 and 10 beams; 76 are left within 20 degrees.
    for (std::size_t i = 1; i <= 15; ++i) {
        EXPECT_NEAR(angles[i] - angles[i - 1], 4.0F, 1e-3);
    }
    EXPECT_NEAR(angles[15], 0.0F, 1e-4);
    for (std::size_t i = 16; i <= 90; ++i) {
        EXPECT_NEAR(angles[i] - angles[i - 1], 20.0F / 75.0F, 1e-3);
    }
    EXPECT_NEAR(angles[90], 20.0F, 1e-4);
    EXPECT_NEAR(angles[100], 60.0F, 1e-3);
    // Outside of the sector no more than half of the beams are spent.
    settings.outsideSpacing = 0.0;
    EXPECT_LE(AnglesOf(settings).size(), 101U);
    settings.flexSteering = 200.0;
    settings.flexCoverage = 0.0;
    EXPECT_LE(AnglesOf(settings).size(), 101U);
}

TEST(BeamAngles, KeepAConstantSpacing)
{
    PingSettings settings = Fan(BeamMode::ConstantSpacing);
    settings.constantSpacing = 1.0;
    // At 20 m the sector is 69.28 m wide: 70 beams 1 m apart.
    auto angles = AnglesOf(settings);
    ASSERT_EQ(angles.size(), 70U);
    for (std::size_t i = 1; i < angles.size(); ++i) {
        EXPECT_NEAR(20.0 * (Tangent(angles[i]) - Tangent(angles[i - 1])), 1.0, 1e-3);
    }
    // At 60 m 207.8 m: too few beams. They move apart, or the coverage is given up.
    angles = AnglesOf(settings, 60.0);
    ASSERT_EQ(angles.size(), 101U);
    EXPECT_NEAR(angles.back(), 60.0F, 1e-3);
    EXPECT_NEAR(60.0 * (Tangent(angles[1]) - Tangent(angles[0])), 2.0785, 1e-3);
    settings.reduceCoverage = true;
    angles = AnglesOf(settings, 60.0);
    ASSERT_EQ(angles.size(), 101U);
    EXPECT_NEAR(60.0 * (Tangent(angles.back()) - Tangent(angles.front())), 100.0, 1e-2);
    // Without a spacing it is a hundredth of the range.
    settings.constantSpacing = 0.0;
    settings.range = 200.0;
    angles = AnglesOf(settings);
    EXPECT_NEAR(20.0 * (Tangent(angles[1]) - Tangent(angles[0])), 2.0, 1e-3);
}

TEST(BeamAngles, AreAsManyAsAskedWithinTheLimits)
{
    PingSettings settings = Fan(BeamMode::EquiAngle);
    settings.beams = 0;
    EXPECT_EQ(AnglesOf(settings).size(), 512U);
    settings.mostBeams = 256;
    EXPECT_EQ(AnglesOf(settings).size(), 256U);
    settings.beams = 300;
    EXPECT_EQ(AnglesOf(settings).size(), 256U);
    settings.beams = 3;
    EXPECT_EQ(AnglesOf(settings).size(), 10U);
    settings.leastBeams = 1;
    settings.beams = 1;
    ASSERT_EQ(AnglesOf(settings).size(), 1U);
    EXPECT_FLOAT_EQ(AnglesOf(settings).front(), 0.0F) << "in the middle";
    settings.beams = settings.mostBeams = 4096;
    EXPECT_EQ(AnglesOf(settings).size(), 1024U);
}

TEST(Sampling, IsThatOfTheSampleRateUnlessThereWereTooMany)
{
    PingSettings settings;
    settings.range = 7.5;
    settings.sampleRate = 10000.0;
    // 10 ms.
    EXPECT_EQ(SamplingOf(settings).samples, 100U);
    EXPECT_NEAR(SamplingOf(settings).interval, 1e-4, 1e-15);
    settings.range = 750.0;
    EXPECT_EQ(SamplingOf(settings).samples, 1000U);
    EXPECT_NEAR(SamplingOf(settings).interval, 1e-3, 1e-15);
    settings.soundSpeed = 1400.0;
    EXPECT_NEAR(SamplingOf(settings).interval, 1500.0 / 1400.0 / 1000.0, 1e-12);
}

TEST(EchoOfAPoint, IsTheToneOrWhatCompressionLeaves)
{
    PingSettings settings;
    settings.pulseLength = 2e-3;
    EXPECT_EQ(EchoLength(settings), 2e-3);
    settings.sweep = 20e3;
    EXPECT_NEAR(EchoLength(settings), 50e-6, 1e-12);
    settings.sweep = 100.0;
    EXPECT_EQ(EchoLength(settings), 2e-3);
}

TEST(GreatestPingRateTest, LeavesTimeForTheEchoes)
{
    EXPECT_NEAR(GreatestPingRate(75.0, 1500.0), 10.0, 1e-12);
    EXPECT_NEAR(GreatestPingRate(5.0, 1500.0), 150.0, 1e-12);
    for (double const bad :
         {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(GreatestPingRate(bad, 1500.0), 0.0);
    }
    EXPECT_EQ(GreatestPingRate(75.0, 0.0), 0.0);
    EXPECT_EQ(GreatestPingRate(75.0, std::numeric_limits<double>::quiet_NaN()), 0.0);
}

} // namespace
} // namespace qx5::acoustics
