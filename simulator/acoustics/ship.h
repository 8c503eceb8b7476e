// The ship that carries the simulated sonar along survey lines.
#pragma once

#include "ping_echoes.h"

#include <array>
#include <cstdint>

namespace qx5::acoustics {

struct ShipSettings
{
    double speed = 2.5;        ///< m/s
    double lineLength = 120.0; ///< m, about the scene's origin
    double lineSpacing = 40.0; ///< m
    int lines = 8;             ///< at least 2
    bool calm = false;         ///< no roll, pitch, heave or yaw
};

/// Runs lines to the north and to the south in turn, one after the other to the east and back, in half circles between
/// them. Where it is and how it lies is a function of time alone. A value type; any thread.
class Ship
{
public:
    Ship(ShipSettings const& settings, std::uint64_t seed);

    /// At so many s from its start, 40 m before the scene's origin on the line that runs through it. Time that is no
    /// finite number counts as 0.
    Pose At(double seconds) const;

private:
    struct Sine
    {
        double size;   ///< degrees or m
        double period; ///< s
        double phase;  ///< of a turn
    };
    using Sines = std::array<Sine, 3>;
    Sines SinesOf(std::uint64_t seed, double size, double period) const;

    ShipSettings m_settings;
    Sines m_roll;
    Sines m_pitch;
    Sines m_heave;
    Sines m_yaw;
};

} // namespace qx5::acoustics
