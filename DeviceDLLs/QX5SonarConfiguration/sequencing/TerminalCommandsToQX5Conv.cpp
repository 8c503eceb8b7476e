// The conversion of an operator terminal's codes into requests.
#include "TerminalCommandsToQX5Conv.h"

#include "handlers/reading.h"
#include <commands/command.h>
#include <commands/default_ranges.h>

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/FileObject.h>
#include <VordalConfigureR/CPrsConfiguration.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalMfc0R/CView.h>
#include <VordalMfc0R/ColorControl.h>
#include <VordalSubscriberR/Subscriber.h>
#include <protocol/bytes.h>
#include <protocol/numbers.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>
#include <vordalhostdllR/CDisplayMap.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/DisplayManager.h>

#include <span>
#include <utility>

using namespace qx5;
using namespace qx5::terminal;
namespace keys = qx5::protocol::keys;

namespace {

constexpr wchar_t const* snapshotDisplay = L"snapshot view"; ///< a display's name and its type
constexpr wchar_t const* bathymetryDisplay = L"bathy";

/// Where the new snapshot display stands: items of its section, in pixels of the main window.
constexpr wchar_t const* windowSection = L"VIEW";
struct WindowItem
{
    wchar_t const* name;
    wchar_t const* value;
};
constexpr WindowItem windowItems[]{
    {L"iLeftPos", L"0"},     {L"iTopPos", L"0"},           {L"iRightPos", L"350"},
    {L"iBottomPos", L"820"}, {L"strShowState", L"NORMAL"},
};

template <typename T>
void ReadLimits(CAttributeMap const& limits, T& least, T& greatest)
{
    Read(limits, At<keys::x5Min>, least);
    Read(limits, At<keys::x5Max>, greatest);
}

double ReadDouble(CAttributeMap const& tree, AttributeKey const& key)
{
    double value = 0.0;
    Read(tree, key, value);
    return value;
}

} // namespace

TerminalCommandsToQX5Conv::TerminalCommandsToQX5Conv() : rangeSet(std::begin(DefaultRanges), std::end(DefaultRanges))
{
    using Sink = MemFunNoInfoSubscriber<TerminalCommandsToQX5Conv>;
    settingsSubscription.SetSubscriber(new Sink(this, &TerminalCommandsToQX5Conv::HandleSettingsChange), true);
    terminalSubscription.SetSubscriber(new Sink(this, &TerminalCommandsToQX5Conv::HandleTerminalData), true);
}

TerminalCommandsToQX5Conv::~TerminalCommandsToQX5Conv()
{
    // Before the members that the sinks use go.
    terminalSubscription.Unsubscribe();
    settingsSubscription.Unsubscribe();
}

void TerminalCommandsToQX5Conv::SetSonarId(CDataId id)
{
    sonarId = std::move(id);
    settingsSubscription.SetMap(DataManager::GetDataManager().GetAttributeSubscriptionMap(sonarId));
    settingsSubscription.Subscribe(std::vector<CString>{keys::x5SonarSettings.text, keys::DeviceEnum.text,
                                                        keys::x5SampleRateSelection.text,
                                                        keys::x5PulseLengthValues.text});
    terminalId = sonarId;
    terminalId.SetGroupId(Group);
    terminalSubscription.Subscribe(terminalId);
}

void TerminalCommandsToQX5Conv::HandleSettingsChange()
{
    CAttributeMap tree;
    if (!DataManager::GetDataManager().GetAttributeMap(sonarId, tree)) {
        return;
    }
    int deviceEnum = -1;
    Read(tree, At<keys::DeviceEnum>, deviceEnum);
    int pulseType = -1;
    Read(tree, At<keys::x5PulseType>, pulseType);
    bool const sameProjector = deviceEnum == lastDeviceEnum;
    lastDeviceEnum = deviceEnum;
    if (pulseType == lastPulseType && sameProjector && !centerFrequencies.empty()) {
        return;
    }
    RefreshLimits(&tree);
}

