// The host behind the operator's window: the plug-in, several sonars on connections of their own, and the project.
#include "window_session.h"

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalConfigureR/DataSearch.h>
#include <VordalMfc0R/ColorControl.h>
#include <vordalhostdllR/DataManager.h>

#include <protocol/utf8.h>
#include <view/steering_keys.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

constexpr wchar_t const* deviceClass = L"QX5SonarConfigurationControlDevice";
constexpr wchar_t const* viewName = L"sonar view";
constexpr wchar_t const* windowName = L"main window";
constexpr auto stopLimit = 5s;

/// Group of the computations that steer a sonar along a route or a pipe.
constexpr unsigned short steeringGroup = 1117;
/// Group and item of the names of a sonar's recording states.
constexpr unsigned short sonarGroup = 78;
constexpr unsigned short recordingItem = 2701;

QString ToQt(CString const& text)
{
    return QString::fromStdWString(std::wstring(text.View()));
}

/// Where the computation of route steering that belongs to a sonar stands.
CDataId SteeringOf(CDataId const& sonar)
{
    CDataId id = sonar;
    id.SetGroupId(steeringGroup);
    return id;
}

CAttributeMap SteeringAttributes()
{
    CAttributeMap attributes;
    for (AttributeKey const& key :
         {steering::SonarSteering, steering::RouteSteering, steering::SteeringMode, steering::PipeRouteSonarSteering}) {
        attributes.Add(key, CVordalInt(0));
    }
    attributes.Add(steering::PipeRouteSteeringDelay, CVordalInt(2));
    attributes.Add(steering::PipeRouteSteeringDiff, CVordalDouble(0.0));
    attributes.Add(steering::RouteName, CVordalText(L"Lane 1"));
    return attributes;
}

vordal::ComputationSetup SteeringComputation(CDataId const& sonar, CAttributeMap attributes)
{
    return {.dataId = SteeringOf(sonar),
            .type = steeringGroup,
            .attributes = std::move(attributes),
            .linkedDevices = {sonar},
            .stream = {}};
}

} // namespace

WindowSession::WindowSession(std::shared_ptr<vordal::WindowFeed> feed, int lightMode) : m_feed(std::move(feed))
{
    m_host.SetTraffic(&m_traffic);
    m_host.SetApplication({.guid = L"qx5", .mainWindow = true, .lightMode = lightMode, .displays = {}});
    m_host.SetObserver(this);
}

WindowSession::~WindowSession()
{
    if (std::string error; !End(error)) {
        fmt::print(stderr, "qx5: {}\n", error);
    }
    m_host.SetObserver(nullptr);
}

bool WindowSession::Begin(std::string const& plugin, std::vector<FleetVessel> const& fleet, std::string const& project,
                          std::string& error)
{
    m_fleet = fleet;
    for (FleetVessel const& vessel : fleet) {
        for (FleetSonar const& sonar : vessel.sonars) {
            m_sonars.push_back({sonar, CString(L"port-" + std::to_wstring(m_sonars.size() + 1)), nullptr, nullptr});
        }
    }
    if (!m_sonars.empty()) {
        m_activeVessel = m_sonars.front().setup.id.GetVessel();
        m_view.SetGroup(L"grp");
        m_view.Add(ATTR_DATAID, CVordalDataInfo(m_sonars.front().setup.id, 65535, 65535));
    }
    if (!project.empty() && !OpenProject(project, error)) {
        return false;
    }
    m_ended = false;
    bool made = false;
    // A plug-in that throws is told of like one that says no.
    try {
        m_host.RunAndWait([&] {
            MakeSurroundings(fleet);
            made = MakeDevices(plugin, error);
        });
    } catch (std::exception const& failure) {
        error = failure.what();
    }
    m_begun = made;
    if (made) {
        for (Sonar& sonar : m_sonars) {
            sonar.port->Open();
        }
    }
    return made;
}

