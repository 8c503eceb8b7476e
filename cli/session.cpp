// A live host with the plug-in and one sonar on a TCP connection.
#include "session.h"

#include "operation/dropped_text.h"

#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DataManager.h>

#include <VordalConfigureR/DataSearch.h>
#include <VordalSubscriberR/Subscriber.h>
#include <commands/terminal_codes.h>
#include <protocol/bytes.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>
#include <protocol/utf8.h>
#include <tvcoreR/Utf8.h>

#include "reference_host/attributes/host_keys.h"
#include "reference_host/common/failure.h"
#include "reference_host/common/path_text.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <thread>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

CDataId SonarId()
{
    return CDataId(1, 78, 1, 1);
}

/// What the operator calls it.
constexpr char const* sonarName = "sonar";

CDataId TerminalId()
{
    CDataId id = SonarId();
    id.SetGroupId(terminal::Group);
    return id;
}

struct PresetValue
{
    protocol::Key const* key;
    double value;
};

// Projector, pings per second, metres, decibel, decibel, seconds.
using Preset = std::array<PresetValue, 6>;
constexpr Preset MakePreset(double projector, double rate, double range, double power, double gain, double pulseLength)
{
    namespace keys = protocol::keys;
    return {{{&keys::x5Frequency, projector},
             {&keys::x5MaxPingRate, rate},
             {&keys::x5Range, range},
             {&keys::x5Power, power},
             {&keys::x5Gain, gain},
             {&keys::x5PulseLength, pulseLength}}};
}

/// From very shallow water to the sonar at rest.
constexpr Preset shippedPresets[]{
    MakePreset(1, 40.0, 10.0, 180.0, 10.0, 0.00003), MakePreset(1, 20.0, 30.0, 190.0, 20.0, 0.00005),
    MakePreset(0, 10.0, 100.0, 200.0, 30.0, 0.0001), MakePreset(0, 3.0, 200.0, 215.0, 40.0, 0.0003),
    MakePreset(0, 1.0, 50.0, 0.0, 0.0, 0.00003),
};

} // namespace

/// Turns the frames of the link into events.
class Session::Monitor final : public vordal::LinkObserver
{
public:
    explicit Monitor(Session& session) : m_session(session) {}

    void OnTrace(vordal::LinkTrace const& trace) override
    {
        if (m_session.m_recorders != nullptr) {
            m_session.m_recorders->Frame(SonarId(), trace.outgoing, trace.frame);
        }
        m_session.m_switches.Take(trace.outgoing, trace.frame, trace.time);
        m_session.Tell({trace.outgoing ? SessionEvent::Kind::Sent : SessionEvent::Kind::Received,
                        {trace.frame.begin(), trace.frame.end()},
                        {},
                        0,
                        {}});
    }

private:
    Session& m_session;
};

Session::Session(Listener listener, CString guid, vordal::RequestOrigin origin)
    : m_listener(std::move(listener)), m_guid(std::move(guid)), m_origin(origin)
{
    m_host.SetObserver(this);
    // Asked before there is an application, the host tells the GUID that it made for this run.
    if (m_guid.View().empty()) {
        m_guid = CVordalBaseApp::GetAppInstanceGuid();
    }
    m_host.SetApplication({.guid = m_guid, .mainWindow = false, .lightMode = 4, .displays = {}});
    m_desk.SetName(SonarId(), sonarName);
    m_desk.Join(m_host);
    m_host.SetItemTexts(78, 2701, {L"Idle", L"Recording"}); // the states of recording
    m_project.vessels = {{.number = 1, .name = L"Vessel", .configuration = {}}};
    m_project.devices = {{.dataId = SonarId(),
                          .className = {},
                          .name = L"sonar",
                          .portName = L"port-1",
                          .enabled = true,
                          .attributes = {}}};
}

Session::~Session()
{
    m_host.End(std::chrono::seconds(10), [this] {
        m_introduction.Unsubscribe();
        m_desk.Finish();
    });
    if (m_store != nullptr) {
        vordal::LogFailureOf("the last actions are not in the project's log: ",
                             [this] { m_desk.Log().WriteTo(*m_store); });
    }
}

