// What chance does to echoes: its distribution, and that it is the same each time.
#include <simulator/acoustics/speckle.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

/// Ten pings of a hundred beams with a hundred samples.
std::vector<double> Intensities(std::uint64_t seed)
{
    std::vector<double> intensities;
    for (std::uint64_t ping = 0; ping < 10; ++ping) {
        for (std::uint64_t beam = 0; beam < 100; ++beam) {
            Speckle speckle(seed, ping, beam);
            for (int sample = 0; sample < 100; ++sample) {
                intensities.push_back(speckle.NextIntensity());
            }
        }
    }
    return intensities;
}

double Mean(std::vector<double> const& values)
{
    double sum = 0.0;
    for (double const value : values) {
        sum += value;
    }
    return sum / static_cast<double>(values.size());
}

TEST(SpeckleTest, HasTheAmplitudesOfRayleigh)
{
    for (std::uint64_t const seed : {0U, 1U, 4711U}) {
        std::vector<double> const intensities = Intensities(seed);
        EXPECT_NEAR(Mean(intensities), 1.0, 0.015);
        EXPECT_GT(*std::min_element(intensities.begin(), intensities.end()), 0.0);
        EXPECT_LT(*std::max_element(intensities.begin(), intensities.end()), 40.0);
        std::vector<double> levels;
        std::vector<double> amplitudes;
        for (double const intensity : intensities) {
            levels.push_back(10.0 * std::log10(intensity));
            amplitudes.push_back(std::sqrt(intensity));
        }
        EXPECT_NEAR(Mean(amplitudes), std::sqrt(std::numbers::pi) / 2.0, 0.005);
        double const meanLevel = Mean(levels);
        EXPECT_NEAR(meanLevel, -2.507, 0.05) << "10 log e times Euler's constant";
        std::vector<double> squares;
        for (double const level : levels) {
            squares.push_back((level - meanLevel) * (level - meanLevel));
        }
        EXPECT_NEAR(std::sqrt(Mean(squares)), 5.57, 0.1);
        RecordProperty("deviation_dB_of_seed_" + std::to_string(seed), std::to_string(std::sqrt(Mean(squares))));
    }
}

TEST(SpeckleTest, IsTheSameEachTime)
{
    EXPECT_EQ(Intensities(7), Intensities(7));
    // Seed 1, ping 2, beam 3, from the published generator, worked out by a program of another language.
    Speckle speckle(1, 2, 3);
    EXPECT_DOUBLE_EQ(speckle.NextIntensity(), 2.039561749181105);
    EXPECT_DOUBLE_EQ(speckle.NextIntensity(), 0.8270936718244363);
    EXPECT_DOUBLE_EQ(speckle.NextIntensity(), 0.046121940198199186);
}

TEST(SpeckleTest, HasNothingInCommonWithItsNeighbours)
{
    auto const correlation = [](Speckle one, Speckle other) {
        constexpr int samples = 20000;
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            sum += (one.NextIntensity() - 1.0) * (other.NextIntensity() - 1.0);
        }
        return sum / samples;
    };
    EXPECT_NEAR(correlation({1, 10, 20}, {1, 10, 20}), 1.0, 0.1);
    EXPECT_NEAR(correlation({1, 10, 20}, {1, 10, 21}), 0.0, 0.03);
    EXPECT_NEAR(correlation({1, 10, 20}, {1, 11, 20}), 0.0, 0.03);
    EXPECT_NEAR(correlation({1, 10, 20}, {2, 10, 20}), 0.0, 0.03);
    EXPECT_NEAR(correlation({1, 10, 20}, {1, 11, 19}), 0.0, 0.03);
    EXPECT_NEAR(correlation({0, 0, 0}, {0, 1, 0}), 0.0, 0.03);
}

} // namespace
} // namespace qx5::acoustics
