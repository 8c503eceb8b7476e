// The sonar equation against one that is worked out here, over settings drawn at random.
#include <simulator/acoustics/echo_level.h>
#include <simulator/acoustics/line_array.h>
#include <simulator/acoustics/receiver.h>
#include <simulator/acoustics/speckle.h>

#include "refusal.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

constexpr double Pi = std::numbers::pi;

Medium SeaAt300Kilohertz()
{
    auto const medium = MediumOf(300e3, {});
    EXPECT_TRUE(medium) << medium.WhyNot().line;
    return *medium;
}

constexpr BottomBeam UsualBeam{
    .range = 100.0, .grazing = 45.0, .widthAlong = 1.0, .widthAcross = 2.0, .pulseLength = 100e-6};

/// The area as the definition has it, written once more.
double Area(BottomBeam const& beam, double soundSpeed)
{
    double const along = beam.widthAlong * Pi / 180.0;
    double const across = beam.widthAcross * Pi / 180.0;
    double const grazing = beam.grazing * Pi / 180.0;
    double const byBeam = along * across * beam.range * beam.range / std::sin(grazing);
    double const byPulse = along * beam.range * soundSpeed * beam.pulseLength / (2.0 * std::cos(grazing));
    return byBeam < byPulse ? byBeam : byPulse;
}

TEST(EchoLevel, IsWorkedOutByHand)
{
    Medium const medium{.frequency = 300e3, .soundSpeed = 1500.0, .absorption = 70.0, .noise = 35.0};
    auto const budget = BudgetOf(210.0, UsualBeam, Bottom::Sand, medium);
    ASSERT_TRUE(budget) << budget.WhyNot().line;
    EXPECT_EQ(budget->sourceLevel, 210.0);
    EXPECT_NEAR(budget->spreadingLoss, 80.0, 1e-9);
    EXPECT_NEAR(budget->absorptionLoss, 14.0, 1e-9);
    // Beam: 0.0174533 x 0.0349066 x 10^4 / 0.707107 = 8.6158 m^2; pulse: 0.0174533 x 100 x 0.15 / 1.414214 = 0.185120
    // m^2.
    EXPECT_NEAR(budget->area, 0.185120, 1e-6);
    // -22 + 20 log sin 45.
    EXPECT_NEAR(budget->bottomStrength, -25.0103, 1e-4);
    // 210 - 80 - 14 - 25.0103 - 7.3255.
    EXPECT_NEAR(budget->echoLevel, 83.6642, 1e-3);
    // 35 + 40 - 10 log(2 x 0.442946 / sin 1) = 75 - 17.0553.
    EXPECT_NEAR(budget->noiseLevel, 57.9447, 1e-3);
    EXPECT_NEAR(budget->snr, 25.7195, 1e-3);
}

TEST(EchoLevel, AreaIsThatOfTheBeamStraightDownAndOfThePulseFurtherOut)
{
    BottomBeam beam = UsualBeam;
    beam.grazing = 90.0;
    // 0.0174533 x 0.0349066 x 10^4.
    EXPECT_NEAR(InsonifiedArea(beam, 1500.0), 6.09235, 1e-5);
    // The pulse's 0.075 m on the bottom is no less than the beam's 3.49 m until cos(grazing) is 0.0215.
    beam.grazing = 88.9;
    EXPECT_NEAR(InsonifiedArea(beam, 1500.0), 6.09347, 1e-5);
    beam.grazing = 88.5;
    EXPECT_NEAR(InsonifiedArea(beam, 1500.0), 0.0174533 * 100.0 * 0.15 / 2.0 / 0.0261769, 1e-3);
    beam.grazing = 0.01;
    EXPECT_NEAR(InsonifiedArea(beam, 1500.0), 0.130900, 1e-5);
}

