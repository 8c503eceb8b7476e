// The map for other programs.
#include "map_export.h"

#include <array>
#include <charconv>

namespace picture {

namespace {

constexpr double noSounding = -9999.0;

/// Whatever the locale.
void Append(std::string& text, double value, int decimals)
{
    std::array<char, 64> digits{};
    auto const end =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, decimals).ptr;
    text.append(digits.data(), end);
}

/// The middle of a cell.
double MiddleOf(std::int32_t cell, double size)
{
    return (cell + 0.5) * size;
}

} // namespace

std::string WhyNoExport(BathymetryGrid const& grid)
{
    auto const extent = grid.ExtentOfCells();
    if (!extent) {
        return "there is no sounding on the map yet";
    }
    if (std::int64_t{extent->columns} * extent->rows > mostExportedCells) {
        return "the soundings lie too far apart: " + std::to_string(extent->columns) + " by " +
               std::to_string(extent->rows) + " cells";
    }
    return {};
}

std::string EsriGridOf(BathymetryGrid const& grid)
{
    auto const extent = grid.ExtentOfCells().value();
    double const size = grid.CellSize();
    std::string text =
        "ncols " + std::to_string(extent.columns) + "\nnrows " + std::to_string(extent.rows) + "\nxllcorner ";
    Append(text, extent.west * size, 3);
    text += "\nyllcorner ";
    Append(text, extent.south * size, 3);
    text += "\ncellsize ";
    Append(text, size, 3);
    text += "\nNODATA_value -9999\n";
    for (std::int32_t row = extent.rows - 1; row >= 0; --row) {
        for (std::int32_t column = 0; column < extent.columns; ++column) {
            auto const cell = grid.At(MiddleOf(extent.west + column, size), MiddleOf(extent.south + row, size));
            if (column != 0) {
                text += ' ';
            }
            if (cell) {
                Append(text, static_cast<double>(cell->mean), 3);
            } else {
                Append(text, noSounding, 0);
            }
        }
        text += '\n';
    }
    return text;
}

std::string WorldFileOf(BathymetryGrid const& grid)
{
    auto const extent = grid.ExtentOfCells().value();
    double const size = grid.CellSize();
    std::string text;
    // A pixel's width, two rotations, its height downwards, and the middle of the first pixel.
    for (double const value :
         {size, 0.0, 0.0, -size, MiddleOf(extent.west, size), MiddleOf(extent.south + extent.rows - 1, size)}) {
        Append(text, value, 6);
        text += '\n';
    }
    return text;
}

void PaintCells(BathymetryGrid& grid, Canvas& canvas, MapLayer layer, PaletteName palette)
{
    auto const extent = grid.ExtentOfCells();
    if (!extent) {
        return;
    }
    double const size = grid.CellSize();
    MapView const view{(extent->west + extent->columns / 2.0) * size, (extent->south + extent->rows / 2.0) * size,
                       1.0 / size};
    grid.Shade();
    grid.Paint(canvas, view, layer, palette, 0);
}

} // namespace picture
