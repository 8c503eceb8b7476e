// Handles in the fan: where they lie, what a drag makes of the settings, what is asked for.
#include "picture/fan_handles.h"
#include "picture/fan_overlay.h"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace picture::test {
namespace {

using testing::ElementsAre;

/// 100 m range, a swath of 120 degrees steered 10 to starboard, all gates on.
FanSettings AllOn()
{
    FanSettings settings;
    settings.range = 100.0;
    settings.coverage = 120.0;
    settings.steering = 10.0;
    settings.fanTilt = 2.0;
    settings.fanTurn = -1.5;
    settings.rangeGate = Gate{10.0, 80.0, true};
    settings.depthGate = Gate{20.0, 60.0, true};
    settings.search = Gate{15.0, 70.0, true};
    return settings;
}

FanLimits Limits()
{
    FanLimits limits;
    limits.ranges = {25.0, 50.0, 75.0, 100.0, 150.0, 200.0};
    limits.greatestRange = 200.0;
    limits.leastAngle = -70.0;
    limits.greatestAngle = 75.0;
    limits.leastTilt = -10.0;
    limits.greatestTilt = 10.0;
    limits.rangeGate = limits.depthGate = limits.search = {0.5, 2.0};
    return limits;
}

std::vector<Wish> WishesAfter(Handle handle, double value, FanSettings const& settings = AllOn())
{
    return WishesOf(WithValue(settings, Limits(), handle, value), handle);
}

TEST(Handles, LieOnWhatTheySet)
{
    auto settings = AllOn();
    Sector const sector = SectorOf(settings, {});
    EXPECT_EQ(sector.port, -50.0);
    EXPECT_EQ(sector.starboard, 70.0);
    auto const at = [&](Handle handle) { return PlaceOfHandle(settings, sector, 100.0, handle).value(); };
    EXPECT_NEAR(RangeOf(at(Handle::Range)), 100.0, 1e-9);
    EXPECT_NEAR(AngleOf(at(Handle::SectorPort)), -50.0, 1e-9);
    EXPECT_NEAR(AngleOf(at(Handle::SectorStarboard)), 70.0, 1e-9);
    EXPECT_NEAR(AngleOf(at(Handle::SectorMiddle)), 10.0, 1e-9);
    EXPECT_NEAR(RangeOf(at(Handle::MinRangeGate)), 10.0, 1e-9);
    EXPECT_NEAR(RangeOf(at(Handle::MaxRangeGate)), 80.0, 1e-9);
    EXPECT_NEAR(at(Handle::MinDepthGate).z, 20.0, 1e-9);
    EXPECT_NEAR(at(Handle::MaxSearch).z, 70.0, 1e-9);
    // With a tilt of 45 degrees the gate is a metre deeper for each metre to starboard.
    settings.depthGateTilt = 45.0;
    EXPECT_NEAR(at(Handle::MaxDepthGate).z - at(Handle::MaxDepthGate).x, 60.0, 1e-9);
    EXPECT_NEAR(at(Handle::DepthGateTilt).z - at(Handle::DepthGateTilt).x, 60.0, 1e-9);
    EXPECT_GT(at(Handle::DepthGateTilt).x, 0.0) << "at the starboard side";
}

TEST(Handles, AreThereForWhatActsAlone)
{
    auto settings = AllOn();
    settings.rangeGate->acts = false;
    settings.search->acts = false;
    settings.coverage.reset();
    for (Handle const handle : {Handle::MinRangeGate, Handle::MaxRangeGate, Handle::MinSearch, Handle::MaxSearch,
                                Handle::SectorPort, Handle::SectorMiddle, Handle::SectorStarboard}) {
        EXPECT_FALSE(ValueOf(settings, handle)) << TextOf(handle);
        EXPECT_FALSE(PlaceOfHandle(settings, {}, 100.0, handle)) << TextOf(handle);
        EXPECT_EQ(WithValue(settings, Limits(), handle, 30.0), settings) << TextOf(handle);
    }
    for (Handle const handle : allHandles) {
        EXPECT_TRUE(WishesOf(FanSettings(), handle).empty() || handle == Handle::DepthGateTilt);
        EXPECT_FALSE(ValueOf(FanSettings(), handle));
    }
}

TEST(Handles, AreHitByThemselvesAndByTheirLines)
{
    auto const settings = AllOn();
    Sector const sector = SectorOf(settings, {});
    auto const hit = [&](Place place) { return HandleAt(settings, sector, 100.0, place, 1.0); };
    EXPECT_EQ(hit(PlaceAt(10.0, 99.5)), Handle::Range);
    EXPECT_EQ(hit(PlaceAt(55.0, 100.4)), Handle::Range) << "anywhere on its arc";
    EXPECT_EQ(hit(PlaceAt(-50.3, 40.0)), Handle::SectorPort);
    EXPECT_EQ(hit(PlaceAt(70.3, 90.0)), Handle::SectorStarboard);
    EXPECT_EQ(hit(PlaceAt(35.0, 10.5)), Handle::MinRangeGate);
    EXPECT_EQ(hit({30.0, 20.4}), Handle::MinDepthGate);
    EXPECT_EQ(hit({30.0, 59.6}), Handle::DepthGateTilt) << "its handle lies on the line and goes first";
    EXPECT_EQ(hit({20.0, 59.6}), Handle::MaxDepthGate);
    EXPECT_EQ(hit({-10.0, 70.2}), Handle::MaxSearch);
    EXPECT_EQ(hit({-40.0, 30.0}), std::nullopt) << "open water";
    EXPECT_EQ(hit({0.0, 150.0}), std::nullopt);
}

TEST(Drags, AskForOneThingWithItsSign)
{
    EXPECT_THAT(WishesAfter(Handle::Range, 140.0), ElementsAre(Wish{Setting::Range, 150.0}));
    // The other end stays: -60 to 70 is 130 degrees about 5.
    EXPECT_THAT(WishesAfter(Handle::SectorPort, -60.0),
                ElementsAre(Wish{Setting::Coverage, 130.0}, Wish{Setting::Steering, 5.0}));
    EXPECT_THAT(WishesAfter(Handle::SectorStarboard, 30.0),
                ElementsAre(Wish{Setting::Coverage, 80.0}, Wish{Setting::Steering, -10.0}));
    EXPECT_THAT(WishesAfter(Handle::SectorMiddle, -5.0),
                ElementsAre(Wish{Setting::Coverage, 120.0}, Wish{Setting::Steering, -5.0}));
    EXPECT_THAT(WishesAfter(Handle::MinRangeGate, 12.34),
                ElementsAre(Wish{Setting::MinRangeGate, 123 * 0.1}, Wish{Setting::MaxRangeGate, 80.0}));
    EXPECT_THAT(WishesAfter(Handle::MaxDepthGate, 45.0),
                ElementsAre(Wish{Setting::MinDepthGate, 20.0}, Wish{Setting::MaxDepthGate, 45.0}));
    EXPECT_THAT(WishesAfter(Handle::MaxSearch, 50.0),
                ElementsAre(Wish{Setting::MinSearch, 15.0}, Wish{Setting::MaxSearch, 50.0}));
    EXPECT_THAT(WishesAfter(Handle::DepthGateTilt, -12.4), ElementsAre(Wish{Setting::DepthGateTilt, -12.0}));
    EXPECT_THAT(WishesAfter(Handle::FanTilt, 3.3), ElementsAre(Wish{Setting::FanTilt, 3.25, -1.5}));
}

TEST(Drags, ReadTheirValueFromThePlace)
{
    auto settings = AllOn();
    EXPECT_NEAR(ValueAt(settings, Handle::Range, {30.0, 40.0}), 50.0, 1e-9);
    EXPECT_NEAR(ValueAt(settings, Handle::SectorPort, {-10.0, 10.0}), -45.0, 1e-9);
    EXPECT_NEAR(ValueAt(settings, Handle::SectorStarboard, {10.0, 10.0}), 45.0, 1e-9);
    EXPECT_NEAR(ValueAt(settings, Handle::MinSearch, {-10.0, 33.0}), 33.0, 1e-9);
    EXPECT_NEAR(ValueAt(settings, Handle::MinDepthGate, {10.0, 25.0}), 25.0, 1e-9);
    settings.depthGateTilt = 45.0;
    EXPECT_NEAR(ValueAt(settings, Handle::MinDepthGate, {10.0, 35.0}), 25.0, 1e-9);
    // The starboard end of the line of 60 m is drawn 17.32 m down at 30 m: 30 degrees.
    EXPECT_NEAR(ValueAt(settings, Handle::DepthGateTilt, {30.0, 77.3205}), 30.0, 1e-4);
    EXPECT_NEAR(ValueAt(settings, Handle::DepthGateTilt, {30.0, 42.6795}), -30.0, 1e-4);
    // In the dial, forward is to the right.
    EXPECT_NEAR(ValueAt(settings, Handle::FanTilt, {10.0, 10.0}), 45.0, 1e-9);
}

TEST(Drags, HoldTheLimitsAsThePagesDo)
{
    // The gates' rule: what is drawn holds, the other side gives way by the least window of 2 m.
    EXPECT_THAT(WishesAfter(Handle::MinRangeGate, 199.5),
                ElementsAre(Wish{Setting::MinRangeGate, 198.0}, Wish{Setting::MaxRangeGate, 200.0}));
    EXPECT_THAT(WishesAfter(Handle::MaxRangeGate, 1.0),
                ElementsAre(Wish{Setting::MinRangeGate, 0.5}, Wish{Setting::MaxRangeGate, 2.5}));
    EXPECT_THAT(WishesAfter(Handle::MaxDepthGate, 900.0),
                ElementsAre(Wish{Setting::MinDepthGate, 20.0}, Wish{Setting::MaxDepthGate, 200.0}));
    EXPECT_THAT(WishesAfter(Handle::MinSearch, -3.0),
                ElementsAre(Wish{Setting::MinSearch, 0.5}, Wish{Setting::MaxSearch, 70.0}));
    EXPECT_THAT(WishesAfter(Handle::Range, 1e9), ElementsAre(Wish{Setting::Range, 200.0}));
    EXPECT_THAT(WishesAfter(Handle::Range, -4.0), ElementsAre(Wish{Setting::Range, 25.0}));
    EXPECT_THAT(WishesAfter(Handle::SectorPort, -170.0),
                ElementsAre(Wish{Setting::Coverage, 140.0}, Wish{Setting::Steering, 0.0}));
    EXPECT_THAT(WishesAfter(Handle::SectorPort, 120.0),
                ElementsAre(Wish{Setting::Coverage, 1.0}, Wish{Setting::Steering, 69.5}));
    EXPECT_THAT(WishesAfter(Handle::SectorMiddle, 60.0),
                ElementsAre(Wish{Setting::Coverage, 120.0}, Wish{Setting::Steering, 15.0}));
    EXPECT_THAT(WishesAfter(Handle::DepthGateTilt, 80.0), ElementsAre(Wish{Setting::DepthGateTilt, 30.0}));
    EXPECT_THAT(WishesAfter(Handle::FanTilt, -80.0), ElementsAre(Wish{Setting::FanTilt, -10.0, -1.5}));
    for (Handle const handle : allHandles) {
        EXPECT_EQ(WithValue(AllOn(), Limits(), handle, std::nan("")), AllOn()) << TextOf(handle);
    }
}

TEST(Drags, StepByKeys)
{
    auto const stepped = [](Handle handle, int steps, bool isLarge) {
        return ValueOf(WithStep(AllOn(), Limits(), handle, steps, isLarge), handle).value();
    };
    EXPECT_EQ(stepped(Handle::Range, 1, false), 150.0);
    EXPECT_EQ(stepped(Handle::Range, -1, false), 75.0);
    EXPECT_EQ(stepped(Handle::Range, 1, true), 200.0) << "the last one";
    EXPECT_NEAR(stepped(Handle::MinRangeGate, 1, false), 10.1, 1e-9);
    EXPECT_NEAR(stepped(Handle::MinRangeGate, 1, true), 11.0, 1e-9);
    EXPECT_NEAR(stepped(Handle::SectorMiddle, -1, false), 9.5, 1e-9);
    EXPECT_EQ(stepped(Handle::DepthGateTilt, -1, false), -1.0);
    EXPECT_EQ(stepped(Handle::FanTilt, 1, false), 2.25);
}

TEST(FanOverlay, DrawsRingsAtRoundRanges)
{
    EXPECT_DOUBLE_EQ(RingStep(100.0), 20.0);
    EXPECT_DOUBLE_EQ(RingStep(50.0), 10.0);
    EXPECT_DOUBLE_EQ(RingStep(30.0), 5.0);
    EXPECT_DOUBLE_EQ(RingStep(2.5), 0.5);
    EXPECT_DOUBLE_EQ(RingStep(15000.0), 2000.0);
    FanOverlay overlay;
    overlay.Build(FanSettings(), {-60.0, 60.0}, 100.0);
    std::vector<double> rings;
    for (Stroke const& stroke : overlay.Strokes()) {
        if (stroke.kind == StrokeKind::Ring) {
            rings.push_back(stroke.value);
            for (Place const& place : overlay.Points(stroke)) {
                EXPECT_NEAR(RangeOf(place), stroke.value, 1e-9);
                EXPECT_LE(std::abs(AngleOf(place)), 60.0 + 1e-9);
            }
        }
    }
    EXPECT_THAT(rings, ElementsAre(20.0, 40.0, 60.0, 80.0));
}

TEST(FanOverlay, DrawsTheDepthGateWithItsTilt)
{
    FanSettings settings;
    settings.depthGate = Gate{20.0, 40.0, true};
    settings.depthGateTilt = 10.0;
    FanOverlay overlay;
    overlay.Build(settings, {-60.0, 60.0}, 100.0);
    int lines = 0;
    for (Stroke const& stroke : overlay.Strokes()) {
        if (stroke.kind != StrokeKind::DepthGate) {
            continue;
        }
        ++lines;
        for (Place const& place : overlay.Points(stroke)) {
            EXPECT_NEAR(place.z, stroke.value + place.x * 0.1763269807, 1e-6) << "deeper to starboard";
            EXPECT_LE(RangeOf(place), 100.0 + 1e-9);
        }
    }
    EXPECT_EQ(lines, 2);
    settings.depthGate->acts = false;
    overlay.Build(settings, {-60.0, 60.0}, 100.0);
    for (Stroke const& stroke : overlay.Strokes()) {
        EXPECT_NE(stroke.kind, StrokeKind::DepthGate);
    }
}

TEST(FanOverlay, DrawsNothingOfWhatIsNoRange)
{
    FanOverlay overlay;
    for (double const range : {0.0, -3.0, std::nan(""), HUGE_VAL}) {
        overlay.Build(AllOn(), {-60.0, 60.0}, range);
        EXPECT_TRUE(overlay.Strokes().empty()) << range;
    }
}

} // namespace
} // namespace picture::test
