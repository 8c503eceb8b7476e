// The tracker: what it sets for which switch, within which limits, and that it comes to rest.
#include <simulator/acoustics/sounder.h>
#include <simulator/acoustics/tracker.h>
#include <simulator/acoustics/water.h>

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

TrackerLimits Limits()
{
    TrackerLimits limits;
    limits.ranges = {5, 10, 20, 30, 40, 50, 75, 100, 150, 200, 300};
    limits.pulseLengths = {33e-6, 50e-6, 75e-6, 100e-6, 150e-6, 200e-6, 300e-6};
    limits.power = {170.0, 220.0};
    limits.gain = {0.0, 83.0};
    return limits;
}

TrackerSwitches All()
{
    return {.on = true, .range = true, .powerAndGain = true, .pulseLength = true, .coverage = true};
}

void Take(TrackedSettings const& tracked, PingSettings& settings)
{
    settings.range = tracked.range;
    settings.power = tracked.power;
    settings.receiver.gain = tracked.gain;
    settings.receiver.absorption = tracked.absorption;
    settings.receiver.spreading = tracked.spreading;
    settings.pulseLength = tracked.pulseLength;
    settings.coverage = tracked.coverage;
}

TrackedSettings AsTheyAre(PingSettings const& settings)
{
    return {settings.range,
            settings.power,
            settings.receiver.gain,
            settings.receiver.absorption,
            settings.receiver.spreading,
            settings.pulseLength,
            settings.coverage};
}

/// So many pings over level sand, each with what the tracker made of the one before.
PingSettings Tracked(PingSettings settings, TrackerSwitches const& switches, double depth, int pings,
                     PingEchoes* last = nullptr)
{
    auto const scene = Scene::OfName("flat", depth, 1);
    Sounder sounder(*scene, Ship({.calm = true}, 1), {}, 1);
    Tracker tracker;
    PingEchoes echoes;
    for (int ping = 0; ping < pings; ++ping) {
        EXPECT_FALSE(sounder.Hear(settings, ping * 0.1, ping, echoes));
        Take(tracker.Next(echoes, settings, switches, Limits()), settings);
    }
    if (last != nullptr) {
        *last = echoes;
    }
    return settings;
}

PingSettings Begin()
{
    PingSettings settings;
    settings.beams = 128;
    settings.samples = 400;
    settings.coverage = 100.0;
    settings.power = 200.0;
    return settings;
}

TEST(TrackerTest, SetsNothingThatItsSwitchesAreNotOnFor)
{
    PingSettings settings = Begin();
    settings.range = 300.0;
    settings.power = 220.0;
    TrackerSwitches off = All();
    off.on = false;
    EXPECT_EQ(AsTheyAre(Tracked(settings, off, 20.0, 5)), AsTheyAre(settings));
    EXPECT_EQ(AsTheyAre(Tracked(settings, {.on = true}, 20.0, 5)), AsTheyAre(settings));
    TrackedSettings const ranged = AsTheyAre(Tracked(settings, {.on = true, .range = true}, 20.0, 5));
    TrackedSettings expected = AsTheyAre(settings);
    expected.range = ranged.range;
    EXPECT_EQ(ranged, expected);
    EXPECT_LT(ranged.range, 300.0);
}

TEST(TrackerTest, TakesTheRangeThatTheBottomNeeds)
{
    for (double const begin : {20.0, 50.0, 300.0}) {
        PingSettings settings = Begin();
        settings.range = begin;
        // At 20 m, 50 degrees: 31.1 m; with a fifth to spare 37.3.
        PingSettings const tracked = Tracked(settings, {.on = true, .range = true}, 20.0, 40);
        EXPECT_GE(tracked.range, 40.0) << begin;
        EXPECT_LE(tracked.range, 50.0) << begin;
        EXPECT_EQ(Tracked(tracked, {.on = true, .range = true}, 20.0, 10).range, tracked.range) << "it is at rest";
    }
}

TEST(TrackerTest, BringsPowerAndGainToWhereTheEchoIsHeardAndNotCut)
{
    struct Start
    {
        double power;
        double gain;
    };
    for (Start const start : {Start{170.0, 0.0}, Start{220.0, 83.0}, Start{200.0, 30.0}}) {
        PingSettings settings = Begin();
        settings.range = 75.0;
        settings.power = start.power;
        settings.receiver.gain = start.gain;
        settings.receiver.absorption = 0.0;
        settings.receiver.spreading = 60.0;
        PingEchoes last;
        PingSettings const tracked = Tracked(settings, {.on = true, .powerAndGain = true}, 30.0, 80, &last);
        EXPECT_GE(tracked.power, 170.0);
        EXPECT_LE(tracked.power, 220.0);
        EXPECT_EQ(tracked.receiver.spreading, 30.0);
        EXPECT_EQ(tracked.receiver.absorption, *AbsorptionFrancoisGarrison(200e3, {}));
        ASSERT_GT(last.detections.size(), 100U) << start.power;
        double sum = 0.0;
        for (Detection const& detection : last.detections) {
            sum += static_cast<double>(detection.level);
        }
        double const mean = sum / static_cast<double>(last.detections.size());
        EXPECT_GT(mean, 150.0) << start.power;
        EXPECT_LT(mean, 185.0) << start.power << ": well below full scale at 200";
    }
}

