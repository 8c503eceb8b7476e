// Where on the bottom a detection lies.
#pragma once

#include "ping.h"

#include <algorithm>
#include <cmath>

namespace picture {

struct Sounding
{
    double across = 0.0; ///< m from the sonar, positive to starboard
    double along = 0.0;  ///< m from the sonar, positive forward
    double down = 0.0;   ///< m below the sonar
    double east = 0.0;   ///< m
    double north = 0.0;  ///< m
    double depth = 0.0;  ///< m below the surface
};

/// Angle and steering are both off the vertical, as they are told; a beam lies where its cone across track and that of
/// the fan along track meet.
inline Sounding Locate(PingHead const& ping, Detection const& detection)
{
    double const across = std::sin(detection.angle * radiansOf);
    double const along = std::sin(ping.steering * radiansOf);
    double const heading = ping.pose.heading * radiansOf;
    Sounding sounding;
    sounding.across = detection.range * across;
    sounding.along = detection.range * along;
    sounding.down = detection.range * std::sqrt(std::max(0.0, 1.0 - across * across - along * along));
    sounding.east = ping.pose.east + sounding.across * std::cos(heading) + sounding.along * std::sin(heading);
    sounding.north = ping.pose.north - sounding.across * std::sin(heading) + sounding.along * std::cos(heading);
    sounding.depth = ping.pose.depth + sounding.down;
    return sounding;
}

} // namespace picture