TEST(EchoLevel, IsTheSonarEquationOverAThousandRandomSettings)
{
    std::mt19937 random(20260122);
    auto const between = [&](double least, double most) {
        return least + (most - least) * static_cast<double>(random()) / 4294967295.0;
    };
    constexpr double lambert[]{-30.0, -22.0, -16.0, -11.0};
    constexpr double specular[]{-14.0, -10.0, -9.0, -8.0};
    constexpr double specularWidth[]{4.0, 7.0, 11.0, 16.0};
    double worst = 0.0;
    for (int setting = 0; setting < 1000; ++setting) {
        double const frequency = between(100e3, 800e3);
        Water const water{.temperature = between(0.0, 30.0),
                          .salinity = between(28.0, 40.0),
                          .depth = between(0.0, 500.0),
                          .ph = between(7.7, 8.3)};
        auto const bottom = static_cast<std::size_t>(between(0.0, 3.999));
        double const source = between(170.0, 225.0);
        BottomBeam const beam{.range = between(1.0, 500.0),
                              .grazing = between(5.0, 90.0),
                              .widthAlong = between(0.3, 5.0),
                              .widthAcross = between(0.3, 10.0),
                              .pulseLength = between(20e-6, 3e-3)};
        ReceiverSettings const settings{.mode = random() % 2 == 0 ? GainMode::TimeVaried : GainMode::Fixed,
                                        .gain = between(0.0, 80.0),
                                        .spreading = between(0.0, 60.0),
                                        .absorption = between(0.0, 120.0)};
        double const steerAlong = between(-10.0, 10.0);
        double const steerAcross = between(-60.0, 60.0);
        double const offAlong = between(-0.45, 0.45) * beam.widthAlong;
        double const offAcross = between(-0.45, 0.45) * beam.widthAcross;

        // What the system makes of them.
        auto const medium = MediumOf(frequency, water);
        ASSERT_TRUE(medium) << medium.WhyNot().line;
        auto const budget = BudgetOf(source, beam, Bottoms[bottom].bottom, *medium);
        ASSERT_TRUE(budget) << budget.WhyNot().line;
        CrossedArrays const arrays{*LineArray::OfWidth(beam.widthAlong, Taper::Uniform, steerAlong),
                                   *LineArray::OfWidth(beam.widthAcross, Taper::Hann, steerAcross)};
        Direction const direction{std::sin((steerAlong + offAlong) * Pi / 180.0),
                                  std::sin((steerAcross + offAcross) * Pi / 180.0)};
        double const level = budget->echoLevel + arrays.Level(direction) + ReceiverGain(settings, beam.range);

        // The same by the sonar equation: Francois and Garrison, Mackenzie, Lambert, and each array as a sum.
        double const t = water.temperature;
        double const f = frequency / 1000.0;
        double const c = 1412.0 + 3.21 * t + 1.19 * water.salinity + 0.0167 * water.depth;
        double const f1 = 2.8 * std::sqrt(water.salinity / 35.0) * std::pow(10.0, 4.0 - 1245.0 / (273.0 + t));
        double const f2 = 8.17 * std::pow(10.0, 8.0 - 1990.0 / (273.0 + t)) / (1.0 + 0.0018 * (water.salinity - 35.0));
        double const a1 = 8.86 / c * std::pow(10.0, 0.78 * water.ph - 5.0);
        double const a2 = 21.44 * water.salinity / c * (1.0 + 0.025 * t) *
                          (1.0 - 1.37e-4 * water.depth + 6.2e-9 * water.depth * water.depth);
        double const a3 = (t <= 20.0 ? 4.937e-4 - 2.59e-5 * t + 9.11e-7 * t * t - 1.5e-8 * t * t * t
                                     : 3.964e-4 - 1.146e-5 * t + 1.45e-7 * t * t - 6.5e-10 * t * t * t) *
                          (1.0 - 3.83e-5 * water.depth + 4.9e-10 * water.depth * water.depth);
        double const absorption =
            a1 * f1 * f * f / (f1 * f1 + f * f) + a2 * f2 * f * f / (f2 * f2 + f * f) + a3 * f * f;
        double const speed = 1448.96 + 4.591 * t - 5.304e-2 * t * t + 2.374e-4 * t * t * t +
                             1.340 * (water.salinity - 35.0) + 1.630e-2 * water.depth +
                             1.675e-7 * water.depth * water.depth - 1.025e-2 * t * (water.salinity - 35.0) -
                             7.139e-13 * t * std::pow(water.depth, 3.0);
        double const sine = std::sin(beam.grazing * Pi / 180.0);
        double const widths = (90.0 - beam.grazing) / specularWidth[bottom];
        double const strength =
            10.0 * std::log10(std::pow(10.0, lambert[bottom] / 10.0) * sine * sine +
                              std::pow(10.0, specular[bottom] / 10.0) * std::exp(-widths * widths / 2.0));
        // Half-power widths of 0.8859 and 1.4406 wavelengths over length, see any textbook on arrays.
        auto const pattern = [](double width, double steering, double off, bool raisedCosine) {
            double const length = (raisedCosine ? 1.4406 : 0.8859) / (2.0 * std::sin(width * Pi / 360.0));
            double const difference = std::sin((steering + off) * Pi / 180.0) - std::sin(steering * Pi / 180.0);
            double sum = 0.0;
            double weights = 0.0;
            for (int i = 0; i < 200; ++i) {
                double const place = (i + 0.5) / 200.0 - 0.5;
                double const weight = raisedCosine ? 1.0 + std::cos(2.0 * Pi * place) : 1.0;
                sum += weight * std::cos(2.0 * Pi * place * length * difference);
                weights += weight;
            }
            return 20.0 * std::log10(std::abs(sum / weights));
        };
        double expected = source - 40.0 * std::log10(beam.range) - 2.0 * absorption * beam.range / 1000.0 + strength +
                          10.0 * std::log10(Area(beam, speed)) + pattern(beam.widthAlong, steerAlong, offAlong, false) +
                          pattern(beam.widthAcross, steerAcross, offAcross, true) + settings.gain;
        if (settings.mode == GainMode::TimeVaried) {
            expected += settings.spreading * std::log10(beam.range) + 2.0 * settings.absorption * beam.range / 1000.0;
        }
        ASSERT_NEAR(level, expected, 0.1) << "setting " << setting;
        worst = std::max(worst, std::abs(level - expected));

        // Speckle leaves the mean where it is.
        if (setting % 100 == 0) {
            Speckle speckle(1, static_cast<std::uint64_t>(setting), 0);
            double sum = 0.0;
            for (int sample = 0; sample < 100000; ++sample) {
                sum += std::pow(10.0, level / 10.0) * speckle.NextIntensity();
            }
            EXPECT_NEAR(10.0 * std::log10(sum / 100000.0), expected, 0.1);
        }
    }
    RecordProperty("worst_deviation_dB", std::to_string(worst));
}

