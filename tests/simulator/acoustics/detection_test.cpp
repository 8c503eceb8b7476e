// The bottom in what beams hear: never outside of the gates, as exact as its model says, and not where noise hides it.
#include <simulator/acoustics/sounder.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

double InRadians(double degrees)
{
    return degrees * std::numbers::pi / 180.0;
}

Sounder SounderOver(std::string_view name, double depth, bool calm, std::uint64_t seed)
{
    auto const scene = Scene::OfName(name, depth, seed);
    EXPECT_TRUE(scene) << scene.WhyNot().line;
    return Sounder(*scene, Ship({.calm = calm}, seed), {}, seed);
}

/// What a detection tells of itself.
struct Told
{
    double range;
    double depth;
    double across;
};

Told Tell(PingEchoes const& echoes, Detection const& detection)
{
    double const range = static_cast<double>(detection.travelTime) * echoes.soundSpeed / 2.0;
    double const across = std::sin(InRadians(static_cast<double>(detection.angle)));
    double const along = std::sin(InRadians(echoes.steering));
    return {range, range * std::sqrt(1.0 - across * across - along * along), range * across};
}

/// The middle one of the depths that were found; nothing without any.
std::optional<double> MiddleDepth(PingEchoes const& echoes)
{
    std::vector<double> depths;
    for (Detection const& detection : echoes.detections) {
        depths.push_back(Tell(echoes, detection).depth);
    }
    if (depths.empty()) {
        return std::nullopt;
    }
    std::sort(depths.begin(), depths.end());
    return depths[depths.size() / 2];
}

TEST(Detections, AreNeverOutsideOfTheGates)
{
    constexpr int pings = 10000;
    constexpr int pingsOfOneSonar = 20;
    std::mt19937 random(7);
    auto const between = [&](double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(random);
    };
    auto const chance = [&](double part) { return between(0.0, 1.0) < part; };
    PingEchoes echoes;
    std::array<int, 4> inside{}; // that a gate of each kind was in force for: range, depth, window, search
    int total = 0;
    for (int first = 0; first < pings; first += pingsOfOneSonar) {
        auto const& scene = SceneNames[static_cast<std::size_t>(first / pingsOfOneSonar) % SceneNames.size()];
        double const depth = between(4.0, 40.0);
        Sounder sounder = SounderOver(scene.name, depth, chance(0.3), static_cast<std::uint64_t>(first));
        PingSettings settings;
        settings.beams = 16;
        settings.samples = 80;
        settings.power = 210.0;
        settings.range = depth * between(1.2, 4.0);
        settings.soundSpeed = between(1400.0, 1600.0);
        settings.mode = static_cast<BeamMode>(first % 5);
        settings.tilt = between(-10.0, 10.0);
        settings.sectorSteering = between(-20.0, 20.0);
        settings.compensateRoll = chance(0.5);
        settings.compensatePitch = chance(0.5);
        GateSettings& gates = settings.gates;
        gates.byRange = chance(0.5);
        gates.range.least = depth * between(0.0, 1.2);
        gates.range.greatest = gates.range.least + depth * between(0.05, 2.0);
        gates.byDepth = chance(0.5);
        gates.depth.least = depth * between(0.0, 1.1);
        gates.depth.greatest = gates.depth.least + depth * between(0.02, 1.0);
        gates.tilt = chance(0.5) ? between(-30.0, 30.0) : 0.0;
        gates.depthFollows = chance(0.3);
        gates.adaptive = chance(0.4);
        gates.adaptiveFollows = chance(0.7);
        gates.window = between(5.0, 100.0);
        gates.searchLimited = chance(0.7);
        gates.search.least = depth * between(0.0, 1.0);
        gates.search.greatest = gates.search.least + depth * between(0.1, 1.0);
        settings.multiDetect.enabled = chance(0.3);
        settings.multiDetect.sensitivity = 5;
        std::optional<double> bottom;
        for (int ping = first; ping < first + pingsOfOneSonar; ++ping) {
            auto const failure = sounder.Hear(settings, 0.5 * ping, ping, echoes);
            ASSERT_FALSE(failure) << failure->line;
            for (Detection const& detection : echoes.detections) {
                auto const [range, toldDepth, across] = Tell(echoes, detection);
                ++total;
                if (gates.byRange) {
                    ASSERT_GE(range, gates.range.least) << ping;
                    ASSERT_LE(range, gates.range.greatest) << ping;
                    ++inside[0];
                }
                double const level = toldDepth - across * std::tan(InRadians(gates.tilt));
                if (gates.byDepth && !(gates.depthFollows && bottom)) {
                    ASSERT_GE(level, gates.depth.least - 1e-9) << ping;
                    ASSERT_LE(level, gates.depth.greatest + 1e-9) << ping;
                    ++inside[1];
                } else if (gates.byDepth) {
                    double const half = (gates.depth.greatest - gates.depth.least) / 2.0;
                    ASSERT_NEAR(level, *bottom, half + 1e-4) << ping;
                    ++inside[1];
                }
                // The adaptive gate is not tilted on its own.
                double const adaptive = gates.byDepth ? level : toldDepth;
                if (gates.adaptive && gates.adaptiveFollows && bottom) {
                    ASSERT_NEAR(adaptive, *bottom, *bottom * gates.window / 200.0 + 1e-4) << ping;
                    ++inside[2];
                }
                if (gates.adaptive && gates.searchLimited) {
                    ASSERT_GE(adaptive, gates.search.least - 1e-9) << ping;
                    ASSERT_LE(adaptive, gates.search.greatest + 1e-9) << ping;
                    ++inside[3];
                }
            }
            bottom = MiddleDepth(echoes);
        }
    }
    EXPECT_GT(total, pings * 3);
    for (int const count : inside) {
        EXPECT_GT(count, 2000) << "each kind of gate was tried";
    }
}

