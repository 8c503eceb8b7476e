// The grid of soundings as it grows: how many fell into each cell, their mean depth and deviation, and a hill shade.
#pragma once

#include "canvas.h"
#include "palette.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace picture {

/// What the map shows of a cell.
enum class MapLayer
{
    Depth,     ///< mean, with hill shade
    Count,     ///< of soundings
    Deviation, ///< standard deviation of depth
};

/// Where the map's middle is, and how large a metre is; north is up.
struct MapView
{
    double east = 0.0; ///< m
    double north = 0.0;
    double pixelsPerMetre = 2.0;
};

/// What the colours of a layer stand for.
struct LayerScale
{
    double from = 0.0;
    double to = 1.0;
};

/// Cells lie in tiles that are made where soundings fall; there are so many at most, and what would need another one is
/// refused and counted. Not for two threads at once.
class BathymetryGrid
{
public:
    static constexpr int tileCells = 64; ///< along each side

    /// Cells of `cellSize` metres, more than 0.
    explicit BathymetryGrid(double cellSize = 0.5, std::size_t mostTiles = 1024);

    struct Cell
    {
        std::uint32_t count = 0;
        float mean = 0.0F;    ///< m
        float squares = 0.0F; ///< sum of squared deviations from the mean, m^2

        /// Of the soundings themselves, m; 0 for fewer than two.
        double Deviation() const;
    };

    /// False, and counted, when a number is not finite or beyond 1e8, or no tile is left.
    bool Add(double east, double north, double depth);
    /// Shades anew what has changed since the last call, and its neighbours.
    void Shade();
    void Clear(double cellSize);

    /// Whole cells around all soundings, counted from the origin to the east and north; nothing without soundings.
    struct Extent
    {
        std::int32_t west = 0;
        std::int32_t south = 0;
        std::int32_t columns = 0;
        std::int32_t rows = 0;
    };
    std::optional<Extent> ExtentOfCells() const;

    /// The cell at a place; nothing where there is no sounding.
    std::optional<Cell> At(double east, double north) const;
    /// Of that cell, 0 (away from the light) to 255; 180 on flat ground. After Shade().
    std::optional<std::uint8_t> ShadeAt(double east, double north) const;
    double CellSize() const { return m_cellSize; }
    std::uint64_t Soundings() const { return m_soundings; }
    std::uint64_t Refused() const { return m_refused; }
    std::size_t Tiles() const { return m_tiles.size(); }
    /// Cells that were shaded so far, each time counted.
    std::uint64_t Shaded() const { return m_shaded; }

    /// What the colours of a layer stand for now: most of the depths, the largest count, the largest deviation. It
    /// changes in steps, as every change paints all cells anew.
    LayerScale ScaleOf(MapLayer layer) const;
    /// All of the canvas.
    void Paint(Canvas& canvas, MapView const& view, MapLayer layer, PaletteName palette, Colour ground);

private:
    struct Tile
    {
        std::array<Cell, tileCells * tileCells> cells;
        std::array<std::uint8_t, tileCells * tileCells> shade;
        std::array<Colour, tileCells * tileCells> colours;
        std::array<bool, tileCells * tileCells> waits; ///< to be shaded
        std::uint32_t painted = 0;                     ///< with which scales; 0: anew
    };
    struct Place
    {
        std::int32_t i; ///< cells from the origin eastwards
        std::int32_t j; ///< northwards
    };

    std::optional<Place> PlaceOf(double east, double north) const;
    Tile* TileOf(std::int32_t tileI, std::int32_t tileJ) const;
    Cell const* CellAt(Place place) const;
    void Wait(Place place);
    void ShadeCell(Place place);
    Colour ColourOf(Tile const& tile, std::size_t cell) const;
    void FollowScale();

    double m_cellSize;
    std::size_t m_mostTiles;
    std::unordered_map<std::uint64_t, std::unique_ptr<Tile>> m_tiles;
    std::vector<Place> m_waiting;
    std::uint64_t m_soundings = 0;
    std::uint64_t m_refused = 0;
    std::uint64_t m_shaded = 0;
    // Of all soundings.
    double m_mean = 0.0;
    double m_squares = 0.0;
    double m_least = 0.0;
    double m_greatest = 0.0;
    std::uint32_t m_mostCount = 0;
    double m_mostDeviation = 0.0;
    Place m_southWest{0, 0};
    Place m_northEast{0, 0};

    // What the tiles' colours were made with.
    MapLayer m_layer = MapLayer::Depth;
    PaletteName m_palette = PaletteName::Abyss;
    Colour m_ground = 0;
    LayerScale m_scale;
    std::uint32_t m_version = 1;
    std::vector<std::int32_t> m_columns; ///< the cell of each pixel of a row, while it is painted
};

} // namespace picture
