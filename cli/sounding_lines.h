// What a sonar has sounded, as lines for scripts and for people.
#pragma once

#include "simulator/acoustics/ping_echoes.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace qx5::cli {

enum class SoundingForm
{
    Text, ///< a line for each ping
    Json, ///< one object on a line for each detection
    Csv,  ///< comma-separated, with a line of names
    Xyz,  ///< east, north and depth of each detection, in m
};

/// Where a detection lies, from its angle, its travel time, the fan's tilt and where the sonar is: m.
struct Sounding
{
    double range = 0.0;  ///< along the beam
    double depth = 0.0;  ///< below where the sonar lies in calm water
    double across = 0.0; ///< from the sonar, to starboard
    double along = 0.0;  ///< from the sonar, forward
    double east = 0.0;   ///< of the scene
    double north = 0.0;  ///< of the scene
};
Sounding SoundingOf(acoustics::PingEchoes const& echoes, acoustics::Detection const& detection);

/// The depth at which the axis of a beam really meets the bottom; nothing where it does not, or nobody knows.
using TrueDepth = std::function<std::optional<double>(std::size_t beam)>;

/// The line before the first ping, with its end; empty for forms that have none.
std::string SoundingHead(SoundingForm form, bool withTruth);
/// All lines of one ping, each with its end. `truth` is empty where it is not wanted.
std::string SoundingLines(SoundingForm form, acoustics::PingEchoes const& echoes, TrueDepth const& truth);

} // namespace qx5::cli
