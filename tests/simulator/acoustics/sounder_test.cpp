// What the simulated sonar hears: levels against the sonar equation, and the effect of every setting with sign and size.
#include <simulator/acoustics/sounder.h>
#include <simulator/acoustics/water.h>

#include "refusal.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

constexpr double Pi = std::numbers::pi;

double Rad(double degrees)
{
    return degrees * Pi / 180.0;
}

double Deg(double radians)
{
    return radians * 180.0 / Pi;
}

Scene SceneOf(std::string_view name, double depth = 30.0, std::uint64_t seed = 1)
{
    auto const scene = Scene::OfName(name, depth, seed);
    EXPECT_TRUE(scene) << scene.WhyNot().line;
    return *scene;
}

Sounder CalmSounder(std::string_view name, double depth = 30.0, std::uint64_t seed = 1)
{
    return Sounder(SceneOf(name, depth, seed), Ship({.calm = true}, seed), {}, seed);
}

/// One that the sonar equation is easily held against: few beams, a short listening, no gain but a fixed one.
PingSettings Plain()
{
    PingSettings settings;
    settings.range = 70.0;
    settings.power = 200.0;
    settings.beams = 41;
    settings.coverage = 100.0;
    settings.receiver = {.mode = GainMode::Fixed, .gain = 60.0};
    return settings;
}

PingEchoes Heard(Sounder& sounder, PingSettings const& settings, double seconds = 0.0, std::int32_t number = 1)
{
    PingEchoes echoes;
    auto const failure = sounder.Hear(settings, seconds, number, echoes);
    EXPECT_FALSE(failure) << failure->line;
    return echoes;
}

double LevelAt(PingEchoes const& echoes, std::size_t beam, double range)
{
    double const distance = echoes.water.interval * echoes.soundSpeed / 2.0;
    auto const sample = static_cast<std::size_t>(range / distance);
    EXPECT_LT(sample, echoes.water.samples);
    return echoes.water.floor + echoes.water.step * echoes.water.levels[beam * echoes.water.samples + sample];
}

/// The half-power width of a steered Hann array, from its pattern sin(pi u) / (pi u (1 - u^2)), whose half power lies at
/// u = 0.72029.
double SteeredWidth(double width, double angle)
{
    double const half = std::sin(Rad(width / 2.0));
    return Deg(std::asin(std::sin(Rad(angle)) + half) - std::asin(std::sin(Rad(angle)) - half));
}

/// The echo of level sand on the axis of a beam, worked out here term by term.
double ExpectedLevel(PingSettings const& settings, double depth, double angle)
{
    double const grazing = 90.0 - std::abs(angle);
    double const range = depth / std::cos(Rad(angle));
    double const absorption = *AbsorptionFrancoisGarrison(settings.frequency, {.temperature = 12.9});
    double const lambert = std::pow(10.0, -2.2) * std::pow(std::sin(Rad(grazing)), 2.0);
    double const specular = std::pow(10.0, -1.0) * std::exp(-0.5 * std::pow(angle / 7.0, 2.0));
    double const along = Rad(settings.widthAlong);
    double const across = Rad(SteeredWidth(settings.receiveWidth, angle));
    double const byBeam = along * across * range * range / std::sin(Rad(grazing));
    double const byPulse = along * range * 1500.0 * settings.pulseLength / 2.0 / std::cos(Rad(grazing));
    double const area = std::min(byBeam, byPulse);
    double const fan = -3.0103 * std::pow(angle / (settings.fanWidth / 2.0), 8.0);
    double gain = settings.receiver.gain;
    if (settings.receiver.mode == GainMode::TimeVaried) {
        gain += settings.receiver.spreading * std::log10(range) + 2.0 * settings.receiver.absorption * range / 1000.0;
    }
    return settings.power - 40.0 * std::log10(range) - 2.0 * absorption * range / 1000.0 +
           10.0 * std::log10(lambert + specular) + 10.0 * std::log10(area) + fan + gain;
}

TEST(Sounder, HearsTheSonarEquationOverAThousandRandomSettings)
{
    std::mt19937 random(20261122);
    auto const between = [&](double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(random);
    };
    double sum = 0.0;
    double squares = 0.0;
    int count = 0;
    int settingsHeard = 0;
    PingEchoes echoes;
    for (int drawn = 0; settingsHeard < 1000 && drawn < 20000; ++drawn) {
        double const depth = between(3.0, 60.0);
        PingSettings settings;
        settings.range = depth * between(1.5, 3.5);
        settings.frequency = between(190e3, 420e3);
        settings.pulseLength = between(33e-6, 300e-6);
        settings.widthAlong = between(0.5, 8.0);
        settings.receiveWidth = between(0.5, 3.0);
        settings.fanWidth = between(120.0, 165.0);
        settings.coverage = between(20.0, 120.0);
        settings.power = between(190.0, 220.0);
        settings.mode = static_cast<BeamMode>(drawn % 3);
        settings.beams = 16;
        settings.receiver.mode = drawn % 2 == 0 ? GainMode::TimeVaried : GainMode::Fixed;
        settings.receiver.gain = between(0.0, 83.0);
        settings.receiver.spreading = between(0.0, 60.0);
        settings.receiver.absorption = between(0.0, 120.0);
        Sounder sounder = CalmSounder("flat", depth);
        sounder.SetSpeckle(false);
        echoes = Heard(sounder, settings);
        double const distance = echoes.water.interval * 750.0;
        bool counted = false;
        for (std::size_t beam = 0; beam < echoes.beams; ++beam) {
            double const angle = static_cast<double>(echoes.water.angles[beam]);
            double const range = depth / std::cos(Rad(angle));
            double const expected = ExpectedLevel(settings, depth, angle);
            auto const sample = static_cast<std::size_t>(range / distance);
            // Where samples are too far apart for the pulse, below the sonar, none has the whole echo; noise and the
            // converter are looked at by tests of their own.
            if (range > 0.95 * settings.range || expected > 199.0 || expected < 106.0 ||
                expected < static_cast<double>(echoes.water.noise[sample]) + 30.0 ||
                (std::abs(angle) < 25.0 && settings.pulseLength * 750.0 < 3.0 * distance)) {
                continue;
            }
            // The sample's own range tells what is lost on the way.
            double const middle = (static_cast<double>(sample) + 0.5) * distance;
            double const lost = 40.0 * std::log10(middle / range) - (settings.receiver.mode == GainMode::TimeVaried
                                                                         ? settings.receiver.spreading *
                                                                               std::log10(middle / range)
                                                                         : 0.0);
            double const error = LevelAt(echoes, beam, range) - (expected - lost);
            EXPECT_NEAR(error, 0.0, 0.2 + 0.1) << "half a step of a level, and a tenth of a dB; beam at " << angle;
            sum += error;
            squares += error * error;
            ++count;
            counted = true;
        }
        settingsHeard += counted ? 1 : 0;
    }
    EXPECT_EQ(settingsHeard, 1000);
    EXPECT_GT(count, 5000);
    EXPECT_NEAR(sum / count, 0.0, 0.02);
    EXPECT_LT(std::sqrt(squares / count), 0.15) << "even steps of 0.4 dB alone deviate by 0.115";
    RecordProperty("beams", count);
}

} // namespace
} // namespace qx5::acoustics
