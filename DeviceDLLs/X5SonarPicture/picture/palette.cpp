// Colour maps, worked out in CIE L*a*b* so that their lightness rises evenly.
#include "palette.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace picture {

namespace {

/// White of sRGB (D65).
constexpr std::array<double, 3> white{0.95047, 1.0, 1.08883};

/// A place that a map passes: lightness 0 to 100, hue in degrees and chroma, as far as sRGB has it.
struct Stop
{
    double lightness;
    double hue;
    double chroma;
};

constexpr std::array<Stop, 5> abyssStops{{
    {10.0, 305.0, 45.0},
    {32.0, 285.0, 42.0},
    {54.0, 205.0, 38.0},
    {76.0, 140.0, 62.0},
    {94.0, 105.0, 85.0},
}};
constexpr std::array<Stop, 3> hazeStops{{
    {12.0, 275.0, 38.0},
    {52.0, 275.0, 0.0},
    {94.0, 95.0, 65.0},
}};
constexpr std::array<Stop, 2> greyStops{{{4.0, 0.0, 0.0}, {100.0, 0.0, 0.0}}};

double CubeOf(double value)
{
    constexpr double knee = 6.0 / 29.0;
    return value > knee ? value * value * value : 3.0 * knee * knee * (value - 4.0 / 29.0);
}

/// Linear red, green and blue; beyond 0 to 1 where sRGB has no such colour.
std::array<double, 3> LinearOf(double lightness, double a, double b)
{
    double const y = (lightness + 16.0) / 116.0;
    double const cieX = white[0] * CubeOf(y + a / 500.0);
    double const cieY = white[1] * CubeOf(y);
    double const cieZ = white[2] * CubeOf(y - b / 200.0);
    return {3.2404542 * cieX - 1.5371385 * cieY - 0.4985314 * cieZ,
            -0.9692660 * cieX + 1.8760108 * cieY + 0.0415560 * cieZ,
            0.0556434 * cieX - 0.2040259 * cieY + 1.0572252 * cieZ};
}

std::uint32_t ByteOf(double linear)
{
    double const clamped = std::clamp(linear, 0.0, 1.0);
    double const encoded = clamped <= 0.0031308 ? 12.92 * clamped : 1.055 * std::pow(clamped, 1.0 / 2.4) - 0.055;
    return static_cast<std::uint32_t>(std::lround(255.0 * encoded));
}

/// The colour of that lightness and hue, with as much of the chroma as sRGB has.
Colour ColourOf(double lightness, double hue, double chroma)
{
    constexpr double radian = 3.141592653589793 / 180.0;
    double least = 0.0;
    double most = chroma;
    auto const linearAt = [&](double c) {
        return LinearOf(lightness, c * std::cos(hue * radian), c * std::sin(hue * radian));
    };
    auto const isShown = [](std::array<double, 3> const& linear) {
        return std::all_of(linear.begin(), linear.end(), [](double part) { return part >= -1e-4 && part <= 1.0001; });
    };
    if (isShown(linearAt(most))) {
        least = most;
    }
    for (int i = 0; i < 30 && least < most; ++i) {
        double const middle = 0.5 * (least + most);
        (isShown(linearAt(middle)) ? least : most) = middle;
    }
    auto const linear = linearAt(least);
    return 0xFF000000U | ByteOf(linear[0]) << 16 | ByteOf(linear[1]) << 8 | ByteOf(linear[2]);
}

Palette Along(std::span<Stop const> stops)
{
    Palette palette{};
    double const first = stops.front().lightness;
    double const last = stops.back().lightness;
    for (std::size_t i = 0; i < palette.size(); ++i) {
        double const lightness = first + (last - first) * static_cast<double>(i) / 255.0;
        std::size_t next = 1;
        while (next + 1 < stops.size() && stops[next].lightness < lightness) {
            ++next;
        }
        Stop const& before = stops[next - 1];
        Stop const& after = stops[next];
        double const part = (lightness - before.lightness) / (after.lightness - before.lightness);
        // The colour without chroma has no hue of its own.
        double const hue = before.chroma == 0.0  ? after.hue
                           : after.chroma == 0.0 ? before.hue
                                                 : before.hue + part * (after.hue - before.hue);
        palette[i] = ColourOf(lightness, hue, before.chroma + part * (after.chroma - before.chroma));
    }
    return palette;
}

} // namespace

std::string_view TextOf(PaletteName name)
{
    switch (name) {
    case PaletteName::Abyss:
        return "Abyss";
    case PaletteName::Haze:
        return "Haze";
    case PaletteName::Grey:
        break;
    }
    return "Grey";
}

Palette const& PaletteOf(PaletteName name)
{
    static Palette const abyss = Along(abyssStops);
    static Palette const haze = Along(hazeStops);
    static Palette const grey = Along(greyStops);
    return name == PaletteName::Abyss ? abyss : name == PaletteName::Haze ? haze : grey;
}

double LightnessOf(Colour colour)
{
    auto const linear = [colour](int shift) {
        double const encoded = static_cast<double>(colour >> shift & 0xFFU) / 255.0;
        return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
    };
    double const y = 0.2126729 * linear(16) + 0.7151522 * linear(8) + 0.0721750 * linear(0);
    constexpr double knee = 216.0 / 24389.0;
    double const root = y > knee ? std::cbrt(y) : (24389.0 / 27.0 * y + 16.0) / 116.0;
    return 116.0 * root - 16.0;
}

} // namespace picture
