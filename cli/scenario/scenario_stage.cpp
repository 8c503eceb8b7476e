// The host, plug-in and devices that a scenario runs on.
#include "cli/scenario/scenario_stage.h"

#include "cli/scenario/block_json.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace qx5::cli {

namespace {

/// The host's own class, of devices that are no sonars.
constexpr wchar_t const* plainClass = L"Device";

} // namespace

void ScenarioStage::SetUp(Scenario const& scenario, std::filesystem::path const& plugin)
{
    host.SetClock(&clock);
    host.SetRequestFailures(vordal::RequestFailures::Pass);
    AddProject(scenario);
    std::string reason;
    m_plugin = vordal::PlugIn::Load(plugin, reason);
    if (m_plugin == nullptr) {
        throw std::runtime_error(reason);
    }
    m_plugin->RegisterDevices();
    // Looking for it among several makes devices, which nobody is to hear of.
    auto const& classes = m_plugin->DeviceClasses();
    m_sonarClass = classes.size() == 1 ? classes.front() : m_plugin->SonarClass();
    if (!scenario.devices.empty()) {
        recorder.SetFirstDevice(scenario.devices.front().id);
    }
    host.SetTraffic(&recorder);
    host.SetObserver(&recorder);
    for (auto const& device : scenario.devices) {
        AddDevice(device);
    }
}

void ScenarioStage::AddProject(Scenario const& scenario)
{
    for (auto const& vessel : scenario.vessels) {
        host.AddVessel({vessel.number, vessel.name, vessel.config});
    }
    if (scenario.activeVessel.has_value()) {
        host.SelectVessel(*scenario.activeVessel);
    }
    for (auto const& [group, factor] : scenario.units) {
        host.SetUnitFactor(static_cast<int>(group), factor);
    }
    for (auto const& [kind, folder] : scenario.paths) {
        host.SetProjectFolder(kind, folder);
    }
    for (auto const& computation : scenario.computations) {
        vordal::ComputationSetup setup;
        setup.dataId = computation.id;
        setup.type = computation.type;
        setup.attributes = computation.attributes;
        setup.linkedDevices = computation.linked;
        setup.stream = computation.stream.value_or(CDataId());
        host.AddComputation(std::move(setup));
    }
    host.SetRoutes(scenario.routes);
    for (auto const& [group, items] : scenario.itemTexts) {
        for (auto const& [item, texts] : items) {
            // Groups and items have 16 bits; nobody can ask for others.
            if (group <= 0xFFFFU && item <= 0xFFFFU) {
                host.SetItemTexts(static_cast<unsigned short>(group), static_cast<unsigned short>(item), texts);
            }
        }
    }
    auto const& app = scenario.application;
    vordal::ApplicationSetup application{app.guid, app.mainWindow, app.lightMode, {}};
    for (auto const& display : app.displays) {
        application.displays.push_back({display.section, display.type, display.name, display.enabled});
    }
    host.SetApplication(std::move(application));
    m_files.PutInto(host, scenario);
    host.SetUserIsOperator(scenario.application.isOperator);
    host.SetAScanStatus(scenario.application.aScan);
    for (auto const& stream : scenario.streams) {
        host.Buffer(stream.id);
        if (stream.block.has_value() || stream.time.has_value()) {
            host.PutBlock(stream.id, MakeBlock(stream.block.value_or(ScenarioBlock()), stream.time.value_or(0.0)));
        }
    }
}

void ScenarioStage::AddDevice(ScenarioDevice const& setup)
{
    recorder.SetSubject(setup.id);
    auto device = host.MakeDevice(setup.isSonar ? m_sonarClass : CString(plainClass));
    if (device == nullptr) {
        throw std::runtime_error("the plug-in has no device class for a sonar");
    }
    device->SetPortName(setup.portName);
    device->SetEnable(setup.enabled);
    auto* const added = host.AddDevice(std::move(device), setup.id, setup.name);
    if (added == nullptr) {
        throw std::runtime_error("the id of a device is taken");
    }
    host.SetPort(*added, FindPort(setup));
    host.ReplaceAttributes(*added, setup.attributes);
    m_devices.emplace_back(setup.id, added);
}

BaseIOHandler* ScenarioStage::FindPort(ScenarioDevice const& setup)
{
    if (setup.port == PortKind::None) {
        return nullptr;
    }
    auto& port = m_ports[{setup.portName, setup.port}];
    if (port == nullptr) {
        if (setup.port == PortKind::Other) {
            port = std::make_unique<vordal::PlainPort>();
        } else {
            port = std::make_unique<RecordingSonarPort>(recorder, setup.port == PortKind::Playback);
        }
    }
    return port.get();
}

Device* ScenarioStage::FindDevice(CDataId const& id) const
{
    auto const found =
        std::find_if(m_devices.begin(), m_devices.end(), [&](auto const& each) { return each.first == id; });
    return found != m_devices.end() ? found->second : nullptr;
}

#if defined(QX5_VIEW)
ViewDriver& ScenarioStage::View()
{
    if (m_view == nullptr) {
        m_view = std::make_unique<ViewDriver>(host);
    }
    return *m_view;
}
#endif

} // namespace qx5::cli
