// Waterfall, profile, map and beam.
#include "scene.h"

#include <algorithm>
#include <cmath>

namespace picture {

namespace {

/// Rules at round numbers from edge to edge, with their numbers along the left or the upper edge.
void PaintRules(Canvas& canvas, Scene const& scene, Axes const& axes, std::string_view acrossUnit,
                std::string_view downUnit)
{
    auto const rule = [&](double from, double to, auto draw) {
        double const least = std::min(from, to);
        double const most = std::max(from, to);
        double const step = RingStep(most - least);
        if (!std::isfinite(step) || step <= 0.0) {
            return;
        }
        for (int i = 0; i < 20; ++i) {
            double const value = (std::ceil(least / step) + i) * step;
            if (value > most) {
                return;
            }
            draw(value, step < 0.1 ? 2 : step < 1.0 ? 1 : 0);
        }
    };
    rule(axes.left, axes.right, [&](double value, int decimals) {
        double const x = axes.XOf(value, canvas.Width());
        canvas.Line(x, 0.0, x, canvas.Height(), 1.0, scene.theme.faint);
        Label label;
        label.Number(value, decimals) << acrossUnit;
        canvas.Text(*scene.glyphs, static_cast<int>(x) + 3, 2, label.Text(), scene.theme.ink);
    });
    rule(axes.top, axes.bottom, [&](double value, int decimals) {
        double const y = axes.YOf(value, canvas.Height());
        canvas.Line(0.0, y, canvas.Width(), y, 1.0, scene.theme.faint);
        Label label;
        label.Number(value, decimals) << downUnit;
        canvas.Text(*scene.glyphs, 3, static_cast<int>(y) + 2, label.Text(), scene.theme.ink);
    });
}

} // namespace

// Waterfall

void WaterfallPane::PaintContent(Canvas& canvas, Scene const& scene)
{
    Waterfall& waterfall = scene.history->waterfall;
    m_width = canvas.Width();
    double const told = waterfall.Count() > 0 ? waterfall.At(0).range : scene.settings.range.value_or(100.0);
    if (scene.follows || m_range <= 0.0) {
        m_range = std::isfinite(told) && told > 0.0 ? told : 100.0;
    }
    m_rowHeight = std::clamp(static_cast<int>(std::lround(m_zoom)), 1, 16);
    double const most = static_cast<double>(waterfall.Count() > 0 ? waterfall.Count() - 1 : 0);
    m_skip = std::clamp(m_skip, 0.0, most);
    waterfall.Paint(canvas, m_range / m_zoom, m_rowHeight, static_cast<std::size_t>(m_skip) + scene.newerPings,
                    scene.scale, scene.palette, scene.theme.ground);
    double const range = m_range / m_zoom;
    double const step = RingStep(range);
    for (int i = -10; i <= 10; ++i) {
        double const x = canvas.Width() / 2.0 * (1.0 + i * step / range);
        if (x > 0.0 && x < canvas.Width() - ScaleWidth(scene) - scene.glyphs->WidthOf("00000 m port")) {
            canvas.Line(x, 0.0, x, canvas.Height(), 1.0, scene.theme.faint);
            Label label;
            label.Number(std::abs(i * step), step < 1.0 ? 1 : 0) << (i < 0 ? " m port" : i > 0 ? " m stb" : " m");
            canvas.TextBox(*scene.glyphs, static_cast<int>(x) + 2, 2, label.Text(), scene.theme.ink, scene.theme.box);
        }
    }
    PaintScale(canvas, scene, scene.scale.from, scene.scale.to, 0, " dB");
}

std::optional<std::size_t> WaterfallPane::AgeAt(Scene const& scene, double y) const
{
    if (y < 0.0) {
        return std::nullopt;
    }
    std::size_t const age =
        static_cast<std::size_t>(m_skip) + scene.newerPings + static_cast<std::size_t>(y / m_rowHeight);
    return age < scene.history->waterfall.Count() ? std::optional(age) : std::nullopt;
}

void WaterfallPane::Describe(Scene const& scene, Spot at, Label& label) const
{
    auto const age = AgeAt(scene, at.y);
    if (!age || m_width <= 0) {
        return;
    }
    auto const& row = scene.history->waterfall.At(*age);
    double const across = (2.0 * at.x / m_width - 1.0) * m_range / m_zoom;
    std::size_t const column = Waterfall::ColumnAt(row, across);
    label << "ping ";
    label.Number(row.number, 0) << ", range ";
    label.Number(std::abs(across), 1) << (across < 0.0 ? " m port" : " m starboard");
    if (column < 2 * Waterfall::sideColumns) {
        label << ", ";
        label.Number(row.floor + row.step * row.levels[column], 1) << " dB";
    }
}

void WaterfallPane::Zoom(double factor, Spot)
{
    if (std::isfinite(factor) && factor > 0.0) {
        m_zoom = std::clamp(m_zoom * factor, 1.0, 16.0);
    }
}

void WaterfallPane::Move(double, double y)
{
    m_skip = std::max(0.0, m_skip - y / m_rowHeight);
}

void WaterfallPane::ShowAll()
{
    m_zoom = 1.0;
    m_skip = 0.0;
}

// Profile

void ProfilePane::PaintContent(Canvas& canvas, Scene const& scene)
{
    canvas.Fill(scene.theme.ground);
    m_width = std::max(1, canvas.Width());
    m_height = std::max(1, canvas.Height());
    Profile const& profile = *scene.profile;
    if (!m_isZoomed && scene.follows && profile.Count() > 0) {
        double across = 1.0;
        double least = 1e9;
        double most = 0.0;
        for (std::size_t age = 0; age < profile.Count(); ++age) {
            for (auto const& point : profile.At(age)) {
                across = std::max(across, std::abs(double{point.across}));
                least = std::min(least, double{point.down});
                most = std::max(most, double{point.down});
            }
        }
        if (most >= least) {
            // In steps, so that the picture does not quiver.
            double const step = RingStep(std::max(most - least, 0.5)) * 2.0;
            double const acrossStep = RingStep(2.0 * across);
            double const half = std::ceil(across * 1.02 / acrossStep) * acrossStep;
            m_axes = {-half, half, (std::floor(least / step) - 0.5) * step, (std::ceil(most / step) + 0.5) * step};
        }
    }
    PaintRules(canvas, scene, m_axes, " m", " m");
    Palette const& colours = PaletteOf(scene.palette);
    for (std::size_t age = profile.Count(); age-- > 0;) {
        bool const isNewest = age == 0;
        auto const faint = Mix(scene.theme.ground, scene.theme.ink,
                               static_cast<unsigned>(160 * (Profile::pings - age) / Profile::pings));
        for (auto const& point : profile.At(age)) {
            double const x = m_axes.XOf(point.across, m_width);
            double const y = m_axes.YOf(point.down, m_height);
            if (!(x > -4.0 && y > -4.0 && x < m_width + 4.0 && y < m_height + 4.0)) {
                continue;
            }
            auto const left = static_cast<int>(x) - 1;
            auto const top = static_cast<int>(y) - 1;
            if (isNewest) {
                canvas.FillBox(left - 1, top - 1, 5, 5, scene.theme.ink);
                canvas.FillBox(left, top, 3, 3, colours[EntryOf(point.level, scene.scale.from, scene.scale.to)]);
            } else {
                canvas.FillBox(left, top, 2, 2, faint);
            }
        }
    }
    PaintScale(canvas, scene, scene.scale.from, scene.scale.to, 0, " dB");
}

void ProfilePane::Describe(Scene const& scene, Spot at, Label& label) const
{
    double const across = m_axes.AcrossAt(at.x, m_width);
    double const down = m_axes.DownAt(at.y, m_height);
    Place const place{across, down};
    label << "across ";
    label.Number(std::abs(across), 1) << (across < 0.0 ? " m port" : " m starboard") << ", depth ";
    label.Number(down, 2) << " m, range ";
    label.Number(RangeOf(place), 1) << " m, angle ";
    label.Number(AngleOf(place), 1) << "\xB0";
    // The newest ping's nearest point, where there is one at hand.
    Profile::Point const* nearest = nullptr;
    double least = 12.0; // pixels
    if (scene.profile->Count() > 0) {
        for (auto const& point : scene.profile->At(0)) {
            double const off =
                std::hypot(m_axes.XOf(point.across, m_width) - at.x, m_axes.YOf(point.down, m_height) - at.y);
            if (off < least) {
                least = off;
                nearest = &point;
            }
        }
    }
    if (nearest != nullptr) {
        label << ", ";
        label.Number(nearest->level, 1) << " dB";
    }
}

void AxesPane::Zoom(double factor, Spot at)
{
    m_axes.Zoom(factor, m_axes.AcrossAt(at.x, m_width), m_axes.DownAt(at.y, m_height));
    m_isZoomed = true;
}

void AxesPane::Move(double x, double y)
{
    double const across = x / m_width * (m_axes.right - m_axes.left);
    double const down = y / m_height * (m_axes.bottom - m_axes.top);
    m_axes = {m_axes.left - across, m_axes.right - across, m_axes.top - down, m_axes.bottom - down};
    m_isZoomed = true;
}

// Map

Spot MapPane::SpotOf(double east, double north) const
{
    return {m_width / 2.0 + (east - m_view.east) * m_view.pixelsPerMetre,
            m_height / 2.0 - (north - m_view.north) * m_view.pixelsPerMetre};
}

void MapPane::PaintContent(Canvas& canvas, Scene const& scene)
{
    m_width = std::max(1, canvas.Width());
    m_height = std::max(1, canvas.Height());
    PingHead const* const ping = scene.detections != nullptr ? static_cast<PingHead const*>(scene.detections)
                                                             : static_cast<PingHead const*>(scene.water);
    if (scene.detections != nullptr && !m_isFitted && !scene.detections->detections.empty()) {
        // The first swath takes half of the picture.
        double across = 1.0;
        for (Detection const& each : scene.detections->detections) {
            Sounding const at = Locate(*scene.detections, each);
            across = std::max(across, std::abs(at.across));
        }
        m_view.pixelsPerMetre = std::clamp(m_width / (4.0 * across), 1e-3, 500.0);
        m_isFitted = true;
    }
    if (ping != nullptr && (scene.follows || !m_hasView)) {
        m_view.east = ping->pose.east - m_movedX / m_view.pixelsPerMetre;
        m_view.north = ping->pose.north + m_movedY / m_view.pixelsPerMetre;
        m_hasView = true;
    }
    BathymetryGrid& grid = scene.history->grid;
    grid.Paint(canvas, m_view, scene.layer, scene.palette, scene.theme.ground);
    if (scene.detections != nullptr) {
        // The swath of the newest ping.
        Spot before;
        bool hasBefore = false;
        for (Detection const& each : scene.detections->detections) {
            Sounding const at = Locate(*scene.detections, each);
            Spot const spot = SpotOf(at.east, at.north);
            if (hasBefore) {
                canvas.Line(before.x, before.y, spot.x, spot.y, 1.4, scene.theme.ink);
            }
            before = spot;
            hasBefore = true;
        }
    }
    if (ping != nullptr) {
        Spot const ship = SpotOf(ping->pose.east, ping->pose.north);
        double const heading = ping->pose.heading * radiansOf;
        auto const corner = [&](double forward, double starboard) {
            return std::array{ship.x + forward * std::sin(heading) + starboard * std::cos(heading),
                              ship.y - forward * std::cos(heading) + starboard * std::sin(heading)};
        };
        std::array const outline{corner(17.0, 0.0), corner(-11.0, 9.0), corner(-11.0, -9.0)};
        std::array const hull{corner(13.0, 0.0), corner(-9.0, 6.5), corner(-9.0, -6.5)};
        canvas.Convex(outline, 0xFF000000U);
        canvas.Convex(hull, 0xFFFFFFFFU);
    }
    LayerScale const scale = grid.ScaleOf(scene.layer);
    bool const isDepth = scene.layer == MapLayer::Depth;
    // Shallow above, and light.
    PaintScale(canvas, scene, isDepth ? scale.to : scale.from, isDepth ? scale.from : scale.to,
               scene.layer == MapLayer::Count ? 0 : 2, scene.layer == MapLayer::Count ? "" : " m");
    // A rule of a round length.
    double const length = RingStep(5.0 * 120.0 / m_view.pixelsPerMetre);
    double const y = m_height - 10.0;
    Label label;
    label.Number(length, length < 1.0 ? 1 : 0) << " m";
    canvas.TextBox(*scene.glyphs, 8, static_cast<int>(y) - scene.glyphs->height - 10, label.Text(), scene.theme.ink,
                   scene.theme.box);
    canvas.Line(10.0, y, 10.0 + length * m_view.pixelsPerMetre, y, 3.0, scene.theme.ink);
    if (grid.Refused() > 0) {
        Label full;
        full << "The map is full: ";
        full.Number(static_cast<double>(grid.Refused()), 0) << " soundings are not on it.";
        canvas.TextBox(*scene.glyphs, 8, 4, full.Text(), scene.theme.ink, scene.theme.box);
    }
}

void MapPane::Describe(Scene const& scene, Spot at, Label& label) const
{
    double const east = m_view.east + (at.x - m_width / 2.0) / m_view.pixelsPerMetre;
    double const north = m_view.north - (at.y - m_height / 2.0) / m_view.pixelsPerMetre;
    label << "east ";
    label.Number(east, 1) << " m, north ";
    label.Number(north, 1) << " m";
    if (auto const cell = scene.history->grid.At(east, north)) {
        label << ", depth ";
        label.Number(cell->mean, 2) << " m, deviation ";
        label.Number(cell->Deviation(), 2) << " m, ";
        label.Number(cell->count, 0) << (cell->count == 1 ? " sounding" : " soundings");
    }
}

void MapPane::Zoom(double factor, Spot at)
{
    if (!std::isfinite(factor) || factor <= 0.0) {
        return;
    }
    double const next = std::clamp(m_view.pixelsPerMetre * factor, 1e-3, 500.0);
    double const by = next / m_view.pixelsPerMetre;
    double const offX = at.x - m_width / 2.0;
    double const offY = at.y - m_height / 2.0;
    m_view.east += offX / m_view.pixelsPerMetre - offX / next;
    m_view.north -= offY / m_view.pixelsPerMetre - offY / next;
    m_view.pixelsPerMetre = next;
    m_movedX = (m_movedX - offX) * by + offX;
    m_movedY = (m_movedY - offY) * by + offY;
}

void MapPane::Move(double x, double y)
{
    m_view.east -= x / m_view.pixelsPerMetre;
    m_view.north += y / m_view.pixelsPerMetre;
    m_movedX += x;
    m_movedY += y;
}

void MapPane::ShowAll()
{
    m_isFitted = false;
    m_movedX = 0.0;
    m_movedY = 0.0;
    m_hasView = false;
}

// Beam

std::optional<std::uint32_t> BeamPane::BeamOf(Scene const& scene)
{
    if (scene.water == nullptr || scene.water->IsEmpty()) {
        return std::nullopt;
    }
    auto const beams = static_cast<std::uint32_t>(scene.water->angles.size());
    return scene.history->hasBeam ? std::min(scene.history->beam, beams - 1) : beams / 2;
}

void BeamPane::PaintTrace(Canvas& canvas, std::span<TraceColumn const> columns, double range, double width,
                          Colour colour)
{
    double beforeX = 0.0;
    double beforeY = 0.0;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        double const metres = (static_cast<double>(i) + 0.5) / static_cast<double>(columns.size()) * range;
        double const x = m_axes.XOf(metres, m_width);
        double const least = m_axes.YOf(columns[i].least, m_height);
        double const most = m_axes.YOf(columns[i].greatest, m_height);
        if (least - most > 1.0) {
            canvas.Line(x, least, x, most, width, colour);
        } else if (i > 0) {
            canvas.Line(beforeX, beforeY, x, most, width, colour);
        }
        beforeX = x;
        beforeY = most;
    }
}

