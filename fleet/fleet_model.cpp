// What vessels and sonars told, with the age of each.
#include "fleet/fleet_model.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::fleet {

namespace {

using sparkplug::SeenState;
using sparkplug::SeenThing;
using std::chrono::duration;

/// A vessel that tells everything anew tells its sonars a moment later: until then they are as they were.
constexpr std::chrono::milliseconds betweenBirths{2000};

double SecondsBetween(std::chrono::steady_clock::time_point earlier, std::chrono::steady_clock::time_point later)
{
    return std::max(0.0, duration<double>(later - earlier).count());
}

} // namespace

std::string_view ToText(Freshness freshness)
{
    switch (freshness) {
    case Freshness::Unknown:
        return "unknown";
    case Freshness::Current:
        return "current";
    case Freshness::Stale:
        return "stale";
    case Freshness::Gone:
        return "gone";
    }
    return "unknown";
}

std::string WhyNotLive(SonarState const& sonar)
{
    if (sonar.freshness != Freshness::Current) {
        return fmt::format("{}: {}", ToText(sonar.freshness), sonar.reason);
    }
    if (sonar.link && *sonar.link != authority::SonarLink::Connected) {
        return fmt::format("aboard {}: {}{}{}", sonar.place.vessel, ToText(*sonar.link),
                           sonar.linkReason.empty() ? "" : ", ", sonar.linkReason);
    }
    return {};
}

FleetModel::FleetModel(FleetModelOptions options, FleetModelHooks hooks, sparkplug::Clock clock)
    : m_options(std::move(options)), m_clock(std::move(clock)),
      m_host(m_options.host,
             {.publish = std::move(hooks.publish),
              .state = [this](sparkplug::SeenName const& name) { NoteState(name); },
              .data = [this](sparkplug::SeenName const& name,
                             std::vector<sparkplug::SeenValue> const&) { NoteData(name); },
              .tell = std::move(hooks.tell)},
             m_clock)
{
}

FleetModel::~FleetModel() = default;

FleetModel::Heard& FleetModel::HeardOf(std::string const& vessel)
{
    auto const found = m_heard.find(vessel);
    if (found != m_heard.end()) {
        return found->second;
    }
    auto const steady = [clock = m_clock] { return duration<double>(clock().steady.time_since_epoch()).count(); };
    return m_heard.try_emplace(vessel, Heard{authority::HeardVesselTime(steady, m_options.sender), false, {}, {}})
        .first->second;
}

FleetModel::Heard const* FleetModel::FindHeard(std::string const& vessel) const
{
    auto const found = m_heard.find(vessel);
    return found != m_heard.end() ? &found->second : nullptr;
}

void FleetModel::NoteState(sparkplug::SeenName const& name)
{
    Place const place{name.node, name.device};
    auto& heard = HeardOf(place.vessel);
    bool const isAlive = m_host.Find(name)->state == SeenState::Alive;
    if (!place.sonar.empty()) {
        if (isAlive) {
            heard.ended.erase(place.sonar);
        } else {
            heard.ended.try_emplace(place.sonar, heard.known.value_or(Time()));
        }
    }
    if (isAlive) {
        heard.known = m_clock().steady;
    }
    if (isAlive && place.sonar.empty()) {
        HearTime(place);
    }
    m_changed.insert(place);
}

void FleetModel::NoteData(sparkplug::SeenName const& name)
{
    Place const place{name.node, name.device};
    HeardOf(place.vessel).known = m_clock().steady;
    if (place.sonar.empty()) {
        HearTime(place);
    }
    m_changed.insert(place);
}

void FleetModel::HearTime(Place const& vessel)
{
    if (auto const time = authority::VesselTimeIn(m_host.Find(SeenOf(vessel))->reserved)) {
        auto& heard = HeardOf(vessel.vessel);
        heard.tellsTime = true;
        heard.time.Hear(*time);
    }
}

void FleetModel::Receive(std::string_view topic, std::string_view payload)
{
    m_host.Receive(topic, payload);
}

void FleetModel::Disconnected()
{
    m_isConnected = false;
    m_host.Disconnected();
}

void FleetModel::Tick()
{
    m_host.Tick();
    auto const now = m_clock().steady;
    for (auto const& name : m_host.Names()) {
        Place place{name.node, name.device};
        auto const freshness = FreshnessOf(place, *m_host.Find(name), now);
        auto& told = m_told[place];
        if (std::exchange(told, freshness) != freshness) {
            m_changed.insert(std::move(place));
        }
    }
}

Freshness FleetModel::FreshnessOf(Place const& place, SeenThing const& thing, Time now) const
{
    auto const* const heard = FindHeard(place.vessel);
    switch (thing.state) {
    case SeenState::Unborn:
        return Freshness::Unknown;
    case SeenState::Dead:
        return Freshness::Gone;
    case SeenState::Stale:
        return IsBetweenBirths(place, now) ? Freshness::Current : Freshness::Stale;
    case SeenState::Alive:
        break;
    }
    bool const isSilent =
        heard != nullptr && heard->tellsTime && heard->known && now - *heard->known > m_options.silence;
    return isSilent || !m_isConnected ? Freshness::Stale : Freshness::Current;
}