TEST(Detections, AGateKeepsTheBottomThatIsInIt)
{
    Sounder sounder = SounderOver("flat", 30.0, true, 1);
    PingSettings settings;
    settings.beams = 64;
    settings.coverage = 90.0;
    settings.power = 210.0;
    PingEchoes echoes;
    auto const found = [&](GateSettings const& gates) {
        settings.gates = gates;
        EXPECT_FALSE(sounder.Hear(settings, 0.0, 1, echoes));
        return echoes.detections.size();
    };
    EXPECT_EQ(found({}), 64U);
    EXPECT_EQ(found({.byDepth = true, .depth = {27.0, 33.0}}), 64U);
    EXPECT_EQ(found({.byDepth = true, .depth = {5.0, 20.0}}), 0U);
    // Beams within acos(30 / 35), 31 degrees, meet the bottom before 35 m: 44 of the 64.
    EXPECT_NEAR(static_cast<double>(found({.byRange = true, .range = {1.0, 35.0}})), 44.0, 3.0);
    EXPECT_NEAR(static_cast<double>(found({.byRange = true, .range = {35.0, 99.0}})), 20.0, 3.0);
    // A tilt of 20 degrees to starboard: 30 - across x 0.364 lies within 27 to 33 for 8.24 m to each side: 15.4
    // degrees.
    EXPECT_NEAR(static_cast<double>(found({.byDepth = true, .depth = {27.0, 33.0}, .tilt = 20.0})), 22.0, 3.0);
    // Nothing can lie within a gate that is shut.
    EXPECT_EQ(found({.byRange = true, .range = {40.0, 39.0}}), 0U);
    // A depth gate that follows finds the bottom where it was, wherever its own limits lie.
    EXPECT_EQ(found({}), 64U);
    EXPECT_EQ(found({.byDepth = true, .depth = {2.0, 8.0}, .depthFollows = true}), 64U);
    EXPECT_NEAR(sounder.GateOfPing().depth.least, 27.0, 0.1);
    EXPECT_NEAR(sounder.GateOfPing().depth.greatest, 33.0, 0.1);
    // So does the adaptive one, with 20 per cent of 30 m; fixed, its search limits are all that counts.
    EXPECT_EQ(found({.adaptive = true, .adaptiveFollows = true, .window = 20.0}), 64U);
    EXPECT_NEAR(sounder.GateOfPing().depth.least, 27.0, 0.1);
    EXPECT_LE(found({.adaptive = true, .searchLimited = true, .search = {31.5, 60.0}}), 3U);
    EXPECT_EQ(found({.adaptive = true, .searchLimited = true, .search = {25.0, 60.0}}), 64U);
}

