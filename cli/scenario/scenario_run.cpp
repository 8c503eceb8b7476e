// Runs one scenario on a host of its own: set-up, steps, end.
#include "cli/scenario/scenario_run.h"
#include "cli/scenario/event_kinds.h"

#include "cli/scenario/block_json.h"
#include "cli/scenario/recorder.h"
#include "cli/scenario/scenario_files.h"
#include "cli/scenario/timezone.h"
#if defined(QX5_VIEW)
#include "cli/scenario/view_driver.h"
#endif

#include "reference_host/attributes/host_keys.h"
#include "reference_host/host/clock.h"
#include "reference_host/host/host.h"
#include "reference_host/loader/plugin_loader.h"
#include "reference_host/targets/target_store.h"

#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <protocol/bytes.h>
#include <protocol/utf8.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/VesselManager.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <memory>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

namespace qx5::cli {

namespace {

/// The host's own class, of devices that are no sonars.
constexpr wchar_t const* plainClass = L"Device";

/// The events of the host's logger, on the general bus.
constexpr wchar_t const* loggerStarts = L"$VordalHostloggerStartLogging$";
constexpr wchar_t const* loggerStops = L"$VordalHostloggerStopLogging$";

/// The stream of a device's operator terminal, and the item of its blocks that holds the code.
constexpr unsigned short terminalGroup = 82;
constexpr std::uint16_t terminalCodeItem = 2607;

/// The scenario cannot go on; unlike what is thrown by the plug-in, this is no event of a step.
class CannotGoOn : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A host as a scenario sets it up. Its parts stand in the order in which they are built; they go in reverse.
class Stage
{
public:
    explicit Stage(double time) : clock(time) {}
    Stage(Stage const&) = delete;
    Stage& operator=(Stage const&) = delete;
    /// Destroys the devices if TakeDown did not, and unloads the plug-in.
    ~Stage() { TakeDown(); }

    /// Loads the plug-in and puts everything in place. Throws std::runtime_error when that cannot be done.
    void SetUp(Scenario const& scenario, std::filesystem::path const& plugin);
    /// Destroys the devices in their order.
    void TakeDown()
    {
#if defined(QX5_VIEW)
        m_view.reset();
#endif
        // A host ends what the plug-in does by itself before it takes the devices away.
        if (m_plugin != nullptr) {
            m_plugin->ReleaseDevices();
        }
        host.RemoveAllDevices();
    }

    /// A device by the id that the scenario gives it; null when there is none.
    Device* FindDevice(CDataId const& id) const;
    vordal::PlugIn& Plugin() const
    {
        return *m_plugin;
    }
#if defined(QX5_VIEW)
    /// The view, or what there is before the first one is opened: nothing to act on.
    ViewDriver& View();
    bool HasView() const
    {
        return m_view != nullptr;
    }
#endif

    vordal::FixedClock clock;
    Recorder recorder;

private:
    using PortKey = std::pair<CString, PortKind>;
    /// After the host, which knows them until it goes.
    std::map<PortKey, std::unique_ptr<BaseIOHandler>> m_ports;
    /// After the host, whose devices may hold files open until they go.
    ScenarioFiles m_files;

public:
    vordal::Host host{vordal::Threading::Inline};

private:
    void AddProject(Scenario const& scenario);
    void AddDevice(ScenarioDevice const& setup);
    BaseIOHandler* FindPort(ScenarioDevice const& setup);

