// A host that shows what a recording says: trees, streams and connections as they were, and nothing that leaves.
#pragma once

#include "cli/window/window_session.h"
#include "operation/action.h"
#include "recording/replay_player.h"
#include "reference_host/common/clock.h"
#include "reference_host/common/request_guard.h"
#include "reference_host/core/host_streams.h"
#include "reference_host/core/port.h"
#include "reference_host/link/echo_streams.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace qx5::cli {

/// The devices that a recording tells of, without connections, as a session begins with them; devices that are no
/// sonars are left out.
vordal::StoredProject RecordedFleet(std::vector<recording::RecordedSonar> const& sonars, CString const& sonarClass);

/// Puts what is played into the session's devices, by the ways that a connection and the plug-in take: what the sonar
/// told is merged as decoded, echoes are echoed, frames of echoes become blocks of their streams. Results of requests
/// are events and steps again. The host's clock stands at the moment that is shown. Requests are refused.
///
/// Host thread; made and destroyed there, between the session's Begin and its End.
class ReplayedHost final : public recording::ReplayReceiver,
                           private vordal::FollowersWatcher,
                           private vordal::RequestGuard
{
public:
    ReplayedHost(WindowSession& session, std::shared_ptr<vordal::WindowFeed> feed, vordal::FixedClock& clock);
    ReplayedHost(ReplayedHost const&) = delete;
    ReplayedHost& operator=(ReplayedHost const&) = delete;
    ~ReplayedHost();

    void OnState(std::uint64_t time, std::map<std::string, recording::RecordedState> const& states) override;
    void OnMessage(recording::RecordedMessage const& message) override;
    /// The moment that is shown is that one.
    void SetTime(std::uint64_t time);

private:
    struct Sonar
    {
        Device* device = nullptr;
        std::string name;
        vordal::PlainPort port;
        std::unique_ptr<vordal::EchoStreams> echoes;
        std::shared_ptr<vordal::LinkObserver> monitor;
        std::uint64_t frames = 0;
        bool isConnected = false;
    };

    void Take(Sonar& sonar, recording::RecordedMessage const& message);
    void TakeFrame(Sonar& sonar, recording::RecordedFrame const& frame);
    void TakeRequest(Sonar& sonar, recording::RecordedRequest const& request);
    void TakeResult(Sonar& sonar, recording::RecordedResult const& result);
    void TakeConnection(Sonar& sonar, recording::RecordedConnection const& connection);
    static void Attend(Sonar& sonar);
    void OnFollowersChanged() override;
    bool Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                std::string& reason) override;

    WindowSession& m_session;
    std::shared_ptr<vordal::WindowFeed> const m_feed;
    vordal::FixedClock& m_clock;
    std::map<std::string, Sonar> m_sonars; ///< by id
    std::map<std::uint64_t, operation::Action> m_actions;
    std::uint64_t m_newestAction = 0;
};

} // namespace qx5::cli
