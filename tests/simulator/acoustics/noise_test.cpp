// Spectrum levels of noise against physics, and against sums by hand.
#include <simulator/acoustics/noise.h>

#include "refusal.h"

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

TEST(Noise, OfHeatIsThatOfTheWatersMolecules)
{
    // 4 pi k T rho f^2 / c in Pa^2/Hz (Mellen), at 10 C: within half a dB of the rounded formula.
    for (double const frequency : {10e3, 200e3, 700e3}) {
        double const pressure =
            4.0 * std::numbers::pi * 1.380649e-23 * 283.15 * 1027.0 * frequency * frequency / 1490.0;
        EXPECT_NEAR(*ThermalNoiseLevel(frequency), 10.0 * std::log10(pressure * 1e12), 0.5) << frequency;
    }
}

TEST(Noise, OfTheSeaIsTheSumOfItsSources)
{
    // 1 kHz, 9 m/s, half the shipping: turbulence 17; ships 40 - 60 log 1.03 = 39.2298; wind 50 + 22.5 - 40 log 1.4 =
    // 66.6549. Intensities 50.12 + 8374.9 + 4.6290e6.
    EXPECT_NEAR(*AmbientNoiseLevel(1000.0, {.windSpeed = 9.0, .shipping = 0.5}), 66.663, 0.001);
    // 300 kHz: -15 + 49.542 = 34.542 of heat; wind of 5 m/s 50 + 16.771 + 49.542 - 99.108 = 17.205; ships and
    // turbulence nothing: 34.542 + 0.080.
    EXPECT_NEAR(*NoiseSpectrumLevel(300e3, {}), 34.622, 0.001);
}

TEST(Noise, GrowsWithWindAndShips)
{
    EXPECT_GT(*AmbientNoiseLevel(10e3, {.windSpeed = 10.0}), *AmbientNoiseLevel(10e3, {.windSpeed = 5.0}) + 3.0);
    EXPECT_GT(*AmbientNoiseLevel(100.0, {.windSpeed = 0.0, .shipping = 1.0}),
              *AmbientNoiseLevel(100.0, {.windSpeed = 0.0, .shipping = 0.0}) + 15.0);
}

TEST(Noise, RefusesWhatIsNoFrequencyOrSource)
{
    for (double const frequency : {0.0, -1.0, 2e6}) {
        test::ExpectRefused(NoiseSpectrumLevel(frequency, {}), "frequency");
        test::ExpectRefused(ThermalNoiseLevel(frequency), "frequency");
    }
    test::ExpectRefused(AmbientNoiseLevel(1e3, {.windSpeed = -1.0}), "wind speed");
    test::ExpectRefused(AmbientNoiseLevel(1e3, {.shipping = 1.1}), "shipping");
    for (double const bad : test::NotFinite) {
        test::ExpectRefused(NoiseSpectrumLevel(bad, {}), "frequency");
        test::ExpectRefused(NoiseSpectrumLevel(1e3, {.windSpeed = bad}), "wind speed");
        test::ExpectRefused(NoiseSpectrumLevel(1e3, {.shipping = bad}), "shipping");
    }
}

} // namespace
} // namespace qx5::acoustics