    std::unique_ptr<vordal::PlugIn> m_plugin;
    CString m_sonarClass; ///< the plug-in's
#if defined(QX5_VIEW)
    std::unique_ptr<ViewDriver> m_view;
#endif
    std::vector<std::pair<CDataId, Device*>> m_devices;
};

void Stage::SetUp(Scenario const& scenario, std::filesystem::path const& plugin)
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
    host.SetTraffic(&recorder);
    host.SetObserver(&recorder);
    if (!scenario.devices.empty()) {
        recorder.SetFirstDevice(scenario.devices.front().id);
    }
    for (auto const& device : scenario.devices) {
        AddDevice(device);
    }
}

void Stage::AddProject(Scenario const& scenario)
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

void Stage::AddDevice(ScenarioDevice const& setup)
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

BaseIOHandler* Stage::FindPort(ScenarioDevice const& setup)
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

Device* Stage::FindDevice(CDataId const& id) const
{
    auto const found =
        std::find_if(m_devices.begin(), m_devices.end(), [&](auto const& each) { return each.first == id; });
    return found != m_devices.end() ? found->second : nullptr;
}

#if defined(QX5_VIEW)
ViewDriver& Stage::View()
{
    if (m_view == nullptr) {
        m_view = std::make_unique<ViewDriver>(host);
    }
    return *m_view;
}
#endif

// The steps. Each is called with a step of its kind, whose device is there when the kind needs one.

void RunRequest(Stage& stage, ScenarioStep const& step)
{
    auto const& request = std::get<TreeArgument>(step.argument).tree;
    auto& device = *stage.FindDevice(step.device);
    if (!request.has_value()) {
        stage.host.DeliverRequest(device, nullptr);
        return;
    }
    CAttributeMap copy = *request;
    stage.host.DeliverRequest(device, &copy);
}

void RunHostRequest(Stage& stage, ScenarioStep const& step)
{
    CAttributeMap tree;
    *tree.Add(vordal::keys::Request) = *std::get<TreeArgument>(step.argument).tree;
    auto const* const device = stage.FindDevice(step.device);
    stage.recorder.IgnoreNextHostSet();
    DataManager::GetDataManager().SetAttributeMap(device != nullptr ? device->GetDataId() : step.device, tree, 4,
                                                  false);
}

void RunAttributes(Stage& stage, ScenarioStep const& step)
{
    auto const& tree = *std::get<TreeArgument>(step.argument).tree;
    if (auto* const device = stage.FindDevice(step.device); device != nullptr) {
        stage.host.MergeDecoded(*device, tree);
    } else {
        stage.host.MergeIntoComputation(step.device, tree);
    }
}

void RunReplaceAttributes(Stage& stage, ScenarioStep const& step)
{
    stage.host.ReplaceAttributes(*stage.FindDevice(step.device), *std::get<TreeArgument>(step.argument).tree);
}

void RunLoad(Stage& stage, ScenarioStep const& step)
{
    stage.host.LoadDevice(*stage.FindDevice(step.device), *std::get<TreeArgument>(step.argument).tree);
}

void RunApply(Stage& stage, ScenarioStep const& step)
{
    stage.host.ApplyDevice(*stage.FindDevice(step.device), true);
}

void RunConnected(Stage& stage, ScenarioStep const& step)
{
    stage.FindDevice(step.device)->HandlePortConnected();
}

void RunLogger(Stage& stage, ScenarioStep const& step)
{
    bool const start = std::get<LoggerArgument>(step.argument).start;
    stage.host.Notify(Subscription::General, start ? loggerStarts : loggerStops, nullptr);
}

void RunTargetChange(Stage& stage, ScenarioStep const& step)
{
    auto const& change = std::get<TargetChangeArgument>(step.argument).change;
    if (change.has_value()) {
        stage.host.Targets().Tell(change->targetId, change->changeCode, change->time);
    } else {
        stage.host.Notify(Subscription::General, GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE, nullptr);
    }
}

void RunBlock(Stage& stage, ScenarioStep const& step)
{
    auto const& argument = std::get<BlockArgument>(step.argument);
    stage.host.PutBlock(argument.id, MakeBlock(argument.block, stage.host.Now()));
}

void RunBufferStatus(Stage& stage, ScenarioStep const& step)
{
    auto const& argument = std::get<BufferStatusArgument>(step.argument);
    stage.host.SetBufferStatus(argument.id, argument.status);
}

void RunCall(Stage& stage, ScenarioStep const& step)
{
    auto const& argument = std::get<CallArgument>(step.argument);
    auto& plugin = stage.Plugin();
    switch (argument.function) {
    case EntryPoint::RegisterDevices:
        plugin.RegisterDevices();
        break;
    case EntryPoint::UnRegisterDevices:
        plugin.UnRegisterDevices();
        break;
    case EntryPoint::RegisterViews:
        plugin.RegisterViews();
        break;
    case EntryPoint::InitializeTemplates:
        plugin.InitializeTemplates(stage.host.Application());
        break;
    case EntryPoint::UnInitializeTemplates:
        plugin.UnInitializeTemplates();
        break;
    case EntryPoint::DeviceCtrlInit:
        plugin.DeviceCtrlInit(argument.numbers[0], argument.numbers[1], argument.numbers[2], argument.numbers[3]);
        break;
    case EntryPoint::LibraryAttach:
        reinterpret_cast<bool (*)()>(plugin.FindFunction("LibraryAttach"))();
        break;
    case EntryPoint::LibraryDetach:
        reinterpret_cast<void (*)()>(plugin.FindFunction("LibraryDetach"))();
        break;
    }
}

void RunTerminal(Stage& stage, ScenarioStep const& step)
{
    ScenarioBlockItem code{.item = terminalCodeItem, .type = DATA_INT32, .size = 4, .bytes = {}, .status = 0};
    code.bytes.emplace(code.size);
    protocol::PutI32LE(*code.bytes, 0, *std::get<IntegerArgument>(step.argument).value);
    CDataId terminal = stage.FindDevice(step.device)->GetDataId();
    terminal.SetGroupId(terminalGroup);
    stage.host.PutBlock(terminal, MakeBlock({.status = 0, .items = {code}}, stage.host.Now()));
}

void RunDiscover(Stage& stage, ScenarioStep const&)
{
    stage.Plugin().DiscoverDevices();
}

void RunClear(Stage& stage, ScenarioStep const&)
{
    stage.Plugin().ReleaseDevices();
}

void RunClock(Stage& stage, ScenarioStep const& step)
{
    stage.clock.Set(std::get<NumberArgument>(step.argument).value);
}

void RunSettle(Stage& stage, ScenarioStep const& step)
{
    using Clock = std::chrono::steady_clock;
    auto const quiet = std::chrono::duration<double, std::milli>(std::get<NumberArgument>(step.argument).value);
    auto const begin = Clock::now();
    for (;;) {
        auto const rest = quiet - (Clock::now() - stage.recorder.LastEvent(begin));
        if (rest.count() <= 0.0) {
            break;
        }
        if (Clock::now() - begin > quiet + std::chrono::minutes(1)) {
            throw CannotGoOn("the plug-in does not settle: something has happened again and again for a minute");
        }
        std::this_thread::sleep_for(rest);
    }
    for (auto& event : stage.recorder.TakeEventsOfThreads()) {
        stage.recorder.Add(std::move(event));
    }
}

void RunSelectedSonar(Stage& stage, ScenarioStep const& step)
{
    auto const& id = std::get<IdArgument>(step.argument).id;
    if (id.has_value()) {
        stage.host.SelectSonar(*id);
    } else {
        NotificationInfo const ofAnotherKind;
        stage.host.Notify(Subscription::General, GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE, &ofAnotherKind);
    }
}

void RunActiveVessel(Stage& stage, ScenarioStep const& step)
{
    auto const& number = std::get<IntegerArgument>(step.argument).value;
    if (number.has_value()) {
        stage.host.SelectVessel(static_cast<unsigned short>(*number));
    } else {
        NotificationInfo const ofAnotherKind;
        stage.host.Notify(Subscription::ActiveVessel, sel_change::ACTIVE_VESSEL, &ofAnotherKind);
    }
}

#if defined(QX5_VIEW)

void RunView(Stage& stage, ScenarioStep const& step)
{
    auto const& argument = std::get<ViewArgument>(step.argument);
    if (!argument.open) {
        stage.View().Close();
        return;
    }
    auto const& classes = stage.Plugin().ViewClasses();
    if (classes.empty()) {
        stage.Plugin().RegisterViews();
    }
    if (classes.empty()) {
        throw CannotGoOn("the plug-in has no view");
    }
    std::string reason;
    if (!stage.View().Open(classes.front(), argument.stored, argument.size, reason)) {
        throw CannotGoOn(reason);
    }
}

void RunTab(Stage& stage, ScenarioStep const& step)
{
    stage.View().PickTab(*std::get<IntegerArgument>(step.argument).value);
}

void RunSlider(Stage& stage, ScenarioStep const& step)
{
    auto const& argument = std::get<SliderArgument>(step.argument);
    stage.View().Scroll(argument.control, argument.kind, argument.position);
}

void RunClick(Stage& stage, ScenarioStep const& step)
{
    stage.View().Click(std::get<ControlArgument>(step.argument).control);
}

void RunChoose(Stage& stage, ScenarioStep const& step)
{
    auto const& argument = std::get<ChooseArgument>(step.argument);
    stage.View().Choose(argument.control, argument.index);
}

void RunType(Stage& stage, ScenarioStep const& step)
{
    auto const& argument = std::get<TypeArgument>(step.argument);
    stage.View().Type(argument.control, argument.text);
}

void RunPressReturn(Stage& stage, ScenarioStep const& step)
{
    stage.View().PressReturn(std::get<ControlArgument>(step.argument).control);
}

void RunLook(Stage& stage, ScenarioStep const&)
{
    stage.recorder.Add(Event(EventKind::Controls, stage.View().Look()));
}

void RunViewUpdate(Stage& stage, ScenarioStep const& step)
{
    auto const& argument = std::get<ViewUpdateArgument>(step.argument);
    stage.View().Update(argument.hint, argument.id);
}

void RunResize(Stage& stage, ScenarioStep const& step)
{
    auto const& size = std::get<SizeArgument>(step.argument);
    stage.View().Resize(size.width, size.height);
}

#endif

using StepFunction = void (*)(Stage& stage, ScenarioStep const& step);

/// What runs a kind of step; a kind without a row is not part of this build.
constexpr std::pair<StepKind, StepFunction> stepFunctions[] = {
    {StepKind::Request, RunRequest},
    {StepKind::HostRequest, RunHostRequest},
    {StepKind::Attributes, RunAttributes},
    {StepKind::ReplaceAttributes, RunReplaceAttributes},
    {StepKind::Load, RunLoad},
    {StepKind::Apply, RunApply},
    {StepKind::Connected, RunConnected},
    {StepKind::Logger, RunLogger},
    {StepKind::TargetChange, RunTargetChange},
    {StepKind::Block, RunBlock},
    {StepKind::BufferStatus, RunBufferStatus},
    {StepKind::Call, RunCall},
    {StepKind::Terminal, RunTerminal},
    {StepKind::Discover, RunDiscover},
    {StepKind::Clear, RunClear},
    {StepKind::Clock, RunClock},
    {StepKind::Settle, RunSettle},
    {StepKind::SelectedSonar, RunSelectedSonar},
    {StepKind::ActiveVessel, RunActiveVessel},
#if defined(QX5_VIEW)
    {StepKind::View, RunView},
    {StepKind::Tab, RunTab},
    {StepKind::Slider, RunSlider},
    {StepKind::Click, RunClick},
    {StepKind::Choose, RunChoose},
    {StepKind::Type, RunType},
    {StepKind::PressReturn, RunPressReturn},
    {StepKind::Look, RunLook},
    {StepKind::ViewUpdate, RunViewUpdate},
    {StepKind::Resize, RunResize},
#endif
};

StepFunction FindFunction(StepKind kind)
{
    for (auto const& [each, function] : stepFunctions) {
        if (each == kind) {
            return function;
        }
    }
    return nullptr;
}

void AddException(Recorder& recorder, char const* kind, char const* what)
{
    // Brought to valid UTF-8: the text is whatever the plug-in made it.
    auto const text = protocol::EncodeUtf8(protocol::DecodeUtf8(what));
    recorder.Add(Event(EventKind::Throws, JsonValue::Text(kind), {{"what", JsonValue::Text(text)}}));
}

void RunStep(Stage& stage, ScenarioStep const& step)
{
    stage.recorder.SetSubject(step.device);
    try {
#if defined(QX5_VIEW)
        // What threads of the plug-in have raised since the last step.
        if (stage.HasView()) {
            stage.host.DeliverToWindow();
        }
#endif
        FindFunction(step.kind)(stage, step);
    } catch (CannotGoOn const&) {
        throw;
    } catch (std::invalid_argument const& failure) {
        AddException(stage.recorder, "invalid_argument", failure.what());
    } catch (std::out_of_range const& failure) {
        AddException(stage.recorder, "out_of_range", failure.what());
    } catch (std::exception const& failure) {
        AddException(stage.recorder, "other", failure.what());
    } catch (...) {
        AddException(stage.recorder, "other", "");
    }
}

} // namespace

