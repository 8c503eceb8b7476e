// Who is there of a fleet, without what the sonars have.
#include "fleet/roll.h"

#include "sparkplug/payload.h"
#include "sparkplug/topic.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::fleet {

namespace {

/// As many vessels and sonars as a roll has at most: what is beyond it is passed over.
constexpr std::size_t mostOnRoll = 200'000;

} // namespace

Roll::Roll(std::chrono::milliseconds silence, sparkplug::Clock clock) : m_silence(silence), m_clock(std::move(clock)) {}

std::optional<Place> Roll::Receive(std::string_view text, std::string_view payload)
{
    using sparkplug::MessageKind;
    std::string error;
    auto const topic = sparkplug::ParseTopic(text, error);
    if (!topic || topic->kind == MessageKind::HostState || topic->kind == MessageKind::NodeCommand ||
        topic->kind == MessageKind::DeviceCommand) {
        return std::nullopt;
    }
    Place const place{topic->node, topic->device};
    if (m_heard.size() >= mostOnRoll && !m_heard.contains(place)) {
        return std::nullopt;
    }
    auto const now = m_clock();
    if (topic->kind == MessageKind::NodeDeath || topic->kind == MessageKind::DeviceDeath) {
        m_heard.try_emplace({place.vessel, {}}, Heard{now.steady, false, {}, {}});
        m_heard.try_emplace(place, Heard{now.steady, false, {}, {}});
        for (auto& [each, heard] : m_heard) {
            heard.isGone = heard.isGone || each == place || (place.sonar.empty() && each.vessel == place.vessel);
        }
        return std::nullopt;
    }
    // A sonar is heard of before its vessel, perhaps.
    auto& vessel = m_heard[{place.vessel, {}}];
    vessel.at = now.steady;
    vessel.isGone = false;
    if (place.sonar.empty()) {
        if (auto const read = sparkplug::DecodePayload(payload, error); read && read->timestamp) {
            vessel.clockAhead = 1e-3 * (static_cast<double>(*read->timestamp) - static_cast<double>(now.utc));
        }
        return std::nullopt;
    }
    auto const [sonar, isNew] = m_heard.try_emplace(place);
    bool const isBack = std::exchange(sonar->second.isGone, false);
    sonar->second.at = now.steady;
    return isNew || isBack ? std::optional(place) : std::nullopt;
}

void Roll::TakeFacts(Place const& sonar, authority::SonarFacts const& facts)
{
    if (auto const found = m_heard.find(sonar); found != m_heard.end()) {
        found->second.facts = facts;
    }
}

bool Roll::IsWhole() const
{
    return std::all_of(m_heard.begin(), m_heard.end(), [](auto const& each) {
        return each.first.sonar.empty() || each.second.isGone || each.second.facts.has_value();
    });
}

Freshness Roll::FreshnessOf(Heard const& heard) const
{
    if (heard.isGone) {
        return Freshness::Gone;
    }
    return m_clock().steady - heard.at > m_silence ? Freshness::Stale : Freshness::Current;
}

std::string Roll::ReasonFor(Place const& place, Freshness freshness) const
{
    if (freshness == Freshness::Stale) {
        return fmt::format("nothing is heard of {}", TextOf(place));
    }
    if (freshness != Freshness::Gone) {
        return {};
    }
    bool const isVesselGone = m_heard.at({place.vessel, {}}).isGone;
    return isVesselGone ? fmt::format("{} is not at the broker any more", place.vessel)
                        : fmt::format("{} is not aboard {} any more", place.sonar, place.vessel);
}

double Roll::AgeOf(Heard const& heard) const
{
    return std::chrono::duration<double>(m_clock().steady - heard.at).count();
}

std::vector<VesselState> Roll::Vessels() const
{
    std::vector<VesselState> vessels;
    for (auto const& [place, heard] : m_heard) {
        if (!place.sonar.empty()) {
            vessels.back().sonars.push_back(place.sonar);
            continue;
        }
        VesselState state;
        state.name = place.vessel;
        state.freshness = FreshnessOf(heard);
        state.reason = ReasonFor(place, state.freshness);
        state.age = AgeOf(heard);
        state.clockAhead = heard.clockAhead;
        vessels.push_back(std::move(state));
    }
    return vessels;
}

std::optional<VesselState> Roll::Vessel(std::string const& name) const
{
    auto vessels = Vessels();
    auto const found =
        std::find_if(vessels.begin(), vessels.end(), [&](VesselState const& vessel) { return vessel.name == name; });
    return found != vessels.end() ? std::optional(std::move(*found)) : std::nullopt;
}

std::vector<Place> Roll::Sonars() const
{
    std::vector<Place> sonars;
    for (auto const& [place, heard] : m_heard) {
        if (!place.sonar.empty()) {
            sonars.push_back(place);
        }
    }
    return sonars;
}

std::optional<SonarState> Roll::Sonar(Place const& sonar) const
{
    auto const found = m_heard.find(sonar);
    if (found == m_heard.end() || sonar.sonar.empty()) {
        return std::nullopt;
    }
    auto const& heard = found->second;
    SonarState state;
    state.place = sonar;
    state.freshness = FreshnessOf(heard);
    state.reason = ReasonFor(sonar, state.freshness);
    state.age = AgeOf(heard);
    if (heard.facts) {
        state.lease = heard.facts->lease;
        state.link = heard.facts->link;
        state.linkReason = heard.facts->linkReason;
    }
    return state;
}

} // namespace qx5::fleet
