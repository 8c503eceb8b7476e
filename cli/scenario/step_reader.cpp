// Reads and checks one step of a scenario.
#include "cli/scenario/step_reader.h"

#include "cli/scenario/block_json.h"
#include "cli/scenario/event_kinds.h"
#include "cli/scenario/view_controls.h"
#include "json/json_read.h"
#include "json/tree_json.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>

namespace qx5::cli {

namespace {

using Kind = JsonValue::Kind;

/// What a step has to say beyond its kind: the value of its key, where that stands, and its other members.
struct Source
{
    JsonNode value;
    JsonPath path;
    MemberReader& members;
    StepUse use;
};

StepArgument ReadTreeArgument(Source const& source)
{
    if (source.use == StepUse::Check) {
        CheckTree(source.value, source.path);
        return TreeArgument();
    }
    return TreeArgument{ReadTree(source.value, source.path)};
}

StepArgument ReadRequest(Source const& source)
{
    return source.value.Is(Kind::Null) ? StepArgument(TreeArgument()) : ReadTreeArgument(source);
}

StepArgument ReadTrue(Source const& source)
{
    if (!ReadBool(source.value, source.path)) {
        throw InvalidDocument(source.path, "this step takes true alone");
    }
    return NoArgument();
}

StepArgument ReadLogger(Source const& source)
{
    auto const& text = ReadText(source.value, source.path);
    if (text != "start" && text != "stop") {
        throw InvalidDocument(source.path, "the logger takes \"start\" or \"stop\", not " + QuoteForMessage(text));
    }
    return LoggerArgument{text == "start"};
}

StepArgument ReadTargetChange(Source const& source)
{
    if (source.value.Is(Kind::Null)) {
        return TargetChangeArgument();
    }
    MemberReader members(source.value, source.path);
    TargetChange change;
    change.targetId = members.UInt32("targetId", 0);
    change.changeCode = members.UInt32("changeCode", 0);
    change.time = members.Double("time", 0.0);
    members.RefuseUnknown();
    return TargetChangeArgument{change};
}

StepArgument ReadBlockStep(Source const& source)
{
    MemberReader members(source.value, source.path);
    BlockArgument argument;
    argument.id = ReadDataId(members.Get("id"), members.At("id"));
    argument.block = ReadBlock(members);
    members.RefuseUnknown();
    return argument;
}

StepArgument ReadBufferStatus(Source const& source)
{
    MemberReader members(source.value, source.path);
    BufferStatusArgument argument;
    argument.id = ReadDataId(members.Get("id"), members.At("id"));
    argument.status = ReadUInt16(members.Get("status"), members.At("status"));
    members.RefuseUnknown();
    return argument;
}

StepArgument ReadIntegerArgument(Source const& source)
{
    return IntegerArgument{ReadInt32(source.value, source.path)};
}

StepArgument ReadClock(Source const& source)
{
    return NumberArgument{ReadDouble(source.value, source.path)};
}

StepArgument ReadSettle(Source const& source)
{
    constexpr double tenMinutes = 600000.0;
    double const milliseconds = ReadDouble(source.value, source.path);
    if (!(milliseconds >= 0.0 && milliseconds <= tenMinutes)) {
        throw InvalidDocument(source.path, "milliseconds from 0 to 600000 are expected here");
    }
    return NumberArgument{milliseconds};
}

StepArgument ReadCall(Source const& source)
{
    constexpr std::pair<std::string_view, EntryPoint> functions[] = {
        {"RegisterDevices", EntryPoint::RegisterDevices},
        {"UnRegisterDevices", EntryPoint::UnRegisterDevices},
        {"RegisterViews", EntryPoint::RegisterViews},
        {"InitializeTemplates", EntryPoint::InitializeTemplates},
        {"UnInitializeTemplates", EntryPoint::UnInitializeTemplates},
        {"DeviceCtrlInit", EntryPoint::DeviceCtrlInit},
        {"LibraryAttach", EntryPoint::LibraryAttach},
        {"LibraryDetach", EntryPoint::LibraryDetach},
    };
    std::string_view const name = ReadText(source.value, source.path);
    auto const* const found = std::find_if(std::begin(functions), std::end(functions),
                                           [&name](auto const& each) { return each.first == name; });
    if (found == std::end(functions)) {
        throw InvalidDocument(source.path, "the plug-in exports no such function that a step may call");
    }
    CallArgument argument{found->second, {}};
    bool const takesNumbers = argument.function == EntryPoint::DeviceCtrlInit;
    auto const args = source.members.Find("args");
    if (!args) {
        if (takesNumbers) {
            throw InvalidDocument(source.path, "DeviceCtrlInit takes four numbers in \"args\"");
        }
        return argument;
    }
    auto const path = source.members.At("args");
    auto const numbers = takesNumbers ? ReadArray(*args, path, argument.numbers.size()) : ReadArray(*args, path);
    if (!takesNumbers && !numbers.empty()) {
        throw InvalidDocument(path, "this function takes nothing");
    }
    for (std::size_t i = 0; auto const& number : numbers) {
        argument.numbers[i] = ReadUInt16(number, JsonPath(path, i));
        ++i;
    }
    return argument;
}

StepArgument ReadSelectedSonar(Source const& source)
{
    return source.value.Is(Kind::Null) ? IdArgument() : IdArgument{ReadDataId(source.value, source.path)};
}

StepArgument ReadActiveVessel(Source const& source)
{
    return source.value.Is(Kind::Null) ? IntegerArgument() : IntegerArgument{ReadUInt16(source.value, source.path)};
}

std::pair<int, int> ReadSize(JsonNode const& value, JsonPath const& path)
{
    std::array<JsonNode, 2> sides;
    ReadArray(value, path, sides.size()).Into(sides);
    return {ReadInt32(sides[0], JsonPath(path, 0)), ReadInt32(sides[1], JsonPath(path, 1))};
}

StepArgument ReadView(Source const& source)
{
    auto const& text = ReadText(source.value, source.path);
    if (text != "open" && text != "close") {
        throw InvalidDocument(source.path, "the view takes \"open\" or \"close\", not " + QuoteForMessage(text));
    }
    ViewArgument argument;
    argument.open = text == "open";
    if (auto const stored = source.members.Find("stored")) {
        argument.stored = ReadDataId(*stored, source.members.At("stored"));
    }
    if (auto const size = source.members.Find("size")) {
        argument.size = ReadSize(*size, source.members.At("size"));
    }
    return argument;
}

/// The control of a step, which must be one of the kinds that the step acts on.
ControlName ReadControl(Source const& source, std::initializer_list<ControlKind> kinds)
{
    MemberReader members(source.value, source.path);
    ControlName control;
    control.page = ReadText(members.Get("page"), members.At("page"));
    if (std::find(viewPages.begin(), viewPages.end(), control.page) == viewPages.end()) {
        throw InvalidDocument(members.At("page"), "there is no page " + QuoteForMessage(control.page));
    }
    control.id = ReadInt32(members.Get("id"), members.At("id"));
    members.RefuseUnknown();
    auto const* const known = FindViewControl(control.page, control.id);
    if (known == nullptr) {
        throw InvalidDocument(members.At("id"), "the page " + QuoteForMessage(control.page) + " has no control " +
                                                    std::to_string(control.id));
    }
    if (std::find(kinds.begin(), kinds.end(), known->kind) == kinds.end()) {
        throw InvalidDocument(members.At("id"), "control " + std::to_string(control.id) + " is " +
                                                    std::string(NameOf(known->kind)) +
                                                    ", which this step cannot act on");
    }
    return control;
}

StepArgument ReadSlider(Source const& source)
{
    SliderArgument argument;
    argument.control = ReadControl(source, {ControlKind::Slider});
    argument.kind = static_cast<int>(ReadInteger(source.members.Get("kind"), source.members.At("kind"), 0, 8));
    if (auto const position = source.members.Find("position")) {
        argument.position = ReadInt32(*position, source.members.At("position"));
    }
    return argument;
}

StepArgument ReadClick(Source const& source)
{
    return ControlArgument{ReadControl(
        source, {ControlKind::Button, ControlKind::CheckBox, ControlKind::RadioButton, ControlKind::ToggleButton})};
}

StepArgument ReadPressReturn(Source const& source)
{
    return ControlArgument{ReadControl(source, {ControlKind::TextField})};
}

StepArgument ReadChoose(Source const& source)
{
    ChooseArgument argument;
    argument.control = ReadControl(source, {ControlKind::List});
    argument.index = ReadInt32(source.members.Get("index"), source.members.At("index"));
    return argument;
}

StepArgument ReadType(Source const& source)
{
    TypeArgument argument;
    argument.control = ReadControl(source, {ControlKind::TextField});
    argument.text = ReadWideText(source.members.Get("text"), source.members.At("text"));
    return argument;
}

StepArgument ReadViewUpdate(Source const& source)
{
    ViewUpdateArgument argument;
    argument.hint = ReadInt32(source.value, source.path);
    if (auto const id = source.members.Find("id"); id && !id->Is(Kind::Null)) {
        argument.id = ReadDataId(*id, source.members.At("id"));
    }
    return argument;
}

StepArgument ReadResize(Source const& source)
{
    auto const [width, height] = ReadSize(source.value, source.path);
    return SizeArgument{width, height};
}

/// What a step of some kind can mean by "device".
enum class Meaning
{
    Nothing,             ///< the step concerns no device in particular
    Device,              ///< any device
    DeviceOrComputation, ///< any device, or a computation
    SonarDevice,         ///< a device of the plug-in's class
};

struct StepForm
{
    StepKind kind;
    StepArgument (*read)(Source const& source);
    Meaning meaning;
};

constexpr std::array<StepForm, StepKindCount> forms{{
    {StepKind::Request, ReadRequest, Meaning::SonarDevice},
    {StepKind::HostRequest, ReadTreeArgument, Meaning::DeviceOrComputation},
    {StepKind::Attributes, ReadTreeArgument, Meaning::DeviceOrComputation},
    {StepKind::ReplaceAttributes, ReadTreeArgument, Meaning::Device},
    {StepKind::Load, ReadTreeArgument, Meaning::SonarDevice},
    {StepKind::Apply, ReadTrue, Meaning::SonarDevice},
    {StepKind::Connected, ReadTrue, Meaning::SonarDevice},
    {StepKind::Logger, ReadLogger, Meaning::Nothing},
    {StepKind::TargetChange, ReadTargetChange, Meaning::Nothing},
    {StepKind::Block, ReadBlockStep, Meaning::Nothing},
    {StepKind::BufferStatus, ReadBufferStatus, Meaning::Nothing},
    {StepKind::Terminal, ReadIntegerArgument, Meaning::SonarDevice},
    {StepKind::Discover, ReadTrue, Meaning::Nothing},
    {StepKind::Clear, ReadTrue, Meaning::Nothing},
    {StepKind::Clock, ReadClock, Meaning::Nothing},
    {StepKind::Settle, ReadSettle, Meaning::Nothing},
    {StepKind::Call, ReadCall, Meaning::Nothing},
    {StepKind::SelectedSonar, ReadSelectedSonar, Meaning::Nothing},
    {StepKind::ActiveVessel, ReadActiveVessel, Meaning::Nothing},
    {StepKind::View, ReadView, Meaning::Nothing},
    {StepKind::Tab, ReadIntegerArgument, Meaning::Nothing},
    {StepKind::Slider, ReadSlider, Meaning::Nothing},
    {StepKind::Click, ReadClick, Meaning::Nothing},
    {StepKind::Choose, ReadChoose, Meaning::Nothing},
    {StepKind::Type, ReadType, Meaning::Nothing},
    {StepKind::PressReturn, ReadPressReturn, Meaning::Nothing},
    {StepKind::Look, ReadTrue, Meaning::Nothing},
    {StepKind::ViewUpdate, ReadViewUpdate, Meaning::Nothing},
    {StepKind::Resize, ReadResize, Meaning::Nothing},
}};

constexpr bool FormsStandInOrder()
{
    for (std::size_t i = 0; i < forms.size(); ++i) {
        if (static_cast<std::size_t>(forms[i].kind) != i) {
            return false;
        }
    }
    return true;
}
static_assert(FormsStandInOrder(), "forms are found by their kind's number");

/// The form of the one member that says what kind of step this is.
StepForm const& FindForm(JsonNode const& step, JsonPath const& path)
{
    StepForm const* found = nullptr;
    for (auto const& member : ReadObject(step, path)) {
        auto const key = member.key;
        auto const form =
            std::find_if(forms.begin(), forms.end(), [&](auto const& each) { return NameOf(each.kind) == key; });
        if (form == forms.end()) {
            continue;
        }
        if (found != nullptr) {
            throw InvalidDocument(path, "a step is of one kind, not \"" + std::string(NameOf(found->kind)) +
                                            "\" and \"" + std::string(key) + "\"");
        }
        found = &*form;
    }
    if (found != nullptr) {
        return *found;
    }
    for (auto const& [key, value] : step.Members()) {
        if (key != "device" && key != "expect") {
            throw InvalidDocument(path, "unknown step " + QuoteForMessage(key));
        }
    }
    throw InvalidDocument(path, "a step needs a key that says what it does");
}

void CheckMeaning(StepForm const& form, CDataId const& device, JsonPath const& path, Scenario const& scenario)
{
    if (form.meaning == Meaning::Nothing) {
        return;
    }
    auto const& devices = scenario.devices;
    auto const found =
        std::find_if(devices.begin(), devices.end(), [&](auto const& each) { return each.id == device; });
    if (found != devices.end()) {
        if (form.meaning == Meaning::SonarDevice && !found->isSonar) {
            throw InvalidDocument(path, "the step \"" + std::string(NameOf(form.kind)) +
                                            "\" needs a sonar device, and this is a plain one");
        }
        return;
    }
    auto const& computations = scenario.computations;
    bool const isComputation =
        std::any_of(computations.begin(), computations.end(), [&](auto const& each) { return each.id == device; });
    if (!isComputation) {
        throw InvalidDocument(path, devices.empty() ? "the scenario has no device for this step"
                                                    : "the scenario has no device " + WriteJson(WriteDataId(device)));
    }
    if (form.meaning != Meaning::DeviceOrComputation) {
        throw InvalidDocument(path, "the step \"" + std::string(NameOf(form.kind)) +
                                        "\" needs a device, and this is a computation");
    }
}

ExpectedEvents ReadExpected(JsonNode const& value, JsonPath const& path)
{
    ExpectedEvents expected;
    auto const readEvents = [&](JsonNode const& events, JsonPath const& eventsPath) {
        for (auto const& event : ReadArray(events, eventsPath)) {
            ReadObject(event, JsonPath(eventsPath, expected.events.size()));
            expected.events.push_back(event);
        }
    };
    if (!value.Is(JsonValue::Kind::Object)) {
        readEvents(value, path);
        return expected;
    }
    MemberReader members(value, path);
    JsonPath const kinds = members.At("of");
    auto& of = expected.of.emplace();
    for (auto const& item : ReadArray(members.Get("of"), kinds)) {
        JsonPath const at(kinds, of.size());
        auto const kind = ReadText(item, at);
        auto const* const found = std::find(EventNames.begin(), EventNames.end(), kind);
        if (found == EventNames.end()) {
            throw InvalidDocument(at, "there is no event " + QuoteForMessage(kind));
        }
        of.push_back(static_cast<EventKind>(found - EventNames.begin()));
    }
    readEvents(members.Get("events"), members.At("events"));
    members.RefuseUnknown();
    return expected;
}

} // namespace

void ReadStep(ScenarioStep& step, JsonNode const& value, JsonPath const& path, Scenario const& scenario, StepUse use)
{
    auto const& form = FindForm(value, path);
    MemberReader members(value, path);
    auto const name = NameOf(form.kind);
    step.kind = form.kind;
    step.argument = form.read(Source{members.Get(name), members.At(name), members, use});
    auto const device = members.Find("device");
    if (device) {
        step.device = ReadDataId(*device, members.At("device"));
    } else if (scenario.devices.empty()) {
        step.device.SetUndefined();
    } else {
        step.device = scenario.devices.front().id;
    }
    CheckMeaning(form, step.device, device ? members.At("device") : path, scenario);
    step.expect.reset();
    if (auto const expect = members.Find("expect")) {
        step.expect = ReadExpected(*expect, members.At("expect"));
    }
    members.RefuseUnknown();
}

} // namespace qx5::cli
