// How each sonar is, by what it tells and when.
#include "operation/sonar_watch.h"

#include "operation/steady_seconds.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CExTime.h>
#include <protocol/records/basic.h>
#include <protocol/records/shared_keys.h>
#include <protocol/settings_keys.h>

#include <algorithm>
#include <utility>

namespace qx5::operation {

namespace {

constexpr AttributeKey pingNumberKey{protocol::keys::x5PingNumber.text};
constexpr AttributeKey pingsOnKey{protocol::keys::x5PingOnOffState.text};
constexpr AttributeKey rangeKey{protocol::keys::x5Range.text};
constexpr AttributeKey rateKey{protocol::keys::x5MaxPingRate.text};

/// In m/s, of the slowest water that sonars are used in.
constexpr double leastSoundVelocity = 1400.0;
/// So many pings may be missing before their sonar counts as silent.
constexpr double pingsMissing = 3.0;

} // namespace

SonarWatch::SonarWatch(std::function<double()> steadyClock) : m_steadyClock(std::move(steadyClock))
{
    if (!m_steadyClock) {
        m_steadyClock = SteadySeconds;
    }
}

SonarWatch::Sonar& SonarWatch::Of(CDataId const& id)
{
    Sonar& sonar = m_sonars[id.GetKey()];
    sonar.id = id;
    return sonar;
}

void SonarWatch::SetLink(CDataId const& id, vordal::LinkStatus const& status)
{
    double const now = m_steadyClock();
    std::lock_guard const lock(m_mutex);
    Sonar& sonar = Of(id);
    if (status.state == vordal::LinkState::Connected && sonar.link.state != vordal::LinkState::Connected) {
        sonar.heard = now;
        sonar.wasConnected = true;
    }
    if (status.state != vordal::LinkState::Connected) {
        sonar.recent.clear();
    }
    if (status.state == vordal::LinkState::Lost || status.state == vordal::LinkState::Waiting) {
        sonar.failure = status.reason.empty() ? sonar.failure : status.reason;
    }
    sonar.link = status;
    sonar.linkTold = now;
}

void SonarWatch::Forget(CDataId const& id)
{
    std::lock_guard const lock(m_mutex);
    m_sonars.erase(id.GetKey());
}

void SonarWatch::NotePing(Sonar& sonar, int number, double now)
{
    if (!sonar.recent.empty()) {
        auto const steps = std::int64_t{number} - sonar.recent.back().number;
        if (steps == 0) {
            return; // the same, of another head
        }
        if (steps < 0) {
            sonar.recent.clear(); // it counts anew
        } else {
            sonar.intervalBefore = sonar.interval;
            sonar.interval = (now - sonar.recent.back().time) / static_cast<double>(steps);
        }
    }
    ++sonar.pings;
    sonar.recent.push_back({now, number});
    while (sonar.recent.size() > GreatestRecent || now - sonar.recent.front().time > RateOf) {
        sonar.recent.pop_front();
    }
}

void SonarWatch::OnSonarTells(CDataId const& id, CAttributeMap const& tree)
{
    double const now = m_steadyClock();
    double const hostTime = CExTime::GetCurTime();
    int number = 0;
    int on = 0;
    bool const isPing = tree.FindValue(pingNumberKey).Get(number);
    bool const tellsPings = tree.FindValue(pingsOnKey).Get(on);
    double range = 0.0;
    double rate = 0.0;
    bool const tellsRange = tree.FindValue(rangeKey).Get(range);
    bool const tellsRate = tree.FindValue(rateKey).Get(rate);
    std::lock_guard const lock(m_mutex);
    Sonar& sonar = Of(id);
    if (tellsRange) {
        sonar.travelTime = 2.0 * range / leastSoundVelocity;
    }
    if (tellsRate) {
        sonar.rateInterval = rate > 0.0 ? 1.0 / rate : 0.0;
    }
    sonar.lastData = hostTime;
    sonar.heard = now;
    if (tellsPings) {
        sonar.pingsOn = on != 0;
    }
    if (isPing) {
        NotePing(sonar, number, now);
    }
}

SonarState SonarWatch::StateAt(Sonar const& sonar, double now)
{
    SonarState state;
    state.sonar = sonar.id;
    state.link = sonar.link;
    state.wasConnected = sonar.wasConnected;
    state.sinceLink = std::max(0.0, now - sonar.linkTold);
    state.failure = sonar.failure;
    state.lastData = sonar.lastData;
    state.sinceData = std::max(0.0, now - sonar.heard);
    state.pingsOn = sonar.pingsOn;
    state.pings = sonar.pings;
    if (sonar.pings != 0) {
        state.pingRate = 0.0;
        if (sonar.recent.size() > 1) {
            Ping const& first = sonar.recent.front();
            Ping const& last = sonar.recent.back();
            // The next one is due after as long as it took up to here; later, the rate goes down.
            double const mean = (last.time - first.time) / static_cast<double>(last.number - first.number);
            double const overdue = std::max(0.0, now - last.time - 2.0 * mean);
            double const span = last.time - first.time + overdue;
            if (now - last.time < RateOf && span > 0.0) {
                state.pingRate = static_cast<double>(last.number - first.number) / span;
            }
        }
    }
    if (sonar.link.state == vordal::LinkState::Connected) {
        bool const shouldPing = sonar.pingsOn.value_or(false) && sonar.pings != 0;
        // A silence that is over is no interval of pings: two must be as long.
        double const interval =
            std::max({sonar.travelTime, sonar.rateInterval, std::min(sonar.interval, sonar.intervalBefore)});
        bool const isSilent = shouldPing && now - sonar.heard >= std::max(SilentAfter, pingsMissing * interval);
        state.condition = isSilent ? SonarCondition::Silent : SonarCondition::Well;
    }
    return state;
}

std::vector<SonarState> SonarWatch::Tick()
{
    double const now = m_steadyClock();
    std::vector<SonarState> changed;
    std::lock_guard const lock(m_mutex);
    for (auto& [key, sonar] : m_sonars) {
        auto state = StateAt(sonar, now);
        if (std::exchange(sonar.told, state.condition) != state.condition) {
            changed.push_back(std::move(state));
        }
    }
    return changed;
}

std::vector<SonarState> SonarWatch::States() const
{
    double const now = m_steadyClock();
    std::vector<SonarState> states;
    std::lock_guard const lock(m_mutex);
    for (auto const& [key, sonar] : m_sonars) {
        states.push_back(StateAt(sonar, now));
    }
    return states;
}

SonarState SonarWatch::StateOf(CDataId const& id) const
{
    double const now = m_steadyClock();
    std::lock_guard const lock(m_mutex);
    auto const sonar = m_sonars.find(id.GetKey());
    if (sonar != m_sonars.end()) {
        return StateAt(sonar->second, now);
    }
    SonarState unknown;
    unknown.sonar = id;
    return unknown;
}

} // namespace qx5::operation