TEST(TrackerTest, TakesALongerPulseTheDeeperItIs)
{
    PingSettings settings = Begin();
    settings.range = 150.0;
    settings.power = 220.0;
    // c x pulse / 2 of a four hundredth of the depth: 33 us at 10 m, 100 us at 30 m, 200 us at 58 m.
    EXPECT_EQ(Tracked(settings, {.on = true, .pulseLength = true}, 9.5, 5).pulseLength, 33e-6);
    EXPECT_EQ(Tracked(settings, {.on = true, .pulseLength = true}, 29.0, 5).pulseLength, 100e-6);
    EXPECT_EQ(Tracked(settings, {.on = true, .pulseLength = true}, 58.0, 5).pulseLength, 200e-6);
}

TEST(TrackerTest, KeepsAFixedSwathAndTheGreatestCoverage)
{
    PingSettings settings = Begin();
    settings.power = 215.0;
    TrackerSwitches switches{.on = true, .coverage = true, .fixedSwath = true, .swathWidth = 60.0};
    // 2 atan(30 / 30).
    EXPECT_NEAR(Tracked(settings, switches, 30.0, 20).coverage, 90.0, 0.5);
    // 2 atan(30 / 15) = 126.9.
    EXPECT_NEAR(Tracked(settings, switches, 15.0, 20).coverage, 126.9, 1.0);
    switches.limitCoverage = true;
    switches.greatestCoverage = 100.0;
    EXPECT_EQ(Tracked(settings, switches, 15.0, 20).coverage, 100.0);
    // Without a fixed swath it opens as long as the outermost beams find the bottom, as far as it may.
    switches.fixedSwath = false;
    settings.coverage = 60.0;
    EXPECT_EQ(Tracked(settings, switches, 15.0, 60).coverage, 100.0);
    // And closes where they do not: at 15 m and a range of 30 the bottom ends at 60 degrees.
    switches.limitCoverage = false;
    settings.coverage = 140.0;
    settings.range = 30.0;
    double const closed = Tracked(settings, switches, 15.0, 60).coverage;
    EXPECT_LT(closed, 132.0);
    EXPECT_GT(closed, 100.0);
}

TEST(TrackerTest, LooksFurtherAndLouderWhenTheBottomIsLost)
{
    PingSettings settings = Begin();
    settings.range = 20.0;
    settings.power = 180.0;
    auto const scene = Scene::OfName("flat", 60.0, 1);
    Sounder sounder(*scene, Ship({.calm = true}, 1), {}, 1);
    Tracker tracker;
    PingEchoes echoes;
    ASSERT_FALSE(sounder.Hear(settings, 0.0, 1, echoes));
    TrackedSettings const next = tracker.Next(echoes, settings, All(), Limits());
    EXPECT_EQ(next.range, 30.0) << "the next that is offered";
    EXPECT_EQ(next.power, 180.0);
    EXPECT_EQ(next.gain, 23.0) << "noise itself lies below what the converter tells apart";
    settings.receiver.gain = 60.0;
    ASSERT_FALSE(sounder.Hear(settings, 0.0, 1, echoes));
    EXPECT_EQ(tracker.Next(echoes, settings, All(), Limits()).power, 183.0);
    EXPECT_EQ(tracker.Next(echoes, settings, All(), Limits()).gain, 60.0);
    EXPECT_EQ(next.coverage, settings.coverage);
    // Within its limits for ever.
    settings.range = 300.0;
    settings.power = 219.0;
    settings.receiver.gain = 0.0;
    settings.gates = {.byRange = true, .range = {1.0, 2.0}};
    ASSERT_FALSE(sounder.Hear(settings, 0.0, 1, echoes));
    EXPECT_TRUE(echoes.detections.empty());
    EXPECT_EQ(tracker.Next(echoes, settings, All(), Limits()).range, 300.0);
    EXPECT_EQ(tracker.Next(echoes, settings, All(), Limits()).power, 220.0);
    // From a ping that has heard nothing at all nothing follows, and without limits neither.
    EXPECT_EQ(tracker.Next({}, settings, All(), Limits()), AsTheyAre(settings));
    TrackedSettings const unlimited = tracker.Next(echoes, settings, All(), {});
    EXPECT_EQ(unlimited.range, settings.range);
    EXPECT_EQ(unlimited.pulseLength, settings.pulseLength);
}

} // namespace
} // namespace qx5::acoustics