bool WindowSession::OpenProject(std::string const& file, std::string& error)
{
    try {
        m_store = std::make_unique<vordal::ProjectStore>(file);
        m_project = m_store->Load();
    } catch (vordal::StoreError const& failure) {
        error = failure.what();
        return false;
    }
    std::error_code problem;
    auto const whole = std::filesystem::absolute(file, problem);
    m_host.SetProjectFolder(FILE_SONAR_TARGETS, CString((whole.parent_path() / "").wstring()));
    auto const isHere = [&](CDataId const& id) {
        return std::any_of(m_sonars.begin(), m_sonars.end(), [&](Sonar const& sonar) { return sonar.setup.id == id; });
    };
    // A view that showed a sonar of another session begins with one of this.
    CDataInfo shown;
    if (auto const view = m_project.views.find(viewName);
        view != m_project.views.end() && std::as_const(view->second).FindValue(ATTR_DATAID).Get(shown) &&
        isHere(shown.GetDataId())) {
        m_view = view->second;
    }
    if (std::any_of(m_fleet.begin(), m_fleet.end(),
                    [&](FleetVessel const& vessel) { return vessel.number == m_project.activeVessel; })) {
        m_activeVessel = m_project.activeVessel;
    }
    if (auto const window = m_project.windows.find(windowName); window != m_project.windows.end()) {
        m_windowMemory = window->second;
    }
    return true;
}

void WindowSession::MakeSurroundings(std::vector<FleetVessel> const& fleet)
{
    m_host.SetItemTexts(sonarGroup, recordingItem, {L"Idle", L"Recording"});
    m_host.SetRoutes({L"Lane 1", L"Lane 2", L"Pipeline"});
    for (FleetVessel const& vessel : fleet) {
        m_host.AddVessel(
            {.number = vessel.number,
             .name = vessel.name,
             .configuration = {{steering::PipeDetectionSection,
                                {{steering::EnablePipeDetectionItem, vessel.detectsPipes ? L"1,1" : L"0,0"}}}}});
    }
    m_host.SelectVessel(m_activeVessel);
    for (Sonar const& sonar : m_sonars) {
        auto const id = SteeringOf(sonar.setup.id);
        auto const stored = std::find_if(m_project.computations.begin(), m_project.computations.end(),
                                         [&](auto const& computation) { return computation.dataId == id; });
        m_host.AddComputation(SteeringComputation(
            sonar.setup.id, stored != m_project.computations.end() ? stored->attributes : SteeringAttributes()));
    }
}

bool WindowSession::MakeDevices(std::string const& plugin, std::string& error)
{
    m_plugin = vordal::PlugIn::Load(plugin, error);
    if (m_plugin == nullptr) {
        return false;
    }
    m_plugin->RegisterDevices();
    for (Sonar& sonar : m_sonars) {
        std::unique_ptr<Device> device = m_host.MakeDevice(deviceClass);
        if (device == nullptr) {
            error = fmt::format("{}: the plug-in does not offer the sonar's device class", plugin);
            return false;
        }
        sonar.device = m_host.AddDevice(std::move(device), sonar.setup.id, sonar.setup.name);
        if (sonar.device == nullptr) {
            error = "two sonars have one id";
            return false;
        }
        for (vordal::StoredDevice const& stored : m_project.devices) {
            if (stored.dataId == sonar.setup.id) {
                m_host.LoadDevice(*sonar.device, stored.attributes);
            }
        }
        m_host.ApplyDevice(*sonar.device, true);
    }
    // The devices are there and know what the project keeps of them.
    m_plugin->RegisterViews();
    m_plugin->InitializeTemplates(m_host.Application());
    for (Sonar& sonar : m_sonars) {
        CDataId const id = sonar.setup.id;
        m_plugin->DeviceCtrlInit(id.GetVessel(), id.GetGroupId(), id.GetDeviceNum(), id.GetType());
        vordal::LinkOptions options;
        options.host = sonar.setup.host;
        options.port = sonar.setup.port;
        sonar.port = std::make_unique<vordal::X5Port>(m_host, m_linkThread, sonar.portName, options);
        sonar.port->GetLink().SetObserver(
            vordal::RecordQueue::ObserverOf(m_feed->Records(), protocol::EncodeUtf8(sonar.setup.name.View())));
        sonar.port->SetStatusListener(
            [feed = m_feed, id](vordal::LinkStatus const& status) { feed->PutStatus(id, status); });
        sonar.device->SetPortName(sonar.portName);
        m_host.SetPort(*sonar.device, sonar.port.get());
    }
    return true;
}

std::vector<vordal::ListedVessel> WindowSession::Listed() const
{
    std::vector<vordal::ListedVessel> vessels;
    for (FleetVessel const& vessel : m_fleet) {
        auto& listed = vessels.emplace_back();
        listed.number = vessel.number;
        listed.name = ToQt(vessel.name);
        for (FleetSonar const& sonar : vessel.sonars) {
            listed.devices.push_back(
                {sonar.id, ToQt(sonar.name), QString::fromStdString(fmt::format("{}:{}", sonar.host, sonar.port))});
        }
    }
    return vessels;
}

