// The grid of soundings: numbers by hand.
#include "picture/bathymetry_grid.h"
#include "picture/map_export.h"

#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace picture::test {
namespace {

TEST(BathymetryGrid, KeepsCountMeanAndDeviation)
{
    BathymetryGrid grid(1.0);
    // 10, 12, 14 and 20 m: mean 14, deviations -4, -2, 0, 6; 16 + 4 + 0 + 36 = 56, over 3 is 18.667.
    for (double const depth : {10.0, 12.0, 14.0, 20.0}) {
        EXPECT_TRUE(grid.Add(5.5, -3.5, depth));
    }
    auto const cell = grid.At(5.9, -3.1);
    ASSERT_TRUE(cell);
    EXPECT_EQ(cell->count, 4U);
    EXPECT_NEAR(cell->mean, 14.0, 1e-5);
    EXPECT_NEAR(cell->Deviation(), 4.32049, 1e-4);
    EXPECT_FALSE(grid.At(6.1, -3.5)) << "the next cell";
    EXPECT_FALSE(grid.At(5.5, -4.1));
    grid.Add(6.5, -3.5, 8.0);
    EXPECT_EQ(grid.At(6.5, -3.5)->Deviation(), 0.0) << "of a single sounding";
    EXPECT_EQ(grid.Soundings(), 5U);
}

TEST(BathymetryGrid, ShadesSlopesByTheLightFromTheNorthWest)
{
    BathymetryGrid grid(1.0);
    auto const slope = [&](double east, double rise) {
        // Three by three cells, the bottom rising eastwards by `rise` from cell to cell.
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                grid.Add(east + i + 0.5, j + 0.5, 20.0 - rise * i);
            }
        }
        grid.Shade();
        return static_cast<int>(*grid.ShadeAt(east + 1.5, 1.5));
    };
    EXPECT_EQ(slope(0.0, 0.0), 180) << "flat ground";
    // Rising eastwards it faces west, towards the light: twice as steep as 0.2,
    // (0.5 * 0.4 + 0.7071) / sqrt(1 + 0.16) = 0.84223, times 180 / 0.7071.
    EXPECT_EQ(slope(100.0, 0.2), 214);
    // Falling eastwards: (-0.2 + 0.7071) / 1.07703 = 0.47084.
    EXPECT_EQ(slope(200.0, -0.2), 120);
}

TEST(BathymetryGrid, ShadesWhatChangedAndItsNeighboursAlone)
{
    BathymetryGrid grid(1.0);
    for (int i = 0; i < 50; ++i) {
        for (int j = 0; j < 50; ++j) {
            grid.Add(i + 0.5, j + 0.5, 10.0);
        }
    }
    grid.Shade();
    EXPECT_EQ(grid.Shaded(), 2500U);
    grid.Shade();
    EXPECT_EQ(grid.Shaded(), 2500U) << "nothing has changed";
    grid.Add(20.5, 20.5, 11.0);
    grid.Shade();
    EXPECT_EQ(grid.Shaded(), 2505U) << "the cell and its four neighbours";
    grid.Add(100.5, 100.5, 11.0);
    grid.Shade();
    EXPECT_EQ(grid.Shaded(), 2506U) << "one without neighbours";
}

TEST(BathymetryGrid, RefusesWhatCannotBeAndWhatDoesNotFit)
{
    BathymetryGrid grid(1.0, 2);
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinite = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(grid.Add(nan, 0.0, 10.0));
    EXPECT_FALSE(grid.Add(0.0, infinite, 10.0));
    EXPECT_FALSE(grid.Add(0.0, 0.0, nan));
    EXPECT_FALSE(grid.Add(1e9, 0.0, 10.0));
    EXPECT_EQ(grid.Tiles(), 0U);
    EXPECT_TRUE(grid.Add(0.0, 0.0, 10.0));
    EXPECT_TRUE(grid.Add(-0.1, 0.0, 10.0)) << "another tile";
    EXPECT_FALSE(grid.Add(1000.0, 0.0, 10.0)) << "a third one is too many";
    EXPECT_TRUE(grid.Add(63.9, 63.9, 10.0));
    EXPECT_EQ(grid.Tiles(), 2U);
    EXPECT_EQ(grid.Refused(), 5U);
    EXPECT_EQ(grid.Soundings(), 3U);
}