bool IsBuilt(StepKind kind)
{
    return FindFunction(kind) != nullptr;
}

ScenarioResult RunScenario(Scenario const& scenario, std::filesystem::path const& plugin)
{
    TimezoneSetting const timezone(scenario.timezone);
    ScenarioResult result;
    result.name = scenario.name;
    Stage stage(scenario.clock);
    stage.SetUp(scenario, plugin);
    result.setup = stage.recorder.TakeEvents();
    for (auto const& step : scenario.steps) {
        RunStep(stage, step);
        result.steps.push_back(stage.recorder.TakeEvents());
    }
    stage.TakeDown();
    for (auto& event : stage.recorder.TakeEventsOfThreads()) {
        stage.recorder.Add(std::move(event));
    }
    result.teardown = stage.recorder.TakeEvents();
    return result;
}

JsonValue WriteResult(ScenarioResult const& result)
{
    JsonValue steps = JsonValue::Array();
    for (auto const& events : result.steps) {
        steps.items.push_back(JsonValue::Array(events));
    }
    return JsonValue::Object({{"name", JsonValue::Text(result.name)},
                              {"setup", JsonValue::Array(result.setup)},
                              {"steps", std::move(steps)},
                              {"teardown", JsonValue::Array(result.teardown)}});
}

} // namespace qx5::cli
