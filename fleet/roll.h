// Who is there of a fleet, without what the sonars have: no vessel is asked to tell everything anew for it.
#pragma once

#include "authority/shore_facts.h"
#include "fleet/fleet_model.h"
#include "fleet/place.h"
#include "sparkplug/edge_node.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::fleet {

/// That a vessel or a sonar is there, and the vessel's time, are heard from what each of them tells once a second,
/// whatever that is; who commands and how the sonar is connected are asked in a few bytes (LookMessage::wantsFacts).
/// States have no trees. One thread at a time; it has no connection.
class Roll
{
public:
    /// What has been silent for longer is stale.
    explicit Roll(std::chrono::milliseconds silence, sparkplug::Clock clock = sparkplug::SystemMoment);

    /// A message of Sparkplug's topics; anything may come. A sonar that is there anew, which is to be asked.
    std::optional<Place> Receive(std::string_view topic, std::string_view payload);
    /// What the sonar's vessel answered.
    void TakeFacts(Place const& sonar, authority::SonarFacts const& facts);
    /// Whether each sonar that is there has answered.
    bool IsWhole() const;

    /// As FleetModel's.
    std::vector<VesselState> Vessels() const;
    std::optional<VesselState> Vessel(std::string const& name) const;
    std::vector<Place> Sonars() const;
    std::optional<SonarState> Sonar(Place const& sonar) const;

private:
    /// A vessel or a sonar.
    struct Heard
    {
        std::chrono::steady_clock::time_point at{};
        bool isGone = false;
        std::optional<double> clockAhead;           ///< of a vessel
        std::optional<authority::SonarFacts> facts; ///< of a sonar
    };

    Freshness FreshnessOf(Heard const& heard) const;
    std::string ReasonFor(Place const& place, Freshness freshness) const;
    double AgeOf(Heard const& heard) const;

    std::chrono::milliseconds const m_silence;
    sparkplug::Clock const m_clock;
    std::map<Place, Heard> m_heard; ///< each vessel before its sonars
};

} // namespace qx5::fleet
