// Colour maps: even to the eye, and to eyes that tell few colours.
#include "picture/palette.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <gtest/gtest.h>

namespace picture::test {
namespace {

TEST(Palette, LightnessOfKnownColours)
{
    // CIE L* of sRGB's white, black, mid grey and primaries.
    EXPECT_NEAR(LightnessOf(0xFFFFFFFFU), 100.0, 0.01);
    EXPECT_NEAR(LightnessOf(0xFF000000U), 0.0, 0.01);
    EXPECT_NEAR(LightnessOf(0xFF777777U), 50.03, 0.05);
    EXPECT_NEAR(LightnessOf(0xFFFF0000U), 53.24, 0.05);
    EXPECT_NEAR(LightnessOf(0xFF00FF00U), 87.74, 0.05);
    EXPECT_NEAR(LightnessOf(0xFF0000FFU), 32.30, 0.05);
}

TEST(Palette, LightnessRisesEvenlyFromEndToEnd)
{
    for (PaletteName const name : allPalettes) {
        Palette const& palette = PaletteOf(name);
        double const first = LightnessOf(palette.front());
        double const last = LightnessOf(palette.back());
        EXPECT_LT(first, 15.0) << TextOf(name);
        EXPECT_GT(last, 92.0) << TextOf(name);
        for (std::size_t i = 1; i < palette.size(); ++i) {
            EXPECT_GT(LightnessOf(palette[i]), LightnessOf(palette[i - 1]) - 0.05) << TextOf(name) << " " << i;
            // What 8 bits of a channel leave of evenness.
            EXPECT_NEAR(LightnessOf(palette[i]), first + (last - first) * static_cast<double>(i) / 255.0, 0.5)
                << TextOf(name) << " " << i;
        }
    }
}

/// What an eye without long-wave (or middle-wave) cones sees, by the matrices of Vienot, Brettel and Mollon (1999), in
/// linear light.
double SeenLightness(Colour colour, bool isProtanope)
{
    auto const linear = [colour](int shift) {
        double const encoded = static_cast<double>(colour >> shift & 0xFFU) / 255.0;
        return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
    };
    double const r = linear(16);
    double const g = linear(8);
    double const b = linear(0);
    double const redGreen = isProtanope ? 0.11238 * r + 0.88762 * g : 0.29275 * r + 0.70725 * g;
    double const blue = isProtanope ? 0.00401 * r - 0.00401 * g + b : -0.02234 * r + 0.02234 * g + b;
    double const y = std::max(0.0, (0.2126729 + 0.7151522) * redGreen + 0.0721750 * blue);
    return y > 216.0 / 24389.0 ? 116.0 * std::cbrt(y) - 16.0 : 24389.0 / 27.0 * y;
}

TEST(Palette, IsReadByEyesWithoutRedOrGreen)
{
    for (PaletteName const name : allPalettes) {
        Palette const& palette = PaletteOf(name);
        for (bool const isProtanope : {false, true}) {
            // Sixteen steps apart, each is lighter than the one before by a step that an eye sees.
            for (std::size_t i = 16; i < palette.size(); i += 16) {
                EXPECT_GT(SeenLightness(palette[i], isProtanope), SeenLightness(palette[i - 16], isProtanope) + 2.0)
                    << TextOf(name) << " " << i << " " << isProtanope;
            }
        }
    }
}

TEST(Palette, MixesColours)
{
    EXPECT_EQ(Mix(0xFF000000U, 0xFFFFFFFFU, 0), 0xFF000000U);
    EXPECT_EQ(Mix(0xFF000000U, 0xFFFFFFFFU, 256), 0xFFFFFFFFU);
    EXPECT_EQ(Mix(0xFF204060U, 0xFF406080U, 128), 0xFF305070U);
}

} // namespace
} // namespace picture::test
