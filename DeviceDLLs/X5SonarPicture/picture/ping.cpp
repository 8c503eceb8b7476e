// Which beam of a fan covers an angle.
#include "ping.h"

#include <algorithm>

namespace picture {

void BeamFan::SetAngles(std::span<float const> angles)
{
    m_limits.clear();
    if (angles.empty()) {
        return;
    }
    // A single beam is drawn a degree wide.
    double const first = angles.size() > 1 ? (angles[1] - angles[0]) / 2.0 : 0.5;
    double const last = angles.size() > 1 ? (angles[angles.size() - 1] - angles[angles.size() - 2]) / 2.0 : 0.5;
    m_limits.push_back(angles.front() - first);
    for (std::size_t i = 1; i < angles.size(); ++i) {
        m_limits.push_back((static_cast<double>(angles[i - 1]) + angles[i]) / 2.0);
    }
    m_limits.push_back(angles.back() + last);
}

std::uint32_t BeamFan::BeamAt(double angle) const
{
    if (m_limits.empty() || !(angle >= m_limits.front()) || angle >= m_limits.back()) {
        return none;
    }
    auto const end = std::upper_bound(m_limits.begin(), m_limits.end(), angle);
    return static_cast<std::uint32_t>(end - m_limits.begin() - 1);
}

} // namespace picture