void TerminalCommandsToQX5Conv::RefreshLimits(CAttributeMap* tree)
{
    if (tree == nullptr) {
        return;
    }
    CAttributeMap const& device = *tree;
    int projector = 0;
    Read(device, At<keys::DeviceEnum>, projector);
    if (projector < 0) {
        return;
    }
    snapshotShown = false;
    // Settings that are there and empty end the refresh: they are not replaced by those of the first projector.
    bool const hasOwn = device.Has(At<keys::x5SonarSettings>, projector);
    CAttributeMap const& settings = device.Find(At<keys::x5SonarSettings>, hasOwn ? projector : 0);
    if (settings.Count() < 1) {
        return;
    }
    int sampleRate = 0;
    Read(device, At<keys::x5SampleRateSelection>, sampleRate);
    CAttributeMap const& rateSet = settings.Find(At<keys::x5SampleRateSet>, sampleRate);
    Read(rateSet, At<keys::x5RangeSet>, rangeSet);
    rangeMin = rangeMax = 0.0;
    ReadLimits(rateSet.Find(At<keys::x5Range>, 0), rangeMin, rangeMax);

    powerMin = powerMax = 0.0;
    ReadLimits(settings.Find(At<keys::x5Power>, 0), powerMin, powerMax);

    pulseMin = pulseMax = 0.0;
    std::vector<double> pulseLengths;
    if (Read(device, At<keys::x5PulseLengthValues>, pulseLengths) && !pulseLengths.empty()) {
        pulseMin = pulseLengths.front();
        pulseMax = pulseLengths.back();
    }

    double leastPingRate = pingRateMin;
    double greatestPingRate = pingRateMax;
    ReadLimits(settings.Find(At<keys::x5PingRate>, 0), leastPingRate, greatestPingRate);
    pingRateMin = protocol::NarrowToFloat(leastPingRate);
    pingRateMax = protocol::NarrowToFloat(greatestPingRate);

    gainMin = gainMax = 0.0;
    ReadLimits(settings.Find(At<keys::x5Gain>, 0), gainMin, gainMax);

    centerFrequencies.clear();
    double frequency = 0.0;
    for (int i = 0; Read(device.Find(At<keys::x5SonarSettings>, i).Find(At<keys::x5Frequency>, 0),
                         At<keys::x5CenterFreq>, frequency);
         ++i) {
        centerFrequencies.push_back(protocol::NarrowToFloat(frequency));
    }
}

void TerminalCommandsToQX5Conv::HandleTerminalData()
{
    if (terminalBuffer == nullptr) {
        terminalBuffer = DataManager::GetDataManager().FindDatablockBuffer(terminalId, false);
        ShowSnapshotDisplay();
        // The toggle then leaves the operator on the bathymetry.
        snapshotShown = true;
        ToggleDisplay();
    }
    if (Code const* const code = FindCode(ReadCode())) {
        Act(*code);
    }
}

std::uint32_t TerminalCommandsToQX5Conv::ReadCode()
{
    constexpr unsigned codeSize = 4;
    CDataBlock block;
    if (terminalBuffer == nullptr || !terminalBuffer->ReadBlock(block, DATA_ACCESS_LATEST)) {
        return 0;
    }
    unsigned short index = 0;
    if (!block.LookUp(CodeItem, ADDR_FIRST_OF_ITEM, index)) {
        return 0;
    }
    CDataItem const* const item = block.GetItem(index);
    if (item == nullptr || item->type != DATA_INT32 || item->data == nullptr || item->size != codeSize) {
        return 0;
    }
    return protocol::GetU32LE(std::span(static_cast<unsigned char const*>(item->data), codeSize), 0);
}

void TerminalCommandsToQX5Conv::Act(Code const& code)
{
    if (code.action == Action::DisplayHint && snapshotShown) {
        return;
    }
    if (code.selects) {
        commandMode = static_cast<std::int32_t>(code.number);
    }
    switch (code.action) {
    case Action::None:
        break;
    case Action::Stop:
        SendRequest(At<keys::x5MaxPingRate>, CVordalDouble(0.0));
        SendRequest(At<keys::x5PingOnOffState>, CVordalInt(0));
        break;
    case Action::PowerOff:
        SendRequest(At<keys::x5Shutdown>, CVordalBool(true));
        break;
    case Action::DisplayHint:
        UpdateDisplays(HINT_TERMINAL_DISPLAY);
        break;
    case Action::ToggleDisplay:
        ToggleDisplay();
        break;
    case Action::Preset:
        ApplyPreset(static_cast<int>(code.number - FirstPreset));
        break;
    case Action::StepDown:
        Step(Direction::Down);
        break;
    case Action::StepUp:
        Step(Direction::Up);
        break;
    }
}

void TerminalCommandsToQX5Conv::Step(Direction direction)
{
    Code const* const mode = FindCode(static_cast<std::uint32_t>(commandMode));
    CAttributeMap tree;
    if (mode == nullptr || mode->steps == Steps::None ||
        !DataManager::GetDataManager().GetAttributeMap(sonarId, tree)) {
        return;
    }
    auto const ask = [this](AttributeKey const& key, std::optional<double> value) {
        if (value.has_value()) {
            SendRequest(key, CVordalDouble(*value));
        }
    };
    auto const present = [&tree](AttributeKey const& key) { return ReadDouble(tree, key); };

    switch (mode->steps) {
    case Steps::None:
        break;
    case Steps::Display:
        UpdateDisplays(direction == Direction::Down ? HINT_STEP_DOWN : HINT_STEP_UP);
        break;
    case Steps::Gain:
        ask(At<keys::x5Gain>, StepInteger(present(At<keys::x5Gain>), gainMin, gainMax, direction));
        break;
    case Steps::PulseLength:
        ask(At<keys::x5PulseLength>, StepPulseLength(present(At<keys::x5PulseLength>), pulseMin, pulseMax, direction));
        break;
    case Steps::Range:
        ask(At<keys::x5Range>, StepRange(present(At<keys::x5Range>), rangeSet, direction));
        break;
    case Steps::Power:
        ask(At<keys::x5Power>, StepPower(present(At<keys::x5Power>), powerMin, powerMax, direction));
        break;
    case Steps::Projector:
        StepProjector(tree, direction);
        break;
    case Steps::LightMode:
        StepLightMode(direction);
        break;
    case Steps::PingRate:
        ask(At<keys::x5MaxPingRate>,
            StepInteger(present(At<keys::x5MaxPingRate>), pingRateMin, pingRateMax, direction));
        break;
    }
}

