// A host that shows what a fleet tells: trees, detections and links of sonars far away; what is asked of them leaves as
// numbered requests.
#pragma once

#include "cli/window/window_session.h"
#include "fleet/fleet.h"
#include "operation/action.h"
#include "reference_host/common/request_guard.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/core/host_streams.h"
#include "reference_host/core/port.h"
#include "reference_host/link/echo_streams.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qx5::cli {

/// Puts what the fleet knows into the session's devices, which have no connections, by the ways that a connection
/// takes: what a sonar has is merged as decoded, detections become blocks of its stream. A request goes to the fleet,
/// with its lease asked for where nobody has it; where somebody else has it, it is refused with his name. Its result is
/// an event and a step as any other.
///
/// Host thread; made and destroyed there, between the session's Begin and its End; the fleet has ended before.
class FleetHost final : private vordal::RequestGuard, private vordal::RequestObserver, private vordal::FollowersWatcher
{
public:
    /// s after which a request is not to be done any more, and for which a lease is taken.
    static constexpr double RequestLimit = 15.0;
    static constexpr double LeaseSeconds = 300.0;

    FleetHost(WindowSession& session, std::shared_ptr<vordal::WindowFeed> feed, fleet::Fleet& fleet);
    FleetHost(FleetHost const&) = delete;
    FleetHost& operator=(FleetHost const&) = delete;
    ~FleetHost() override;

    /// A device of the session stands for that sonar.
    void Add(CDataId const& device, fleet::Place const& place);
    /// Shows what is known of the sonar, or of all sonars of a vessel; nothing of one that no device stands for.
    void Update(fleet::Place const& place);
    void PutDetections(fleet::Place const& place, authority::DetectionsMessage const& message);

private:
    struct Sonar
    {
        Device* device = nullptr;
        fleet::Place place;
        vordal::PlainPort port;
        std::unique_ptr<vordal::EchoStreams> echoes;
        CAttributeMap tree;
        vordal::LinkStatus link;
        bool isLinkTold = false;
    };

    void Show(Sonar& sonar);
    void ShowTree(Sonar& sonar, CAttributeMap const& tree);
    void ShowLink(Sonar& sonar, vordal::LinkStatus const& status);
    void Attend(Sonar& sonar);
    void TakeReply(std::uint64_t number, authority::RequestReply const& reply);
    Sonar* Find(CDataId const& device);

    void OnFollowersChanged() override;
    bool Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                std::string& reason) override;
    void OnRequest(BaseDevice&, CAttributeMap const&, vordal::RequestOrigin) override {}
    void OnRequestEnd(BaseDevice&, std::string const*) override {}
    void OnRequestRefused(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                          std::string const& reason) override;
    void OnSend(vordal::SendMark const&, std::span<unsigned char const>, bool) override {}
    void OnEcho(BaseDevice&, CAttributeMap const&, unsigned) override {}
    void OnDropped(BaseDevice&, AttributeKey const&, AttributeKey const&) override {}
    void OnTold(BaseDevice& device, CAttributeMap const& tree) override;
    void OnChanged(CDataId const& device) override;

    WindowSession& m_session;
    std::shared_ptr<vordal::WindowFeed> const m_feed;
    fleet::Fleet& m_fleet;
    std::map<fleet::Place, Sonar> m_sonars;
    std::map<std::uint64_t, operation::Action> m_actions; ///< that wait for their results
    std::uint64_t m_lastAction = 0;
    bool m_isSent = false; ///< the request that the guard has just kept from the device
};

} // namespace qx5::cli