bool Session::LoadPlugin(std::string const& path, std::string& error)
{
    if (!m_host.LoadPlugIn(vordal::PathOf(path), error)) {
        return false;
    }
    CString& deviceClass = m_project.devices.front().className;
    deviceClass = m_host.SonarClass();
    if (deviceClass.IsEmpty()) {
        error = fmt::format("{}: the plug-in does not offer the sonar's device class", path);
    }
    return !deviceClass.IsEmpty();
}

bool Session::OpenProject(std::string const& file, bool isSimulated, std::string& error)
{
    try {
        auto const path = vordal::PathOf(file);
        m_store = std::make_unique<vordal::ProjectStore>(path);
        m_host.SetProjectFolder(FILE_SONAR_TARGETS, vordal::FolderOf(path));
        vordal::StoredProject const stored = m_store->Load();
        m_project.toldLimits = stored.toldLimits;
        m_desk.Lock().SetLocked(stored.transmitLocked && !isSimulated);
        for (vordal::StoredDevice const& device : stored.devices) {
            if (device.dataId == SonarId()) {
                m_project.devices.front().attributes = device.attributes;
            }
        }
        return true;
    } catch (vordal::StoreError const& failure) {
        error = failure.what();
        return false;
    }
}

bool Session::SaveProject(std::string& error)
{
    m_host.RunAndWait([this] { m_desk.Tick(); });
    if (m_store == nullptr) {
        return true;
    }
    try {
        auto sonar = m_project.devices.front();
        sonar.attributes = Attributes();
        // What else the project says of a device that it has stays as it is.
        if (!m_store->SaveAttributes(sonar.dataId, sonar.attributes)) {
            m_store->SaveDevice(sonar);
        }
        m_desk.Log().WriteTo(*m_store);
        return true;
    } catch (vordal::StoreError const& failure) {
        error = failure.what();
        return false;
    }
}

void Session::RecordInto(std::shared_ptr<recording::Recorders> recorders)
{
    m_recorders = std::move(recorders);
    m_desk.Tap().Set(m_recorders);
}

void Session::Connect(std::string const& host, std::uint16_t port)
{
    m_endpoint = fmt::format("{}:{}", host, port);
    m_project.ports = {{L"port-1", CString(protocol::DecodeUtf8(host)), port, {}}};
    auto& livePort = *m_host.Open(m_project).Ports().front();
    m_device = m_host.Devices().front();
    m_link = &livePort.GetLink();
    if (m_recorders != nullptr) {
        m_recorders->Begin(SonarId(), sonarName, Attributes());
    }
    m_link->SetObserver(std::make_shared<Monitor>(*this));
    livePort.SetStatusListener([this](vordal::LinkStatus const& status) {
        if (m_recorders != nullptr) {
            m_recorders->Connection(SonarId(), status);
        }
        m_desk.OnLinkStatus(SonarId(), status);
        {
            std::lock_guard const lock(m_stateMutex);
            m_status = status;
        }
        m_stateChanged.notify_all();
        if (m_onStatus) {
            m_onStatus();
        }
    });
    m_introduction.SetSubscriber(new MemFunNoInfoSubscriber<Session>(this, &Session::OnDeviceIdChange), true);
    m_introduction.SetMap(m_device->GetAttributeSubscriptionMap());
    m_introduction.Subscribe(CString(protocol::keys::DeviceId.text));
    m_host.Start();
}

bool Session::Reach(std::string const& plugin, std::string const& host, std::uint16_t port,
                    std::chrono::milliseconds limit, std::chrono::milliseconds introduction, std::string& error)
{
    if (!LoadPlugin(plugin, error)) {
        return false;
    }
    Connect(host, port);
    if (!WaitForConnection(limit, error)) {
        error = fmt::format("no connection to the sonar: {}; is it (or `qx5 sim`) running there?", error);
        return false;
    }
    WaitForIntroduction(introduction);
    return true;
}

