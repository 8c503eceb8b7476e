// Speckle from a counter that is mixed: no state beyond 64 bits.
#include "speckle.h"

#include <cmath>

namespace qx5::acoustics {

namespace {

// The increment and the mixing of SplitMix64 (Steele, Lea, Flood 2014).
constexpr std::uint64_t increment = 0x9E3779B97F4A7C15;

constexpr std::uint64_t Mixed(std::uint64_t bits)
{
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EB;
    return bits ^ (bits >> 31);
}

} // namespace

Speckle::Speckle(std::uint64_t seed, std::uint64_t ping, std::uint64_t beam)
    // Each is mixed before the next is added, so that neighbours in any of the three have nothing in common.
    : m_state(Mixed(Mixed(Mixed(seed + increment) + ping + increment) + beam + increment))
{
}

double Speckle::NextIntensity()
{
    m_state += increment;
    // The middle of one of 2^53 equal steps between 0 and 1: neither end is ever met.
    double const uniform = (static_cast<double>(Mixed(m_state) >> 11) + 0.5) * 0x1p-53;
    return -std::log(uniform);
}

} // namespace qx5::acoustics
