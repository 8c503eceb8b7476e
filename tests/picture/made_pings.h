// Pings as tests make them: evenly spaced beams, silence but for what is put in.
#pragma once

#include "picture/ping.h"

#include <cstdint>
#include <vector>

namespace picture::test {

/// A ping of the water column with levels of its own.
struct MadeWater
{
    WaterPing ping;
    std::vector<std::uint8_t> bytes;

    /// Sound runs at 1500 m/s; with an interval of 1/750 s a sample is 1 m long.
    MadeWater(std::vector<float> angles, std::uint32_t samples, double interval = 1.0 / 750.0)
        : bytes(angles.size() * samples)
    {
        ping.soundVelocity = 1500.0;
        ping.angles = std::move(angles);
        ping.samples = samples;
        ping.interval = interval;
        ping.floor = 0.0;
        ping.step = 0.5;
        ping.levels = bytes;
    }
    MadeWater(MadeWater const&) = delete;
    MadeWater& operator=(MadeWater const&) = delete;

    std::uint8_t& At(std::size_t beam, std::size_t sample) { return bytes[beam * ping.samples + sample]; }
};

/// From `first` to `last` degrees.
inline std::vector<float> Evenly(std::size_t beams, double first, double last)
{
    std::vector<float> angles;
    for (std::size_t i = 0; i < beams; ++i) {
        angles.push_back(static_cast<float>(first + (last - first) * static_cast<double>(i) /
                                                        static_cast<double>(beams > 1 ? beams - 1 : 1)));
    }
    return angles;
}

} // namespace picture::test
