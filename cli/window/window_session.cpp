// The host behind the operator's window: the plug-in, several sonars on connections of their own, and the project.
#include "window_session.h"

#include "cli/commands.h"
#include "cli/plugins.h"
#include "reference_host/common/log.h"
#include "reference_host/common/path_text.h"
#include "reference_host/streams/settings_data.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/AttributeConstants.h>
#include <VordalConfigureR/DataSearch.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <VordalMfc0R/ColorControl.h>
#include <vordalhostdllR/DataManager.h>

#include <protocol/utf8.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

/// What the project keeps of a view: "sonar view", or "view of " and the class of another instrument.
constexpr wchar_t const* sonarViewName = L"sonar view";
constexpr wchar_t const* otherViewName = L"view of ";
constexpr wchar_t const* windowName = L"main window";

QString ToQt(CString const& text)
{
    return QString::fromStdWString(std::wstring(text.View()));
}

/// Shows the frames of a link to the recorder, to the record monitor and to the switches of its sonar.
class PortWatch final : public vordal::LinkObserver
{
public:
    PortWatch(WindowRecorder& recorder, CDataId const& device, std::shared_ptr<vordal::LinkObserver> records,
              std::shared_ptr<SwitchedOn> switches)
        : m_recorder(recorder), m_device(device), m_records(std::move(records)), m_switches(std::move(switches))
    {
    }

    void OnTrace(vordal::LinkTrace const& trace) override
    {
        m_recorder.Frame(m_device, trace.outgoing, trace.frame);
        m_records->OnTrace(trace);
        m_switches->Take(trace.outgoing, trace.frame, trace.time);
    }

private:
    WindowRecorder& m_recorder;
    CDataId const m_device;
    std::shared_ptr<vordal::LinkObserver> const m_records;
    std::shared_ptr<SwitchedOn> const m_switches;
};

} // namespace

bool HasEchoes(CDataId const& sonar)
{
    double time = 0.0;
    for (SonarEchoGroup const group : {SONAR_WATER_COLUMN_GROUP, SONAR_DETECTIONS_GROUP}) {
        CDataId stream = sonar;
        stream.SetGroupId(group);
        auto* const buffer = DataManager::GetDataManager().FindDatablockBuffer(stream, false);
        if (buffer != nullptr && buffer->GetLastTime(time)) {
            return true;
        }
    }
    return false;
}

WindowSession::WindowSession(std::shared_ptr<vordal::WindowFeed> feed, int lightMode,
                             operation::FollowerOptions following)
    : m_feed(std::move(feed)), m_desk(std::move(following))
{
    m_host.SetApplication({.guid = L"qx5", .mainWindow = true, .lightMode = lightMode, .displays = {}});
    m_host.SetObserver(this);
    m_desk.Events().SetWake([this] { m_eventsWait.Raise(); });
    m_desk.Join(m_host);
}

WindowSession::~WindowSession()
{
    if (std::string error; !End(error)) {
        Complain(ExitFailed, error);
    }
    m_host.SetObserver(nullptr);
    operation::OperatorDesk::Leave(m_host);
}

bool WindowSession::LoadPlugins(std::vector<std::filesystem::path> const& files, std::size_t told, std::string& error)
{
    return LoadInto(m_host, files, told, error);
}

std::vector<Fact> WindowSession::PlugIns()
{
    std::vector<Fact> facts;
    for (auto const& plugIn : m_host.LoadedPlugIns().All()) {
        auto const& [contract, built] = plugIn->Version();
        facts.push_back({plugIn->File().filename().string(),
                         contract == 0 ? "tells no version"
                                       : fmt::format("for host contract {}, built {}",
                                                     vordal::ContractVersionText(contract), built)});
    }
    return facts;
}

bool WindowSession::MakesSonars(CString const& deviceClass)
{
    return cli::MakesSonars(m_host, deviceClass);
}

bool WindowSession::Begin(vordal::StoredProject fleet, std::string const& file, std::string& error)
{
    std::unique_ptr<HeldProject> project;
    if (!file.empty()) {
        project = HeldProject::Open(file, vordal::ProjectStore::Missing::Create, error);
        if (project == nullptr) {
            return false;
        }
    }
    return BeginWith(std::move(fleet), std::move(project), error);
}