TEST(Detections, AreAsExactAsTheModelSays)
{
    struct Sonar
    {
        double frequency;
        double receiveWidth;
        double pulseLength;
        double range;
    };
    for (Sonar const& sonar : {Sonar{200e3, 1.35, 100e-6, 100.0}, Sonar{400e3, 0.67, 100e-6, 100.0},
                               Sonar{200e3, 1.35, 200e-6, 100.0}, Sonar{400e3, 0.67, 50e-6, 100.0}}) {
        Sounder sounder = SounderOver("flat", 30.0, true, 5);
        PingSettings settings;
        settings.power = 218.0;
        settings.receiver.gain = 0.0;
        settings.coverage = 120.0;
        settings.frequency = sonar.frequency;
        settings.receiveWidth = sonar.receiveWidth;
        settings.pulseLength = sonar.pulseLength;
        settings.range = sonar.range;
        PingEchoes echoes;
        std::array<double, 6> sums{}; // for 10 degrees each
        std::array<double, 6> squares{};
        std::array<int, 6> counts{};
        std::size_t found = 0;
        for (int ping = 0; ping < 80; ++ping) {
            ASSERT_FALSE(sounder.Hear(settings, 0.1 * ping, ping, echoes));
            found += echoes.detections.size();
            for (Detection const& detection : echoes.detections) {
                double const angle = std::abs(static_cast<double>(detection.angle));
                auto const band = static_cast<std::size_t>(std::min(angle / 10.0, 5.0));
                // The model of detection.h, written once more.
                double const slant = 30.0 / std::cos(InRadians(angle));
                double const spread =
                    slant * std::tan(InRadians(angle)) * InRadians(sonar.receiveWidth) / std::cos(InRadians(angle));
                double const pulse = 1500.0 * sonar.pulseLength / 2.0;
                double const sample = sonar.range / 1000.0;
                double const width = std::sqrt(spread * spread + pulse * pulse + sample * sample);
                double const deviation =
                    0.15 * std::sqrt(width * std::max(pulse * 2.0 / 3.0, sample)) * std::cos(InRadians(angle));
                double const error = (Tell(echoes, detection).depth - 30.0) / deviation;
                sums[band] += error;
                squares[band] += error * error;
                ++counts[band];
            }
        }
        double all = 0.0;
        for (std::size_t band = 0; band < counts.size(); ++band) {
            double const bias = sums[band] / counts[band];
            double const deviation = std::sqrt(squares[band] / counts[band] - bias * bias);
            EXPECT_NEAR(deviation, 1.0, 0.2) << sonar.frequency << " Hz, band " << band;
            EXPECT_NEAR(bias, 0.0, 0.1) << sonar.frequency << " Hz, band " << band;
            all += sums[band];
        }
        EXPECT_NEAR(all / (80.0 * 512.0), 0.0, 0.05);
        EXPECT_GT(found, 80U * 512U - 20U) << "hardly any beam misses it";
    }
}

TEST(Detections, ModelIsWorkedOutByHand)
{
    // At 30 m / cos 45 = 42.426 m: spread 42.426 x tan 45 x 0.0333216 (1.35 / cos 45 = 1.90919 degrees) = 1.41370 m;
    // width sqrt(1.41370^2 + 0.075^2 + 0.1^2) = 1.41922; 0.15 sqrt(1.41922 x 0.1) cos 45 = 0.039958.
    EXPECT_NEAR(DepthDeviation(42.4264, 45.0, 1.90919, 0.075, 0.1), 0.039958, 1e-5);
    EXPECT_EQ(DepthDeviation(42.4264, -45.0, 1.90919, 0.075, 0.1), DepthDeviation(42.4264, 45.0, 1.90919, 0.075, 0.1));
    // Straight down, a pulse of 0.3 m: pieces of 0.2 m; 0.15 sqrt(sqrt(0.3^2 + 0.1^2) x 0.2).
    EXPECT_NEAR(DepthDeviation(30.0, 0.0, 1.35, 0.3, 0.1), 0.037725, 1e-5);
}

