// The fan: a loud sample is painted where trigonometry says, whatever the picture's size and the ping's shape.
#include "made_pings.h"

#include "picture/polar_map.h"
#include "picture/scene.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace picture::test {
namespace {

constexpr Colour ground = 0xFF112233U;

/// Pixels of their own.
struct Paper
{
    Paper(int width, int height)
        : pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0xFF0000FFU),
          canvas(pixels.data(), width, height, width)
    {
    }
    std::vector<Colour> pixels;
    Canvas canvas;
};

Palette Ramp()
{
    Palette ramp{};
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        ramp[i] = 0xFF000000U | static_cast<Colour>(i);
    }
    return ramp;
}

TEST(PolarMap, PaintsALoudSampleWhereTrigonometrySays)
{
    // 91 beams from -45 to 45 degrees, one degree wide each, 100 samples of 1 m; 5 pixels for a metre.
    MadeWater water(Evenly(91, -45.0, 45.0), 100);
    BeamFan fan;
    fan.SetAngles(water.ping.angles);
    FanView const view{500.0, 10.0, 5.0};
    PolarMap map;
    Paper paper(1000, 520);
    EXPECT_TRUE(map.Fit(1000, 520, view, fan, 100, 1.0));
    for (auto const& [beam, sample] : {std::pair{45, 50}, {75, 80}, {15, 40}, {90, 99}, {0, 98}, {60, 20}}) {
        std::fill(water.bytes.begin(), water.bytes.end(), std::uint8_t{1});
        water.At(static_cast<std::size_t>(beam), static_cast<std::size_t>(sample)) = 200;
        map.Paint(paper.canvas, water.ping.levels, Ramp(), ground);
        // By hand: the sample's middle is at sample + 1/2 metres, in the beam's own direction.
        double const angle = (beam - 45.0) * 3.141592653589793 / 180.0;
        int const x = static_cast<int>(std::floor(500.0 + 5.0 * (sample + 0.5) * std::sin(angle)));
        int const y = static_cast<int>(std::floor(10.0 + 5.0 * (sample + 0.5) * std::cos(angle)));
        EXPECT_EQ(paper.canvas.At(x, y), 0xFF0000C8U) << beam << " " << sample;
        // And nowhere else: a cell of 1 m by 1 degree takes at most 5 by (sample + 1) * 5 * pi / 180 pixels, and rims.
        std::size_t loud = 0;
        double farthest = 0.0;
        for (int row = 0; row < 520; ++row) {
            for (int column = 0; column < 1000; ++column) {
                if (paper.canvas.At(column, row) == 0xFF0000C8U) {
                    ++loud;
                    farthest = std::max(farthest, std::hypot(column - x, row - y));
                }
            }
        }
        double const area = 25.0 * (sample + 0.5) * 3.141592653589793 / 180.0;
        EXPECT_NEAR(static_cast<double>(loud), area, 0.25 * area + 4.0) << beam << " " << sample;
        EXPECT_LT(farthest, 8.0);
    }
}

TEST(PolarMap, LeavesTheGroundBeyondTheFan)
{
    MadeWater water(Evenly(91, -45.0, 45.0), 100);
    std::fill(water.bytes.begin(), water.bytes.end(), std::uint8_t{7});
    BeamFan fan;
    fan.SetAngles(water.ping.angles);
    PolarMap map;
    Paper paper(1000, 520);
    map.Fit(1000, 520, {500.0, 10.0, 5.0}, fan, 100, 1.0);
    map.Paint(paper.canvas, water.ping.levels, Ramp(), ground);
    auto const at = [&](double angle, double range) {
        double const radians = angle * 3.141592653589793 / 180.0;
        return paper.canvas.At(static_cast<int>(500.0 + 5.0 * range * std::sin(radians)),
                               static_cast<int>(10.0 + 5.0 * range * std::cos(radians)));
    };
    // Outer beams reach half a degree beyond their own angle.
    EXPECT_EQ(at(0.0, 99.5), 0xFF000007U);
    EXPECT_EQ(at(0.0, 100.5), ground);
    EXPECT_EQ(at(45.3, 90.0), 0xFF000007U);
    EXPECT_EQ(at(45.9, 90.0), ground);
    EXPECT_EQ(at(-45.3, 90.0), 0xFF000007U);
    EXPECT_EQ(at(-45.9, 90.0), ground);
    EXPECT_EQ(paper.canvas.At(0, 0), ground);
    EXPECT_EQ(paper.canvas.At(999, 519), ground);
}

