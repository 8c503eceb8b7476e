// The settings of a sonar that a picture of its fan shows and that can be dragged in it, with their limits.
#pragma once

#include <optional>
#include <span>
#include <vector>

namespace picture {

/// A gate between two distances, m.
struct Gate
{
    double least = 0.0;
    double greatest = 0.0;
    bool acts = false;

    friend bool operator==(Gate const&, Gate const&) = default;
};

/// What the sonar told; nothing where it did not. Angles in degrees, distances in metres from the sonar.
struct FanSettings
{
    std::optional<double> range;
    std::optional<double> coverage; ///< opening angle of the swath
    std::optional<double> steering; ///< of the swath's middle, positive to starboard
    std::optional<double> fanTilt;  ///< of the transmitted fan along track, positive forward
    double fanTurn = 0.0;           ///< the second angle that is requested with the tilt
    std::optional<Gate> rangeGate;
    std::optional<Gate> depthGate;
    double depthGateTilt = 0.0; ///< positive: deeper to starboard
    std::optional<Gate> search; ///< of the adaptive gate: depths
    double searchWindow = 0.0;  ///< of the adaptive gate, percent of depth

    friend bool operator==(FanSettings const&, FanSettings const&) = default;
};

/// What a gate of the sonar can be.
struct GateLimits
{
    double leastValue = 0.0;  ///< m
    double leastWindow = 0.0; ///< m
};

struct FanLimits
{
    std::vector<double> ranges; ///< that the sonar offers, ascending; empty: any up to `greatestRange`
    double greatestRange = 0.0; ///< m, of range and gates; 0: not known
    double leastAngle = -90.0;  ///< of the swath
    double greatestAngle = 90.0;
    double leastTilt = 0.0; ///< of the fan along track; both 0: it cannot be tilted
    double greatestTilt = 0.0;
    GateLimits rangeGate;
    GateLimits depthGate;
    GateLimits search;
};

/// What a request can ask for, in the order in which the page of a setting asks for it.
enum class Setting
{
    Range,
    Coverage,
    Steering,
    FanTilt, ///< with the second angle
    MinRangeGate,
    MaxRangeGate,
    MinDepthGate,
    MaxDepthGate,
    DepthGateTilt,
    MinSearch,
    MaxSearch,
};

struct Wish
{
    Setting setting;
    double value;
    double second = 0.0; ///< of Setting::FanTilt

    friend bool operator==(Wish const&, Wish const&) = default;
};

} // namespace picture
