// The map from a fan's pixels to its samples.
#include "polar_map.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace picture {

bool PolarMap::Fit(int width, int height, FanView const& view, BeamFan const& beams, std::uint32_t samples,
                   double sampleLength)
{
    auto const limits = beams.Limits();
    if (width == m_width && height == m_height && view == m_view && samples == m_samples &&
        sampleLength == m_sampleLength && std::equal(limits.begin(), limits.end(), m_limits.begin(), m_limits.end())) {
        return false;
    }
    m_width = width;
    m_height = height;
    m_view = view;
    m_samples = samples;
    m_sampleLength = sampleLength;
    m_limits.assign(limits.begin(), limits.end());
    m_runs.clear();
    m_indices.clear();
    m_tangents.clear();
    auto const isUsable = [](double value) { return std::isfinite(value) && value > 0.0; };
    if (limits.size() < 2 || samples == 0 || !isUsable(sampleLength) || !isUsable(view.pixelsPerMetre) ||
        !std::isfinite(view.originX) || !std::isfinite(view.originY)) {
        return true;
    }
    constexpr double infinite = std::numeric_limits<double>::infinity();
    for (double const limit : limits) {
        m_tangents.push_back(limit <= -90.0 ? -infinite : limit >= 90.0 ? infinite : std::tan(limit * radiansOf));
    }
    for (int y = 0; y < height; ++y) {
        AddRow(y, beams);
    }
    return true;
}

void PolarMap::Take(int y, int x, std::uint32_t beam, double range)
{
    auto const sample = static_cast<std::uint32_t>(range / m_sampleLength);
    if (sample >= m_samples) {
        return; // by a rounding
    }
    if (m_runs.empty() || m_runs.back().y != y || m_runs.back().end != x) {
        m_runs.push_back({y, x, x, m_indices.size()});
    }
    ++m_runs.back().end;
    m_indices.push_back(beam * m_samples + sample);
}

void PolarMap::AddRow(int y, BeamFan const& beams)
{
    double const z = (y + 0.5 - m_view.originY) / m_view.pixelsPerMetre;
    double const range = m_sampleLength * m_samples;
    if (z > 0.0 && z < range) {
        AddRowBelow(y, z);
    } else if (z <= 0.0 && z > -range && (m_limits.front() < -90.0 || m_limits.back() > 90.0)) {
        AddRowAbove(y, z, beams);
    }
}

/// In a row below the sonar the beams stand side by side: no angle needs to be worked out.
void PolarMap::AddRowBelow(int y, double z)
{
    double const range = m_sampleLength * m_samples;
    double const half = std::sqrt(range * range - z * z);
    double const left = std::max(-half, z * m_tangents.front());
    double const right = std::min(half, z * m_tangents.back());
    int x = static_cast<int>(
        std::clamp(std::floor(m_view.originX + left * m_view.pixelsPerMetre), 0.0, static_cast<double>(m_width)));
    std::uint32_t beam = 0;
    auto const beams = static_cast<std::uint32_t>(m_tangents.size() - 1);
    for (; x < m_width; ++x) {
        double const metres = (x + 0.5 - m_view.originX) / m_view.pixelsPerMetre;
        if (metres < left) {
            continue;
        }
        if (metres >= right) {
            break;
        }
        while (beam + 1 < beams && metres >= z * m_tangents[beam + 1]) {
            ++beam;
        }
        Take(y, x, beam, std::sqrt(metres * metres + z * z));
    }
}

void PolarMap::AddRowAbove(int y, double z, BeamFan const& beams)
{
    double const range = m_sampleLength * m_samples;
    for (int x = 0; x < m_width; ++x) {
        Place const place{(x + 0.5 - m_view.originX) / m_view.pixelsPerMetre, z};
        double const distance = RangeOf(place);
        std::uint32_t const beam = distance < range ? beams.BeamAt(AngleOf(place)) : BeamFan::none;
        if (beam != BeamFan::none) {
            Take(y, x, beam, distance);
        }
    }
}

void PolarMap::Paint(Canvas& canvas, std::span<std::uint8_t const> levels, Palette const& colours, Colour ground) const
{
    std::size_t const needed = m_limits.size() < 2 ? 0 : (m_limits.size() - 1) * std::size_t{m_samples};
    auto run = m_runs.begin();
    auto const end = levels.size() < needed ? run : m_runs.end();
    int const height = std::min(canvas.Height(), m_height);
    int const width = std::min(canvas.Width(), m_width);
    std::uint8_t const* const level = levels.data();
    Colour const* const colour = colours.data();
    for (int y = 0; y < height; ++y) {
        Colour* const row = canvas.Row(y);
        int x = 0;
        for (; run != end && run->y == y; ++run) {
            std::fill(row + x, row + run->x, ground);
            std::uint32_t const* index = m_indices.data() + run->first;
            for (x = run->x; x < run->end; ++x) {
                row[x] = colour[level[*index++]];
            }
        }
        std::fill(row + x, row + width, ground);
    }
}

std::span<std::uint8_t const> PeakLevels::Take(std::span<std::uint8_t const> levels, std::uint32_t samples,
                                               std::uint32_t by)
{
    if (by <= 1 || samples == 0) {
        return levels;
    }
    std::size_t const beams = levels.size() / samples;
    std::uint32_t const kept = SamplesOf(samples, by);
    m_peaks.resize(beams * kept);
    for (std::size_t beam = 0; beam < beams; ++beam) {
        std::uint8_t const* from = levels.data() + beam * samples;
        std::uint8_t* to = m_peaks.data() + beam * kept;
        for (std::uint32_t i = 0; i < samples; i += by) {
            *to++ = *std::max_element(from + i, from + std::min(i + by, samples));
        }
    }
    return m_peaks;
}

} // namespace picture