TEST(PolarMap, ReachesAboveTheSonarWhereBeamsDo)
{
    MadeWater water(Evenly(13, -120.0, 120.0), 50); // every 20 degrees
    BeamFan fan;
    fan.SetAngles(water.ping.angles);
    PolarMap map;
    Paper paper(600, 600);
    map.Fit(600, 600, {300.0, 300.0, 5.0}, fan, 50, 1.0);
    water.At(12, 40) = 9; // 120 degrees to starboard: 30 degrees above the horizon
    map.Paint(paper.canvas, water.ping.levels, Ramp(), ground);
    // 40.5 m at 120 degrees: 35.07 m to starboard, 20.25 m up.
    EXPECT_EQ(paper.canvas.At(475, 198), 0xFF000009U);
    EXPECT_EQ(paper.canvas.At(300, 100), ground) << "straight up no beam looks";
}

TEST(PolarMap, IsWorkedOutAnewOnlyWhenSomethingDiffers)
{
    MadeWater water(Evenly(11, -50.0, 50.0), 10);
    BeamFan fan;
    fan.SetAngles(water.ping.angles);
    PolarMap map;
    FanView view{50.0, 0.0, 5.0};
    EXPECT_TRUE(map.Fit(100, 60, view, fan, 10, 1.0));
    EXPECT_FALSE(map.Fit(100, 60, view, fan, 10, 1.0));
    EXPECT_TRUE(map.Fit(101, 60, view, fan, 10, 1.0));
    EXPECT_TRUE(map.Fit(101, 60, view, fan, 10, 1.01)) << "another sound velocity";
    view.pixelsPerMetre = 6.0;
    EXPECT_TRUE(map.Fit(101, 60, view, fan, 10, 1.01));
    fan.SetAngles(Evenly(11, -50.0, 51.0));
    EXPECT_TRUE(map.Fit(101, 60, view, fan, 10, 1.01));
    EXPECT_FALSE(map.Fit(101, 60, view, fan, 10, 1.01));
}

TEST(PolarMap, PaintsTheGroundAloneForWhatCannotBe)
{
    BeamFan fan;
    PolarMap map;
    Paper paper(40, 30);
    Palette const ramp = Ramp();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinite = std::numeric_limits<double>::infinity();
    auto const isGround = [&] {
        map.Paint(paper.canvas, {}, ramp, ground);
        bool const all = std::all_of(paper.pixels.begin(), paper.pixels.end(), [](Colour c) { return c == ground; });
        std::fill(paper.pixels.begin(), paper.pixels.end(), 0U);
        return all;
    };
    map.Fit(40, 30, {20.0, 0.0, 1.0}, fan, 10, 1.0);
    EXPECT_TRUE(isGround()) << "no beams";
    fan.SetAngles(Evenly(5, -40.0, 40.0));
    for (double const bad : {0.0, -1.0, nan, infinite}) {
        map.Fit(40, 30, {20.0, 0.0, 1.0}, fan, 10, bad);
        EXPECT_TRUE(isGround()) << bad;
        map.Fit(40, 30, {20.0, 0.0, bad}, fan, 10, 1.0);
        EXPECT_TRUE(isGround()) << bad;
    }
    map.Fit(40, 30, {nan, 0.0, 1.0}, fan, 10, 1.0);
    EXPECT_TRUE(isGround());
    map.Fit(40, 30, {20.0, 0.0, 1.0}, fan, 10, 1.0);
    EXPECT_TRUE(isGround()) << "fewer levels than the fan has";
}

