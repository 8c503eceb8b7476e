// A host that shows what a fleet tells.
#include "cli/window/fleet_host.h"

#include "fleet/detection_block.h"
#include "operation/request_judgement.h"
#include "operation/tree_walk.h"
#include "reference_host/attributes/tree_merge.h"

#include <VordalDataBlocksR/SonarEchoItems.h>
#include <vordalhostdllR/Device.h>

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

vordal::LinkStatus LinkOf(fleet::SonarState const& state)
{
    auto reason = fleet::WhyNotLive(state);
    auto const link = reason.empty() ? vordal::LinkState::Connected : vordal::LinkState::Closed;
    return {link, std::move(reason), {}};
}

/// Whether `now` lacks something that `before` has.
bool HasLost(CAttributeMap const& before, CAttributeMap const& now)
{
    bool hasLost = false;
    operation::WalkTrees<1>(before, {&now}, [&](std::string const&, CAttributeMap const&, auto const& others) {
        hasLost = hasLost || others[0] == nullptr;
    });
    return hasLost;
}

} // namespace

FleetHost::FleetHost(WindowSession& session, std::shared_ptr<vordal::WindowFeed> feed, fleet::Fleet& fleet)
    : m_session(session), m_feed(std::move(feed)), m_fleet(fleet)
{
    auto& host = m_session.Host();
    host.SetRequestGuard(this);
    host.SetRequestObserver(this);
    host.WatchFollowers(*this);
}

FleetHost::~FleetHost()
{
    auto& host = m_session.Host();
    host.LeaveFollowers(*this);
    for (auto& [place, sonar] : m_sonars) {
        host.SetPort(*sonar.device, nullptr);
    }
    host.SetRequestObserver(nullptr);
    host.SetRequestGuard(nullptr);
}

void FleetHost::Add(CDataId const& id, fleet::Place const& place)
{
    auto& host = m_session.Host();
    for (Device* const device : host.Devices()) {
        if (device->GetDataId() == id) {
            auto& sonar = m_sonars[place];
            sonar.device = device;
            sonar.place = place;
            sonar.echoes = std::make_unique<vordal::EchoStreams>(host, sonar.port);
            host.SetPort(*device, &sonar.port);
            Show(sonar);
        }
    }
}

FleetHost::Sonar* FleetHost::Find(CDataId const& device)
{
    for (auto& [place, sonar] : m_sonars) {
        if (sonar.device->GetDataId() == device) {
            return &sonar;
        }
    }
    return nullptr;
}

void FleetHost::Update(fleet::Place const& place)
{
    for (auto& [each, sonar] : m_sonars) {
        if (each.vessel == place.vessel && (place.sonar.empty() || each.sonar == place.sonar)) {
            Show(sonar);
        }
    }
}

void FleetHost::Show(Sonar& sonar)
{
    if (auto const state = m_fleet.Sonar(sonar.place)) {
        // First how the line is: what is told on a new one is no answer to what was asked before.
        ShowLink(sonar, LinkOf(*state));
        ShowTree(sonar, state->tree);
    }
}

void FleetHost::ShowTree(Sonar& sonar, CAttributeMap const& tree)
{
    if (vordal::ShareOneNode(sonar.tree, tree)) {
        return;
    }
    auto const before = std::exchange(sonar.tree, tree);
    if (HasLost(before, tree)) {
        m_session.Host().ReplaceAttributes(*sonar.device, {});
    }
    m_session.Host().MergeDecoded(*sonar.device, tree);
    Attend(sonar);
}

void FleetHost::ShowLink(Sonar& sonar, vordal::LinkStatus const& status)
{
    if (std::exchange(sonar.isLinkTold, true) && sonar.link.state == status.state &&
        sonar.link.reason == status.reason) {
        return;
    }
    sonar.link = status;
    auto const& device = sonar.device->GetDataId();
    m_feed->PutStatus(device, status);
    m_session.Desk().OnLinkStatus(device, status);
    Attend(sonar);
}

void FleetHost::Attend(Sonar& sonar)
{
    sonar.echoes->Attend(sonar.link.state == vordal::LinkState::Connected,
                         [](protocol::Target, std::span<unsigned char const>) { return false; });
}

void FleetHost::OnFollowersChanged()
{
    for (auto& [place, sonar] : m_sonars) {
        Attend(sonar);
    }
}

void FleetHost::PutDetections(fleet::Place const& place, authority::DetectionsMessage const& message)
{
    auto const found = m_sonars.find(place);
    if (found == m_sonars.end()) {
        return;
    }
    auto stream = found->second.device->GetDataId();
    stream.SetGroupId(SONAR_DETECTIONS_GROUP);
    m_session.Host().PutBlock(stream, fleet::BlockOf(message));
}

bool FleetHost::Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who, std::string& reason)
{
    auto* const sonar = Find(device.GetDataId());
    auto const state = sonar != nullptr ? m_fleet.Sonar(sonar->place) : std::nullopt;
    if (!state) {
        reason = "it is no sonar of the fleet";
        return false;
    }
    auto const& holder = state->lease.holder;
    if (!holder.empty() && holder != m_fleet.Person()) {
        reason = fmt::format("{} commands it; Fleet, Take the lease asks for that", holder);
        return false;
    }
    if (holder.empty()) {
        m_fleet.AskLease(sonar->place, {authority::LeaseVerb::Take, LeaseSeconds, {}}, RequestLimit,
                         [this](authority::LeaseReply const& reply) {
                             if (reply.answer == authority::LeaseReplyKind::Refused) {
                                 m_session.Tell("the lease: " + reply.reason);
                             }
                         });
    }
    operation::Action action;
    action.number = ++m_lastAction;
    action.time = m_session.Host().Now();
    action.who = who;
    action.sonar = device.GetDataId();
    action.asked = request;
    action.before = operation::AtTheSamePlaces(request, state->tree);
    m_session.Desk().Steps().OnActionBegins(m_actions[action.number] = action);
    m_fleet.Request(sonar->place, request, RequestLimit,
                    [this, number = action.number](authority::RequestReply const& reply) {
                        m_session.Host().Post([this, number, reply] { TakeReply(number, reply); });
                    });
    m_isSent = true;
    reason = "it goes by way of the broker";
    return false;
}

void FleetHost::OnRequestRefused(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                                 std::string const& reason)
{
    if (!std::exchange(m_isSent, false)) {
        m_session.Desk().Follower().OnRequestRefused(device, request, who, reason);
    }
}

void FleetHost::TakeReply(std::uint64_t number, authority::RequestReply const& reply)
{
    auto known = m_actions.extract(number);
    if (!known) {
        return;
    }
    auto action = std::move(known.mapped());
    action.got = reply.has;
    action.reason = reply.reason;
    action.result = fleet::ResultOf(reply);
    m_session.Desk().Events().OnActionStands(action);
    m_session.Desk().Steps().OnActionStands(action);
}

void FleetHost::OnTold(BaseDevice& device, CAttributeMap const& tree)
{
    m_session.Desk().Follower().OnTold(device, tree);
}

void FleetHost::OnChanged(CDataId const& device)
{
    m_session.Desk().Follower().OnChanged(device);
}

} // namespace qx5::cli