vordal::WindowRequests WindowSession::Requests()
{
    return {.selectSonar = [this](CDataId const& device) { m_host.SelectSonar(device); },
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

bool WindowSession::End(std::string& error)
{
    if (std::exchange(m_ended, true)) {
        return true;
    }
    m_host.Post([this] {
        for (Sonar const& sonar : m_sonars) {
            auto& saved = m_saved.emplace_back(SavedSonar{sonar.setup, sonar.portName, {}, {}});
            DataManager::GetDataManager().GetAttributeMap(sonar.setup.id, saved.attributes);
            DataManager::GetDataManager().GetAttributeMap(SteeringOf(sonar.setup.id), saved.steering);
        }
        if (m_plugin != nullptr) {
            m_plugin->ReleaseSonars();
        }
        m_host.RemoveAllDevices();
    });
    if (!m_host.Stop(stopLimit)) {
        LeaveWithoutHostThread();
    }
    m_plugin.reset();
    m_sonars.clear(); // with their connections
    return SaveProject(error);
}

void WindowSession::LeaveWithoutHostThread()
{
    // A thread cannot be ended from outside, and going on would take away what it works on.
    fmt::print(stderr, "qx5: a task on the host thread does not end; the process leaves without it, "
                       "the project keeps the sonars' settings as they were saved last\n");
    try {
        if (m_store != nullptr && m_begun) {
            m_store->SaveView(viewName, m_view);
            m_store->SaveWindow(windowName, m_windowMemory);
        }
    } catch (vordal::StoreError const& failure) {
        fmt::print(stderr, "qx5: {}\n", failure.what());
    }
    std::fflush(nullptr);
    std::_Exit(EXIT_FAILURE);
}

bool WindowSession::SaveProject(std::string& error)
{
    if (m_store == nullptr || !m_begun) {
        return true;
    }
    try {
        auto& project = m_project;
        project.vessels.clear();
        project.ports.clear();
        for (FleetVessel const& vessel : m_fleet) {
            project.vessels.push_back({.number = vessel.number, .name = vessel.name, .configuration = {}});
        }
        for (SavedSonar const& sonar : m_saved) {
            project.ports.push_back(
                {sonar.portName, CString(protocol::DecodeUtf8(sonar.setup.host)), sonar.setup.port});
            vordal::StoredDevice device{.dataId = sonar.setup.id,
                                        .className = deviceClass,
                                        .name = sonar.setup.name,
                                        .portName = sonar.portName,
                                        .enabled = true,
                                        .attributes = sonar.attributes};
            auto const known = std::find_if(project.devices.begin(), project.devices.end(),
                                            [&](auto const& each) { return each.dataId == sonar.setup.id; });
            if (known != project.devices.end()) {
                *known = std::move(device);
            } else {
                project.devices.push_back(std::move(device));
            }
            auto const steering =
                std::find_if(project.computations.begin(), project.computations.end(),
                             [&](auto const& each) { return each.dataId == SteeringOf(sonar.setup.id); });
            if (steering != project.computations.end()) {
                steering->attributes = sonar.steering;
            } else {
                project.computations.push_back(SteeringComputation(sonar.setup.id, sonar.steering));
            }
        }
        project.activeVessel = m_activeVessel;
        project.views[viewName] = m_view;
        if (!m_windowMemory.empty()) {
            project.windows[windowName] = m_windowMemory;
        }
        m_store->Save(project);
        return true;
    } catch (vordal::StoreError const& failure) {
        error = failure.what();
        return false;
    }
}

void WindowSession::OnSetLightMode(int mode, bool)
{
    m_feed->PutLightMode(mode);
}

void WindowSession::OnMessage(CString const& text)
{
    m_feed->PutLine(protocol::EncodeUtf8(text.View()));
}

void WindowSession::OnRequestFailed(BaseDevice& device, CAttributeMap const&, std::exception_ptr failure)
{
    std::string reason = "an exception of an unknown kind";
    try {
        std::rethrow_exception(std::move(failure));
    } catch (std::exception const& known) {
        reason = known.what();
    } catch (...) {
        // As it stands above.
    }
    m_feed->PutLine(
        fmt::format("A request to {} was broken off: {}", protocol::EncodeUtf8(device.GetDeviceName().View()), reason));
}

} // namespace qx5::cli