TEST(PeakLevels, KeepsTheStrongestOfEach)
{
    // Two beams of five samples, two at a time: three to a beam, the last of one sample alone.
    std::vector<std::uint8_t> const levels{1, 9, 3, 4, 5, 7, 2, 8, 8, 6};
    PeakLevels peaks;
    auto const taken = peaks.Take(levels, 5, 2);
    EXPECT_EQ(std::vector<std::uint8_t>(taken.begin(), taken.end()), (std::vector<std::uint8_t>{9, 4, 5, 7, 8, 6}));
    EXPECT_EQ(peaks.Take(levels, 5, 1).data(), levels.data()) << "nothing is copied for nothing";
}

TEST(BeamFan, CoversHalfWayToItsNeighbours)
{
    BeamFan fan;
    EXPECT_EQ(fan.BeamAt(0.0), BeamFan::none);
    fan.SetAngles(std::vector<float>{-10.0F, 0.0F, 4.0F});
    EXPECT_EQ(fan.BeamAt(-15.1), BeamFan::none);
    EXPECT_EQ(fan.BeamAt(-14.9), 0U);
    EXPECT_EQ(fan.BeamAt(-5.1), 0U);
    EXPECT_EQ(fan.BeamAt(-4.9), 1U);
    EXPECT_EQ(fan.BeamAt(1.9), 1U);
    EXPECT_EQ(fan.BeamAt(2.1), 2U);
    EXPECT_EQ(fan.BeamAt(5.9), 2U);
    EXPECT_EQ(fan.BeamAt(6.1), BeamFan::none);
    EXPECT_EQ(fan.BeamAt(std::numeric_limits<double>::quiet_NaN()), BeamFan::none);
}

/// Panes of all kinds on a scene of one ping.
class Panes : public testing::Test
{
protected:
    Panes()
    {
        scene.history = &history;
        scene.profile = &history.profile;
        scene.limits = &limits;
        scene.glyphs = &glyphs;
        glyphs.height = 10;
        glyphs.cover.assign(60, 255);
        for (auto& glyph : glyphs.glyphs) {
            glyph = {0, 6, 0, 7};
        }
    }

    void PaintAll(int width, int height)
    {
        Paper paper(width, height);
        FanPane fan;
        WaterfallPane waterfall;
        ProfilePane profile;
        MapPane map;
        BeamPane beam;
        for (Pane* const pane : std::initializer_list<Pane*>{&fan, &waterfall, &profile, &map, &beam}) {
            for (double const factor : {1.0, 8.0, 1e-9, 1e12, std::numeric_limits<double>::quiet_NaN()}) {
                pane->Zoom(factor, {width / 3.0, height / 3.0});
                pane->Move(3.0, -4.0);
                scene.cursor = Spot{width / 2.0, height / 2.0};
                pane->Paint(paper.canvas, scene);
                Label label;
                pane->Describe(scene, {-1.0, 1e9}, label);
            }
            pane->ShowAll();
            pane->Paint(paper.canvas, scene);
            // All of it was painted: no pixel is left as it was.
            EXPECT_EQ(std::count(paper.pixels.begin(), paper.pixels.end(), 0xFF0000FFU), 0) << width << "x" << height;
            std::fill(paper.pixels.begin(), paper.pixels.end(), 0xFF0000FFU);
        }
    }

    History history;
    FanLimits limits;
    GlyphSheet glyphs;
    Scene scene;
};

TEST_F(Panes, PaintAnySize)
{
    MadeWater water(Evenly(64, -60.0, 60.0), 200);
    DetectionPing detections;
    detections.detections = {{0, -60.0F, 40.0F, 90.0F, 1.0F}, {63, 60.0F, 40.0F, 90.0F, 0.2F}};
    history.Take(water.ping);
    history.Take(detections);
    scene.water = &water.ping;
    scene.detections = &detections;
    scene.settings.range = 200.0;
    scene.settings.fanTilt = 3.0;
    PaintAll(1, 1);
    PaintAll(2, 900);
    PaintAll(641, 7);
    PaintAll(1200, 700);
}

