// The fluctuation of echoes from a rough bottom: many small ones that add up by chance.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qx5::acoustics {

/// Factors of intensity, mean 1, whose amplitude is distributed as Rayleigh's: the level in dB deviates by 5.57 dB. The
/// same for the same seed, ping and beam, in whatever order pings and beams are computed, on every platform but for
/// rounding of the logarithm. A value type of 8 bytes.
class Speckle
{
public:
    Speckle(std::uint64_t seed, std::uint64_t ping, std::uint64_t beam);

    /// Of the next sample: above 0, below 40.
    double NextIntensity();
    /// Of as many samples as there are places: the same distribution, from a table that ends 11 dB above the mean. A
    /// pulse covers `together` samples, whose scatterers neighbours within it share; samples further apart have nothing
    /// in common. `scratch` is memory that may be kept for the next call.
    void Fill(std::span<float> intensities, std::size_t together, std::vector<float>& scratch);

private:
    std::uint64_t m_state;
};

} // namespace qx5::acoustics
