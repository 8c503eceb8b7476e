// Which beam and sample each pixel of a fan shows, worked out once for as long as nothing of it changes.
#pragma once

#include "canvas.h"
#include "ping.h"

#include <cstdint>
#include <span>
#include <vector>

namespace picture {

/// Where the sonar is in a picture, and how large a metre is.
struct FanView
{
    double originX = 0.0; ///< pixels from the left edge
    double originY = 0.0; ///< pixels from the upper edge
    double pixelsPerMetre = 1.0;

    friend bool operator==(FanView const&, FanView const&) = default;

    Place PlaceOf(double pixelX, double pixelY) const
    {
        return {(pixelX - originX) / pixelsPerMetre, (pixelY - originY) / pixelsPerMetre};
    }
    double XOf(Place place) const { return originX + place.x * pixelsPerMetre; }
    double YOf(Place place) const { return originY + place.z * pixelsPerMetre; }
};

/// A frame is then one table look-up for each pixel. Not for two threads at once.
class PolarMap
{
public:
    /// Works the map out anew if anything differs from the last call; says whether it did. `samples` of `sampleLength`
    /// metres each; a length or scale that is not positive and finite, or a fan without beams, gives an empty map.
    bool Fit(int width, int height, FanView const& view, BeamFan const& beams, std::uint32_t samples,
             double sampleLength);
    /// All of the canvas, which has the size that was given: `ground` beyond the fan. `levels` has a byte for each
    /// sample of each beam; with fewer, nothing but the ground is painted.
    void Paint(Canvas& canvas, std::span<std::uint8_t const> levels, Palette const& colours, Colour ground) const;

private:
    struct Run
    {
        int y;
        int x;
        int end;
        std::size_t first; ///< in m_indices
    };

    void AddRow(int y, BeamFan const& beams);
    void AddRowBelow(int y, double z);
    void AddRowAbove(int y, double z, BeamFan const& beams);
    void Take(int y, int x, std::uint32_t beam, double range);

    int m_width = 0;
    int m_height = 0;
    FanView m_view;
    std::vector<double> m_limits;
    std::uint32_t m_samples = 0;
    double m_sampleLength = 0.0;
    std::vector<double> m_tangents; ///< of the limits, infinite from a right angle on
    std::vector<Run> m_runs;
    std::vector<std::uint32_t> m_indices;
};

/// The strongest of each `by` samples, for a picture that has fewer pixels than there are samples: a wreck's mast must
/// not fall between two of them.
class PeakLevels
{
public:
    /// The samples of each beam that Take gives.
    static std::uint32_t SamplesOf(std::uint32_t samples, std::uint32_t by) { return (samples + by - 1) / by; }
    /// The levels themselves where `by` is 1; valid until the next call.
    std::span<std::uint8_t const> Take(std::span<std::uint8_t const> levels, std::uint32_t samples, std::uint32_t by);

private:
    std::vector<std::uint8_t> m_peaks;
};

} // namespace picture
