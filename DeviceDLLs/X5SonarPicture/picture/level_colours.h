// Which colour a level has: the scale in dB that an operator sets, laid over a palette.
#pragma once

#include "palette.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace picture {

/// From the level of a palette's first colour to that of its last, dB.
struct DecibelRange
{
    double from = 40.0;
    double to = 120.0;

    friend bool operator==(DecibelRange const&, DecibelRange const&) = default;
};

/// The entry of a palette for a value within a scale; beyond its ends, and where it is no number, the nearest or first.
inline std::size_t EntryOf(double value, double from, double to)
{
    double const entry = 256.0 * (value - from) / (to - from);
    return entry >= 256.0 ? 255 : entry > 0.0 ? static_cast<std::size_t>(entry) : 0;
}

/// The colours of the bytes 0 to 255 of a block whose levels begin at `floor` and rise by `step`. Kept for as long as
/// nothing changes.
class LevelColours
{
public:
    Palette const& For(double floor, double step, DecibelRange scale, PaletteName palette)
    {
        if (floor != m_floor || step != m_step || scale != m_scale || palette != m_palette || !m_isMade) {
            m_floor = floor;
            m_step = step;
            m_scale = scale;
            m_palette = palette;
            m_isMade = true;
            Palette const& colours = PaletteOf(palette);
            for (std::size_t byte = 0; byte < m_table.size(); ++byte) {
                m_table[byte] = colours[EntryOf(floor + step * static_cast<double>(byte), scale.from, scale.to)];
            }
        }
        return m_table;
    }

private:
    Palette m_table{};
    double m_floor = 0.0;
    double m_step = 0.0;
    DecibelRange m_scale;
    PaletteName m_palette = PaletteName::Abyss;
    bool m_isMade = false;
};

} // namespace picture