/// Levels behind the receiver of echoes of one bottom at 50 and at 100 m, the second less the first.
double Tilt(Medium const& medium, ReceiverSettings const& settings)
{
    BottomBeam near = UsualBeam;
    near.range = 50.0;
    auto const level = [&](BottomBeam const& beam) {
        return BudgetOf(210.0, beam, Bottom::Sand, medium)->echoLevel + ReceiverGain(settings, beam.range);
    };
    return level(UsualBeam) - level(near);
}

TEST(EchoLevel, IsLevelWithTheRightGainAndTiltsWithAWrongOne)
{
    Medium const medium = SeaAt300Kilohertz();
    // 40 log of range are lost, and 10 log won, as the pulse covers a longer strip.
    ReceiverSettings const right{.gain = 20.0, .spreading = 30.0, .absorption = medium.absorption};
    EXPECT_NEAR(Tilt(medium, right), 0.0, 1e-9);
    ReceiverSettings wrong = right;
    wrong.spreading = 40.0;
    EXPECT_NEAR(Tilt(medium, wrong), 3.0103, 1e-4);
    wrong.spreading = 20.0;
    EXPECT_NEAR(Tilt(medium, wrong), -3.0103, 1e-4);
    wrong = right;
    wrong.absorption += 20.0;
    EXPECT_NEAR(Tilt(medium, wrong), 2.0, 1e-9);
    wrong.absorption -= 40.0;
    EXPECT_NEAR(Tilt(medium, wrong), -2.0, 1e-9);
    wrong = right;
    wrong.mode = GainMode::Fixed;
    EXPECT_NEAR(Tilt(medium, wrong), -(9.0309 + 0.1 * medium.absorption), 1e-4);
}