TEST(Detections, ThereAreNoneWhereNoiseHidesTheBottom)
{
    Sounder sounder = SounderOver("flat", 30.0, true, 2);
    PingSettings settings;
    settings.coverage = 120.0;
    PingEchoes echoes;
    std::size_t before = 512;
    for (double const power : {210.0, 160.0, 150.0, 140.0, 120.0}) {
        settings.power = power;
        ASSERT_FALSE(sounder.Hear(settings, 0.0, 1, echoes));
        EXPECT_LE(echoes.detections.size(), before) << power;
        before = echoes.detections.size();
        for (Detection const& detection : echoes.detections) {
            EXPECT_NEAR(Tell(echoes, detection).depth, 30.0, 3.0) << "what is found is the bottom, at " << power;
            EXPECT_GE(detection.quality, 0.0F);
            EXPECT_LE(detection.quality, 1.0F);
        }
    }
    EXPECT_EQ(before, 0U) << "120 dB is below the noise in every beam";
}

TEST(Detections, AreMoreCertainTheLouderTheEcho)
{
    Sounder sounder = SounderOver("flat", 30.0, true, 2);
    PingSettings settings;
    settings.coverage = 90.0;
    PingEchoes echoes;
    double before = 0.0;
    for (double const power : {165.0, 180.0, 210.0}) {
        settings.power = power;
        ASSERT_FALSE(sounder.Hear(settings, 0.0, 1, echoes));
        ASSERT_FALSE(echoes.detections.empty());
        double sum = 0.0;
        for (Detection const& detection : echoes.detections) {
            sum += static_cast<double>(detection.quality);
        }
        double const mean = sum / static_cast<double>(echoes.detections.size());
        EXPECT_GT(mean, before) << power;
        before = mean;
    }
    EXPECT_GT(before, 0.9);
}

TEST(Detections, MultiDetectionFindsFishBesideTheBottom)
{
    Sounder sounder = SounderOver("fish", 30.0, true, 4);
    PingSettings settings;
    settings.power = 215.0;
    settings.coverage = 80.0;
    settings.beams = 128;
    settings.multiDetect = {.enabled = true, .objectSize = 1, .sensitivity = 5, .greatest = 3};
    auto const inWater = [&](PingSettings const& with) {
        PingEchoes echoes;
        int count = 0;
        for (int ping = 0; ping < 60; ++ping) {
            EXPECT_FALSE(sounder.Hear(with, ping * 0.5, ping, echoes));
            std::size_t ofBeam = 0;
            for (std::size_t i = 0; i < echoes.detections.size(); ++i) {
                Detection const& detection = echoes.detections[i];
                bool const isSame = i > 0 && echoes.detections[i - 1].beam == detection.beam;
                ofBeam = isSame ? ofBeam + 1 : 1;
                EXPECT_LE(ofBeam,
                          1U + static_cast<std::size_t>(with.multiDetect.enabled ? with.multiDetect.greatest : 0));
                EXPECT_TRUE(!isSame || detection.travelTime >= echoes.detections[i - 1].travelTime) << "by time";
                count += Tell(echoes, detection).depth < 27.0 ? 1 : 0;
            }
        }
        return count;
    };
    int const all = inWater(settings);
    EXPECT_GT(all, 30);
    PingSettings changed = settings;
    changed.multiDetect.sensitivity = 1;
    int const insensitive = inWater(changed);
    EXPECT_LT(insensitive, all / 2) << "what is barely above the noise is left out";
    changed = settings;
    changed.multiDetect.objectSize = 40;
    EXPECT_LT(inWater(changed), all * 3 / 4) << "what is small is averaged away";
    changed = settings;
    changed.multiDetect.greatest = 0;
    int const none = inWater(changed);
    changed.multiDetect.enabled = false;
    EXPECT_EQ(inWater(changed), none);
    EXPECT_LT(none, all / 4);
}

} // namespace
} // namespace qx5::acoustics
