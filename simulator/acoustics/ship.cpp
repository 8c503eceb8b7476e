// Survey lines, and the sea's motion as a few sines.
#include "ship.h"

#include "chance.h"
#include "decibel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qx5::acoustics {

Ship::Ship(ShipSettings const& settings, std::uint64_t seed)
    : m_settings(settings), m_roll(SinesOf(seed, 2.5, 7.0)), m_pitch(SinesOf(seed + 1, 1.2, 5.5)),
      m_heave(SinesOf(seed + 2, 0.25, 6.0)), m_yaw(SinesOf(seed + 3, 1.0, 12.0))
{
    m_settings.speed = std::clamp(settings.speed, 0.0, 50.0);
    m_settings.lineLength = std::clamp(settings.lineLength, 1.0, 1e6);
    m_settings.lineSpacing = std::clamp(settings.lineSpacing, 1.0, 1e6);
    m_settings.lines = std::clamp(settings.lines, 2, 10000);
}

Ship::Sines Ship::SinesOf(std::uint64_t seed, double size, double period) const
{
    Sines sines{};
    for (std::size_t i = 0; i < sines.size(); ++i) {
        double const share = 1.0 / static_cast<double>(i + 1);
        sines[i] = {size * share, period * (0.7 + 0.45 * static_cast<double>(i)), Uniform(MixedOf(seed, i, 0))};
    }
    return sines;
}

Pose Ship::At(double seconds) const
{
    double const time = std::isfinite(seconds) ? seconds : 0.0;
    double const half = m_settings.lineLength / 2.0;
    double const radius = m_settings.lineSpacing / 2.0;
    double const turn = std::numbers::pi * radius;
    double const leg = m_settings.lineLength + turn;

    // So far along the whole way, which leads to the last line and back again.
    double const legs = 2.0 * (m_settings.lines - 1);
    double const begin = std::max(0.0, half - 40.0);
    double way = std::fmod(begin + time * m_settings.speed, leg * legs);
    way = way < 0.0 ? way + leg * legs : way;
    double const number = std::floor(way / leg);
    double const onLeg = way - number * leg;
    bool const northward = std::fmod(number, 2.0) == 0.0;
    bool const eastward = number < legs / 2.0;
    double const line = eastward ? number : legs - number;

    Pose pose;
    pose.east = line * m_settings.lineSpacing;
    double const forth = northward ? 1.0 : -1.0;
    if (onLeg <= m_settings.lineLength) {
        pose.north = forth * (onLeg - half);
        pose.heading = northward ? 0.0 : 180.0;
    } else {
        double const angle = (onLeg - m_settings.lineLength) / radius;
        double const aside = eastward ? 1.0 : -1.0;
        pose.east += aside * radius * (1.0 - std::cos(angle));
        pose.north = forth * (half + radius * std::sin(angle));
        pose.heading = std::fmod((northward ? 360.0 : 540.0) + forth * aside * Degrees(angle), 360.0);
    }
    if (m_settings.calm) {
        return pose;
    }
    auto const sum = [time](Sines const& sines) {
        double all = 0.0;
        for (Sine const& sine : sines) {
            all += sine.size * std::sin(2.0 * std::numbers::pi * (time / sine.period + sine.phase));
        }
        return all;
    };
    pose.roll = sum(m_roll);
    pose.pitch = sum(m_pitch);
    pose.heave = sum(m_heave);
    pose.depth = -pose.heave;
    pose.heading = std::fmod(pose.heading + sum(m_yaw) + 360.0, 360.0);
    return pose;
}

} // namespace qx5::acoustics
