// Angle constants of the host.
#pragma once

/// Radians per degree.
inline constexpr double D_TO_R = 3.141592653589793 / 180.0;
