// The lines of a fan, made of points.
#include "fan_overlay.h"

#include <algorithm>
#include <cmath>

namespace picture {

double RingStep(double range)
{
    double const decade = std::pow(10.0, std::floor(std::log10(range / 5.0)));
    double const part = range / 5.0 / decade;
    return decade * (part < 1.5 ? 1.0 : part < 3.5 ? 2.0 : part < 7.5 ? 5.0 : 10.0);
}

void FanOverlay::Build(FanSettings const& settings, Sector const& sector, double range)
{
    m_strokes.clear();
    m_points.clear();
    if (!std::isfinite(range) || range <= 0.0 || !std::isfinite(sector.port) || !std::isfinite(sector.starboard)) {
        return;
    }
    double const step = RingStep(range);
    for (int i = 1; i * step < range * 0.999 && i < 20; ++i) {
        Arc(StrokeKind::Ring, i * step, sector);
    }
    if (settings.range) {
        Arc(StrokeKind::Range, *settings.range, sector);
    }
    Ray(StrokeKind::Sector, sector.port, range);
    Ray(StrokeKind::Sector, sector.starboard, range);
    if (settings.coverage && settings.steering) {
        Ray(StrokeKind::Steering, *settings.steering, range);
    }
    if (settings.rangeGate && settings.rangeGate->acts) {
        Arc(StrokeKind::RangeGate, settings.rangeGate->least, sector);
        Arc(StrokeKind::RangeGate, settings.rangeGate->greatest, sector);
    }
    if (settings.depthGate && settings.depthGate->acts) {
        Across(StrokeKind::DepthGate, settings.depthGate->least, settings.depthGateTilt, sector, range);
        Across(StrokeKind::DepthGate, settings.depthGate->greatest, settings.depthGateTilt, sector, range);
    }
    if (settings.search && settings.search->acts) {
        Across(StrokeKind::AdaptiveGate, settings.search->least, 0.0, sector, range);
        Across(StrokeKind::AdaptiveGate, settings.search->greatest, 0.0, sector, range);
    }
}

void FanOverlay::Close(StrokeKind kind, std::size_t first, double value)
{
    m_strokes.push_back({kind, first, m_points.size(), value});
}

void FanOverlay::Arc(StrokeKind kind, double range, Sector const& sector)
{
    if (!std::isfinite(range) || range <= 0.0) {
        return;
    }
    constexpr int parts = 72;
    std::size_t const first = m_points.size();
    for (int i = 0; i <= parts; ++i) {
        m_points.push_back(PlaceAt(sector.port + (sector.starboard - sector.port) * i / parts, range));
    }
    Close(kind, first, range);
}

void FanOverlay::Ray(StrokeKind kind, double angle, double range)
{
    std::size_t const first = m_points.size();
    m_points.push_back({});
    m_points.push_back(PlaceAt(angle, range));
    Close(kind, first, range);
}

void FanOverlay::Across(StrokeKind kind, double depth, double tilt, Sector const& sector, double range)
{
    if (!std::isfinite(depth) || !std::isfinite(tilt) || depth <= 0.0) {
        return;
    }
    // In polar form: the range at which the beam of an angle meets the line.
    constexpr int parts = 96;
    double const slope = std::tan(tilt * radiansOf);
    std::size_t first = m_points.size();
    for (int i = 0; i <= parts; ++i) {
        double const angle = sector.port + (sector.starboard - sector.port) * i / parts;
        double const falls = std::cos(angle * radiansOf) - slope * std::sin(angle * radiansOf);
        double const distance = falls > 1e-6 ? depth / falls : -1.0;
        if (distance > 0.0 && distance <= range) {
            m_points.push_back(PlaceAt(angle, distance));
        } else if (m_points.size() > first) {
            Close(kind, first, depth);
            first = m_points.size();
        }
    }
    if (m_points.size() > first) {
        Close(kind, first, depth);
    }
}

} // namespace picture
