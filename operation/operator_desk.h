// What surrounds the requests of one session: they are followed, guarded, logged, and what matters of them is told.
#pragma once

#include "operation/action_lease.h"
#include "operation/action_log.h"
#include "operation/action_tap.h"
#include "operation/event_list.h"
#include "operation/held_requests.h"
#include "operation/preset_load.h"
#include "operation/request_follower.h"
#include "operation/session_history.h"
#include "operation/sonar_watch.h"
#include "operation/transmit_lock.h"
#include "reference_host/link/sonar_link.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vordal {
class Host;
}

namespace qx5::operation {

struct NamedSonar
{
    CDataId id;
    std::string name; ///< what the operator calls it
};

/// The models of this folder, joined. Each tells which of its operations are for which thread; those here are for the
/// host thread unless they say otherwise.
class OperatorDesk final : private vordal::RequestGuard
{
public:
    explicit OperatorDesk(FollowerOptions options = {});
    OperatorDesk(OperatorDesk const&) = delete;
    OperatorDesk& operator=(OperatorDesk const&) = delete;

    /// The host's requests are followed and guarded from here on, until Leave; before its first request. The desk
    /// outlives what it has joined.
    void Join(vordal::Host& host);
    static void Leave(vordal::Host& host);
    /// Who is asked before the desk's own guards; null for nobody. Any thread; it outlives the desk or is taken away
    /// while no request runs.
    void SetFirstGuard(vordal::RequestGuard* guard) { m_firstGuard.store(guard, std::memory_order_release); }
    /// What the operator calls a sonar. Any thread.
    void SetName(CDataId const& sonar, std::string const& name);
    /// The sonars that have a name and are there, in the order of their ids. Any thread.
    std::vector<NamedSonar> Sonars() const;

    /// How a sonar's connection stands, at each change (LivePort::SetStatusListener).
    void OnLinkStatus(CDataId const& sonar, vordal::LinkStatus const& status);
    /// The sonar is at another address from here on: what waits for its answer is not answered any more, and how its
    /// connection stood counts no longer. What is held for it stays.
    void OnMoved(CDataId const& sonar);
    /// The sonar is not there any more: what is held for it, its lease and its steps go, too.
    void OnRemoved(CDataId const& sonar);
    /// To be called every 50 ms or so.
    void Tick();
    /// Before the host thread ends: what waits is judged as it stands.
    void Finish() { m_follower.Finish(); }

    RequestFollower& Follower() { return m_follower; }
    EventList& Events() { return m_events; }
    HeldRequests& Held() { return m_held; }
    SonarWatch& Watch() { return m_watch; }
    TransmitLock& Lock() { return m_lock; }
    ActionLease& Lease() { return m_lease; }
    ActionLog& Log() { return m_log; }
    SessionHistory& Steps() { return m_history; }
    PresetLoads& Presets() { return m_presets; }
    /// For a recorder.
    ActionTap& Tap() { return m_tap; }
    /// For who watches on behalf of other programs.
    ActionTap& OutsideTap() { return m_outsideTap; }
    /// For who tells it to people ashore.
    ActionTap& ShoreTap() { return m_shoreTap; }

private:
    /// Who has no lease hears of that first.
    bool Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                std::string& reason) override;

    EventList m_events;
    HeldRequests m_held;
    SonarWatch m_watch;
    TransmitLock m_lock;
    ActionLease m_lease;
    ActionLog m_log;
    SessionHistory m_history{m_events};
    PresetLoads m_presets;
    ActionTap m_tap;
    ActionTap m_outsideTap;
    ActionTap m_shoreTap;
    std::atomic<vordal::RequestGuard*> m_firstGuard{nullptr};
    RequestFollower m_follower;
    /// By the text of the id: whether a connection stood, and was lost since.
    struct Link
    {
        bool connected = false;
        bool lost = false;
    };
    std::map<CString, Link> m_links;
    std::map<CString, bool> m_silent;
    mutable std::mutex m_namesMutex; ///< guards what follows
    std::map<CString, NamedSonar> m_names;
};

} // namespace qx5::operation
