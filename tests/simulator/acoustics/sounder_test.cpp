// What the simulated sonar hears: levels against the sonar equation, and the effect of every setting with sign and
// size.
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

/// The half-power width of a steered Hann array, from its pattern sin(pi u) / (pi u (1 - u^2)), whose half power lies
/// at u = 0.72029.
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
            double const lost =
                40.0 * std::log10(middle / range) - (settings.receiver.mode == GainMode::TimeVaried
                                                         ? settings.receiver.spreading * std::log10(middle / range)
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

/// One setting changed, and what that does to the level on the axis of the beam at an angle, on sand 30 m below.
struct LevelEffect
{
    char const* what;
    std::function<void(PingSettings&)> before;
    std::function<void(PingSettings&)> change;
    double angle;
    double effect; ///< dB
};

double LevelOfBeam(PingSettings const& settings, double angle)
{
    Sounder sounder = CalmSounder("flat");
    sounder.SetSpeckle(false);
    PingEchoes const echoes = Heard(sounder, settings);
    for (std::size_t beam = 0; beam < echoes.beams; ++beam) {
        if (std::abs(static_cast<double>(echoes.water.angles[beam]) - angle) < 1e-3) {
            return LevelAt(echoes, beam, 30.0 / std::cos(Rad(angle)));
        }
    }
    ADD_FAILURE() << "no beam at " << angle;
    return 0.0;
}

TEST(Sounder, EachSettingOfLevelsHasItsEffect)
{
    auto const timeVaried = [](PingSettings& settings) {
        settings.receiver = {.mode = GainMode::TimeVaried, .gain = 20.0, .spreading = 30.0, .absorption = 70.0};
    };
    auto const nothing = [](PingSettings&) {};
    // The beam at 45 degrees hears the bottom at 42.426 m.
    std::vector<LevelEffect> const effects{
        {"power", nothing, [](PingSettings& s) { s.power += 10.0; }, 45.0, 10.0},
        {"gain", nothing, [](PingSettings& s) { s.receiver.gain += 6.0; }, 45.0, 6.0},
        {"time-varied gain", timeVaried, [](PingSettings& s) { s.receiver.gain += 6.0; }, 45.0, 6.0},
        // 10 log10(42.426).
        {"spreading", timeVaried, [](PingSettings& s) { s.receiver.spreading += 10.0; }, 45.0, 16.276},
        // 2 x 70 x 0.042426.
        {"absorption", timeVaried, [](PingSettings& s) { s.receiver.absorption += 70.0; }, 45.0, 5.940},
        {"spreading with fixed gain", nothing, [](PingSettings& s) { s.receiver.spreading += 10.0; }, 45.0, 0.0},
        {"absorption with fixed gain", nothing, [](PingSettings& s) { s.receiver.absorption += 70.0; }, 45.0, 0.0},
        // 10 log10(2), of the area that the pulse covers; straight down the beam covers less.
        {"pulse length", nothing, [](PingSettings& s) { s.pulseLength *= 2.0; }, 45.0, 3.010},
        {"pulse length straight down", [](PingSettings& s) { s.pulseLength = 150e-6; },
         [](PingSettings& s) { s.pulseLength *= 2.0; }, 0.0, 0.0},
        // A sweep of 10 kHz is compressed to 100 us: a third of the tone's area.
        {"sweep", [](PingSettings& s) { s.pulseLength = 300e-6; }, [](PingSettings& s) { s.sweep = 10e3; }, 45.0,
         -4.771},
        {"sweep that is too narrow to compress", [](PingSettings& s) { s.pulseLength = 300e-6; },
         [](PingSettings& s) { s.sweep = 1e3; }, 45.0, 0.0},
        {"beam width along track", nothing, [](PingSettings& s) { s.widthAlong *= 2.0; }, 45.0, 3.010},
        {"beam width across track, straight down", [](PingSettings& s) { s.pulseLength = 200e-6; },
         [](PingSettings& s) { s.receiveWidth *= 2.0; }, 0.0, 3.010},
        {"beam width across track", nothing, [](PingSettings& s) { s.receiveWidth *= 2.0; }, 45.0, 0.0},
        // Half the power at the fan's ends, 3.0103 ((50 / 50)^8 - (50 / 70)^8).
        {"width of the fan", nothing, [](PingSettings& s) { s.fanWidth = 100.0; }, 50.0, -2.806},
        // The beam at -50 then lies 70 off the fan's middle; that at 50 lies 30 off it.
        {"steering of the fan, to port", nothing, [](PingSettings& s) { s.fanSteering = 20.0; }, -50.0, -2.806},
        {"steering of the fan, to starboard", nothing, [](PingSettings& s) { s.fanSteering = 20.0; }, 50.0, 0.201},
        // The papers' absorption (tested with them), both ways over 42.426 m.
        {"frequency", nothing, [](PingSettings& s) { s.frequency = 400e3; }, 45.0,
         -2.0 * 0.042426 *
             (*AbsorptionFrancoisGarrison(400e3, {.temperature = 12.9}) -
              *AbsorptionFrancoisGarrison(200e3, {.temperature = 12.9}))},
    };
    for (LevelEffect const& row : effects) {
        PingSettings settings = Plain();
        row.before(settings);
        double const before = LevelOfBeam(settings, row.angle);
        row.change(settings);
        // Two levels are told in steps of 0.4 dB each.
        EXPECT_NEAR(LevelOfBeam(settings, row.angle) - before, row.effect, 0.45) << row.what;
    }
}

TEST(Sounder, NoiseFollowsPulseFrequencyAndGain)
{
    Sounder sounder = CalmSounder("flat");
    PingSettings settings = Plain();
    settings.receiver.gain = 70.0;
    auto const noise = [&] { return static_cast<double>(Heard(sounder, settings).water.noise[500]); };
    double const before = noise();
    settings.pulseLength *= 2.0;
    EXPECT_NEAR(noise() - before, -3.010, 0.01) << "half the band";
    settings.receiver.gain += 10.0;
    EXPECT_NEAR(noise() - before, -3.010 + 10.0, 0.01);
    settings.frequency *= 2.0;
    // Thermal noise, 20 log10 of the frequency, leads there; the rest of the sea's falls.
    EXPECT_NEAR(noise() - before, -3.010 + 10.0 + 5.5, 0.6);
}

TEST(Sounder, ConverterSaturatesAndHasAStep)
{
    Sounder sounder = CalmSounder("flat");
    sounder.SetSpeckle(false);
    PingSettings settings = Plain();
    settings.power = 220.0;
    settings.receiver.gain = 83.0;
    PingEchoes const loud = Heard(sounder, settings);
    EXPECT_NEAR(LevelAt(loud, 20, 30.01), 200.0, 1e-9) << "no more than full scale";
    settings.power = 170.0;
    settings.receiver.gain = 0.0;
    PingEchoes const faint = Heard(sounder, settings);
    // 16 bits of amplitude below full scale: 200 - 96.33.
    EXPECT_NEAR(LevelAt(faint, 20, 30.01), 103.67, 0.2);
    EXPECT_NEAR(LevelAt(faint, 20, 60.0), 103.67, 0.2);
    EXPECT_TRUE(faint.detections.empty()) << "the converter hides the bottom";
}

TEST(Sounder, WithoutPowerThereIsNoiseAlone)
{
    Sounder sounder = CalmSounder("wreck");
    PingSettings settings = Plain();
    settings.receiver.gain = 80.0;
    settings.power = 0.0;
    std::vector<double> levels;
    double toldNoise = 0.0;
    for (int ping = 0; ping < 3; ++ping) {
        PingEchoes const echoes = Heard(sounder, settings, ping * 0.1, ping);
        EXPECT_TRUE(echoes.detections.empty());
        toldNoise = static_cast<double>(echoes.water.noise[0]);
        for (std::uint8_t const level : echoes.water.levels) {
            levels.push_back(echoes.water.floor + echoes.water.step * level);
        }
    }
    double sum = 0.0;
    double squares = 0.0;
    for (double const level : levels) {
        sum += level - toldNoise;
        squares += (level - toldNoise) * (level - toldNoise);
    }
    double const mean = sum / static_cast<double>(levels.size());
    EXPECT_NEAR(mean, -2.507, 0.05) << "10 log e times Euler's constant";
    EXPECT_NEAR(std::sqrt(squares / static_cast<double>(levels.size()) - mean * mean), 5.57, 0.1);
}

TEST(Sounder, EchoesFluctuateAsRayleighs)
{
    for (double const pulse : {50e-6, 100e-6, 300e-6}) {
        Sounder sounder = CalmSounder("flat");
        PingSettings settings = Plain();
        settings.pulseLength = pulse;
        double sum = 0.0;
        double squares = 0.0;
        int count = 0;
        for (int ping = 0; ping < 200; ++ping) {
            PingEchoes const echoes = Heard(sounder, settings, 0.0, ping);
            for (std::size_t beam = 0; beam < echoes.beams; ++beam) {
                double const angle = static_cast<double>(echoes.water.angles[beam]);
                if (std::abs(angle) < 20.0) {
                    continue;
                }
                double const level =
                    LevelAt(echoes, beam, 30.0 / std::cos(Rad(angle))) - ExpectedLevel(settings, 30.0, angle);
                sum += level;
                squares += level * level;
                ++count;
            }
        }
        double const mean = sum / count;
        EXPECT_NEAR(mean, -2.507, 0.2);
        EXPECT_NEAR(std::sqrt(squares / count - mean * mean), 5.57, 0.1) << pulse;
    }
}

TEST(Sounder, HearsTheSameEachTime)
{
    PingSettings const settings = Plain();
    Sounder one = CalmSounder("rock");
    Sounder same = CalmSounder("rock");
    Sounder other = CalmSounder("rock", 30.0, 2);
    PingEchoes const first = Heard(one, settings, 1.0, 5);
    Heard(same, settings, 7.0, 3);
    PingEchoes const again = Heard(same, settings, 1.0, 5);
    EXPECT_EQ(first.water.levels, again.water.levels);
    EXPECT_EQ(first.water.angles, again.water.angles);
    ASSERT_EQ(first.detections.size(), again.detections.size());
    for (std::size_t i = 0; i < first.detections.size(); ++i) {
        EXPECT_EQ(first.detections[i].travelTime, again.detections[i].travelTime);
    }
    EXPECT_NE(first.water.levels, Heard(other, settings, 1.0, 5).water.levels);
    EXPECT_NE(first.water.levels, Heard(one, settings, 1.0, 6).water.levels);
}

/// The mean over beams near an angle of the depth that is told.
double DepthAt(PingEchoes const& echoes, double angle)
{
    double sum = 0.0;
    int count = 0;
    for (Detection const& detection : echoes.detections) {
        double const at = static_cast<double>(detection.angle);
        if (std::abs(at - angle) < 2.0) {
            sum += static_cast<double>(detection.travelTime) * echoes.soundSpeed / 2.0 * std::cos(Rad(at));
            ++count;
        }
    }
    EXPECT_GT(count, 5) << angle;
    return sum / count;
}

TEST(Sounder, AWrongSoundVelocityScalesDepthAndBendsTheSwath)
{
    for (double const told : {1470.0, 1500.0, 1530.0}) {
        Sounder sounder = CalmSounder("flat");
        sounder.SetSpeckle(false);
        PingSettings settings = Plain();
        settings.range = 100.0;
        settings.beams = 401;
        settings.receiveWidth = 0.7;
        settings.power = 215.0;
        settings.soundSpeed = told;
        PingEchoes const echoes = Heard(sounder, settings);
        double const ratio = told / 1500.0;
        double const below = DepthAt(echoes, 0.0);
        EXPECT_NEAR(below, 30.0 * ratio, 0.03) << told;
        // The beam goes where sin(true) = sin(told) / ratio, and the time of its way is taken for one at `told`.
        for (double const angle : {-45.0, 45.0}) {
            double const sine = std::sin(Rad(angle)) / ratio;
            double const expected = 30.0 * ratio * std::cos(Rad(angle)) / std::sqrt(1.0 - sine * sine);
            EXPECT_NEAR(DepthAt(echoes, angle), expected, 0.05) << told;
        }
        double const bend = DepthAt(echoes, 45.0) - below;
        if (told > 1500.0) {
            EXPECT_LT(bend, -0.5) << "the ends come up: a smile";
        } else if (told < 1500.0) {
            EXPECT_GT(bend, 0.5) << "the ends go down: a frown";
        } else {
            EXPECT_NEAR(bend, 0.0, 0.03);
        }
    }
}

TEST(Sounder, MotionIsCompensatedAsItIsSet)
{
    Ship const ship({}, 3);
    // A time at which all move.
    double seconds = 0.0;
    while (std::abs(ship.At(seconds).roll) < 2.0 || std::abs(ship.At(seconds).pitch) < 0.7) {
        seconds += 0.1;
        ASSERT_LT(seconds, 1000.0);
    }
    Pose const pose = ship.At(seconds);
    Sounder sounder(SceneOf("flat"), ship, {}, 3);
    sounder.SetSpeckle(false);
    PingSettings settings = Plain();
    settings.tilt = 2.0;
    for (bool const roll : {false, true}) {
        for (bool const pitch : {false, true}) {
            settings.compensateRoll = roll;
            settings.compensatePitch = pitch;
            PingEchoes const echoes = Heard(sounder, settings, seconds);
            // Starboard down turns a beam that is fixed to the ship to port; bow up turns the fan forward.
            EXPECT_NEAR(static_cast<double>(echoes.water.angles[20]), roll ? 0.0 : -pose.roll, 1e-4);
            EXPECT_NEAR(static_cast<double>(echoes.water.angles[40]), 50.0 - (roll ? 0.0 : pose.roll), 1e-4);
            EXPECT_NEAR(echoes.steering, 2.0 + (pitch ? 0.0 : pose.pitch), 1e-9);
            // The told direction leads to the bottom either way.
            double const along = std::sin(Rad(echoes.steering));
            for (Detection const& detection : echoes.detections) {
                double const across = std::sin(Rad(static_cast<double>(detection.angle)));
                double const range = static_cast<double>(detection.travelTime) * 750.0;
                EXPECT_NEAR(pose.depth + range * std::sqrt(1.0 - across * across - along * along), 30.0, 0.25)
                    << detection.angle;
            }
            EXPECT_GT(echoes.detections.size(), 35U);
        }
    }
    EXPECT_NEAR(pose.depth, -pose.heave, 1e-12);
}

TEST(Sounder, TiltLooksAheadAndAstern)
{
    // A slope along the line: the scene's falls to the east, so the ship's across is its along after a quarter turn; on
    // level ground the way is longer by 1 / cos(tilt).
    Sounder sounder = CalmSounder("flat");
    sounder.SetSpeckle(false);
    PingSettings settings = Plain();
    for (double const tilt : {-10.0, 10.0}) {
        settings.tilt = tilt;
        PingEchoes const echoes = Heard(sounder, settings);
        EXPECT_EQ(echoes.steering, tilt);
        auto const axis = sounder.AxisOf(20);
        ASSERT_TRUE(axis);
        EXPECT_NEAR(axis->range, 30.0 / std::cos(Rad(10.0)), 1e-6);
        EXPECT_NEAR(axis->north - echoes.pose.north, 30.0 * std::tan(Rad(tilt)), 1e-6) << "the ship runs north";
        auto const below = std::find_if(echoes.detections.begin(), echoes.detections.end(),
                                        [](Detection const& detection) { return detection.beam == 20; });
        ASSERT_NE(below, echoes.detections.end());
        EXPECT_NEAR(static_cast<double>(below->travelTime) * 750.0, 30.0 / std::cos(Rad(10.0)), 0.06);
    }
}

TEST(Sounder, RangeAndSampleRateTellHowLongAndHowFinelyItListens)
{
    Sounder sounder = CalmSounder("flat");
    PingSettings settings = Plain();
    settings.range = 10.0;
    PingEchoes const slow = Heard(sounder, settings);
    // 2 x 10 / 1500 s at 34,483 Hz: 459.8 samples.
    EXPECT_EQ(slow.water.samples, 460U);
    EXPECT_NEAR(slow.water.interval * 460.0, 2.0 * 10.0 / 1500.0, 1e-12);
    EXPECT_TRUE(slow.detections.empty()) << "the bottom lies beyond";
    settings.sampleRate = 68966;
    EXPECT_EQ(Heard(sounder, settings).water.samples, 920U);
    settings.range = 100.0;
    PingEchoes const far = Heard(sounder, settings);
    EXPECT_EQ(far.water.samples, 1000U) << "no more than that";
    EXPECT_NEAR(far.water.interval * 1000.0, 200.0 / 1500.0, 1e-12);
    EXPECT_EQ(far.water.levels.size(), 41U * 1000U);
    EXPECT_EQ(far.water.gain.size(), 1000U);
}

TEST(Sounder, NadirShowsInTheSideLobesOfOuterBeams)
{
    Sounder sounder = CalmSounder("flat");
    sounder.SetSpeckle(false);
    PingSettings settings = Plain();
    settings.power = 215.0;
    PingEchoes const echoes = Heard(sounder, settings);
    for (std::size_t const beam : {0U, 5U, 35U, 40U}) {
        double const arc = LevelAt(echoes, beam, 30.01);
        EXPECT_GT(arc, LevelAt(echoes, beam, 29.5) + 3.0) << beam;
        // No lower than what the elements' errors leave, no higher than the first side lobe, 31.5 dB below the axis.
        double const below = LevelAt(echoes, 20, 30.01);
        EXPECT_LT(arc, below - 31.0);
        EXPECT_GT(arc, below - 56.0);
    }
}

TEST(Sounder, WhatStandsUpIsHeardAndThrowsAShadow)
{
    // The quay to starboard: 30 m x 0.9 away, its top 26 m above the bottom.
    Sounder sounder = CalmSounder("harbour-wall");
    sounder.SetSpeckle(false);
    PingSettings settings = Plain();
    settings.range = 60.0;
    PingEchoes const echoes = Heard(sounder, settings);
    double const wallAt = 27.0;
    for (Detection const& detection : echoes.detections) {
        double const range = static_cast<double>(detection.travelTime) * 750.0;
        double const across = range * std::sin(Rad(static_cast<double>(detection.angle)));
        EXPECT_LT(across, wallAt + 1.0) << "nothing is heard from behind it";
    }
    // At 50 degrees level ground would be 46.7 m away; the wall is at 27.15 / sin 50.
    auto const last = echoes.detections.back();
    EXPECT_EQ(last.beam, 40);
    EXPECT_NEAR(static_cast<double>(last.travelTime) * 750.0, 27.15 / std::sin(Rad(50.0)), 0.6);
}

TEST(Sounder, FishAndBubblesAreHeardInTheWater)
{
    for (char const* const name : {"fish", "gas-plume"}) {
        Sounder sounder = CalmSounder(name);
        Sounder empty = CalmSounder("flat");
        PingSettings settings = Plain();
        settings.power = 215.0;
        int louder = 0;
        for (int ping = 0; ping < 100; ++ping) {
            double const seconds = ping * 0.25;
            PingEchoes const with = Heard(sounder, settings, seconds, ping);
            PingEchoes const without = Heard(empty, settings, seconds, ping);
            auto const toBottom = static_cast<std::size_t>(28.0 / 0.07);
            for (std::size_t beam = 0; beam < with.beams; ++beam) {
                for (std::size_t sample = 0; sample < toBottom; ++sample) {
                    std::size_t const at = beam * with.water.samples + sample;
                    louder += with.water.levels[at] > without.water.levels[at] + 25 ? 1 : 0;
                }
            }
        }
        EXPECT_GT(louder, 100) << name << ": 10 dB above water alone, with the same speckle";
    }
}

TEST(Sounder, RefusesOrBoundsWhateverItIsSetTo)
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    using Change = std::function<void(PingSettings&, double)>;
    std::vector<Change> const numbers{
        [](PingSettings& s, double v) { s.range = v; },
        [](PingSettings& s, double v) { s.sampleRate = v; },
        [](PingSettings& s, double v) { s.soundSpeed = v; },
        [](PingSettings& s, double v) { s.depth = v; },
        [](PingSettings& s, double v) { s.power = v; },
        [](PingSettings& s, double v) { s.frequency = v; },
        [](PingSettings& s, double v) { s.pulseLength = v; },
        [](PingSettings& s, double v) { s.sweep = v; },
        [](PingSettings& s, double v) { s.receiver.gain = v; },
        [](PingSettings& s, double v) { s.receiver.spreading = v; },
        [](PingSettings& s, double v) { s.receiver.absorption = v; },
        [](PingSettings& s, double v) { s.coverage = v; },
        [](PingSettings& s, double v) { s.sectorSteering = v; },
        [](PingSettings& s, double v) { s.flexCoverage = v; },
        [](PingSettings& s, double v) { s.flexSteering = v; },
        [](PingSettings& s, double v) { s.outsideSpacing = v; },
        [](PingSettings& s, double v) { s.constantSpacing = v; },
        [](PingSettings& s, double v) { s.widthAlong = v; },
        [](PingSettings& s, double v) { s.fanWidth = v; },
        [](PingSettings& s, double v) { s.receiveWidth = v; },
        [](PingSettings& s, double v) { s.tilt = v; },
        [](PingSettings& s, double v) { s.fanSteering = v; },
        [](PingSettings& s, double v) { s.gates.range.least = v; },
        [](PingSettings& s, double v) { s.gates.range.greatest = v; },
        [](PingSettings& s, double v) { s.gates.depth.least = v; },
        [](PingSettings& s, double v) { s.gates.depth.greatest = v; },
        [](PingSettings& s, double v) { s.gates.tilt = v; },
        [](PingSettings& s, double v) { s.gates.window = v; },
        [](PingSettings& s, double v) { s.gates.search.least = v; },
        [](PingSettings& s, double v) { s.gates.search.greatest = v; },
    };
    Sounder sounder = CalmSounder("rock");
    PingEchoes echoes;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        for (double const bad : {0.0, -1.0, 1e-300, 1e300, -1e300, inf, -inf, nan}) {
            for (int mode = 0; mode < 5; ++mode) {
                PingSettings settings = Plain();
                settings.beams = 12;
                settings.samples = 60;
                settings.mode = static_cast<BeamMode>(mode);
                settings.gates.byRange = settings.gates.byDepth = settings.gates.adaptive = true;
                settings.gates.adaptiveFollows = settings.gates.searchLimited = true;
                settings.gates.range = settings.gates.depth = settings.gates.search = {1.0, 100.0};
                settings.multiDetect.enabled = true;
                numbers[i](settings, bad);
                auto const failure = sounder.Hear(settings, 0.0, 1, echoes);
                if (failure) {
                    EXPECT_FALSE(failure->line.empty());
                    EXPECT_EQ(failure->line.find('\n'), std::string::npos);
                    EXPECT_EQ(echoes.beams, 0);
                    EXPECT_TRUE(echoes.detections.empty());
                } else {
                    EXPECT_LE(echoes.beams, 12) << i << " " << bad;
                    EXPECT_GE(echoes.beams, 1);
                    for (float const angle : echoes.water.angles) {
                        EXPECT_LE(std::abs(angle), 85.001F) << i << " " << bad;
                    }
                    for (Detection const& detection : echoes.detections) {
                        EXPECT_TRUE(std::isfinite(detection.travelTime) && std::isfinite(detection.level));
                    }
                }
                EXPECT_TRUE(std::isfinite(bad) || failure) << i << " " << bad;
            }
        }
    }
    PingSettings settings = Plain();
    settings.samples = 20;
    settings.beams = settings.mostBeams = 4096;
    EXPECT_FALSE(sounder.Hear(settings, 0.0, 1, echoes));
    EXPECT_EQ(echoes.beams, GreatestBeams);
    for (int const beams : {std::numeric_limits<int>::min(), -1, 0, std::numeric_limits<int>::max()}) {
        settings.beams = settings.leastBeams = settings.mostBeams = settings.samples = beams;
        settings.multiDetect = {true, beams, beams, beams};
        EXPECT_FALSE(sounder.Hear(settings, 0.0, beams, echoes));
        EXPECT_GE(echoes.beams, 1);
        EXPECT_LE(echoes.beams, GreatestBeams);
        EXPECT_LE(echoes.water.samples, 1000U);
    }
    settings = Plain();
    for (double const seconds : {inf, -inf, nan, 1e300, -1e300, -5.0}) {
        EXPECT_FALSE(sounder.Hear(settings, seconds, 1, echoes));
        EXPECT_EQ(echoes.beams, 41);
    }
    // The water, too.
    Sea sea;
    sea.water.temperature = nan;
    Sounder strange(SceneOf("flat"), Ship({}, 1), sea, 1);
    EXPECT_TRUE(strange.Hear(Plain(), 0.0, 1, echoes));
    sea = {};
    sea.soundSpeed = 0.0;
    Sounder still(SceneOf("flat"), Ship({}, 1), sea, 1);
    EXPECT_TRUE(still.Hear(Plain(), 0.0, 1, echoes));
    // After a refusal it hears again.
    EXPECT_FALSE(sounder.Hear(Plain(), 0.0, 1, echoes));
    EXPECT_EQ(echoes.beams, 41);
}

} // namespace
} // namespace qx5::acoustics
