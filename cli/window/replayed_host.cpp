// A host that shows what a recording says.
#include "replayed_host.h"

#include "operation/action_values.h"
#include "operation/request_judgement.h"

#include <vordalhostdllR/Device.h>

#include <protocol/echo_records.h>
#include <protocol/frame.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using operation::EventKind;
using operation::Severity;

constexpr double nanosecondsEach = 1e-9;
/// Requests whose result has not come are kept no longer than so many others.
constexpr std::size_t greatestActions = 1000;

/// "1.78.1.1", as a recording tells it: four numbers.
CDataId IdOf(std::string_view text)
{
    unsigned short numbers[4]{};
    for (auto& number : numbers) {
        auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (problem != std::errc()) {
            return {};
        }
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        text.remove_prefix(std::min<std::size_t>(1, text.size()));
    }
    return CDataId(numbers[0], numbers[1], numbers[2], numbers[3]);
}

/// The value whose text that is, among those from `first` to `last`.
template <typename Value, typename ToText>
std::optional<Value> ValueOf(std::string_view text, Value first, Value last, ToText const& toText)
{
    for (auto number = static_cast<int>(first); number <= static_cast<int>(last); ++number) {
        if (toText(static_cast<Value>(number)) == text) {
            return static_cast<Value>(number);
        }
    }
    return std::nullopt;
}

vordal::LinkStatus StatusOf(recording::RecordedConnection const& connection)
{
    auto const state = ValueOf(connection.state, vordal::LinkState::Closed, vordal::LinkState::Waiting,
                               [](vordal::LinkState each) { return vordal::ToText(each); });
    return {state.value_or(vordal::LinkState::Closed), connection.reason, std::chrono::milliseconds(0)};
}

} // namespace

vordal::StoredProject RecordedFleet(std::vector<recording::RecordedSonar> const& sonars, CString const& sonarClass)
{
    vordal::StoredProject fleet;
    std::set<unsigned short> vessels;
    for (auto const& sonar : sonars) {
        auto const id = IdOf(sonar.id);
        if (!IsSonar(id)) {
            continue;
        }
        if (vessels.insert(id.GetVessel()).second) {
            fleet.vessels.push_back(
                MakeVessel(id.GetVessel(), CString(L"Vessel " + std::to_wstring(id.GetVessel())), false));
        }
        fleet.devices.push_back({id, sonarClass, CString(protocol::DecodeUtf8(sonar.name)), {}, true, {}});
    }
    return fleet;
}

ReplayedHost::ReplayedHost(WindowSession& session, std::shared_ptr<vordal::WindowFeed> feed, vordal::FixedClock& clock)
    : m_session(session), m_feed(std::move(feed)), m_clock(clock)
{
    auto& host = m_session.Host();
    host.SetRequestGuard(this);
    for (Device* const device : host.Devices()) {
        auto& sonar = m_sonars[protocol::EncodeUtf8(device->GetDataId().GetKey().View())];
        sonar.device = device;
        sonar.name = protocol::EncodeUtf8(std::as_const(*device).GetDeviceName().View());
        sonar.echoes = std::make_unique<vordal::EchoStreams>(host, sonar.port);
        sonar.monitor = vordal::RecordQueue::ObserverOf(m_feed->Records(), sonar.name);
        host.SetPort(*device, &sonar.port);
    }
    host.WatchFollowers(*this);
}

ReplayedHost::~ReplayedHost()
{
    auto& host = m_session.Host();
    host.LeaveFollowers(*this);
    for (auto& [id, sonar] : m_sonars) {
        host.SetPort(*sonar.device, nullptr);
    }
    host.SetRequestGuard(nullptr);
}

void ReplayedHost::SetTime(std::uint64_t time)
{
    m_clock.Set(static_cast<double>(time) * nanosecondsEach);
}

void ReplayedHost::OnState(std::uint64_t time, std::map<std::string, recording::RecordedState> const& states)
{
    SetTime(time);
    m_actions.clear();
    m_newestAction = 0;
    for (auto& [id, sonar] : m_sonars) {
        auto const& device = sonar.device->GetDataId();
        auto const state = states.find(id);
        // As if it had come just now: what was known of it is of another time.
        m_session.Desk().OnRemoved(device);
        m_session.Host().ReplaceAttributes(*sonar.device, {});
        if (state != states.end() && state->second.settings) {
            sonar.device->SetAttributeMap(state->second.settings->tree, 0);
        }
        TakeConnection(sonar, state != states.end() && state->second.connection ? *state->second.connection
                                                                                : recording::RecordedConnection());
    }
}

void ReplayedHost::OnMessage(recording::RecordedMessage const& message)
{
    SetTime(message.time);
    if (message.sonar != nullptr) {
        if (auto const sonar = m_sonars.find(*message.sonar); sonar != m_sonars.end()) {
            Take(sonar->second, message);
        }
    } else if (auto const* const mark = std::get_if<recording::RecordedMark>(&message.content)) {
        m_session.Tell(Severity::Information, "mark: " + mark->text);
    } else if (auto const* const loss = std::get_if<recording::RecordedLoss>(&message.content)) {
        m_session.Tell(Severity::Warning, fmt::format("{} messages were lost as this was recorded", loss->messages));
    }
}