bool WindowSession::BeginWith(vordal::StoredProject fleet, std::unique_ptr<HeldProject> project, std::string& error)
{
    m_fleet = std::move(fleet);
    m_activeVessel = m_fleet.vessels.front().number;
    if (project != nullptr) {
        TakeProject(*project);
        m_held = std::move(project);
    }
    if (!m_recorder.Begin(m_recording, m_file, error)) {
        return false;
    }
    CompleteFleet();
    m_desk.Lock().SetLocked(m_project.transmitLocked);
    for (vordal::StoredDevice const& device : m_fleet.devices) {
        m_desk.SetName(device.dataId, protocol::EncodeUtf8(device.name.View()));
    }
    try {
        m_host.RunAndWait([this] { TellUsualNames(m_host); });
        auto const& problems = m_host.Open(m_fleet).Problems();
        if (!problems.empty()) {
            error = problems.front();
            return false;
        }
        for (vordal::StoredDevice const& device : m_fleet.devices) {
            WatchPort(device);
        }
        m_host.RunAndWait([this] {
            for (vordal::StoredDevice const& device : m_fleet.devices) {
                m_turns.Note(device.dataId);
                m_recorder.BeginDevice(device.dataId);
            }
        });
        m_host.Start();
    } catch (std::exception const& failure) {
        error = failure.what();
        return false;
    }
    for (CString const& name : DeviceClasses()) {
        if (MakesSonars(name)) {
            m_sonarClasses.push_back(name);
        }
    }
    m_begun = true;
    m_keeper = std::make_unique<ProjectKeeper>(
        std::move(m_held), [this](std::string const& problem) { Tell(problem); }, &m_desk.Log());
    return true;
}

void WindowSession::TakeProject(HeldProject const& project)
{
    m_project = project.Loaded();
    m_file = project.File();
    m_host.SetProjectFolder(FILE_SONAR_TARGETS, vordal::FolderOf(m_file));
    // A view that showed a device of another session begins with one of this.
    for (auto const& [name, stored] : m_project.views) {
        CDataInfo shown;
        if (!stored.FindValue(ATTR_DATAID).Get(shown) || Find(shown.GetDataId()) != nullptr) {
            m_views[name] = stored;
        }
    }
    if (FindBy(m_fleet.vessels, &vordal::VesselSetup::number, m_project.activeVessel) != nullptr) {
        m_activeVessel = m_project.activeVessel;
    }
    if (auto const window = m_project.windows.find(windowName); window != m_project.windows.end()) {
        m_windowMemory = window->second;
    }
}

std::filesystem::path WindowSession::ProjectFile() const
{
    std::lock_guard const lock(m_fileMutex);
    return m_file;
}

void WindowSession::CompleteFleet()
{
    m_fleet.activeVessel = m_activeVessel;
    Complete(m_fleet, m_project);
}

vordal::StoredPort const* WindowSession::PortOf(vordal::StoredDevice const& device) const
{
    return FindBy(m_fleet.ports, &vordal::StoredPort::name, device.portName);
}

void WindowSession::Watch(vordal::LivePort& port, vordal::StoredDevice const& device)
{
    auto& switches = m_switches[device.portName];
    if (switches == nullptr) {
        switches = std::make_shared<SwitchedOn>();
    }
    port.GetLink().SetObserver(std::make_shared<PortWatch>(
        m_recorder, device.dataId,
        vordal::RecordQueue::ObserverOf(m_feed->Records(), protocol::EncodeUtf8(device.name.View())), switches));
}

void WindowSession::WatchPort(vordal::StoredDevice const& device)
{
    auto* const port = m_host.Project()->FindPort(device.portName);
    if (port == nullptr) {
        return;
    }
    Watch(*port, device);
    port->SetStatusListener([this, feed = m_feed, id = device.dataId](vordal::LinkStatus const& status) {
        m_recorder.Connection(id, status);
        feed->PutStatus(id, status);
        m_desk.OnLinkStatus(id, status);
    });
}

vordal::StoredDevice const* WindowSession::Find(CDataId const& device) const
{
    return FindBy(m_fleet.devices, &vordal::StoredDevice::dataId, device);
}

CString WindowSession::ViewClassFor(CDataId const& device)
{
    auto const* const found = DataManager::GetDataManager().FindDevice(device);
    return found != nullptr ? m_host.LoadedPlugIns().ViewClassFor(*found) : CString();
}

std::vector<CString> WindowSession::OtherDisplays()
{
    std::vector<CString> displays;
    for (auto const& plugIn : m_host.LoadedPlugIns().All()) {
        if (plugIn->DeviceClasses().empty()) {
            displays.insert(displays.end(), plugIn->ViewClasses().begin(), plugIn->ViewClasses().end());
        }
    }
    return displays;
}

