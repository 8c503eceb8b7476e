// The lines that are drawn into a fan, in metres: range rings, swath, steering, gates.
#pragma once

#include "fan_handles.h"
#include "fan_settings.h"
#include "ping.h"

#include <cstddef>
#include <span>
#include <vector>

namespace picture {

enum class StrokeKind
{
    Ring,
    Range,
    Sector,
    Steering,
    RangeGate,
    DepthGate,
    AdaptiveGate,
};

/// A line through the points [first, end) of its overlay.
struct Stroke
{
    StrokeKind kind;
    std::size_t first;
    std::size_t end;
    double value; ///< of a ring: its range, m
};

/// Built again when settings change; then no more memory than before for as many lines.
class FanOverlay
{
public:
    /// `range` of the picture, m: rings at round numbers within it. Where that is not positive and finite, nothing.
    void Build(FanSettings const& settings, Sector const& sector, double range);

    std::span<Stroke const> Strokes() const { return m_strokes; }
    std::span<Place const> Points(Stroke const& stroke) const
    {
        return std::span(m_points).subspan(stroke.first, stroke.end - stroke.first);
    }

private:
    void Arc(StrokeKind kind, double range, Sector const& sector);
    void Ray(StrokeKind kind, double angle, double range);
    /// The part of a line at a depth that lies within the swath and the range.
    void Across(StrokeKind kind, double depth, double tilt, Sector const& sector, double range);
    void Close(StrokeKind kind, std::size_t first, double value);

    std::vector<Stroke> m_strokes;
    std::vector<Place> m_points;
};

/// A round number of metres (1, 2 or 5 times a power of ten) of which some five make up the range.
double RingStep(double range);

} // namespace picture