TEST(EchoLevel, RefusesWhatIsNoSetting)
{
    Medium const medium = SeaAt300Kilohertz();
    auto const refuses = [&](BottomBeam const& beam, char const* quantity) {
        test::ExpectRefused(BudgetOf(210.0, beam, Bottom::Sand, medium), quantity);
    };
    auto const with = [](double BottomBeam::*member, double value) {
        BottomBeam beam = UsualBeam;
        beam.*member = value;
        return beam;
    };
    std::vector<double> bad = test::NotFinite;
    bad.insert(bad.end(), {0.0, -1.0, 1e9});
    for (double const value : bad) {
        refuses(with(&BottomBeam::range, value), "range");
        refuses(with(&BottomBeam::grazing, value), "grazing angle");
        refuses(with(&BottomBeam::widthAlong, value), "beam width along track");
        refuses(with(&BottomBeam::widthAcross, value), "beam width across track");
        refuses(with(&BottomBeam::pulseLength, value), "pulse length");
        test::ExpectRefused(MediumOf(value, {}), "frequency");
    }
    test::ExpectRefused(BudgetOf(301.0, UsualBeam, Bottom::Sand, medium), "power");
    for (double const value : test::NotFinite) {
        test::ExpectRefused(BudgetOf(value, UsualBeam, Bottom::Sand, medium), "power");
    }
    test::ExpectRefused(MediumOf(300e3, {.depth = 9000.0, .ph = 5.0}), "pH");
    test::ExpectRefused(MediumOf(300e3, {}, AbsorptionModel::FrancoisGarrison, {.windSpeed = -1.0}), "wind speed");
    EXPECT_EQ(BudgetOf(210.0, with(&BottomBeam::range, 0.0), Bottom::Sand, medium).WhyNot().line,
              "range 0 m lies outside of 0.1 to 50000 m");
}

TEST(EchoLevel, IsFiniteAtBothEndsOfEverySetting)
{
    for (double const frequency : {200.0, 1e6}) {
        Medium const medium = *MediumOf(frequency, {});
        for (int ends = 0; ends < 32; ++ends) {
            BottomBeam const beam{.range = (ends & 1) != 0 ? 50000.0 : 0.1,
                                  .grazing = (ends & 2) != 0 ? 90.0 : 0.01,
                                  .widthAlong = (ends & 4) != 0 ? 180.0 : 0.01,
                                  .widthAcross = (ends & 8) != 0 ? 180.0 : 0.01,
                                  .pulseLength = (ends & 16) != 0 ? 10.0 : 1e-6};
            for (BottomScattering const& bottom : Bottoms) {
                auto const budget = BudgetOf(0.0, beam, bottom.bottom, medium);
                ASSERT_TRUE(budget) << budget.WhyNot().line;
                EXPECT_TRUE(std::isfinite(budget->echoLevel) && std::isfinite(budget->snr)) << ends;
            }
        }
    }
}

TEST(GreatestRange, IsWhereTheEchoSinksIntoTheNoise)
{
    auto const medium = MediumOf(200e3, {});
    ASSERT_TRUE(medium);
    BottomBeam beam{.range = 1.0, .grazing = 45.0, .widthAlong = 2.0, .widthAcross = 1.0, .pulseLength = 1e-4};
    for (double const power : {180.0, 200.0, 220.0}) {
        for (double const least : {0.0, 12.0}) {
            auto const greatest = GreatestRangeHeard(power, beam, Bottom::Sand, *medium, least);
            ASSERT_TRUE(greatest);
            beam.range = *greatest * 0.99;
            EXPECT_GT(BudgetOf(power, beam, Bottom::Sand, *medium)->snr, least);
            beam.range = *greatest * 1.01;
            EXPECT_LT(BudgetOf(power, beam, Bottom::Sand, *medium)->snr, least);
        }
    }
    EXPECT_DOUBLE_EQ(*GreatestRangeHeard(0.0, beam, Bottom::Mud, *medium), 0.1);
    beam.pulseLength = 0.0;
    EXPECT_FALSE(GreatestRangeHeard(200.0, beam, Bottom::Mud, *medium));
}

} // namespace
} // namespace qx5::acoustics
