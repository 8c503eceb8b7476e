// The fluctuation of echoes from a rough bottom: many small ones that add up by chance.
#pragma once

#include <cstdint>

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

private:
    std::uint64_t m_state;
};

} // namespace qx5::acoustics
