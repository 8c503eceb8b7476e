// The fan: echoes to scale, and the settings drawn into them.
#include "scene.h"

#include <algorithm>
#include <cmath>

namespace picture {

namespace {

constexpr Colour halo = 0xFF000000U;
constexpr double reachPixels = 9.0; // from a handle or line, within which it is taken hold of
constexpr double dialPixels = 34.0;

/// Each kind has its own place and text, too: colour is not all that tells them apart.
Colour ColourOf(StrokeKind kind, Theme const& theme)
{
    switch (kind) {
    case StrokeKind::Ring:
        return theme.faint;
    case StrokeKind::Range:
    case StrokeKind::Sector:
        return 0xFFFFFFFFU;
    case StrokeKind::Steering:
        return 0xFFC9D3DAU;
    case StrokeKind::RangeGate:
        return 0xFFFFA94DU;
    case StrokeKind::DepthGate:
        return 0xFF63D2FFU;
    case StrokeKind::AdaptiveGate:
        break;
    }
    return 0xFFFF8FE0U;
}

StrokeKind KindOf(Handle handle)
{
    switch (handle) {
    case Handle::Range:
        return StrokeKind::Range;
    case Handle::SectorPort:
    case Handle::SectorStarboard:
        return StrokeKind::Sector;
    case Handle::MinRangeGate:
    case Handle::MaxRangeGate:
        return StrokeKind::RangeGate;
    case Handle::MinDepthGate:
    case Handle::MaxDepthGate:
    case Handle::DepthGateTilt:
        return StrokeKind::DepthGate;
    case Handle::MinSearch:
    case Handle::MaxSearch:
        return StrokeKind::AdaptiveGate;
    default:
        return StrokeKind::Steering;
    }
}

double SineWithin(double angle)
{
    return std::sin(std::clamp(angle, -90.0, 90.0) * radiansOf);
}

} // namespace

void FanPane::FitView(Canvas const& canvas, Scene const& scene)
{
    double const told = scene.settings.range.value_or(0.0);
    double const heard = scene.water != nullptr ? scene.water->Range() : 0.0;
    // While the range is drawn the picture stays as it was, else the handle would run away from the hand.
    bool const isDrawn = scene.handle == Handle::Range && m_range > 0.0;
    double const wanted = std::max(told, heard);
    if ((scene.follows && !isDrawn) || m_range <= 0.0) {
        m_range = std::isfinite(wanted) && wanted > 0.0 ? wanted : 100.0;
    }
    double const beamsPort = m_beams.Limits().empty() ? m_sector.port : m_beams.Limits().front();
    double const beamsStarboard = m_beams.Limits().empty() ? m_sector.starboard : m_beams.Limits().back();
    double const port = std::min(m_sector.port, beamsPort);
    double const starboard = std::max(m_sector.starboard, beamsStarboard);
    double const left = std::max(0.1, -SineWithin(port));
    double const right = std::max(0.1, SineWithin(starboard));
    double const above = std::max({0.0, -std::cos(port * radiansOf), -std::cos(starboard * radiansOf)});
    double const margin = std::min(26.0, 0.1 * std::min(canvas.Width(), canvas.Height()));
    // The colours' scale has the right edge, where there is room for both.
    int const scaleWidth = ScaleWidth(scene) < canvas.Width() / 4 ? ScaleWidth(scene) : 0;
    double const width = canvas.Width() - 2.0 * margin - scaleWidth;
    double const height = canvas.Height() - 2.0 * margin;
    FanView fit;
    fit.pixelsPerMetre = std::max(1e-9, std::min(width / (left + right), height / (1.0 + above)) / m_range);
    fit.originX = (canvas.Width() - scaleWidth) / 2.0 + (left - right) / 2.0 * m_range * fit.pixelsPerMetre;
    fit.originY = margin + above * m_range * fit.pixelsPerMetre;
    m_view = m_zoomed.value_or(fit);
}

void FanPane::PaintContent(Canvas& canvas, Scene const& scene)
{
    WaterPing const* const water = scene.water;
    if (water != nullptr) {
        m_beams.SetAngles(water->angles);
    } else {
        m_beams.SetAngles({});
    }
    m_sector = SectorOf(scene.settings, m_beams);
    FitView(canvas, scene);
    if (water != nullptr && !water->IsEmpty()) {
        double const pixels = water->SampleLength() * m_view.pixelsPerMetre;
        auto const by = static_cast<std::uint32_t>(std::clamp(1.0 / std::max(pixels, 1e-9), 1.0, 4096.0));
        m_map.Fit(canvas.Width(), canvas.Height(), m_view, m_beams, PeakLevels::SamplesOf(water->samples, by),
                  water->SampleLength() * by);
        m_map.Paint(canvas, m_peaks.Take(water->levels, water->samples, by),
                    m_colours.For(water->floor, water->step, scene.scale, scene.palette), scene.theme.ground);
    } else {
        canvas.Fill(scene.theme.ground);
    }
    PaintLines(canvas, scene);
    PaintDetections(canvas, scene);
    PaintHandles(canvas, scene);
    PaintDial(canvas, scene);
    PaintScale(canvas, scene, scene.scale.from, scene.scale.to, 0, " dB");
}

void FanPane::PaintLines(Canvas& canvas, Scene const& scene)
{
    m_overlay.Build(scene.settings, m_sector, m_range);
    for (bool const isHalo : {true, false}) {
        for (Stroke const& stroke : m_overlay.Strokes()) {
            bool const isThin = stroke.kind == StrokeKind::Ring || stroke.kind == StrokeKind::Steering;
            if (isThin && isHalo) {
                continue;
            }
            double const width = isHalo ? 3.4 : isThin ? 1.0 : 1.6;
            Colour const colour = isHalo ? halo : ColourOf(stroke.kind, scene.theme);
            auto const points = m_overlay.Points(stroke);
            for (std::size_t i = 1; i < points.size(); ++i) {
                canvas.Line(m_view.XOf(points[i - 1]), m_view.YOf(points[i - 1]), m_view.XOf(points[i]),
                            m_view.YOf(points[i]), width, colour);
            }
        }
    }
    double const step = RingStep(m_range);
    for (Stroke const& stroke : m_overlay.Strokes()) {
        if (stroke.kind != StrokeKind::Ring) {
            continue;
        }
        Label label;
        label.Number(stroke.value, step < 1.0 ? 1 : 0) << " m";
        Place const end = m_overlay.Points(stroke).back();
        canvas.Text(*scene.glyphs, static_cast<int>(std::clamp(m_view.XOf(end) + 5.0, -1e6, 1e6)),
                    static_cast<int>(std::clamp(m_view.YOf(end) - scene.glyphs->height / 2.0, -1e6, 1e6)), label.Text(),
                    scene.theme.ink);
    }
    if (scene.history->hasBeam && scene.water != nullptr && scene.history->beam < scene.water->angles.size()) {
        Place const end = PlaceAt(scene.water->angles[scene.history->beam], m_range);
        canvas.Line(m_view.originX, m_view.originY, m_view.XOf(end), m_view.YOf(end), 1.0, 0xFFFFFFFFU);
    }
}

void FanPane::PaintDetections(Canvas& canvas, Scene const& scene)
{
    if (scene.detections == nullptr) {
        return;
    }
    constexpr double dense = 6.0; // pixels from one to the next: then only what is beside them tells them from echoes
    double beforeX = -1e9;
    double beforeY = -1e9;
    for (Detection const& each : scene.detections->detections) {
        Place const at = PlaceAt(each.angle, each.range);
        double const x = m_view.XOf(at);
        double const y = m_view.YOf(at);
        if (!(x > -8.0 && y > -8.0 && x < canvas.Width() + 8.0 && y < canvas.Height() + 8.0)) {
            continue;
        }
        auto const left = static_cast<int>(std::floor(x)) - 1;
        auto const top = static_cast<int>(std::floor(y)) - 1;
        // Doubtful ones are small.
        int const size = each.quality >= 0.5F ? 2 : 1;
        if (std::hypot(x - beforeX, y - beforeY) > dense) {
            canvas.FillBox(left - 1, top - 1, size + 2, size + 2, halo);
        } else {
            canvas.FillBox(left, top + size, size, 1, halo);
        }
        canvas.FillBox(left, top, size, size, 0xFFFFFFFFU);
        beforeX = x;
        beforeY = y;
    }
}

void FanPane::PaintHandles(Canvas& canvas, Scene const& scene)
{
    for (Handle const handle : allHandles) {
        auto const at = handle != Handle::FanTilt ? SpotOf(scene.settings, handle) : std::nullopt;
        if (!at) {
            continue;
        }
        bool const isChosen = scene.handle == handle;
        canvas.Disc(at->x, at->y, isChosen ? 7.0 : 4.5, ColourOf(KindOf(handle), scene.theme),
                    isChosen ? scene.theme.ink : halo);
        if (isChosen) {
            Label label;
            label << TextOf(handle) << " ";
            label.Number(ValueOf(scene.settings, handle).value_or(0.0), 1) << UnitOf(handle);
            canvas.TextBox(*scene.glyphs, static_cast<int>(std::clamp(at->x + 12.0, -1e6, 1e6)),
                           static_cast<int>(std::clamp(at->y - 1.5 * scene.glyphs->height, -1e6, 1e6)), label.Text(),
                           scene.theme.ink, scene.theme.box);
        }
    }
}

/// The ship from its side, bow to the right: the fan along track.
void FanPane::PaintDial(Canvas& canvas, Scene const& scene)
{
    m_dialRadius = 0.0;
    bool const hasRoom = canvas.Width() > 6 * dialPixels && canvas.Height() > 6 * dialPixels;
    if (!scene.settings.fanTilt || !hasRoom) {
        return;
    }
    int const line = scene.glyphs->height;
    m_dialRadius = dialPixels;
    m_dialX = dialPixels + 10.0;
    m_dialY = 1.5 * line;
    canvas.FillBox(2, 2, static_cast<int>(2.0 * dialPixels) + 16, static_cast<int>(m_dialY + dialPixels) + line + 8,
                   scene.theme.box);
    canvas.Line(m_dialX - dialPixels, m_dialY, m_dialX + dialPixels * 0.8, m_dialY, 2.0, scene.theme.ink);
    canvas.Line(m_dialX + dialPixels * 0.8, m_dialY, m_dialX + dialPixels, m_dialY - 6.0, 2.0, scene.theme.ink);
    canvas.Line(m_dialX, m_dialY, m_dialX, m_dialY + dialPixels, 1.0, scene.theme.faint);
    double const tilt = *scene.settings.fanTilt;
    Place const end = PlaceAt(tilt, dialPixels);
    bool const isChosen = scene.handle == Handle::FanTilt;
    canvas.Line(m_dialX, m_dialY, m_dialX + end.x, m_dialY + end.z, 2.0, scene.theme.ink);
    canvas.Disc(m_dialX + end.x, m_dialY + end.z, isChosen ? 7.0 : 4.5, ColourOf(StrokeKind::Steering, scene.theme),
                isChosen ? scene.theme.ink : halo);
    Label label;
    label.Number(tilt, 2) << "\xB0";
    canvas.Text(*scene.glyphs, 8, static_cast<int>(m_dialY + dialPixels) + 6, label.Text(), scene.theme.ink);
}

void FanPane::Describe(Scene const& scene, Spot at, Label& label) const
{
    Place const place = m_view.PlaceOf(at.x, at.y);
    double const range = RangeOf(place);
    double const angle = AngleOf(place);
    label << "range ";
    label.Number(range, 1) << " m, angle ";
    label.Number(std::abs(angle), 1) << (angle < 0.0 ? "\xB0 port" : "\xB0 starboard") << ", depth ";
    label.Number(place.z, 1) << " m";
    if (scene.water == nullptr || scene.water->IsEmpty() || !(range < scene.water->Range())) {
        return;
    }
    auto const beam = m_beams.BeamAt(angle);
    auto const sample = static_cast<std::uint32_t>(range / scene.water->SampleLength());
    std::size_t const index = std::size_t{beam} * scene.water->samples + sample;
    if (beam != BeamFan::none && sample < scene.water->samples && index < scene.water->levels.size()) {
        label << ", ";
        label.Number(scene.water->LevelOf(scene.water->levels[index]), 1) << " dB";
    }
}

void FanPane::Zoom(double factor, Spot at)
{
    if (!std::isfinite(factor) || factor <= 0.0) {
        return;
    }
    FanView view = m_view;
    constexpr double least = 1e-3; // pixels for a metre
    constexpr double most = 1e4;
    double const next = std::clamp(view.pixelsPerMetre * factor, least, most);
    double const by = next / view.pixelsPerMetre;
    view.pixelsPerMetre = next;
    view.originX = at.x + (view.originX - at.x) * by;
    view.originY = at.y + (view.originY - at.y) * by;
    m_zoomed = view;
    m_view = view;
}

void FanPane::Move(double x, double y)
{
    FanView view = m_view;
    view.originX += x;
    view.originY += y;
    m_zoomed = view;
    m_view = view;
}

std::optional<Handle> FanPane::HandleAtSpot(FanSettings const& settings, FanLimits const& limits, Spot at) const
{
    bool const canTilt = limits.greatestTilt > limits.leastTilt;
    if (m_dialRadius > 0.0 && at.x < m_dialX + m_dialRadius + 10.0 && at.y < m_dialY + m_dialRadius + 10.0) {
        return canTilt && settings.fanTilt ? std::optional(Handle::FanTilt) : std::nullopt;
    }
    return HandleAt(settings, m_sector, m_range, m_view.PlaceOf(at.x, at.y), reachPixels / m_view.pixelsPerMetre);
}

Place FanPane::PlaceFor(Handle handle, Spot at) const
{
    return handle == Handle::FanTilt ? Place{at.x - m_dialX, at.y - m_dialY} : m_view.PlaceOf(at.x, at.y);
}

std::optional<Spot> FanPane::SpotOf(FanSettings const& settings, Handle handle) const
{
    if (handle == Handle::FanTilt) {
        if (m_dialRadius <= 0.0 || !settings.fanTilt) {
            return std::nullopt;
        }
        Place const end = PlaceAt(*settings.fanTilt, m_dialRadius);
        return Spot{m_dialX + end.x, m_dialY + end.z};
    }
    auto const place = PlaceOfHandle(settings, m_sector, m_range, handle);
    return place ? std::optional(Spot{m_view.XOf(*place), m_view.YOf(*place)}) : std::nullopt;
}

std::optional<std::uint32_t> FanPane::BeamAtSpot(Spot at) const
{
    auto const beam = m_beams.BeamAt(AngleOf(m_view.PlaceOf(at.x, at.y)));
    return beam != BeamFan::none ? std::optional(beam) : std::nullopt;
}

} // namespace picture
