// Where on the bottom a detection lies.
#pragma once

#include "ping.h"

namespace picture {

/// Which movements of the ship the sonar has taken out of its angles.
struct Compensation
{
    bool roll = true;
    bool pitch = true;
};

struct Sounding
{
    double across = 0.0; ///< m from the sonar, positive to starboard
    double along = 0.0;  ///< m from the sonar, positive forward
    double down = 0.0;   ///< m below the sonar
    double east = 0.0;   ///< m
    double north = 0.0;  ///< m
    double depth = 0.0;  ///< m below the surface
};

/// Roll and pitch that the sonar has not taken out turn the beam; what is told of the pose does the rest.
inline Sounding Locate(PingHead const& ping, Detection const& detection, Compensation compensation)
{
    double const angle = (detection.angle - (compensation.roll ? 0.0 : ping.pose.roll)) * radiansOf;
    double const tilt = (ping.steering + (compensation.pitch ? 0.0 : ping.pose.pitch)) * radiansOf;
    double const heading = ping.pose.heading * radiansOf;
    Sounding sounding;
    sounding.across = detection.range * std::sin(angle);
    sounding.along = detection.range * std::cos(angle) * std::sin(tilt);
    sounding.down = detection.range * std::cos(angle) * std::cos(tilt);
    sounding.east = ping.pose.east + sounding.across * std::cos(heading) + sounding.along * std::sin(heading);
    sounding.north = ping.pose.north - sounding.across * std::sin(heading) + sounding.along * std::cos(heading);
    sounding.depth = ping.pose.depth - ping.pose.heave + sounding.down;
    return sounding;
}

} // namespace picture
