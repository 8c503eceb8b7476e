// Decibels of intensities, and angles in the units that settings have.
#pragma once

#include <cmath>
#include <numbers>

namespace qx5::acoustics {

/// dB of a ratio of intensities above 0.
inline double Decibels(double ratio)
{
    return 10.0 * std::log10(ratio);
}

/// The ratio of intensities that is so many dB.
inline double FromDecibels(double level)
{
    return std::pow(10.0, level / 10.0);
}

constexpr double Radians(double degrees)
{
    return degrees * (std::numbers::pi / 180.0);
}

constexpr double Degrees(double radians)
{
    return radians * (180.0 / std::numbers::pi);
}

} // namespace qx5::acoustics
