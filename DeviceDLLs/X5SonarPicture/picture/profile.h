// The bottom across track as the last pings found it.
#pragma once

#include "ping.h"
#include "sounding.h"

#include <array>
#include <span>
#include <vector>

namespace picture {

/// Keeps the newest pings; its memory is that of the largest ones. Not for two threads at once.
class Profile
{
public:
    static constexpr std::size_t pings = 20;

    struct Point
    {
        float across; ///< m from the sonar, positive to starboard
        float down;   ///< m below the sonar
        float level;  ///< dB
        float quality;
    };

    void Add(DetectionPing const& ping)
    {
        m_newest = (m_newest + 1) % pings;
        m_count = m_count < pings ? m_count + 1 : pings;
        auto& points = m_points[m_newest];
        points.clear();
        for (Detection const& each : ping.detections) {
            Sounding const at = Locate(ping, each);
            points.push_back({static_cast<float>(at.across), static_cast<float>(at.down), each.level, each.quality});
        }
    }
    void Clear() { m_count = 0; }
    std::size_t Count() const { return m_count; }
    /// The points of a ping, 0 for the newest, below Count(); in the order of beams.
    std::span<Point const> At(std::size_t age) const { return m_points[(m_newest + pings - age) % pings]; }

private:
    std::array<std::vector<Point>, pings> m_points;
    std::size_t m_newest = 0;
    std::size_t m_count = 0;
};

} // namespace picture
