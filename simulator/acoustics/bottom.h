// How much of the sound that meets the bottom comes back.
#pragma once

#include <array>
#include <string_view>

namespace qx5::acoustics {

enum class Bottom
{
    Mud,
    Sand,
    Gravel,
    Rock,
};

/// How a bottom scatters. The strengths are chosen for simulation, within what the literature prints for sonars of
/// 100 kHz and above; they belong to no place, and do not change with frequency.
struct BottomScattering
{
    Bottom bottom;
    std::string_view name;
    double lambert;       ///< dB of a square metre: of Lambert's law, the strength at vertical incidence
    double specular;      ///< dB: of what smooth facets send straight back, at vertical incidence
    double specularWidth; ///< degrees of incidence at which that has fallen to exp(-1/2)
};

/// From the softest to the hardest.
inline constexpr std::array<BottomScattering, 4> Bottoms{{
    {Bottom::Mud, "mud", -30.0, -14.0, 4.0},
    {Bottom::Sand, "sand", -22.0, -10.0, 7.0},
    {Bottom::Gravel, "gravel", -16.0, -9.0, 11.0},
    {Bottom::Rock, "rock", -11.0, -8.0, 16.0},
}};

/// Backscattering strength in dB of a square metre at a grazing angle in degrees, above 0 to 90: intensities of the
/// Lambert part, lambert + 20 log sin(grazing), and of the specular part added.
double BottomStrength(Bottom bottom, double grazing);

} // namespace qx5::acoustics