void TerminalCommandsToQX5Conv::StepProjector(CAttributeMap const& tree, Direction direction)
{
    int present = 0;
    Read(tree, At<keys::DeviceEnum>, present);
    if (auto const next = terminal::StepProjector(present, centerFrequencies.size(), direction)) {
        SendRequest(At<keys::DeviceEnum>, CVordalInt(*next));
        SendRequest(At<keys::x5MaxPingRate>, CVordalDouble(pingRateMax));
        SendRequest(At<keys::x5PingOnOffState>, CVordalInt(1));
    }
}

void TerminalCommandsToQX5Conv::StepLightMode(Direction direction)
{
    if (CVordalBaseApp::Instance() == nullptr) {
        return;
    }
    if (auto const next = terminal::StepLightMode(ColorControl::GetLightMode(), direction)) {
        ColorControl::SetLightMode(*next, true);
    }
}

void TerminalCommandsToQX5Conv::ApplyPreset(int index)
{
    CAttributeMap terminal;
    DataManager::GetDataManager().GetAttributeMap(terminalId, terminal);
    CAttributeMap const& preset = static_cast<CAttributeMap const&>(terminal).Find(At<keys::preset>, index);
    if (preset.Count() == 0) {
        return;
    }
    SendRequest(At<keys::DeviceEnum>,
                CVordalInt(PresetProjector(ReadDouble(preset, At<keys::x5Frequency>), centerFrequencies.size())));
    SendRequest(At<keys::x5MaxPingRate>,
                CVordalDouble(PresetPingRate(ReadDouble(preset, At<keys::x5MaxPingRate>), pingRateMax)));
    SendRequest(At<keys::x5PingOnOffState>, CVordalInt(1));
    if (auto const range = PresetRange(ReadDouble(preset, At<keys::x5Range>), rangeSet)) {
        SendRequest(At<keys::x5Range>, CVordalDouble(*range));
    }
    SendRequest(At<keys::x5Power>,
                CVordalDouble(PresetPower(ReadDouble(preset, At<keys::x5Power>), powerMin, powerMax)));
    SendRequest(At<keys::x5Gain>, CVordalDouble(PresetGain(ReadDouble(preset, At<keys::x5Gain>), gainMax)));
    SendRequest(At<keys::x5PulseLength>,
                CVordalDouble(PresetPulseLength(ReadDouble(preset, At<keys::x5PulseLength>), pulseMin, pulseMax)));
    SendRequest(At<keys::x5SSR7503CMD>, CVordalInt(1));
}

void TerminalCommandsToQX5Conv::SendRequest(AttributeKey const& key, CVordalType const& value)
{
    CAttributeMap tree;
    tree.Add(At<keys::Request>)->Add(key, value, 0);
    DataManager::GetDataManager().SetAttributeMap(sonarId, tree, 4, false);
}

void TerminalCommandsToQX5Conv::ToggleDisplay()
{
    auto* const application = CVordalBaseApp::Instance();
    if (application == nullptr) {
        return;
    }
    snapshotShown = !snapshotShown;
    if (snapshotShown) {
        application->SelectDisplay(snapshotDisplay);
        UpdateDisplays(HINT_SNAPSHOT_SHOWN);
    } else {
        application->SelectDisplay(bathymetryDisplay);
    }
}

void TerminalCommandsToQX5Conv::ShowSnapshotDisplay()
{
    auto* const application = CVordalBaseApp::Instance();
    if (application == nullptr) {
        return;
    }
    CDisplayMap& displays = application->GetDisplayMap();
    CPrsConfiguration const& configuration = application->GetPresConfig();
    int const count = displays.GetCount();
    for (int i = 0; i < count; ++i) {
        CString const section = displays.GetDisplayName(i);
        CString type;
        configuration.GetItem(section, L"type", type);
        CString name;
        configuration.GetItem(section, L"name", name);
        if (!(type == snapshotDisplay) || name.IsEmpty()) {
            continue;
        }
        bool enabled = true;
        configuration.GetItem(section, L"enabled", enabled);
        if (!enabled) {
            DisplayManager::GetDisplayManager().EnableDisplay(name);
        }
        displays.ShowDisplay(section); // documents and frames are the window thread's
        return;
    }
    FileObject settings;
    settings.CreateSection(windowSection);
    for (WindowItem const& item : windowItems) {
        settings.SetItem(windowSection, item.name, item.value);
    }
    application->AddDisplay(0, snapshotDisplay, snapshotDisplay, settings, windowSection, true, nullptr, 0);
}

void TerminalCommandsToQX5Conv::UpdateDisplays(int hint)
{
    if (auto* const application = CVordalBaseApp::Instance()) {
        application->GetDisplayMap().UpdateAllDisplays(nullptr, hint, nullptr);
    }
}
