// The level of one beam against range, as lines in a picture: level, noise, gain.
#pragma once

#include "ping.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace picture {

/// Least and greatest of what falls into each column of a picture.
struct TraceColumn
{
    double least;
    double greatest;
};

/// Not for two threads at once.
class BeamTrace
{
public:
    /// The samples of a beam of the ping, `columns` of them from no range to the ping's: dB. Nothing for a beam that is
    /// not there, or without columns. Neighbouring columns meet, so that a steep line is drawn whole.
    std::span<TraceColumn const> Levels(WaterPing const& ping, std::uint32_t beam, int columns)
    {
        bool const isThere = !ping.IsEmpty() && beam < ping.angles.size();
        auto const* const bytes = isThere ? ping.levels.data() + std::size_t{beam} * ping.samples : nullptr;
        return Fill(m_levels, isThere ? ping.samples : 0, columns,
                    [&](std::size_t i) { return ping.LevelOf(bytes[i]); });
    }
    std::span<TraceColumn const> Noise(WaterPing const& ping, int columns)
    {
        return Fill(m_noise, ping.noise.size(), columns, [&](std::size_t i) { return double{ping.noise[i]}; });
    }
    std::span<TraceColumn const> Gain(WaterPing const& ping, int columns)
    {
        return Fill(m_gain, ping.gain.size(), columns, [&](std::size_t i) { return double{ping.gain[i]}; });
    }

private:
    template <typename ValueOf>
    static std::span<TraceColumn const> Fill(std::vector<TraceColumn>& into, std::size_t samples, int columns,
                                             ValueOf const& valueOf)
    {
        into.clear();
        if (samples == 0 || columns <= 0) {
            return into;
        }
        auto const count = static_cast<std::size_t>(columns);
        double before = valueOf(0);
        for (std::size_t column = 0; column < count; ++column) {
            std::size_t const first = column * samples / count;
            std::size_t const end = std::max((column + 1) * samples / count, first + 1);
            TraceColumn made{before, before};
            for (std::size_t i = first; i < end; ++i) {
                double const value = valueOf(i);
                made.least = std::min(made.least, value);
                made.greatest = std::max(made.greatest, value);
                before = value;
            }
            into.push_back(made);
        }
        return into;
    }

    std::vector<TraceColumn> m_levels;
    std::vector<TraceColumn> m_noise;
    std::vector<TraceColumn> m_gain;
};

} // namespace picture
