// The rows of the waterfall.
#include "waterfall.h"

#include <algorithm>

namespace picture {

Waterfall::Waterfall() : m_levels(rows * 2 * sideColumns), m_rows(rows)
{
    for (std::size_t i = 0; i < rows; ++i) {
        m_rows[i].levels = m_levels.data() + i * 2 * sideColumns;
    }
}

void Waterfall::Add(WaterPing const& ping)
{
    if (ping.IsEmpty()) {
        return;
    }
    std::size_t const samples = ping.samples;
    m_peaks.assign(2 * samples, 0);
    for (std::size_t beam = 0; beam < ping.angles.size(); ++beam) {
        std::uint8_t* const side = m_peaks.data() + (ping.angles[beam] < 0.0F ? 0 : samples);
        std::uint8_t const* const from = ping.levels.data() + beam * samples;
        for (std::size_t i = 0; i < samples; ++i) {
            side[i] = std::max(side[i], from[i]);
        }
    }
    m_newest = (m_newest + 1) % rows;
    m_count = std::min(m_count + 1, rows);
    Row& row = m_rows[m_newest];
    row = {ping.number, ping.time, ping.Range(), ping.floor, ping.step, row.levels};
    std::uint8_t* const port = m_levels.data() + m_newest * 2 * sideColumns + sideColumns - 1;
    for (std::size_t column = 0; column < sideColumns; ++column) {
        std::size_t const first = column * samples / sideColumns;
        std::size_t const end = std::max((column + 1) * samples / sideColumns, first + 1);
        auto const strongest = [&](std::uint8_t const* side) { return *std::max_element(side + first, side + end); };
        *(port - column) = strongest(m_peaks.data());
        *(port + 1 + column) = strongest(m_peaks.data() + samples);
    }
}

std::size_t Waterfall::ColumnAt(Row const& row, double across)
{
    double const column = (across / row.range + 1.0) * sideColumns;
    return column >= 0.0 && column < 2.0 * sideColumns ? static_cast<std::size_t>(column) : 2 * sideColumns;
}

void Waterfall::Paint(Canvas& canvas, double range, int rowHeight, std::size_t skip, DecibelRange scale,
                      PaletteName palette, Colour ground)
{
    auto const width = static_cast<std::size_t>(canvas.Width());
    m_columns.resize(width);
    double columnsRange = -1.0;
    std::size_t first = 0;
    std::size_t end = 0;
    for (int y = 0; y < canvas.Height(); ++y) {
        std::size_t const age = skip + static_cast<std::size_t>(y / rowHeight);
        if (age >= m_count) {
            canvas.FillBox(0, y, canvas.Width(), canvas.Height() - y, ground);
            return;
        }
        if (y % rowHeight != 0) {
            std::copy_n(canvas.Row(y - 1), width, canvas.Row(y));
            continue;
        }
        Row const& row = At(age);
        if (row.range != columnsRange) {
            columnsRange = row.range;
            first = width;
            end = 0;
            for (std::size_t x = 0; x < width; ++x) {
                double const part = 2.0 * (static_cast<double>(x) + 0.5) / static_cast<double>(width) - 1.0;
                std::size_t const column = ColumnAt(row, part * range);
                if (column < 2 * sideColumns) {
                    m_columns[x] = static_cast<std::uint16_t>(column);
                    first = std::min(first, x);
                    end = x + 1;
                }
            }
        }
        Colour const* const colours = m_colours.For(row.floor, row.step, scale, palette).data();
        Colour* const pixels = canvas.Row(y);
        std::fill(pixels, pixels + std::min(first, width), ground);
        for (std::size_t x = first; x < end; ++x) {
            pixels[x] = colours[row.levels[m_columns[x]]];
        }
        std::fill(pixels + std::max(end, std::min(first, width)), pixels + width, ground);
    }
}

} // namespace picture
