// All that a sonar is set to for one ping, in the units of the acoustics.
#pragma once

#include "receiver.h"
#include "result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace qx5::acoustics {

/// How the directions of beams are spread over the sector. In the order of the sonar's own list.
enum class BeamMode
{
    EquiAngle,       ///< even angles
    EquiDistant,     ///< even distances on a flat bottom
    Intermediate,    ///< half way between both
    Flex,            ///< dense in one sector, apart by a fixed angle outside of it
    ConstantSpacing, ///< apart by a fixed distance on a flat bottom
};

/// An interval in m; both ends belong to it.
struct Interval
{
    double least = 0.0;
    double greatest = 0.0;

    bool operator==(Interval const&) const = default;
};

/// Where the bottom may be looked for. Ranges and depths are those that the sonar tells, below itself.
struct GateSettings
{
    bool byRange = false;
    Interval range{};
    bool byDepth = false;
    Interval depth{};
    double tilt = 0.0; ///< degrees, of the depth gate: its limits lie deeper by across x tan(tilt), to starboard
    bool depthFollows = false; ///< the depth gate keeps its height, and its middle goes along with the bottom
    bool adaptive = false;
    bool adaptiveFollows = false; ///< a window about the bottom of the ping before; otherwise the search limits alone
    double window = 10.0;         ///< per cent of the depth, its whole height
    bool searchLimited = false;
    Interval search{}; ///< depths

    bool operator==(GateSettings const&) const = default;
};

struct MultiDetectSettings
{
    bool enabled = false;
    int objectSize = 1;  ///< samples that an object takes: what is smaller is averaged away
    int sensitivity = 1; ///< 1 (what is far above the noise) to 5 (whatever is above it)
    int greatest = 4;    ///< detections beside the bottom; no more than Most count
    static constexpr int Most = 16;

    bool operator==(MultiDetectSettings const&) const = default;
};

inline constexpr int GreatestBeams = 1024;   ///< that one ping forms, whatever is asked
inline constexpr int GreatestSamples = 1000; ///< of one beam: beyond, the samples lie further apart

/// A value type.
struct PingSettings
{
    double range = 100.0;      ///< m that it listens to
    double sampleRate = 34483; ///< Hz; less where that gave more than `samples`
    int samples = GreatestSamples;
    double soundSpeed = 1500.0; ///< m/s, as it is told
    double depth = 20.0;        ///< m that it reckons with until it has found the bottom
    bool depthIsFixed = false;  ///< it goes on to reckon with that

    double power = 190.0;        ///< dB re 1 uPa at 1 m; 0: nothing is transmitted
    double frequency = 200e3;    ///< Hz
    double pulseLength = 100e-6; ///< s
    double sweep = 0.0;          ///< Hz that the pulse sweeps over; 0: a tone
    ReceiverSettings receiver;

    double coverage = 140.0;     ///< degrees, of the sector
    double sectorSteering = 0.0; ///< degrees to starboard, of its middle
    BeamMode mode = BeamMode::EquiAngle;
    double flexCoverage = 45.0;   ///< degrees
    double flexSteering = 0.0;    ///< degrees to starboard
    double outsideSpacing = 1.0;  ///< degrees between beams outside of the flex sector
    double constantSpacing = 0.0; ///< m; 0: a hundredth of the range
    bool reduceCoverage = false;  ///< constant spacing is kept where there are too few beams for the sector
    int beams = 0;                ///< as wanted; 0: as many as there may be
    int leastBeams = 10;
    int mostBeams = 512;

    double widthAlong = 2.0;    ///< degrees, of the transmitted fan along track, not steered
    double fanWidth = 140.0;    ///< degrees, of the transmitted fan across track
    double receiveWidth = 1.35; ///< degrees, of a receive beam across track, not steered
    double tilt = 0.0;          ///< degrees forward, of the fan
    double fanSteering = 0.0;   ///< degrees to starboard, of the transmitted fan
    bool compensateRoll = true;
    bool compensatePitch = false;

    GateSettings gates;
    MultiDetectSettings multiDetect;

    bool operator==(PingSettings const&) const = default;
};

/// What is wrong with them, if anything. Numbers of beams and samples are not: those are brought within bounds.
std::optional<Failure> WhatIsWrong(PingSettings const& settings);

/// How many samples of a beam there are, 1 to GreatestSamples, and s between them.
struct Sampling
{
    std::uint32_t samples = 0;
    double interval = 0.0;
};
Sampling SamplingOf(PingSettings const& settings);

/// s of water that an echo of a point takes: the length of a tone; of a sweep what its compression leaves.
double EchoLength(PingSettings const& settings);

/// Pings per second that echoes from `range` m leave time for, at m/s; 0 where one of them is not above 0 or no number.
double GreatestPingRate(double range, double soundSpeed);

/// How many beams are formed at most, 1 to GreatestBeams; only a constant spacing may leave some out.
std::size_t MostBeams(PingSettings const& settings);

/// The directions that are asked for: degrees across track to starboard, ascending, in the frame that they are kept
/// in; at least 1, at most MostBeams, all within GreatestAngle. `depth` in m counts for constant spacing alone.
void FillBeamAngles(PingSettings const& settings, double depth, std::vector<float>& angles);
inline constexpr double GreatestAngle = 85.0;

} // namespace qx5::acoustics
