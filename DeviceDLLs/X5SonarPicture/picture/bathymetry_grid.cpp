// Cells, their hill shade and their colours.
#include "bathymetry_grid.h"

#include "level_colours.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace picture {

namespace {

constexpr double farthest = 1e8; // m

std::uint64_t KeyOf(std::int32_t i, std::int32_t j)
{
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(i)) << 32 | static_cast<std::uint32_t>(j);
}

/// Rounded down, also below 0.
std::int32_t TileIndex(std::int32_t cell)
{
    return cell >> 6;
}
static_assert(BathymetryGrid::tileCells == 1 << 6);

std::size_t InTile(std::int32_t i, std::int32_t j)
{
    return static_cast<std::size_t>(j & 63) * BathymetryGrid::tileCells + static_cast<std::size_t>(i & 63);
}

/// Light from the north-west, 45 degrees high; slopes are drawn steeper than they are.
std::uint8_t ShadeOf(double slopeEast, double slopeNorth)
{
    constexpr double exaggeration = 2.0;
    double const x = slopeEast * exaggeration;
    double const y = slopeNorth * exaggeration;
    // The normal of a surface that rises by (x, y), and the light (-1/2, 1/2, 1/sqrt 2).
    double const lit = (0.5 * x - 0.5 * y + std::sqrt(0.5)) / std::sqrt(1.0 + x * x + y * y);
    // Flat ground has 180.
    return static_cast<std::uint8_t>(std::clamp(std::lround(180.0 / std::sqrt(0.5) * lit), 0L, 255L));
}

} // namespace

double BathymetryGrid::Cell::Deviation() const
{
    return count < 2 ? 0.0 : std::sqrt(static_cast<double>(squares) / (count - 1.0));
}

BathymetryGrid::BathymetryGrid(double cellSize, std::size_t mostTiles) : m_cellSize(cellSize), m_mostTiles(mostTiles)
{
    m_tiles.reserve(mostTiles);
}

void BathymetryGrid::Clear(double cellSize)
{
    *this = BathymetryGrid(cellSize, m_mostTiles);
}

std::optional<BathymetryGrid::Place> BathymetryGrid::PlaceOf(double east, double north) const
{
    if (!(std::abs(east) < farthest && std::abs(north) < farthest)) {
        return std::nullopt;
    }
    double const i = std::floor(east / m_cellSize);
    double const j = std::floor(north / m_cellSize);
    constexpr double most = 2e9;
    if (std::abs(i) > most || std::abs(j) > most) {
        return std::nullopt;
    }
    return Place{static_cast<std::int32_t>(i), static_cast<std::int32_t>(j)};
}

BathymetryGrid::Tile* BathymetryGrid::TileOf(std::int32_t tileI, std::int32_t tileJ) const
{
    auto const found = m_tiles.find(KeyOf(tileI, tileJ));
    return found != m_tiles.end() ? found->second.get() : nullptr;
}

BathymetryGrid::Cell const* BathymetryGrid::CellAt(Place place) const
{
    Tile const* const tile = TileOf(TileIndex(place.i), TileIndex(place.j));
    Cell const* const cell = tile != nullptr ? &tile->cells[InTile(place.i, place.j)] : nullptr;
    return cell != nullptr && cell->count > 0 ? cell : nullptr;
}

std::optional<BathymetryGrid::Extent> BathymetryGrid::ExtentOfCells() const
{
    if (m_soundings == 0) {
        return std::nullopt;
    }
    // Places lie within 2e9 cells of the origin; what is wider than a number of 32 bits holds counts as that.
    auto const count = [](std::int32_t from, std::int32_t to) {
        std::int64_t const cells = std::int64_t{to} - from + 1;
        return static_cast<std::int32_t>(std::min<std::int64_t>(cells, std::numeric_limits<std::int32_t>::max()));
    };
    return Extent{m_southWest.i, m_southWest.j, count(m_southWest.i, m_northEast.i),
                  count(m_southWest.j, m_northEast.j)};
}