TEST(BathymetryGrid, PaintsCellsWhereTheyLie)
{
    BathymetryGrid grid(1.0);
    grid.Add(10.5, 20.5, 30.0);
    grid.Add(11.5, 20.5, 40.0);
    std::vector<Colour> pixels(100 * 80);
    Canvas canvas(pixels.data(), 100, 80, 100);
    constexpr Colour ground = 0xFF010203U;
    // The middle is the cells' common corner; 10 pixels for a metre, north up.
    grid.Paint(canvas, {11.0, 20.0, 10.0}, MapLayer::Count, PaletteName::Grey, ground);
    Colour const one = PaletteOf(PaletteName::Grey)[0]; // from 1 sounding on
    EXPECT_EQ(canvas.At(49, 39), one);
    EXPECT_EQ(canvas.At(40, 30), one);
    EXPECT_EQ(canvas.At(59, 30), one);
    EXPECT_EQ(canvas.At(60, 30), ground);
    EXPECT_EQ(canvas.At(39, 35), ground);
    EXPECT_EQ(canvas.At(49, 40), ground) << "south of it";
    EXPECT_EQ(canvas.At(49, 29), ground) << "north of it";
    // Shallow is light.
    grid.Paint(canvas, {11.0, 20.0, 10.0}, MapLayer::Depth, PaletteName::Grey, ground);
    EXPECT_GT(LightnessOf(canvas.At(45, 35)), LightnessOf(canvas.At(55, 35)));
    // What comes later is painted, too.
    grid.Add(11.5, 19.5, 35.0);
    grid.Paint(canvas, {11.0, 20.0, 10.0}, MapLayer::Count, PaletteName::Grey, ground);
    EXPECT_EQ(canvas.At(55, 45), one);
    grid.Add(11.5, 19.5, 35.0);
    grid.Paint(canvas, {11.0, 20.0, 10.0}, MapLayer::Count, PaletteName::Grey, ground);
    EXPECT_EQ(canvas.At(55, 45), PaletteOf(PaletteName::Grey)[255]) << "two soundings are the most";
}

TEST(BathymetryGrid, PaintsFarOffAndFromFar)
{
    BathymetryGrid grid(0.5);
    grid.Add(0.0, 0.0, 10.0);
    std::vector<Colour> pixels(64 * 64);
    Canvas canvas(pixels.data(), 64, 64, 64);
    for (double const east : {0.0, 1e12, -1e12}) {
        for (double const scale : {1e-6, 1.0, 1e6}) {
            grid.Paint(canvas, {east, east, scale}, MapLayer::Depth, PaletteName::Abyss, 0xFF010203U);
        }
    }
    EXPECT_EQ(grid.Tiles(), 1U) << "looking makes none";
}

TEST(MapExport, IsTheGridAsEsriHasIt)
{
    BathymetryGrid grid(0.5);
    EXPECT_EQ(WhyNoExport(grid), "there is no sounding on the map yet");
    grid.Add(-0.75, 10.25, 20.0);
    grid.Add(-0.75, 10.25, 21.0);
    grid.Add(0.25, 10.75, 18.125);
    EXPECT_EQ(WhyNoExport(grid), "");
    EXPECT_EQ(EsriGridOf(grid), "ncols 3\nnrows 2\nxllcorner -1.000\nyllcorner 10.000\ncellsize 0.500\n"
                                "NODATA_value -9999\n"
                                "-9999 -9999 18.125\n"
                                "20.500 -9999 -9999\n");
    EXPECT_EQ(WorldFileOf(grid), "0.500000\n0.000000\n0.000000\n-0.500000\n-0.750000\n10.750000\n");
}

TEST(MapExport, PaintsACellAPixelFromNorthToSouth)
{
    BathymetryGrid grid(1.0);
    grid.Add(0.5, 0.5, 20.0);
    grid.Add(2.5, 1.5, 20.0);
    std::array<Colour, 6> pixels{};
    Canvas canvas(pixels.data(), 3, 2, 3);
    PaintCells(grid, canvas, MapLayer::Depth, PaletteName::Abyss);
    EXPECT_EQ(pixels[0], 0U);
    EXPECT_EQ(pixels[1], 0U);
    EXPECT_NE(pixels[2], 0U);
    EXPECT_NE(pixels[3], 0U);
    EXPECT_EQ(pixels[4], 0U);
    EXPECT_EQ(pixels[5], 0U);
}

TEST(MapExport, RefusesSoundingsThatLieTooFarApart)
{
    BathymetryGrid grid(0.5);
    grid.Add(0.0, 0.0, 20.0);
    grid.Add(5000.25, 5000.25, 20.0);
    EXPECT_EQ(WhyNoExport(grid), "the soundings lie too far apart: 10001 by 10001 cells");
    BathymetryGrid fine(0.05);
    fine.Add(-9e7, 0.0, 20.0);
    fine.Add(9e7, 0.0, 20.0);
    EXPECT_EQ(WhyNoExport(fine), "the soundings lie too far apart: 2147483647 by 1 cells");
}

} // namespace
} // namespace picture::test