bool Session::WaitForConnection(std::chrono::milliseconds limit, std::string& error)
{
    std::unique_lock lock(m_stateMutex);
    bool const connected = m_stateChanged.wait_for(lock, limit, [this] {
        return m_status.state == vordal::LinkState::Connected || m_status.state == vordal::LinkState::Waiting;
    });
    if (connected && m_status.state == vordal::LinkState::Connected) {
        return true;
    }
    // Only an attempt that has failed has a reason.
    error = m_status.state == vordal::LinkState::Waiting
                ? m_status.reason
                : fmt::format("{} did not answer within {} ms", m_endpoint, limit.count());
    return false;
}

void Session::WaitForIntroduction(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_stateMutex);
    m_stateChanged.wait_for(lock, limit, [this] { return m_introduced; });
}

void Session::Store(CAttributeMap const& tree)
{
    m_host.RunAndWait([&] { m_host.MergeDecoded(*m_device, tree); });
}

void Session::OnDeviceIdChange()
{
    {
        std::lock_guard const lock(m_stateMutex);
        m_introduced = true;
    }
    m_stateChanged.notify_all();
}

bool Session::WaitUntilSent(std::chrono::milliseconds limit)
{
    auto const deadline = std::chrono::steady_clock::now() + limit;
    while (m_link->GetQueuedBytes() != 0) {
        if (std::chrono::steady_clock::now() > deadline || !m_link->IsConnected()) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool Session::WaitFor(std::function<bool()> const& holds, std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_stateMutex);
    m_stateChanged.wait_for(lock, limit, [&] { return holds() || m_status.state != vordal::LinkState::Connected; });
    return holds();
}

bool Session::WaitUntilConnected(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_stateMutex);
    return m_stateChanged.wait_for(lock, limit, [this] { return m_status.state == vordal::LinkState::Connected; });
}

bool Session::IsConnected()
{
    std::lock_guard const lock(m_stateMutex);
    return m_status.state == vordal::LinkState::Connected;
}

bool Session::RequestAs(vordal::RequestOrigin who, CAttributeMap const& request)
{
    CAttributeMap tree;
    *tree.Add(vordal::keys::Request) = request;
    m_requestFailed = false;
    m_host.RunAndWait([&] {
        vordal::OriginScope const scope(who);
        DataManager::GetDataManager().SetAttributeMap(SonarId(), tree, 4, false);
    });
    return !m_requestFailed;
}