bool BathymetryGrid::Add(double east, double north, double depth)
{
    auto const place = PlaceOf(east, north);
    if (!place || !(std::abs(depth) < farthest)) {
        ++m_refused;
        return false;
    }
    Tile* tile = TileOf(TileIndex(place->i), TileIndex(place->j));
    if (tile == nullptr) {
        if (m_tiles.size() >= m_mostTiles) {
            ++m_refused;
            return false;
        }
        auto& made = m_tiles[KeyOf(TileIndex(place->i), TileIndex(place->j))];
        made = std::make_unique<Tile>();
        tile = made.get();
    }
    Cell& cell = tile->cells[InTile(place->i, place->j)];
    ++cell.count;
    double const off = depth - cell.mean;
    double const mean = cell.mean + off / cell.count;
    cell.squares = static_cast<float>(cell.squares + off * (depth - mean));
    cell.mean = static_cast<float>(mean);

    bool const isFirst = ++m_soundings == 1;
    m_southWest = isFirst ? *place : Place{std::min(m_southWest.i, place->i), std::min(m_southWest.j, place->j)};
    m_northEast = isFirst ? *place : Place{std::max(m_northEast.i, place->i), std::max(m_northEast.j, place->j)};
    double const offAll = depth - m_mean;
    m_mean += offAll / static_cast<double>(m_soundings);
    m_squares += offAll * (depth - m_mean);
    m_least = m_soundings == 1 ? depth : std::min(m_least, depth);
    m_greatest = m_soundings == 1 ? depth : std::max(m_greatest, depth);
    m_mostCount = std::max(m_mostCount, cell.count);
    m_mostDeviation = std::max(m_mostDeviation, cell.Deviation());

    Wait(*place);
    Wait({place->i - 1, place->j});
    Wait({place->i + 1, place->j});
    Wait({place->i, place->j - 1});
    Wait({place->i, place->j + 1});
    return true;
}

void BathymetryGrid::Wait(Place place)
{
    Tile* const tile = TileOf(TileIndex(place.i), TileIndex(place.j));
    std::size_t const at = InTile(place.i, place.j);
    if (tile != nullptr && tile->cells[at].count > 0 && !tile->waits[at]) {
        tile->waits[at] = true;
        m_waiting.push_back(place);
    }
}

void BathymetryGrid::Shade()
{
    for (Place const& place : m_waiting) {
        ShadeCell(place);
    }
    m_waiting.clear();
}

void BathymetryGrid::ShadeCell(Place place)
{
    Tile& tile = *TileOf(TileIndex(place.i), TileIndex(place.j));
    std::size_t const at = InTile(place.i, place.j);
    Cell const& cell = tile.cells[at];
    // Height rises where depth falls; a neighbour that is not there counts as level with this one.
    auto const slope = [&](Place before, Place after) {
        Cell const* const low = CellAt(before);
        Cell const* const high = CellAt(after);
        int const cells = (low != nullptr ? 1 : 0) + (high != nullptr ? 1 : 0);
        if (cells == 0) {
            return 0.0;
        }
        double const from = low != nullptr ? low->mean : cell.mean;
        double const to = high != nullptr ? high->mean : cell.mean;
        return (from - to) / (cells * m_cellSize);
    };
    tile.shade[at] = ShadeOf(slope({place.i - 1, place.j}, {place.i + 1, place.j}),
                             slope({place.i, place.j - 1}, {place.i, place.j + 1}));
    tile.waits[at] = false;
    if (tile.painted == m_version) {
        tile.colours[at] = ColourOf(tile, at);
    }
    ++m_shaded;
}

std::optional<BathymetryGrid::Cell> BathymetryGrid::At(double east, double north) const
{
    auto const place = PlaceOf(east, north);
    Cell const* const cell = place ? CellAt(*place) : nullptr;
    return cell != nullptr ? std::optional(*cell) : std::nullopt;
}

std::optional<std::uint8_t> BathymetryGrid::ShadeAt(double east, double north) const
{
    auto const place = PlaceOf(east, north);
    if (!place || CellAt(*place) == nullptr) {
        return std::nullopt;
    }
    return TileOf(TileIndex(place->i), TileIndex(place->j))->shade[InTile(place->i, place->j)];
}

