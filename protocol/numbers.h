// How numbers of the attribute tree become numbers of the wire: narrowing, truncation, degrees and radians.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

namespace qx5::protocol {

static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

/// Toward zero; what lies outside the 32-bit range becomes its nearer end, NaN becomes 0.
constexpr std::int32_t TruncateToInt32(double value)
{
    if (value != value) {
        return 0;
    }
    if (value >= 2147483647.0) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value <= -2147483648.0) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);
}

/// To single precision, nearest even. Beyond the range an infinity of the same sign; any NaN becomes the positive
/// quiet NaN 0x7FC00000, so that one request always gives the same bytes.
constexpr float NarrowToFloat(double value)
{
    constexpr double greatest = std::numeric_limits<float>::max();
    constexpr double roundsToInfinity = 0x1.ffffffp127; // half a step above the greatest float
    constexpr float infinity = std::numeric_limits<float>::infinity();
    if (value != value) {
        return std::bit_cast<float>(std::uint32_t{0x7FC00000});
    }
    if (value > greatest) {
        return value < roundsToInfinity ? std::numeric_limits<float>::max() : infinity;
    }
    if (value < -greatest) {
        return value > -roundsToInfinity ? std::numeric_limits<float>::lowest() : -infinity;
    }
    return static_cast<float>(value);
}

/// The value itself, any NaN as the positive quiet NaN.
constexpr double WithPlainNan(double value)
{
    return value != value ? std::bit_cast<double>(std::uint64_t{0x7FF8000000000000}) : value;
}

/// For records whose angles are multiplied by one factor, see Convert::RadiansByFactor.
inline constexpr double RadiansPerDegree = 3.141592653589793 / 180.0;

/// Multiplied first and divided after: the order shows in the last bit.
constexpr double DegreesToRadians(double degrees)
{
    return (degrees * 3.141592653589793) / 180.0;
}

constexpr double RadiansToDegrees(double radians)
{
    return (radians * 180.0) / 3.141592653589793;
}

constexpr std::uint8_t Low8Bits(std::uint32_t value)
{
    return static_cast<std::uint8_t>(value & 0xFFU);
}
constexpr std::uint8_t Low8Bits(std::int32_t value)
{
    return Low8Bits(static_cast<std::uint32_t>(value));
}
constexpr std::uint16_t Low16Bits(std::uint32_t value)
{
    return static_cast<std::uint16_t>(value & 0xFFFFU);
}
constexpr std::uint16_t Low16Bits(std::int32_t value)
{
    return Low16Bits(static_cast<std::uint32_t>(value));
}

} // namespace qx5::protocol