CAttributeMap& WindowSession::StoredView(CString const& viewClass)
{
    bool const isOfSonars =
        std::any_of(m_fleet.devices.begin(), m_fleet.devices.end(), [&](vordal::StoredDevice const& device) {
            return IsSonar(device.dataId) && ViewClassFor(device.dataId) == viewClass;
        });
    return m_views[isOfSonars ? CString(sonarViewName) : CString(otherViewName) + viewClass];
}

std::vector<vordal::ListedVessel> WindowSession::Listed() const
{
    std::vector<vordal::ListedVessel> vessels;
    for (vordal::VesselSetup const& vessel : m_fleet.vessels) {
        auto& listed = vessels.emplace_back();
        listed.number = vessel.number;
        listed.name = ToQt(vessel.name);
        for (vordal::StoredDevice const& device : m_fleet.devices) {
            if (device.dataId.GetVessel() == vessel.number) {
                auto const* const port = PortOf(device);
                listed.devices.push_back(
                    {device.dataId, ToQt(device.name),
                     port != nullptr ? ToQt(port->host) + u':' + QString::number(port->tcpPort) : QString(),
                     std::find(m_simulated.begin(), m_simulated.end(), device.dataId) != m_simulated.end()});
            }
        }
    }
    return vessels;
}

vordal::WindowRequests WindowSession::Requests()
{
    return {.selectSonar =
                [this](CDataId const& device) {
                    if (IsSonar(device) && Find(device) != nullptr) {
                        m_host.SelectSonar(device);
                    }
                },
            .selectVessel =
                [this](unsigned short number) {
                    m_activeVessel = number;
                    m_host.SelectVessel(number);
                },
            .fetchTree =
                [this](CDataId const& device) {
                    m_host.Post([feed = m_feed, device] {
                        CAttributeMap tree;
                        DataManager::GetDataManager().GetAttributeMap(device, tree);
                        feed->PutTree(device, std::move(tree));
                    });
                },
            .setLightMode = [](int mode) { ColorControl::SetLightMode(mode, true); }};
}

void WindowSession::SaveSoon()
{
    if (m_keeper == nullptr || ProjectFile().empty()) {
        return;
    }
    CollectFor([this](vordal::StoredProject project) { m_keeper->Put(std::move(project)); });
}

void WindowSession::CollectFor(std::function<void(vordal::StoredProject)> take)
{
    m_host.Post([this, project = ProjectOfWindow(), simulated = SimulatedPorts(), take = std::move(take)]() mutable {
        PutFleet(project, m_host.Project()->Collect(), simulated);
        take(std::move(project));
    });
}

void WindowSession::Save(ProjectKeeper::Saved saved)
{
    CollectFor(
        [this, saved = std::move(saved)](vordal::StoredProject project) { m_keeper->Save(std::move(project), saved); });
}

void WindowSession::SaveAs(std::filesystem::path const& file, ProjectKeeper::Saved saved)
{
    auto const note = [this, file, saved = std::move(saved)](std::string const& problem) {
        if (problem.empty()) {
            {
                std::lock_guard const lock(m_fileMutex);
                m_file = file;
            }
            m_host.SetProjectFolder(FILE_SONAR_TARGETS, vordal::FolderOf(file));
            m_recorder.UseProject(file);
        }
        saved(problem);
    };
    CollectFor([this, file, note](vordal::StoredProject project) { m_keeper->SaveAs(std::move(project), file, note); });
}

std::vector<CString> WindowSession::SimulatedPorts() const
{
    std::vector<CString> ports;
    for (vordal::StoredDevice const& device : m_fleet.devices) {
        if (m_simulators.IsSimulated(device.dataId)) {
            ports.push_back(device.portName);
        }
    }
    return ports;
}

void WindowSession::Tick()
{
    // A host thread that has fallen behind is not given more of them.
    if (!m_ticks.exchange(true)) {
        m_host.Post([this] {
            m_ticks.store(false);
            m_desk.Tick();
            m_turns.Follow();
        });
    }
}

void WindowSession::Tell(operation::Severity severity, std::string line)
{
    m_desk.Events().PutState({}, operation::EventKind::Note, severity, std::move(line));
}

operation::EventList::Content WindowSession::TakeEvents()
{
    m_eventsWait.Clear();
    return m_desk.Events().Take();
}

void WindowSession::Undo()
{
    m_host.Post([this] { m_desk.Steps().Undo(); });
}