void ReplayedHost::Take(Sonar& sonar, recording::RecordedMessage const& message)
{
    if (auto const* const frame = std::get_if<recording::RecordedFrame>(&message.content)) {
        TakeFrame(sonar, *frame);
    } else if (auto const* const settings = std::get_if<recording::RecordedSettings>(&message.content);
               settings != nullptr && !settings->isAgain) {
        sonar.device->SetAttributeMap(settings->tree, 0);
    } else if (auto const* const attributes = std::get_if<recording::RecordedAttributes>(&message.content)) {
        if (attributes->isEcho) {
            sonar.device->SetAttributeMap(attributes->tree, 0);
        } else {
            m_session.Host().MergeDecoded(*sonar.device, attributes->tree);
            Attend(sonar); // it may have told who it is
        }
    } else if (auto const* const writing = std::get_if<recording::RecordedWriting>(&message.content)) {
        sonar.device->SetAttributeMap(writing->tree, 0);
    } else if (auto const* const connection = std::get_if<recording::RecordedConnection>(&message.content)) {
        TakeConnection(sonar, *connection);
    } else if (auto const* const request = std::get_if<recording::RecordedRequest>(&message.content)) {
        TakeRequest(sonar, *request);
    } else if (auto const* const result = std::get_if<recording::RecordedResult>(&message.content)) {
        TakeResult(sonar, *result);
    }
}

void ReplayedHost::TakeFrame(Sonar& sonar, recording::RecordedFrame const& frame)
{
    sonar.monitor->OnTrace({frame.isSent, m_clock.Now(), sonar.frames++, frame.bytes});
    auto const view = frame.isSent ? std::nullopt : protocol::ParseFrame(frame.bytes);
    if (!view || !protocol::IsOfEchoes(view->header.recordId)) {
        return;
    }
    if (std::string damage; sonar.echoes->Take(*view, damage)) {
        sonar.echoes->DeliverNext();
    }
}

void ReplayedHost::TakeRequest(Sonar& sonar, recording::RecordedRequest const& request)
{
    operation::Action action;
    action.number = request.number;
    action.time = m_clock.Now();
    action.who = ValueOf(request.who, vordal::RequestOrigin::Program, vordal::RequestOrigin::OtherHost,
                         [](vordal::RequestOrigin each) { return vordal::ToText(each); })
                     .value_or(vordal::RequestOrigin::Program);
    action.sonar = sonar.device->GetDataId();
    action.asked = request.asked;
    CAttributeMap tree;
    sonar.device->GetAttributeMap(tree);
    action.before = operation::AtTheSamePlaces(request.asked, tree);
    m_newestAction = std::max(m_newestAction, request.number);
    if (m_actions.size() == greatestActions) {
        m_actions.erase(m_actions.begin());
    }
    m_session.Desk().Steps().OnActionBegins(m_actions[request.number] = action);
}

void ReplayedHost::TakeResult(Sonar& sonar, recording::RecordedResult const& result)
{
    auto known = m_actions.extract(result.number);
    operation::Action action;
    if (known) {
        action = std::move(known.mapped());
    } else if (result.number > m_newestAction) {
        // Numbers rise: nobody here has asked for it.
        m_newestAction = result.number;
        action.number = result.number;
        action.who = vordal::RequestOrigin::OtherHost;
        action.sonar = sonar.device->GetDataId();
        action.asked = result.got;
    } else {
        return; // it was asked for before what is played
    }
    action.time = m_clock.Now();
    action.got = result.got;
    action.reason = result.reason;
    action.result =
        ValueOf(result.result, operation::Result::Pending, operation::Result::Replaced, [](operation::Result each) {
            return operation::ToText(each);
        }).value_or(operation::Result::Agrees);
    m_session.Desk().Events().OnActionStands(action);
    m_session.Desk().Steps().OnActionStands(action);
}

void ReplayedHost::TakeConnection(Sonar& sonar, recording::RecordedConnection const& connection)
{
    auto const status = StatusOf(connection);
    auto const& device = sonar.device->GetDataId();
    sonar.isConnected = status.state == vordal::LinkState::Connected;
    m_feed->PutStatus(device, status);
    m_session.Desk().OnLinkStatus(device, status);
    Attend(sonar);
}

void ReplayedHost::Attend(Sonar& sonar)
{
    sonar.echoes->Attend(sonar.isConnected, [](protocol::Target, std::span<unsigned char const>) { return false; });
}

void ReplayedHost::OnFollowersChanged()
{
    for (auto& [id, sonar] : m_sonars) {
        Attend(sonar);
    }
}

bool ReplayedHost::Admits(BaseDevice&, CAttributeMap const&, vordal::RequestOrigin, std::string& reason)
{
    reason = "this is a replay: nothing that is asked for here reaches a sonar";
    return false;
}

} // namespace qx5::cli
