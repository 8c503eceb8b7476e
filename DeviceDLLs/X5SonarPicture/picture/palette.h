// Colour maps for levels and depths: as even to the eye as they are in numbers, also to eyes that tell few colours.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace picture {

/// A colour as 0xffRRGGBB (sRGB).
using Colour = std::uint32_t;

/// Lightness (CIE L*) rises by the same step from each entry to the next, and no map has red and green side by side.
using Palette = std::array<Colour, 256>;

enum class PaletteName
{
    Abyss, ///< violet, blue, green, yellow
    Haze,  ///< blue, grey, yellow: one axis that all colour-blind eyes keep
    Grey,
};
inline constexpr std::array<PaletteName, 3> allPalettes{PaletteName::Abyss, PaletteName::Haze, PaletteName::Grey};

/// What an operator calls it.
std::string_view TextOf(PaletteName name);

/// Made once, at the first call; any thread.
Palette const& PaletteOf(PaletteName name);

/// CIE L* of a colour, 0 to 100.
double LightnessOf(Colour colour);

/// Red, green and blue of `a` and `b` mixed, `part` of 256 of `b`.
constexpr Colour Mix(Colour a, Colour b, unsigned part)
{
    // Two channels at a time, 8 bits apart.
    std::uint32_t const redBlue = ((a & 0xFF00FFU) * (256 - part) + (b & 0xFF00FFU) * part) >> 8;
    std::uint32_t const green = ((a & 0x00FF00U) * (256 - part) + (b & 0x00FF00U) * part) >> 8;
    return 0xFF000000U | (redBlue & 0xFF00FFU) | (green & 0x00FF00U);
}

} // namespace picture