TEST_F(Panes, PaintWithoutBeamsAndWithThousands)
{
    PaintAll(300, 200); // nothing was heard
    MadeWater none({}, 0);
    scene.water = &none.ping;
    history.Take(none.ping);
    PaintAll(300, 200);
    MadeWater many(Evenly(4096, -75.0, 75.0), 300);
    history.Take(many.ping);
    scene.water = &many.ping;
    PaintAll(300, 200);
    MadeWater one({12.0F}, 50);
    history.Take(one.ping);
    scene.water = &one.ping;
    PaintAll(300, 200);
}

TEST_F(Panes, PaintSettingsThatAreNoNumbers)
{
    MadeWater water(Evenly(64, -60.0, 60.0), 200);
    scene.water = &water.ping;
    for (double const bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -5.0, 0.0, 1e300}) {
        scene.settings.range = bad;
        scene.settings.coverage = bad;
        scene.settings.steering = bad;
        scene.settings.fanTilt = bad;
        scene.settings.depthGateTilt = bad;
        scene.settings.rangeGate = scene.settings.depthGate = scene.settings.search = Gate{bad, bad, true};
        PaintAll(320, 240);
    }
}

TEST_F(Panes, PaintALevelByItsScale)
{
    // 80 dB and more is the last colour, 20 dB and less the first: a byte is half a decibel.
    MadeWater water(Evenly(21, -10.0, 10.0), 100);
    std::fill(water.bytes.begin(), water.bytes.end(), std::uint8_t{40});
    water.At(10, 60) = 160;
    scene.water = &water.ping;
    scene.scale = {20.0, 80.0};
    Paper paper(400, 400);
    FanPane fan;
    fan.Paint(paper.canvas, scene);
    auto const& palette = PaletteOf(scene.palette);
    Spot const loud{fan.View().XOf(PlaceAt(0.0, 60.5)), fan.View().YOf(PlaceAt(0.0, 60.5))};
    EXPECT_EQ(paper.canvas.At(static_cast<int>(loud.x), static_cast<int>(loud.y)), palette[255]);
    Spot const quiet{fan.View().XOf(PlaceAt(2.5, 50.0)), fan.View().YOf(PlaceAt(2.5, 50.0))};
    EXPECT_EQ(paper.canvas.At(static_cast<int>(quiet.x), static_cast<int>(quiet.y)), palette[0]);
    Label label;
    fan.Describe(scene, loud, label);
    EXPECT_EQ(label.Text(), "range 60.5 m, angle 0.0\xB0 starboard, depth 60.5 m, 80.0 dB");
}

TEST_F(Panes, KeepTheSpotUnderTheCursorWhenZoomed)
{
    MadeWater water(Evenly(21, -10.0, 10.0), 100);
    scene.water = &water.ping;
    Paper paper(400, 300);
    FanPane fan;
    fan.Paint(paper.canvas, scene);
    Place const before = fan.View().PlaceOf(260.0, 170.0);
    double const scale = fan.View().pixelsPerMetre;
    fan.Zoom(2.0, {260.0, 170.0});
    fan.Paint(paper.canvas, scene);
    Place const after = fan.View().PlaceOf(260.0, 170.0);
    EXPECT_NEAR(after.x, before.x, 1e-9);
    EXPECT_NEAR(after.z, before.z, 1e-9);
    EXPECT_NEAR(fan.View().pixelsPerMetre, 2.0 * scale, 1e-9);
    fan.ShowAll();
    fan.Paint(paper.canvas, scene);
    EXPECT_NEAR(fan.View().pixelsPerMetre, scale, 1e-9);
}

} // namespace
} // namespace picture::test