void BeamPane::PaintContent(Canvas& canvas, Scene const& scene)
{
    canvas.Fill(scene.theme.ground);
    m_width = std::max(1, canvas.Width());
    m_height = std::max(1, canvas.Height());
    auto const beam = BeamOf(scene);
    double const range = scene.water != nullptr ? scene.water->Range() : scene.settings.range.value_or(100.0);
    if (!m_isZoomed) {
        double const span = scene.scale.to - scene.scale.from;
        m_axes = {0.0, std::isfinite(range) && range > 0.0 ? range : 100.0, scene.scale.to + 0.1 * span,
                  scene.scale.from - 0.1 * span};
    }
    PaintRules(canvas, scene, m_axes, " m", " dB");
    if (!beam) {
        return;
    }
    WaterPing const& water = *scene.water;
    constexpr Colour noiseColour = 0xFFB07AFFU;
    constexpr Colour gainColour = 0xFFFFA94DU;
    PaintTrace(canvas, m_trace.Gain(water, m_width), range, 1.6, gainColour);
    PaintTrace(canvas, m_trace.Noise(water, m_width), range, 1.6, noiseColour);
    PaintTrace(canvas, m_trace.Levels(water, *beam, m_width), range, 1.3, scene.theme.ink);
    if (scene.detections != nullptr) {
        for (Detection const& each : scene.detections->detections) {
            if (each.beam == *beam) {
                double const x = m_axes.XOf(each.range, m_width);
                canvas.Line(x, 0.0, x, m_height, 1.4, 0xFF63D2FFU);
            }
        }
    }
    Label label;
    label << "beam ";
    label.Number(*beam, 0) << " of ";
    label.Number(static_cast<double>(water.angles.size()), 0) << ", ";
    label.Number(water.angles[*beam], 1) << "\xB0";
    int const line = scene.glyphs->height + 8;
    int const left = std::max(0, m_width - scene.glyphs->WidthOf("beam 0000 of 0000, -00.0\xB0") - 16);
    canvas.TextBox(*scene.glyphs, left, line, label.Text(), scene.theme.ink, scene.theme.box);
    int row = 2;
    for (auto const& [text, colour] : {std::pair{std::string_view("level"), scene.theme.ink},
                                       {"noise", noiseColour},
                                       {"gain", gainColour},
                                       {"detection", Colour{0xFF63D2FFU}}}) {
        canvas.TextBox(*scene.glyphs, left + 26, row * line, text, scene.theme.ink, scene.theme.box);
        canvas.FillBox(left, row * line + line / 2 - 2, 22, 4, colour);
        ++row;
    }
}

void BeamPane::Describe(Scene const& scene, Spot at, Label& label) const
{
    auto const beam = BeamOf(scene);
    double const range = m_axes.AcrossAt(at.x, m_width);
    if (!beam || range < 0.0) {
        return;
    }
    WaterPing const& water = *scene.water;
    Place const place = PlaceAt(water.angles[*beam], range);
    label << "range ";
    label.Number(range, 1) << " m, angle ";
    label.Number(water.angles[*beam], 1) << "\xB0, depth ";
    label.Number(place.z, 1) << " m";
    double const sample = range / water.SampleLength();
    if (sample < water.samples) {
        auto const index = static_cast<std::size_t>(sample);
        label << ", ";
        label.Number(water.LevelOf(water.levels[std::size_t{*beam} * water.samples + index]), 1) << " dB";
        if (index < water.noise.size()) {
            label << ", noise ";
            label.Number(water.noise[index], 1) << " dB";
        }
    }
}

} // namespace picture
