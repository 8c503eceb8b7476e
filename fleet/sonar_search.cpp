// When a sonar that is wanted counts as found.
#include "fleet/sonar_search.h"

#include <fmt/format.h>

namespace qx5::fleet {

namespace {

using namespace std::chrono_literals;

/// After a vessel's birth those of its sonars come, each within so long, and all within so long.
constexpr auto betweenSonars = 300ms;
constexpr auto toTellAll = 2000ms;

} // namespace

SonarSearch::State SonarSearch::Look()
{
    auto const vessel = m_fleet.Vessel(m_wanted.vessel);
    if (!vessel || vessel->freshness != Freshness::Current) {
        return State::Goes;
    }
    m_vesselThere = m_vesselThere.value_or(Clock::now());
    auto const since = Clock::now() - *m_vesselThere;
    m_found.clear();
    for (Place const& sonar : m_fleet.Sonars()) {
        auto const state = m_fleet.Sonar(sonar);
        if (sonar.vessel == m_wanted.vessel && (m_wanted.sonar.empty() || sonar == m_wanted) &&
            state->freshness == Freshness::Current) {
            m_found.push_back(sonar);
        }
    }
    // Its sonars follow it, one after another.
    bool const isTold =
        m_wanted.sonar.empty() ? !m_found.empty() && since >= betweenSonars : !m_found.empty() || since >= toTellAll;
    if (!isTold) {
        return State::Goes;
    }
    return m_found.size() == 1 ? State::Found : State::NotThere;
}

std::string SonarSearch::WhyNot() const
{
    if (m_fleet.Line().state != broker::LineState::Connected) {
        return "there is no connection to the broker yet";
    }
    auto const vessel = m_fleet.Vessel(m_wanted.vessel);
    if (!vessel || vessel->freshness == Freshness::Unknown) {
        return fmt::format("nothing is heard of a vessel {}", m_wanted.vessel);
    }
    if (vessel->freshness != Freshness::Current) {
        return vessel->reason;
    }
    if (auto const state = m_wanted.sonar.empty() ? std::nullopt : m_fleet.Sonar(m_wanted)) {
        return state->reason;
    }
    if (vessel->sonars.empty()) {
        return fmt::format("{} has no sonars", m_wanted.vessel);
    }
    return m_wanted.sonar.empty() ? fmt::format("{} has several sonars: say {}/{}", m_wanted.vessel, m_wanted.vessel,
                                                fmt::join(vessel->sonars, fmt::format(" or {}/", m_wanted.vessel)))
                                  : fmt::format("there is no sonar {} aboard {}, which has {}", m_wanted.sonar,
                                                m_wanted.vessel, fmt::join(vessel->sonars, ", "));
}

} // namespace qx5::fleet
