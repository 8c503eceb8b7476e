// Patterns of line arrays against a sum over their elements, and against what theory says of width and side lobes.
#include <simulator/acoustics/line_array.h>

#include "refusal.h"

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

LineArray Array(double width, Taper taper, double steering = 0.0)
{
    auto const array = LineArray::OfWidth(width, taper, steering);
    EXPECT_TRUE(array) << array.WhyNot().line;
    return *array;
}

double Sine(double degrees)
{
    return std::sin(degrees * std::numbers::pi / 180.0);
}

/// Where the amplitude has fallen to that of half the power, between the axis and the other angle, in degrees.
double HalfPowerAngle(LineArray const& array, double axis, double beyond)
{
    double inside = axis;
    double outside = beyond;
    for (int round = 0; round < 60; ++round) {
        double const middle = (inside + outside) / 2.0;
        double const amplitude = array.Amplitude(Sine(middle));
        (amplitude * amplitude > 0.5 ? inside : outside) = middle;
    }
    return inside;
}

/// The greatest level in dB beyond the first null.
double FirstSideLobe(LineArray const& array)
{
    double const step = 1e-3 / array.Length();
    double sine = 0.0;
    while (array.Amplitude(sine) > 0.0) {
        sine += step;
    }
    double greatest = -1000.0;
    for (double const end = sine + 2.0 / array.Length(); sine < end; sine += step) {
        greatest = std::max(greatest, array.Level(sine));
    }
    return greatest;
}

TEST(LineArrayTest, IsAsWideAsItWasAskedFor)
{
    for (auto const taper : {Taper::Uniform, Taper::Hann}) {
        for (double const width : {0.1, 0.5, 1.0, 2.0, 10.0, 60.0, 140.0}) {
            LineArray const array = Array(width, taper);
            double const measured = 2.0 * HalfPowerAngle(array, 0.0, width);
            EXPECT_NEAR(measured / width, 1.0, 0.01) << width;
            EXPECT_NEAR(array.Width(), measured, 1e-6 * width) << width;
        }
    }
    // What textbooks say of narrow beams: 50.8 degrees by wavelength over length, 82.5 for the raised cosine.
    EXPECT_NEAR(Array(1.0, Taper::Uniform).Length(), 50.8, 0.1);
    EXPECT_NEAR(Array(1.0, Taper::Hann).Length(), 82.5, 0.1);
}

TEST(LineArrayTest, HasTheFirstSideLobeOfTheory)
{
    for (double const width : {0.5, 2.0, 10.0}) {
        EXPECT_NEAR(FirstSideLobe(Array(width, Taper::Uniform)), -13.26, 0.5) << width;
        EXPECT_NEAR(FirstSideLobe(Array(width, Taper::Hann)), -31.47, 0.5) << width;
    }
}

TEST(LineArrayTest, IsTheSumOverItsElements)
{
    constexpr int elements = 20000;
    for (auto const taper : {Taper::Uniform, Taper::Hann}) {
        LineArray const array = Array(5.0, taper, 20.0);
        // The places where the closed form divides by nothing, too: the axis and one wavelength of path beyond it.
        for (double const offset : {0.0, 1e-9, 0.3, 0.7, 1.0 - 1e-9, 1.0, 1.0 + 1e-7, 1.5, 2.36, -1.0, -3.3, -8.0}) {
            double const sine = Sine(20.0) + offset / array.Length();
            double sum = 0.0;
            double weights = 0.0;
            for (int i = 0; i < elements; ++i) {
                double const place = (i + 0.5) / elements - 0.5;
                double const weight = taper == Taper::Hann ? 0.5 + 0.5 * std::cos(2.0 * std::numbers::pi * place) : 1.0;
                sum += weight * std::cos(2.0 * std::numbers::pi * place * array.Length() * (sine - Sine(20.0)));
                weights += weight;
            }
            EXPECT_NEAR(array.Amplitude(sine), sum / weights, 1e-6) << offset;
        }
    }
}

TEST(LineArrayTest, SteersItsAxisAndWidensByTheCosine)
{
    for (double const steering : {-60.0, -30.0, 10.0, 45.0}) {
        LineArray const array = Array(1.0, Taper::Uniform, steering);
        EXPECT_EQ(array.Amplitude(Sine(steering)), 1.0);
        double const right = HalfPowerAngle(array, steering, steering + 10.0);
        double const left = HalfPowerAngle(array, steering, steering - 10.0);
        EXPECT_NEAR(array.Width(), right - left, 1e-6);
        EXPECT_NEAR(array.Width() * std::cos(steering * std::numbers::pi / 180.0), 1.0, 0.01) << steering;
    }
    EXPECT_GT(Array(1.0, Taper::Uniform, 90.0).Width(), 5.0);
}

TEST(LineArrayTest, HearsLessNoiseByItsDirectivity)
{
    for (auto const taper : {Taper::Uniform, Taper::Hann}) {
        for (double const width : {1.0, 5.0, 20.0}) {
            LineArray const array = Array(width, taper);
            // Noise from all directions: each sine has the same share of the sphere.
            constexpr int steps = 200000;
            double sum = 0.0;
            for (int i = 0; i < steps; ++i) {
                double const amplitude = array.Amplitude(-1.0 + (i + 0.5) * 2.0 / steps);
                sum += amplitude * amplitude / steps;
            }
            EXPECT_NEAR(array.DirectivityIndex(), -10.0 * std::log10(sum), 0.2) << width;
        }
    }
    EXPECT_EQ(Array(180.0, Taper::Uniform).DirectivityIndex(), 0.0) << "shorter than half a wavelength";
}

TEST(LineArrayTest, CrossesWithAnotherOne)
{
    CrossedArrays const fan{Array(1.0, Taper::Uniform, 3.0), Array(2.0, Taper::Hann, -40.0)};
    EXPECT_NEAR(fan.Level({Sine(3.0), Sine(-40.0)}), 0.0, 1e-12);
    // Half the power of one, then of both.
    double const along = Sine(HalfPowerAngle(fan.transmit, 3.0, 5.0));
    double const across = Sine(HalfPowerAngle(fan.receive, -40.0, -35.0));
    EXPECT_NEAR(fan.Level({along, Sine(-40.0)}), -3.0103, 1e-4);
    EXPECT_NEAR(fan.Level({Sine(3.0), across}), -3.0103, 1e-4);
    EXPECT_NEAR(fan.Level({along, across}), -6.0206, 1e-4);
}

TEST(LineArrayTest, RefusesWhatIsNoWidthOrAngle)
{
    for (double const width : {0.0, -1.0, 0.001, 181.0}) {
        test::ExpectRefused(LineArray::OfWidth(width, Taper::Uniform), "beam width");
    }
    test::ExpectRefused(LineArray::OfWidth(1.0, Taper::Uniform, 91.0), "steering");
    for (double const bad : test::NotFinite) {
        test::ExpectRefused(LineArray::OfWidth(bad, Taper::Hann), "beam width");
        test::ExpectRefused(LineArray::OfWidth(1.0, Taper::Hann, bad), "steering");
    }
}

} // namespace
} // namespace qx5::acoustics
