// Finds a sonar of a fleet that somebody wants to work with, and says why it is not there.
#pragma once

#include "fleet/fleet.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace qx5::fleet {

/// One thread; the fleet outlives it.
class SonarSearch
{
public:
    /// `wanted`: a sonar, or a vessel alone, of which the one sonar is meant.
    SonarSearch(Fleet& fleet, Place wanted) : m_fleet(fleet), m_wanted(std::move(wanted)) {}

    enum class State
    {
        Goes,     ///< nothing is known yet; look again when something has changed, or a moment later
        Found,    ///< what it has is current
        NotThere, ///< the vessel is there and has told its sonars: WhyNot tells
    };
    State Look();
    /// Once it was found.
    Place const& Found() const { return m_found.front(); }
    /// Why it is not there by now, in one line.
    std::string WhyNot() const;

private:
    using Clock = std::chrono::steady_clock;

    Fleet& m_fleet;
    Place const m_wanted;
    std::optional<Clock::time_point> m_vesselThere; ///< since when
    std::vector<Place> m_found;
};

} // namespace qx5::fleet
