// Numbers by chance that are the same each time: a counter that is mixed, without any state beyond it.
#pragma once

#include <cstdint>

namespace qx5::acoustics {

// The increment and the mixing of SplitMix64 (Steele, Lea, Flood 2014).
inline constexpr std::uint64_t ChanceIncrement = 0x9E3779B97F4A7C15;

constexpr std::uint64_t Mixed(std::uint64_t bits)
{
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EB;
    return bits ^ (bits >> 31);
}

/// One that three numbers choose. Each is mixed before the next is added, so that neighbours in any of them have
/// nothing in common.
constexpr std::uint64_t MixedOf(std::uint64_t first, std::uint64_t second, std::uint64_t third)
{
    return Mixed(Mixed(Mixed(first + ChanceIncrement) + second + ChanceIncrement) + third + ChanceIncrement);
}

/// The middle of one of 2^53 equal steps between 0 and 1: neither end is ever met.
constexpr double Uniform(std::uint64_t mixed)
{
    return (static_cast<double>(mixed >> 11) + 0.5) * 0x1p-53;
}

} // namespace qx5::acoustics
