// What all panes have alike: themes, the colours' scale, the cursor.
#include "scene.h"

#include <algorithm>
#include <cmath>

namespace picture {

Theme ThemeFor(bool isDark)
{
    return isDark ? Theme{} : Theme{0xFFF3F6F8U, 0xFF15212AU, 0xFF8B99A3U, 0xFFFFFFFFU};
}

History::History() = default;

void History::Take(DetectionPing const& ping)
{
    profile.Add(ping);
    double deepest = 0.0;
    for (Detection const& each : ping.detections) {
        deepest = std::max(deepest, static_cast<double>(each.range) * std::cos(each.angle * radiansOf));
    }
    if (!m_hasCellSize && deepest > 0.0) {
        // Some two per cent of the depth, as the beams' footprints are, as a power of two.
        double const wanted = std::clamp(deepest * 0.025, 0.125, 64.0);
        grid.Clear(std::exp2(std::round(std::log2(wanted))));
        m_hasCellSize = true;
    }
    for (Detection const& each : ping.detections) {
        Sounding const at = Locate(ping, each);
        grid.Add(at.east, at.north, at.depth);
    }
    grid.Shade();
}

void History::Clear()
{
    waterfall.Clear();
    profile.Clear();
    grid.Clear(grid.CellSize());
    m_hasCellSize = false;
    hasBeam = false;
}

int Pane::ScaleWidth(Scene const& scene)
{
    return 24 + scene.glyphs->WidthOf("-000.0 dB");
}

void Pane::PaintScale(Canvas& canvas, Scene const& scene, double from, double to, int decimals, std::string_view unit,
                      bool isReversed)
{
    int const line = scene.glyphs->height;
    int const top = line;
    int const height = std::min(canvas.Height() - 2 * line, 16 * line);
    int const left = canvas.Width() - ScaleWidth(scene) + 8;
    if (height < 4 * line || left < canvas.Width() / 3) {
        return;
    }
    constexpr int barWidth = 10;
    constexpr int margin = 4;
    canvas.FillBox(left - margin, top - line / 2 - 2, canvas.Width() - left + margin, height + line + 4,
                   scene.theme.box);
    Palette const& colours = PaletteOf(scene.palette);
    for (int y = 0; y < height; ++y) {
        auto const entry = static_cast<std::size_t>((height - 1 - y) * 255 / std::max(height - 1, 1));
        canvas.FillBox(left, top + y, barWidth, 1, colours[isReversed ? 255 - entry : entry]);
    }
    constexpr int labels = 5;
    for (int i = 0; i < labels; ++i) {
        Label label;
        label.Number(to + (from - to) * i / (labels - 1), decimals) << unit;
        canvas.Text(*scene.glyphs, left + barWidth + margin, top + (height - 1) * i / (labels - 1) - line / 2,
                    label.Text(), scene.theme.ink);
    }
}

void Pane::Paint(Canvas& canvas, Scene const& scene)
{
    PaintContent(canvas, scene);
    int const line = scene.glyphs->height;
    if (!scene.note.empty()) {
        canvas.TextBox(*scene.glyphs, (canvas.Width() - scene.glyphs->WidthOf(scene.note)) / 2,
                       canvas.Height() / 2 - line, scene.note, scene.theme.ink, scene.theme.box);
    }
    if (scene.cursor) {
        auto const x = static_cast<int>(scene.cursor->x);
        auto const y = static_cast<int>(scene.cursor->y);
        Label label;
        Describe(scene, *scene.cursor, label);
        if (!label.Text().empty()) {
            constexpr double arm = 9.0;
            for (auto const& [width, colour] : {std::pair{3.0, Colour{0xFF000000U}}, {1.0, Colour{0xFFFFFFFFU}}}) {
                canvas.Line(scene.cursor->x - arm, scene.cursor->y, scene.cursor->x + arm, scene.cursor->y, width,
                            colour);
                canvas.Line(scene.cursor->x, scene.cursor->y - arm, scene.cursor->x, scene.cursor->y + arm, width,
                            colour);
            }
            canvas.TextBox(*scene.glyphs, x + 12, y + 12, label.Text(), scene.theme.ink, scene.theme.box);
        }
    }
}

void Axes::Zoom(double factor, double x, double y)
{
    if (!std::isfinite(factor) || factor <= 0.0) {
        return;
    }
    constexpr double least = 0.01; // m or dB from edge to edge
    constexpr double most = 1e6;
    double const width = std::abs(right - left) / factor;
    double const height = std::abs(bottom - top) / factor;
    if (width < least || height < least || width > most || height > most) {
        return;
    }
    left = x + (left - x) / factor;
    right = x + (right - x) / factor;
    top = y + (top - y) / factor;
    bottom = y + (bottom - y) / factor;
}

} // namespace picture
