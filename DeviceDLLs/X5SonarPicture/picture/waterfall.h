// Ping after ping from the newest down: the strongest level at each slant range, port to the left.
#pragma once

#include "canvas.h"
#include "level_colours.h"
#include "ping.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace picture {

/// A ring of rows, taken once. Not for two threads at once.
class Waterfall
{
public:
    /// To either side. A row keeps the strongest sample of each column.
    static constexpr std::size_t sideColumns = 512;
    static constexpr std::size_t rows = 2048;

    Waterfall();

    /// Beams at and beyond 0 degrees are starboard's.
    void Add(WaterPing const& ping);
    void Clear() { m_count = 0; }
    std::size_t Count() const { return m_count; }

    /// A row that was kept, 0 for the newest, below Count().
    struct Row
    {
        std::int32_t number = 0;              ///< of the ping
        double time = 0.0;                    ///< s
        double range = 0.0;                   ///< m, from the middle to either end
        double floor = 0.0;                   ///< dB
        double step = 1.0;                    ///< dB
        std::uint8_t const* levels = nullptr; ///< 2 * sideColumns bytes, from port to starboard
    };
    Row const& At(std::size_t age) const { return m_rows[(m_newest + rows - age) % rows]; }

    /// The column for a distance (m, positive to starboard) in that row; 2 * sideColumns where there is none.
    static std::size_t ColumnAt(Row const& row, double across);

    /// All of the canvas: `range` metres from its middle to either side, a ping `rowHeight` pixels high, the first of
    /// them `skip` pings old.
    void Paint(Canvas& canvas, double range, int rowHeight, std::size_t skip, DecibelRange scale, PaletteName palette,
               Colour ground);

private:
    std::vector<std::uint8_t> m_levels;
    std::vector<Row> m_rows;
    std::size_t m_newest = 0;
    std::size_t m_count = 0;
    std::vector<std::uint8_t> m_peaks;    ///< of the ping that is added: port, then starboard
    std::vector<std::uint16_t> m_columns; ///< for each pixel of a row, while it is painted
    LevelColours m_colours;
};

} // namespace picture
