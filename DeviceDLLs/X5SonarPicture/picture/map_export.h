// The map for other programs: as an ESRI ASCII grid, and as pixels with a world file.
#pragma once

#include "bathymetry_grid.h"

#include <optional>
#include <string>

namespace picture {

/// More cells are not written: soundings that lie that far apart are no map.
inline constexpr std::int64_t mostExportedCells = std::int64_t{16} << 20;

/// Why the map cannot be written, in one line; empty where it can.
std::string WhyNoExport(BathymetryGrid const& grid);

/// The grid in the form that ESRI calls ASCII raster: mean depths in m, positive downwards, rows from north to south,
/// -9999 where there is no sounding; places in m east and north of the survey's origin. Only where WhyNoExport is
/// empty.
std::string EsriGridOf(BathymetryGrid const& grid);

/// The six lines of a world file for a picture with one pixel a cell.
std::string WorldFileOf(BathymetryGrid const& grid);

/// Paints each cell as one pixel; `canvas` has ExtentOfCells' columns and rows. Transparent (0) where there is no
/// sounding.
void PaintCells(BathymetryGrid& grid, Canvas& canvas, MapLayer layer, PaletteName palette);

} // namespace picture