bool FleetModel::IsBetweenBirths(Place const& sonar, Time now) const
{
    auto const* const vessel = m_host.Find(SeenOf({sonar.vessel, {}}));
    auto const* const heard = FindHeard(sonar.vessel);
    if (sonar.sonar.empty() || heard == nullptr || vessel->state != SeenState::Alive) {
        return false;
    }
    auto const ended = heard->ended.find(sonar.sonar);
    return ended != heard->ended.end() && now - ended->second < betweenBirths;
}

std::string FleetModel::ReasonFor(Freshness freshness, Place const& place) const
{
    switch (freshness) {
    case Freshness::Current:
        return {};
    case Freshness::Unknown:
        return fmt::format("{} has not told what it has yet", TextOf(place));
    case Freshness::Gone: {
        auto const* const vessel = m_host.Find(SeenOf({place.vessel, {}}));
        bool const isVesselGone = vessel == nullptr || vessel->state == SeenState::Dead;
        return isVesselGone ? fmt::format("{} is not at the broker any more", place.vessel)
                            : fmt::format("{} is not aboard {} any more", place.sonar, place.vessel);
    }
    case Freshness::Stale:
        break;
    }
    if (!m_isConnected) {
        return "the line to the broker is down";
    }
    auto const* const thing = m_host.Find(SeenOf({place.vessel, {}}));
    return thing != nullptr && thing->state == SeenState::Alive
               ? fmt::format("nothing is heard of {}", place.vessel)
               : fmt::format("{} is asked to tell everything anew", place.vessel);
}

std::optional<double> FleetModel::AgeOf(Place const& place, SeenThing const& thing, Time now) const
{
    auto const* const heard = FindHeard(place.vessel);
    if (heard == nullptr || !heard->known || thing.state == SeenState::Unborn) {
        return std::nullopt;
    }
    auto const ended = heard->ended.find(place.sonar);
    auto const known = ended != heard->ended.end() ? ended->second : *heard->known;
    return known == Time() ? std::nullopt : std::optional(SecondsBetween(known, now));
}

VesselState FleetModel::StateOf(Place const& vessel, SeenThing const& thing, Time now) const
{
    VesselState state;
    state.name = vessel.vessel;
    state.freshness = FreshnessOf(vessel, thing, now);
    state.reason = ReasonFor(state.freshness, vessel);
    state.age = AgeOf(vessel, thing, now);
    if (auto const ahead = m_host.ClockAhead(SeenOf(vessel))) {
        state.clockAhead = duration<double>(*ahead).count();
    }
    state.told = thing.reserved;
    return state;
}

std::vector<VesselState> FleetModel::Vessels() const
{
    std::vector<VesselState> vessels;
    auto const now = m_clock().steady;
    // Each vessel's name goes before those of its sonars.
    for (auto const& name : m_host.Names()) {
        if (name.device.empty()) {
            vessels.push_back(StateOf({name.node, {}}, *m_host.Find(name), now));
        } else {
            vessels.back().sonars.push_back(name.device);
        }
    }
    return vessels;
}

std::optional<VesselState> FleetModel::Vessel(std::string const& name) const
{
    auto const* const thing = m_host.Find(SeenOf({name, {}}));
    if (thing == nullptr) {
        return std::nullopt;
    }
    auto vessel = StateOf({name, {}}, *thing, m_clock().steady);
    for (auto const& sonar : Sonars()) {
        if (sonar.vessel == name) {
            vessel.sonars.push_back(sonar.sonar);
        }
    }
    return vessel;
}

std::vector<Place> FleetModel::Sonars() const
{
    std::vector<Place> sonars;
    for (auto const& name : m_host.Names()) {
        if (!name.device.empty()) {
            sonars.push_back({name.node, name.device});
        }
    }
    return sonars;
}

std::optional<SonarState> FleetModel::Sonar(Place const& sonar) const
{
    auto const* const thing = m_host.Find(SeenOf(sonar));
    if (thing == nullptr) {
        return std::nullopt;
    }
    auto const now = m_clock().steady;
    SonarState state;
    state.place = sonar;
    state.freshness = FreshnessOf(sonar, *thing, now);
    state.reason = ReasonFor(state.freshness, sonar);
    state.age = AgeOf(sonar, *thing, now);
    state.tree = thing->tree;
    state.lease = authority::LeaseIn(thing->reserved);
    state.link = authority::LinkIn(thing->reserved);
    state.linkReason = authority::LinkReasonIn(thing->reserved);
    return state;
}

std::optional<sparkplug::MetricFacts> FleetModel::Facts(Place const& sonar, std::string_view metric) const
{
    return m_host.Facts(SeenOf(sonar), metric);
}

std::optional<authority::RequestStamp> FleetModel::Stamp(std::string const& vessel, double limit)
{
    auto const heard = m_heard.find(vessel);
    return heard != m_heard.end() ? heard->second.time.Next(limit) : std::nullopt;
}

std::set<Place> FleetModel::TakeChanged()
{
    return std::exchange(m_changed, {});
}

} // namespace qx5::fleet
