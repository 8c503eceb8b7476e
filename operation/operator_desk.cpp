// What surrounds the requests of one session, joined.
#include "operation/operator_desk.h"

#include "reference_host/core/host.h"

#include <initializer_list>
#include <utility>

#include <fmt/format.h>

namespace qx5::operation {

OperatorDesk::OperatorDesk(FollowerOptions options)
    : m_watch(options.steadyClock), m_lease(options.steadyClock), m_follower(std::move(options))
{
    for (ActionListener* const listener : std::initializer_list<ActionListener*>{
             &m_tap, &m_outsideTap, &m_shoreTap, &m_watch, &m_held, &m_log, &m_events, &m_history, &m_presets}) {
        m_follower.AddListener(*listener);
    }
}

void OperatorDesk::Join(vordal::Host& host)
{
    host.SetRequestGuard(this);
    host.SetRequestObserver(&m_follower);
}

void OperatorDesk::Leave(vordal::Host& host)
{
    host.SetRequestObserver(nullptr);
    host.SetRequestGuard(nullptr);
}

bool OperatorDesk::Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                          std::string& reason)
{
    auto* const first = m_firstGuard.load(std::memory_order_acquire);
    return (first == nullptr || first->Admits(device, request, who, reason)) &&
           m_lease.Admits(device, request, who, reason) && m_lock.Admits(device, request, who, reason);
}

void OperatorDesk::SetName(CDataId const& sonar, std::string const& name)
{
    m_events.SetName(sonar, name);
    m_log.SetName(sonar, name);
    std::lock_guard const lock(m_namesMutex);
    m_names[sonar.GetKey()] = {sonar, name};
}

std::vector<NamedSonar> OperatorDesk::Sonars() const
{
    std::lock_guard const lock(m_namesMutex);
    std::vector<NamedSonar> sonars;
    for (auto const& [key, sonar] : m_names) {
        sonars.push_back(sonar);
    }
    return sonars;
}

void OperatorDesk::OnLinkStatus(CDataId const& sonar, vordal::LinkStatus const& status)
{
    Link& link = m_links[sonar.GetKey()];
    bool const connected = status.state == vordal::LinkState::Connected;
    m_watch.SetLink(sonar, status);
    if (connected == link.connected) {
        return;
    }
    link.connected = connected;
    m_follower.SetConnected(sonar, connected);
    if (!connected) {
        link.lost = true;
        m_events.PutState(sonar, EventKind::LinkLost, Severity::Error,
                          status.reason.empty() ? "the connection was lost"
                                                : "the connection was lost: " + status.reason);
    } else if (std::exchange(link.lost, false)) {
        m_events.PutState(sonar, EventKind::LinkBack, Severity::Information, "connected again");
    }
}

void OperatorDesk::OnMoved(CDataId const& sonar)
{
    m_follower.SetConnected(sonar, false);
    m_links.erase(sonar.GetKey());
    m_silent.erase(sonar.GetKey());
    m_watch.Forget(sonar);
}

void OperatorDesk::OnRemoved(CDataId const& sonar)
{
    OnMoved(sonar);
    m_held.Drop(sonar);
    m_lease.Forget(sonar);
    m_history.Forget(sonar);
    std::lock_guard const lock(m_namesMutex);
    m_names.erase(sonar.GetKey());
}

void OperatorDesk::Tick()
{
    m_follower.Tick();
    m_presets.Tick();
    for (SonarState const& state : m_watch.Tick()) {
        bool& silent = m_silent[state.sonar.GetKey()];
        bool const wasSilent = std::exchange(silent, state.condition == SonarCondition::Silent);
        if (silent) {
            m_events.PutState(state.sonar, EventKind::Silent, Severity::Error,
                              fmt::format("its pings are on, and it has told nothing for {:.1f} s", state.sinceData));
        } else if (wasSilent && state.condition == SonarCondition::Well) {
            m_events.PutState(state.sonar, EventKind::TellsAgain, Severity::Information, "it tells again");
        }
    }
}

} // namespace qx5::operation