LayerScale BathymetryGrid::ScaleOf(MapLayer layer) const
{
    switch (layer) {
    case MapLayer::Count:
        return {1.0, std::max(2.0, static_cast<double>(m_mostCount))};
    case MapLayer::Deviation:
        return {0.0, std::max(0.05, m_mostDeviation)};
    case MapLayer::Depth:
        break;
    }
    // Few soundings far off must not take all colours.
    constexpr double deviations = 2.5;
    double const deviation = m_soundings > 1 ? std::sqrt(m_squares / static_cast<double>(m_soundings - 1)) : 0.0;
    double const from = std::max(m_least, m_mean - deviations * deviation);
    double const to = std::min(m_greatest, m_mean + deviations * deviation);
    return {from, std::max(to, from + 0.1)};
}

/// A scale that has moved little stays.
void BathymetryGrid::FollowScale()
{
    LayerScale const wanted = ScaleOf(m_layer);
    double const allowed = 0.05 * (m_scale.to - m_scale.from);
    if (std::abs(wanted.from - m_scale.from) > allowed || std::abs(wanted.to - m_scale.to) > allowed) {
        m_scale = wanted;
        ++m_version;
    }
}

Colour BathymetryGrid::ColourOf(Tile const& tile, std::size_t at) const
{
    Cell const& cell = tile.cells[at];
    if (cell.count == 0) {
        return m_ground;
    }
    Palette const& colours = PaletteOf(m_palette);
    if (m_layer == MapLayer::Count) {
        return colours[EntryOf(cell.count, m_scale.from, m_scale.to)];
    }
    if (m_layer == MapLayer::Deviation) {
        return colours[EntryOf(cell.Deviation(), m_scale.from, m_scale.to)];
    }
    // What is shallow is light.
    Colour const colour = colours[EntryOf(cell.mean, m_scale.to, m_scale.from)];
    constexpr unsigned flat = 180;
    unsigned const shade = tile.shade[at];
    return shade < flat ? Mix(0xFF000000U, colour, 256 * (shade + 60) / (flat + 60))
                        : Mix(colour, 0xFFFFFFFFU, 256 * (shade - flat) / 300);
}

void BathymetryGrid::Paint(Canvas& canvas, MapView const& view, MapLayer layer, PaletteName palette, Colour ground)
{
    if (layer != m_layer || palette != m_palette || ground != m_ground) {
        m_layer = layer;
        m_palette = palette;
        m_ground = ground;
        m_scale = {};
        ++m_version;
    }
    FollowScale();
    Shade();
    auto const width = static_cast<std::size_t>(canvas.Width());
    m_columns.resize(width);
    // Far off, all cells are beyond the last one.
    auto const cellOf = [this](double metres) {
        return static_cast<std::int32_t>(std::clamp(std::floor(metres / m_cellSize), -2e9, 2e9));
    };
    for (std::size_t x = 0; x < width; ++x) {
        double const pixels = static_cast<double>(x) + 0.5 - canvas.Width() / 2.0;
        m_columns[x] = cellOf(view.east + pixels / view.pixelsPerMetre);
    }
    std::int32_t rowBefore = 0;
    for (int y = 0; y < canvas.Height(); ++y) {
        std::int32_t const j = cellOf(view.north - (y + 0.5 - canvas.Height() / 2.0) / view.pixelsPerMetre);
        Colour* const row = canvas.Row(y);
        if (y > 0 && j == rowBefore) {
            std::copy_n(canvas.Row(y - 1), width, row);
            continue;
        }
        rowBefore = j;
        for (std::size_t x = 0; x < width;) {
            std::int32_t const tileI = TileIndex(m_columns[x]);
            std::size_t end = x + 1;
            while (end < width && TileIndex(m_columns[end]) == tileI) {
                ++end;
            }
            Tile* const tile = TileOf(tileI, TileIndex(j));
            if (tile == nullptr) {
                std::fill(row + x, row + end, ground);
                x = end;
                continue;
            }
            if (tile->painted != m_version) {
                for (std::size_t at = 0; at < tile->colours.size(); ++at) {
                    tile->colours[at] = ColourOf(*tile, at);
                }
                tile->painted = m_version;
            }
            Colour const* const cells = tile->colours.data() + InTile(0, j);
            for (; x < end; ++x) {
                row[x] = cells[m_columns[x] & (tileCells - 1)];
            }
        }
    }
}

} // namespace picture
