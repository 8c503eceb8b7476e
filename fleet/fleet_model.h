// What is known ashore of a fleet's vessels and sonars, and how old that is. It has no connection; whoever has one
// calls it and is called.
#pragma once

#include "authority/lease.h"
#include "authority/shore_facts.h"
#include "authority/vessel_time.h"
#include "fleet/place.h"
#include "sparkplug/host_application.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::fleet {

/// How far what is known of a vessel or a sonar is what it has.
enum class Freshness : std::uint8_t
{
    Unknown, ///< heard of, and nothing told yet
    Current,
    Stale, ///< something of it is missing, or nothing is heard any more: what is shown is as it was
    Gone,  ///< it said so, or the broker did: what is shown is the last
};
/// "unknown", "current", "stale", "gone".
std::string_view ToText(Freshness freshness);

struct VesselState
{
    std::string name;
    Freshness freshness = Freshness::Unknown;
    std::string reason;               ///< why it is not current, in one line
    std::optional<double> age;        ///< s of our steady clock since what is known was what it had
    std::optional<double> clockAhead; ///< s by which its wall clock is ahead of ours, transit included
    CAttributeMap told;               ///< of itself, such as its program; shared with the model
    std::vector<std::string> sonars;  ///< names, in order
};

struct SonarState
{
    Place place;
    Freshness freshness = Freshness::Unknown;
    std::string reason;
    std::optional<double> age;
    CAttributeMap tree;                       ///< shared with the model
    authority::LeaseNews lease;               ///< as the vessel told it, by its clock
    std::optional<authority::SonarLink> link; ///< between the sonar and its vessel; nothing when that is not told
    std::string linkReason;
};

/// Why what is known of a sonar is not what it has now, in one line: nothing is heard of it, or it is not connected
/// aboard. Empty when it is.
std::string WhyNotLive(SonarState const& sonar);

struct FleetModelOptions
{
    std::string group;
    sparkplug::HostOptions host;
    /// A vessel that tells its time each second and has been silent for longer is stale, whatever the broker says.
    std::chrono::milliseconds silence{5000};
    std::uint64_t sender = 0; ///< of the stamps of requests; 0 draws one
};

/// What the model calls, always within a call of it; it must not be called again from there.
struct FleetModelHooks
{
    /// Has it published; false when there is no room. Required.
    std::function<bool(sparkplug::Message const&)> publish;
    /// One line for the log.
    std::function<void(std::string const& line)> tell;
};

/// One thread at a time. What it hands out are copies, which share their trees with it; a change copies only the path
/// to what changes.
class FleetModel
{
public:
    FleetModel(FleetModelOptions options, FleetModelHooks hooks, sparkplug::Clock clock = sparkplug::SystemMoment);
    FleetModel(FleetModel const&) = delete;
    FleetModel& operator=(FleetModel const&) = delete;
    ~FleetModel();

    /// A message of Sparkplug's topics. Anything may come.
    void Receive(std::string_view topic, std::string_view payload);
    void Connected() { m_isConnected = true; }
    void Disconnected();
    /// To be called every 100 ms or so: births that are missing are asked for, and what is silent becomes stale.
    void Tick();

    /// In order of names.
    std::vector<VesselState> Vessels() const;
    std::optional<VesselState> Vessel(std::string const& name) const;
    std::vector<Place> Sonars() const;
    std::optional<SonarState> Sonar(Place const& sonar) const;
    /// What was told of an attribute beside its value, by its metric's name; nothing of one that is not there.
    std::optional<sparkplug::MetricFacts> Facts(Place const& sonar, std::string_view metric) const;

    /// A stamp for a new request to that vessel; none before it has told its time.
    std::optional<authority::RequestStamp> Stamp(std::string const& vessel, double limit);
    /// Of whom something has changed since the last call: values, states, leases, what is known at all.
    std::set<Place> TakeChanged();

private:
    using Time = std::chrono::steady_clock::time_point;
    /// Of a vessel, beside what it told.
    struct Heard
    {
        authority::HeardVesselTime time;
        bool tellsTime = false;
        std::optional<Time> known; ///< when what is known of it was what it had
        /// The same of the sonars that are not alive while it is.
        std::map<std::string, Time> ended;
    };

    sparkplug::SeenName SeenOf(Place const& place) const { return {m_options.group, place.vessel, place.sonar}; }
    Heard& HeardOf(std::string const& vessel);
    Heard const* FindHeard(std::string const& vessel) const;
    void NoteState(sparkplug::SeenName const& name);
    void NoteData(sparkplug::SeenName const& name);
    void HearTime(Place const& vessel);
    /// Of a vessel or a sonar that was heard of, now.
    Freshness FreshnessOf(Place const& place, sparkplug::SeenThing const& thing, Time now) const;
    /// Whether the sonar is about to be told anew, with all that its vessel has.
    bool IsBetweenBirths(Place const& sonar, Time now) const;
    std::string ReasonFor(Freshness freshness, Place const& place) const;
    std::optional<double> AgeOf(Place const& place, sparkplug::SeenThing const& thing, Time now) const;
    VesselState StateOf(Place const& vessel, sparkplug::SeenThing const& thing, Time now) const;

    FleetModelOptions const m_options;
    sparkplug::Clock const m_clock;
    std::map<std::string, Heard> m_heard;
    std::map<Place, Freshness> m_told; ///< as somebody was told last that it has changed
    std::set<Place> m_changed;
    bool m_isConnected = false;
    sparkplug::HostApplication m_host;
};

} // namespace qx5::fleet
