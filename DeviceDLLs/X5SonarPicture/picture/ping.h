// What a sonar heard at one ping, as the picture takes it: checked, in numbers of its own, levels where they lie.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace picture {

/// Beyond these a ping is refused; a sonar forms some hundreds of beams of some thousand samples.
inline constexpr std::uint32_t mostBeams = 8192;
inline constexpr std::uint32_t mostSamples = 65536;

/// Where the sonar was, and how it lay.
struct Pose
{
    double east = 0.0;    ///< m
    double north = 0.0;   ///< m
    double depth = 0.0;   ///< m below the surface, heave included
    double heading = 0.0; ///< degrees from north, clockwise
    double roll = 0.0;    ///< degrees, starboard down
    double pitch = 0.0;   ///< degrees, bow up
    double heave = 0.0;   ///< m, up
};

/// What both kinds of pings tell.
struct PingHead
{
    std::int32_t number = 0;
    double time = 0.0;             ///< s, of transmission
    double soundVelocity = 1500.0; ///< m/s, more than 0
    Pose pose;
    double steering = 0.0; ///< degrees, the fan along track off the vertical, positive forward
};

/// The levels of all beams. All numbers are finite; angles ascend; `levels` holds angles.size() times `samples` bytes.
struct WaterPing : PingHead
{
    std::vector<float> angles;            ///< degrees across track off the vertical, positive to starboard
    std::uint32_t samples = 0;            ///< of each beam
    double interval = 0.0;                ///< s there and back, more than 0
    double floor = 0.0;                   ///< dB, the level of a byte of 0
    double step = 1.0;                    ///< dB from one byte to the next, more than 0
    std::vector<float> gain;              ///< dB, one a sample; empty when it was not told
    std::vector<float> noise;             ///< dB, one a sample; empty when it was not told
    std::span<std::uint8_t const> levels; ///< beam after beam; whoever gives it keeps it

    bool IsEmpty() const { return angles.empty() || samples == 0; }
    /// Range from one sample to the next, m.
    double SampleLength() const { return soundVelocity * interval / 2.0; }
    /// Where the last sample ends, m.
    double Range() const { return SampleLength() * samples; }
    double LevelOf(std::uint8_t byte) const { return floor + step * byte; }
};

/// One echo that was taken for the bottom.
struct Detection
{
    std::uint16_t beam = 0;
    float angle = 0.0F;   ///< degrees across track
    float range = 0.0F;   ///< m
    float level = 0.0F;   ///< dB
    float quality = 0.0F; ///< 0 to 1
};

/// The detections of a ping; all numbers are finite.
struct DetectionPing : PingHead
{
    std::uint32_t beams = 0; ///< that were formed
    std::vector<Detection> detections;
};

/// A place below the sonar, in the plane of its fan: metres to starboard and down from the sonar.
struct Place
{
    double x = 0.0;
    double z = 0.0;
};

inline constexpr double radiansOf = 3.141592653589793 / 180.0;

/// Where an angle (degrees) and a range (m) lead.
inline Place PlaceAt(double angle, double range)
{
    return {range * std::sin(angle * radiansOf), range * std::cos(angle * radiansOf)};
}
inline double RangeOf(Place place)
{
    return std::hypot(place.x, place.z);
}
/// Degrees, -180 to 180, 0 straight down, positive to starboard.
inline double AngleOf(Place place)
{
    return std::atan2(place.x, place.z) / radiansOf;
}

/// Which beam covers an angle: beams reach half-way to their neighbours, the outer ones as far outwards. Shared by all
/// that asks for it, so that cursor and picture agree.
class BeamFan
{
public:
    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

    /// Takes ascending angles; no more memory than it had for as many beams.
    void SetAngles(std::span<float const> angles);
    std::uint32_t BeamAt(double angle) const;
    /// Degrees: where the first beam begins, where each ends; one more than there are beams, none without beams.
    std::span<double const> Limits() const { return m_limits; }

private:
    std::vector<double> m_limits;
};

} // namespace picture