void Session::WaitForResults()
{
    // The desk ends by itself what waits too long.
    for (std::size_t waiting = 1; waiting != 0;) {
        m_host.RunAndWait([&] {
            m_desk.Tick();
            waiting = m_desk.Follower().Pending();
        });
        if (waiting != 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
}

std::vector<std::string> Session::Step(void (operation::SessionHistory::*step)())
{
    WaitForResults();
    m_desk.Events().Take();
    m_host.RunAndWait([&] { (m_desk.Steps().*step)(); });
    std::vector<std::string> lines;
    for (auto const& event : m_desk.Events().Take().events) {
        lines.push_back(operation::StatusLine(event));
    }
    return lines;
}

std::deque<operation::HistoryStep> Session::Steps()
{
    WaitForResults();
    operation::SessionHistory::Content content;
    m_desk.Steps().ReadIfChanged(0, content);
    return content.steps;
}

void Session::TakeLease(std::optional<double> seconds)
{
    m_desk.Lease().Take(SonarId(), operation::Hand::Operator, seconds);
}

bool Session::GiveBackLease()
{
    return m_desk.Lease().GiveBack(SonarId(), operation::Hand::Operator);
}

void Session::AttachTerminal()
{
    m_host.RunAndWait([this] {
        m_host.SetApplication(
            {.guid = m_guid,
             .mainWindow = true,
             .lightMode = 2,
             .displays = {{.section = L"bathy", .type = L"bathy", .name = L"bathy", .enabled = true}}});
        Device* const terminal = m_host.AddDevice(m_host.MakeDevice(L"Device"), TerminalId(), L"terminal");
        CAttributeMap presets;
        for (Preset const& preset : shippedPresets) {
            CAttributeMap* const node = presets.Add(AttributeKey(protocol::keys::preset.text));
            for (PresetValue const& value : preset) {
                node->Add(AttributeKey(value.key->text), CVordalDouble(value.value), 0);
            }
        }
        m_host.ReplaceAttributes(*terminal, presets);
        // From here on the plug-in follows the terminal.
        m_host.ApplyDevice(*m_device, true);
    });
    m_hasTerminal = true;
}

void Session::EnterCode(std::uint32_t code)
{
    std::array<unsigned char, 4> bytes{};
    protocol::PutU32LE(bytes, 0, code);
    CDataBlock block;
    block.SetTime(m_host.Now());
    block.AddItem(terminal::CodeItem, DATA_INT32, bytes, bytes.size(), 0);
    m_host.RunAndWait([&] {
        vordal::OriginScope const scope(m_origin);
        m_host.PutBlock(TerminalId(), block);
    });
}

CAttributeMap Session::Attributes()
{
    CAttributeMap tree;
    DataManager::GetDataManager().GetAttributeMap(SonarId(), tree);
    return tree;
}

vordal::LinkCounters Session::Counters() const
{
    return m_link->GetCounters();
}

void Session::OnHost(std::function<void(vordal::Host&, Device&)> const& task)
{
    m_host.RunAndWait([&] { task(m_host, *m_device); });
}

void Session::OnEcho(BaseDevice&, CAttributeMap const& tree, unsigned flags)
{
    Tell({SessionEvent::Kind::Echoed, {}, tree, flags, {}});
}

void Session::OnHostSet(CDataId const&, CAttributeMap const& tree, unsigned)
{
    if (m_hasTerminal) {
        for (CAttributeMap const& child : tree) {
            Tell({SessionEvent::Kind::Asked, {}, child, 0, {}});
        }
    }
}

void Session::OnUpdateDisplays(int hint)
{
    TellShown(fmt::format("all displays are told: {}", hint));
}

void Session::OnSelectDisplay(CString const& name)
{
    TellShown(fmt::format("to the front comes the display \"{}\"", tvcore::ToUtf8(name)));
}

void Session::OnEnableDisplay(CString const& name)
{
    TellShown(fmt::format("switched on is the display \"{}\"", tvcore::ToUtf8(name)));
}

void Session::OnAddDisplay(unsigned, CString const& name, CString const&, FileObject const&, CString const&)
{
    TellShown(fmt::format("set up is a display \"{}\"", tvcore::ToUtf8(name)));
}

void Session::OnSetLightMode(int mode, bool)
{
    TellShown(fmt::format("the displays take on light mode {}", mode));
}

void Session::TellShown(std::string text)
{
    Tell({SessionEvent::Kind::Shown, {}, {}, 0, std::move(text)});
}

void Session::OnRequestFailed(BaseDevice&, CAttributeMap const&, std::exception_ptr)
{
    m_requestFailed = true;
}

void Session::OnRequestDropped(BaseDevice&, AttributeKey const& asked, AttributeKey const& missing)
{
    Tell({SessionEvent::Kind::Dropped, {}, {}, 0, operation::DroppedText(asked, missing)});
}

void Session::OnRequestRefused(BaseDevice&, CAttributeMap const&, vordal::RequestOrigin, std::string const& reason)
{
    Tell({SessionEvent::Kind::Refused, {}, {}, 0, reason});
}

void Session::Tell(SessionEvent const& event)
{
    {
        std::lock_guard const lock(m_listenerMutex);
        m_listener(event);
    }
    {
        // Whoever looked before the event waits by now.
        std::lock_guard const lock(m_stateMutex);
    }
    m_stateChanged.notify_all();
}

} // namespace qx5::cli