void WindowSession::Redo()
{
    m_host.Post([this] { m_desk.Steps().Redo(); });
}

void WindowSession::WithProject(std::function<void(vordal::ProjectStore&)> task)
{
    if (m_keeper != nullptr) {
        m_keeper->Do(std::move(task));
    }
}

void WindowSession::SetSimulated(CDataId const& sonar, bool isSimulated)
{
    std::erase(m_simulated, sonar);
    if (isSimulated) {
        m_simulated.push_back(sonar);
    }
    m_desk.Lock().Exempt(sonar, isSimulated);
}

void WindowSession::SetTransmitLock(bool locked)
{
    m_isEdited = true;
    m_project.transmitLocked = locked;
    m_desk.Lock().SetLocked(locked);
}

bool WindowSession::End(std::string& error, std::chrono::milliseconds limit)
{
    if (std::exchange(m_ended, true)) {
        return true;
    }
    auto const collect = [this] {
        if (auto const* const open = m_host.Project()) {
            m_saved = open->Collect();
        }
        m_desk.Finish();
    };
    if (!m_host.End(limit, collect)) {
        LeaveWithoutHostThread();
    }
    EndKeeper();
    m_lackingRecordings = m_recorder.End();
    bool const isSaved = SaveProject(error);
    m_held.reset();
    return isSaved;
}

void WindowSession::EndKeeper()
{
    if (m_keeper != nullptr) {
        m_held = m_keeper->End();
    }
}

void WindowSession::LeaveWithoutHostThread()
{
    // A thread cannot be ended from outside, and going on would take away what it works on.
    Complain(ExitFailed, "a task on the host thread does not end; the process leaves without it, the project keeps the "
                         "sonars' settings as they were saved last");
    EndKeeper();
    for (std::string const& line : m_recorder.End()) {
        Complain(ExitFailed, line);
    }
    try {
        if (m_held != nullptr && m_begun) {
            for (auto const& [name, stored] : m_views) {
                m_held->Store().SaveView(name, stored);
            }
            m_held->Store().SaveWindow(windowName, m_windowMemory);
            m_desk.Log().WriteTo(m_held->Store());
        }
    } catch (vordal::StoreError const& failure) {
        Complain(ExitFailed, failure.what());
    }
    std::fflush(nullptr);
    std::_Exit(EXIT_FAILURE);
}

vordal::StoredProject WindowSession::ProjectOfWindow() const
{
    auto project = m_project;
    project.activeVessel = m_activeVessel;
    for (auto const& [name, stored] : m_views) {
        project.views[name] = stored;
    }
    if (!m_windowMemory.empty()) {
        project.windows[windowName] = m_windowMemory;
    }
    return project;
}

bool WindowSession::SaveProject(std::string& error)
{
    if (m_held == nullptr || !m_begun) {
        return true;
    }
    try {
        auto project = ProjectOfWindow();
        PutFleet(project, m_saved, SimulatedPorts());
        m_held->Store().Save(project);
        m_desk.Log().WriteTo(m_held->Store());
        return true;
    } catch (vordal::StoreError const& failure) {
        error = failure.what();
        return false;
    }
}

std::vector<std::string> WindowSession::LinesLeftOn(vordal::StoredDevice const& device) const
{
    auto const switches = m_switches.find(device.portName);
    if (switches == m_switches.end() || !IsSonar(device.dataId)) {
        return {};
    }
    return switches->second->Lines(protocol::EncodeUtf8(device.name.View()), EndpointOf(*PortOf(device)));
}

std::vector<std::string> WindowSession::LeftOn(std::vector<CDataId> const& goWithIt) const
{
    std::vector<std::string> lines = m_leftOn;
    for (vordal::StoredDevice const& device : m_fleet.devices) {
        if (std::find(goWithIt.begin(), goWithIt.end(), device.dataId) == goWithIt.end()) {
            auto const left = LinesLeftOn(device);
            lines.insert(lines.end(), left.begin(), left.end());
        }
    }
    return lines;
}

void WindowSession::OnSetLightMode(int mode, bool)
{
    m_feed->PutLightMode(mode);
}

void WindowSession::OnMessage(CString const& text)
{
    Tell(protocol::EncodeUtf8(text.View()));
}

void WindowSession::OnAttributesRefused(BaseDevice& device)
{
    m_desk.Events().PutState(device.GetDataId(), operation::EventKind::Note, operation::Severity::Warning,
                             "it tells more attributes than it may: new ones are refused and counted");
}

} // namespace qx5::cli
