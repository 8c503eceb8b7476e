// What each kind of step does.
#include "cli/scenario/step_functions.h"

#include "cli/scenario/block_json.h"

#include "reference_host/attributes/host_keys.h"
#include "reference_host/targets/target_store.h"

#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <protocol/bytes.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/VesselManager.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>

namespace qx5::cli {

namespace {

/// The events of the host's logger, on the general bus.
constexpr wchar_t const* loggerStarts = L"$VordalHostloggerStartLogging$";
constexpr wchar_t const* loggerStops = L"$VordalHostloggerStopLogging$";

/// The stream of a device's operator terminal, and the item of its blocks that holds the code.
constexpr unsigned short terminalGroup = 82;
constexpr std::uint16_t terminalCodeItem = 2607;

void RunRequest(ScenarioStage& stage, ScenarioStep& step)
{
    auto& request = std::get<TreeArgument>(step.argument).tree;
    // What handlers write into it nobody reads: a step is run once.
    stage.host.DeliverRequest(*stage.FindDevice(step.device), request.has_value() ? &*request : nullptr);
}

void RunHostRequest(ScenarioStage& stage, ScenarioStep& step)
{
    CAttributeMap tree;
    *tree.Add(vordal::keys::Request) = *std::get<TreeArgument>(step.argument).tree;
    auto const* const device = stage.FindDevice(step.device);
    stage.recorder.IgnoreNextHostSet();
    DataManager::GetDataManager().SetAttributeMap(device != nullptr ? device->GetDataId() : step.device, tree, 4,
                                                  false);
}

void RunAttributes(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& tree = *std::get<TreeArgument>(step.argument).tree;
    if (auto* const device = stage.FindDevice(step.device); device != nullptr) {
        stage.host.MergeDecoded(*device, tree);
    } else {
        stage.host.MergeIntoComputation(step.device, tree);
    }
}

void RunReplaceAttributes(ScenarioStage& stage, ScenarioStep& step)
{
    stage.host.ReplaceAttributes(*stage.FindDevice(step.device), *std::get<TreeArgument>(step.argument).tree);
}

void RunLoad(ScenarioStage& stage, ScenarioStep& step)
{
    stage.host.LoadDevice(*stage.FindDevice(step.device), *std::get<TreeArgument>(step.argument).tree);
}

void RunApply(ScenarioStage& stage, ScenarioStep& step)
{
    stage.host.ApplyDevice(*stage.FindDevice(step.device), true);
}

void RunConnected(ScenarioStage& stage, ScenarioStep& step)
{
    stage.FindDevice(step.device)->HandlePortConnected();
}

void RunLogger(ScenarioStage& stage, ScenarioStep& step)
{
    bool const start = std::get<LoggerArgument>(step.argument).start;
    stage.host.Notify(Subscription::General, start ? loggerStarts : loggerStops, nullptr);
}

void RunTargetChange(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& change = std::get<TargetChangeArgument>(step.argument).change;
    if (change.has_value()) {
        stage.host.Targets().Tell(change->targetId, change->changeCode, change->time);
    } else {
        stage.host.Notify(Subscription::General, GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE, nullptr);
    }
}

void RunBlock(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& argument = std::get<BlockArgument>(step.argument);
    stage.host.PutBlock(argument.id, MakeBlock(argument.block, stage.host.Now()));
}

void RunBufferStatus(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& argument = std::get<BufferStatusArgument>(step.argument);
    stage.host.SetBufferStatus(argument.id, argument.status);
}

void RunCall(ScenarioStage& stage, ScenarioStep& step)
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

void RunTerminal(ScenarioStage& stage, ScenarioStep& step)
{
    ScenarioBlockItem code{.item = terminalCodeItem, .type = DATA_INT32, .size = 4, .bytes = {}, .status = 0};
    code.bytes.emplace(code.size);
    protocol::PutI32LE(*code.bytes, 0, *std::get<IntegerArgument>(step.argument).value);
    CDataId terminal = stage.FindDevice(step.device)->GetDataId();
    terminal.SetGroupId(terminalGroup);
    stage.host.PutBlock(terminal, MakeBlock({.status = 0, .items = {code}}, stage.host.Now()));
}

void RunDiscover(ScenarioStage& stage, ScenarioStep&)
{
    stage.Plugin().DiscoverDevices();
}

void RunClear(ScenarioStage& stage, ScenarioStep&)
{
    stage.Plugin().ReleaseDevices();
}

void RunClock(ScenarioStage& stage, ScenarioStep& step)
{
    stage.clock.Set(std::get<NumberArgument>(step.argument).value);
}

void RunSettle(ScenarioStage& stage, ScenarioStep& step)
{
    using Clock = std::chrono::steady_clock;
    auto const quiet = std::chrono::duration<double, std::milli>(std::get<NumberArgument>(step.argument).value);
    auto const begin = Clock::now();
    for (;;) {
        auto const rest = quiet - (Clock::now() - stage.recorder.LastEventOfThreads(begin));
        if (rest.count() <= 0.0) {
            break;
        }
        if (Clock::now() - begin > quiet + std::chrono::minutes(1)) {
            throw CannotGoOn("the plug-in does not settle: something has happened again and again for a minute");
        }
        std::this_thread::sleep_for(rest);
    }
    stage.recorder.AddEventsOfThreads();
}

void RunSelectedSonar(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& id = std::get<IdArgument>(step.argument).id;
    if (id.has_value()) {
        stage.host.SelectSonar(*id);
    } else {
        NotificationInfo const ofAnotherKind;
        stage.host.Notify(Subscription::General, GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE, &ofAnotherKind);
    }
}

void RunActiveVessel(ScenarioStage& stage, ScenarioStep& step)
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

void RunView(ScenarioStage& stage, ScenarioStep& step)
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

void RunTab(ScenarioStage& stage, ScenarioStep& step)
{
    stage.View().PickTab(*std::get<IntegerArgument>(step.argument).value);
}

void RunSlider(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& argument = std::get<SliderArgument>(step.argument);
    stage.View().Scroll(argument.control, argument.kind, argument.position);
}

void RunClick(ScenarioStage& stage, ScenarioStep& step)
{
    stage.View().Click(std::get<ControlArgument>(step.argument).control);
}

void RunChoose(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& argument = std::get<ChooseArgument>(step.argument);
    stage.View().Choose(argument.control, argument.index);
}

void RunType(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& argument = std::get<TypeArgument>(step.argument);
    stage.View().Type(argument.control, argument.text);
}

void RunPressReturn(ScenarioStage& stage, ScenarioStep& step)
{
    stage.View().PressReturn(std::get<ControlArgument>(step.argument).control);
}

void RunLook(ScenarioStage& stage, ScenarioStep&)
{
    stage.recorder.Add(EventKind::Controls, stage.View().Look());
}

void RunViewUpdate(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& argument = std::get<ViewUpdateArgument>(step.argument);
    stage.View().Update(argument.hint, argument.id);
}

void RunResize(ScenarioStage& stage, ScenarioStep& step)
{
    auto const& size = std::get<SizeArgument>(step.argument);
    stage.View().Resize(size.width, size.height);
}

#endif

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

} // namespace

StepFunction FindFunction(StepKind kind)
{
    for (auto const& [each, function] : stepFunctions) {
        if (each == kind) {
            return function;
        }
    }
    return nullptr;
}

} // namespace qx5::cli
