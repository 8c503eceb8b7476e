// What the simulated sonar heard at one ping: its detections, and the levels of each beam over time.
#pragma once

#include <cstdint>
#include <vector>

namespace qx5::acoustics {

/// Where the sonar is and how it lies.
struct Pose
{
    double east = 0.0;    ///< m from the scene's origin
    double north = 0.0;   ///< m
    double depth = 0.0;   ///< m of the sonar below the surface
    double heading = 0.0; ///< degrees from north, clockwise
    double roll = 0.0;    ///< degrees, starboard down
    double pitch = 0.0;   ///< degrees, bow up
    double heave = 0.0;   ///< m, up
};

/// One echo that was taken for the bottom, or with several to a beam for an object.
struct Detection
{
    std::uint16_t beam = 0;  ///< from 0
    float angle = 0.0F;      ///< degrees across track off the vertical, positive to starboard
    float travelTime = 0.0F; ///< s there and back
    float level = 0.0F;      ///< dB re 1 uPa at the array, plus the receiver's gain
    float quality = 0.0F;    ///< 0 (doubtful) to 1
};

/// The levels of all beams. Beams are in order of ascending angle.
struct WaterColumn
{
    std::vector<float> angles; ///< degrees, one a beam
    std::uint32_t samples = 0; ///< of each beam
    double interval = 0.0;     ///< s there and back between samples; the first lies half of it after transmission
    double floor = 0.0;        ///< dB, the level of a byte of 0
    double step = 0.0;         ///< dB from one byte to the next
    std::vector<std::uint8_t> levels; ///< beam after beam
    std::vector<float> gain;          ///< dB, one a sample
    std::vector<float> noise;         ///< dB, one a sample: the mean level of noise, gain included
};

/// A value type; one of them is used again for ping after ping so that nothing is allocated.
struct PingEchoes
{
    std::int32_t number = 0;
    double utcSeconds = 0.0; ///< of transmission
    double soundSpeed = 0.0; ///< m/s, as the sonar is told
    Pose pose;
    double steering = 0.0;             ///< degrees, the fan's tilt along track, positive forward
    std::uint16_t beams = 0;           ///< that were formed
    std::vector<Detection> detections; ///< by beam, then by time
    WaterColumn water;
};

} // namespace qx5::acoustics
