// What lasts longer than a ping: waterfall, profile, the trace of a beam, labels.
#include "made_pings.h"

#include "picture/beam_trace.h"
#include "picture/canvas.h"
#include "picture/profile.h"
#include "picture/sounding.h"
#include "picture/waterfall.h"

#include <cmath>

#include <gtest/gtest.h>

namespace picture::test {
namespace {

TEST(Waterfall, KeepsTheStrongestOfEachSide)
{
    // Four beams; 1024 samples, two for each of the 512 columns of a side.
    MadeWater water({-30.0F, -10.0F, 10.0F, 30.0F}, 1024);
    water.At(0, 100) = 50;
    water.At(1, 101) = 60; // the same column, stronger
    water.At(2, 0) = 70;
    water.At(3, 1023) = 80;
    water.ping.number = 41;
    Waterfall waterfall;
    EXPECT_EQ(waterfall.Count(), 0U);
    waterfall.Add(water.ping);
    ASSERT_EQ(waterfall.Count(), 1U);
    auto const& row = waterfall.At(0);
    EXPECT_EQ(row.number, 41);
    EXPECT_EQ(row.range, 1024.0);
    // Column 50 to port from the middle outwards, the first and the last to starboard.
    EXPECT_EQ(row.levels[511 - 50], 60);
    EXPECT_EQ(row.levels[512], 70);
    EXPECT_EQ(row.levels[1023], 80);
    EXPECT_EQ(std::count(row.levels, row.levels + 1024, 0), 1021);
    EXPECT_EQ(Waterfall::ColumnAt(row, -101.0), 461U);
    EXPECT_EQ(Waterfall::ColumnAt(row, 0.0), 512U);
    EXPECT_EQ(Waterfall::ColumnAt(row, 1023.9), 1023U);
    EXPECT_EQ(Waterfall::ColumnAt(row, 1024.1), 1024U) << "beyond the row";
}

TEST(Waterfall, FallsAndForgets)
{
    Waterfall waterfall;
    MadeWater water({-10.0F, 10.0F}, 4);
    for (int ping = 0; ping < 3000; ++ping) {
        water.ping.number = ping;
        waterfall.Add(water.ping);
    }
    EXPECT_EQ(waterfall.Count(), 2048U);
    EXPECT_EQ(waterfall.At(0).number, 2999);
    EXPECT_EQ(waterfall.At(1).number, 2998);
    EXPECT_EQ(waterfall.At(2047).number, 952);
    waterfall.Clear();
    EXPECT_EQ(waterfall.Count(), 0U);
}

TEST(Waterfall, PaintsTheNewestAtTheTop)
{
    Waterfall waterfall;
    MadeWater water({-10.0F, 10.0F}, 512);
    std::vector<Colour> pixels(200 * 6);
    Canvas canvas(pixels.data(), 200, 6, 200);
    // Ping after ping an echo at 25.5 m to starboard, 10 dB stronger each time.
    for (int ping = 1; ping <= 3; ++ping) {
        std::fill(water.bytes.begin(), water.bytes.end(), std::uint8_t{0});
        for (std::size_t sample = 250; sample < 262; ++sample) {
            water.At(1, sample) = static_cast<std::uint8_t>(20 * ping);
        }
        waterfall.Add(water.ping);
    }
    auto const& grey = PaletteOf(PaletteName::Grey);
    constexpr Colour ground = 0xFF010203U;
    waterfall.Paint(canvas, 512.0, 2, 0, {0.0, 127.5}, PaletteName::Grey, ground);
    // 256 m of 512 to starboard: three quarters of the width. A byte of 20 is 10 dB, 256 * 10 / 127.5 = entry 20.
    EXPECT_EQ(canvas.At(150, 0), grey[60]);
    EXPECT_EQ(canvas.At(150, 1), grey[60]) << "a ping is two pixels high";
    EXPECT_EQ(canvas.At(150, 2), grey[40]);
    EXPECT_EQ(canvas.At(150, 4), grey[20]);
    EXPECT_EQ(canvas.At(50, 0), grey[0]) << "nothing to port";
    waterfall.Paint(canvas, 512.0, 2, 2, {0.0, 127.5}, PaletteName::Grey, ground);
    EXPECT_EQ(canvas.At(150, 0), grey[20]) << "two pings back";
    EXPECT_EQ(canvas.At(150, 2), ground) << "and nothing before";
    waterfall.Paint(canvas, 1024.0, 2, 0, {0.0, 127.5}, PaletteName::Grey, ground);
    EXPECT_EQ(canvas.At(125, 0), grey[60]) << "half as large";
    EXPECT_EQ(canvas.At(10, 0), ground) << "farther than was heard";
}

TEST(Sounding, LiesWhereTheBeamMeetsTheBottom)
{
    DetectionPing ping;
    ping.pose = {1000.0, 2000.0, 3.0, 90.0, 0.0, 0.0, 0.5};
    // 30 degrees to starboard, 20 m: 10 m across, 17.3205 m down. On an eastern course starboard is south.
    auto at = Locate(ping, {0, 30.0F, 20.0F, 0.0F, 1.0F});
    EXPECT_NEAR(at.across, 10.0, 1e-6);
    EXPECT_NEAR(at.along, 0.0, 1e-9);
    EXPECT_NEAR(at.down, 17.320508, 1e-6);
    EXPECT_NEAR(at.east, 1000.0, 1e-6);
    EXPECT_NEAR(at.north, 1990.0, 1e-6);
    EXPECT_NEAR(at.depth, 3.0 + 17.320508, 1e-6) << "the depth of the sonar has the heave in it";
    // The fan is steered 30 degrees forward: half of what was down is ahead, in the east.
    ping.steering = 30.0;
    at = Locate(ping, {0, 0.0F, 20.0F, 0.0F, 1.0F});
    EXPECT_NEAR(at.along, 10.0, 1e-6);
    EXPECT_NEAR(at.down, 17.320508, 1e-6);
    EXPECT_NEAR(at.east, 1010.0, 1e-6);
    EXPECT_NEAR(at.north, 2000.0, 1e-6);
}

TEST(Sounding, LiesWhereBothConesMeet)
{
    DetectionPing ping;
    ping.steering = 30.0;
    ping.pose.roll = 10.0; // in the angles, as they are told
    ping.pose.pitch = 5.0;
    // 30 degrees either way, 20 m: 10 m across, 10 m ahead, and 20 * sqrt(1 - 1/4 - 1/4) = 14.1421 m down.
    auto const at = Locate(ping, {0, 30.0F, 20.0F, 0.0F, 1.0F});
    EXPECT_NEAR(at.across, 10.0, 1e-6);
    EXPECT_NEAR(at.along, 10.0, 1e-6);
    EXPECT_NEAR(at.down, 14.142136, 1e-5);
    // A beam that points nowhere: the cones do not meet.
    EXPECT_EQ(Locate(ping, {0, 80.0F, 20.0F, 0.0F, 1.0F}).down, 0.0);
}

TEST(Profile, KeepsTheLastTwenty)
{
    Profile profile;
    DetectionPing ping;
    for (int i = 0; i < 25; ++i) {
        ping.detections = {{7, 0.0F, static_cast<float>(10 + i), 80.0F, 1.0F}};
        profile.Add(ping);
    }
    ASSERT_EQ(profile.Count(), 20U);
    ASSERT_EQ(profile.At(0).size(), 1U);
    EXPECT_FLOAT_EQ(profile.At(0)[0].down, 34.0F);
    EXPECT_FLOAT_EQ(profile.At(19)[0].down, 15.0F);
    EXPECT_FLOAT_EQ(profile.At(0)[0].level, 80.0F);
}

TEST(BeamTrace, ShowsLeastAndGreatestOfEachColumn)
{
    MadeWater water({0.0F, 10.0F}, 8); // half a decibel to a byte
    std::vector<std::uint8_t> const levels{10, 20, 4, 8, 30, 30, 2, 6};
    std::copy(levels.begin(), levels.end(), water.bytes.begin() + 8);
    water.ping.noise = {1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F, 8.0F};
    BeamTrace trace;
    auto const columns = trace.Levels(water.ping, 1, 4);
    ASSERT_EQ(columns.size(), 4U);
    EXPECT_EQ(columns[0].least, 5.0);
    EXPECT_EQ(columns[0].greatest, 10.0);
    // A column begins where the one before ended, so that the line has no gaps.
    EXPECT_EQ(columns[1].least, 2.0);
    EXPECT_EQ(columns[1].greatest, 10.0);
    EXPECT_EQ(columns[2].least, 4.0);
    EXPECT_EQ(columns[2].greatest, 15.0);
    EXPECT_EQ(columns[3].least, 1.0);
    EXPECT_EQ(columns[3].greatest, 15.0);
    EXPECT_EQ(trace.Noise(water.ping, 2)[1].greatest, 8.0);
    EXPECT_TRUE(trace.Gain(water.ping, 4).empty()) << "it was not told";
    EXPECT_TRUE(trace.Levels(water.ping, 2, 4).empty()) << "no such beam";
    EXPECT_EQ(trace.Levels(water.ping, 1, 20).size(), 20U) << "more columns than samples";
}

TEST(Label, WritesNumbersWhateverTheLocale)
{
    Label label;
    label << "depth ";
    label.Number(-0.04, 1) << " ";
    label.Number(12.345, 2) << " ";
    label.Number(NAN, 1);
    EXPECT_EQ(label.Text(), "depth 0.0 12.35 -");
    for (int i = 0; i < 50; ++i) {
        label << "0123456789";
    }
    EXPECT_EQ(label.Text().size(), 160U) << "what does not fit is left out";
}

TEST(Canvas, DrawsWhatIsWithinAlone)
{
    std::vector<Colour> pixels(20 * 10, 0xFF000000U);
    Canvas canvas(pixels.data(), 20, 10, 20);
    canvas.Line(-1e7, 5.5, 1e7, 5.5, 1.0, 0xFFFFFFFFU);
    for (int x = 0; x < 20; ++x) {
        EXPECT_EQ(canvas.At(x, 5), 0xFFFFFFFFU) << x;
        EXPECT_EQ(canvas.At(x, 4), 0xFF000000U) << x;
        EXPECT_EQ(canvas.At(x, 6), 0xFF000000U) << x;
    }
    canvas.Line(NAN, 0.0, 5.0, 5.0, 1.0, 0xFFFF0000U);
    canvas.Line(3.0, 100.0, 3.0, 2000.0, 1.0, 0xFFFF0000U);
    canvas.Disc(1e9, 3.0, 4.0, 0xFFFF0000U, 0xFFFF0000U);
    canvas.FillBox(-5, -5, 3, 3, 0xFFFF0000U);
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0xFFFF0000U), 0);
    canvas.FillBox(18, 8, 100, 100, 0xFFFF0000U);
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0xFFFF0000U), 4);
}

} // namespace
} // namespace picture::test
