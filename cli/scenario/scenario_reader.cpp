// Reads and checks scenarios: the object around the steps.
#include "cli/scenario/scenario_reader.h"

#include "cli/scenario/base64.h"
#include "cli/scenario/block_json.h"
#include "cli/scenario/step_reader.h"
#include "json/json_parser.h"
#include "json/json_read.h"
#include "json/tree_json.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <future>
#include <limits>
#include <set>
#include <string>
#include <utility>

namespace qx5::cli {

namespace {

using Kind = JsonValue::Kind;

constexpr std::string_view stepsKey = "steps";

/// Reads an array, each item by `read(item, path)`.
template <typename Read>
auto ReadList(JsonNode const& value, JsonPath const& path, Read const& read)
{
    std::vector<decltype(read(value, path))> list;
    for (auto const& item : ReadArray(value, path)) {
        list.push_back(read(item, JsonPath(path, list.size())));
    }
    return list;
}

/// A key that is a number, such as the "101" of paths.
std::uint32_t ReadNumberKey(std::string_view key, JsonPath const& path)
{
    std::uint32_t number = 0;
    auto const end = key.data() + key.size();
    auto const result = std::from_chars(key.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        throw InvalidDocument(path, "the key " + QuoteForMessage(key) + " is no number of 32 bits");
    }
    return number;
}

CAttributeMap ReadTreeMember(MemberReader& members, std::string_view key)
{
    auto const value = members.Find(key);
    return value ? ReadTree(*value, members.At(key)) : CAttributeMap();
}

/// The number of the text among `names`.
template <std::size_t Count>
std::size_t ReadChoice(JsonNode const& value, JsonPath const& path, std::string_view const (&names)[Count])
{
    auto const text = ReadText(value, path);
    for (std::size_t i = 0; i < Count; ++i) {
        if (names[i] == text) {
            return i;
        }
    }
    std::string known;
    for (auto const name : names) {
        known += (known.empty() ? "\"" : ", \"") + std::string(name) + "\"";
    }
    throw InvalidDocument(path, QuoteForMessage(text) + " is none of " + known);
}

ScenarioDevice ReadDevice(JsonNode const& value, JsonPath const& path)
{
    static constexpr std::string_view kinds[] = {"sonar", "plain"};
    static constexpr std::string_view ports[] = {"sonar", "playback", "other", "none"};
    MemberReader members(value, path);
    ScenarioDevice device;
    if (auto const id = members.Find("id")) {
        device.id = ReadDataId(*id, members.At("id"));
    }
    if (auto const kind = members.Find("kind")) {
        device.isSonar = ReadChoice(*kind, members.At("kind"), kinds) == 0;
    }
    device.name = members.WideText("name");
    device.enabled = members.Bool("enabled", true);
    if (auto const port = members.Find("port")) {
        device.port = static_cast<PortKind>(ReadChoice(*port, members.At("port"), ports));
    }
    device.portName = members.WideText("portName", device.portName.View());
    device.attributes = ReadTreeMember(members, "attributes");
    members.RefuseUnknown();
    return device;
}

ScenarioComputation ReadComputation(JsonNode const& value, JsonPath const& path)
{
    MemberReader members(value, path);
    ScenarioComputation computation;
    computation.id = ReadDataId(members.Get("id"), members.At("id"));
    computation.type = members.Int32("type", 0);
    computation.attributes = ReadTreeMember(members, "attributes");
    if (auto const linked = members.Find("linked")) {
        computation.linked = ReadList(*linked, members.At("linked"), ReadDataId);
    }
    if (auto const stream = members.Find("stream"); stream && !stream->Is(Kind::Null)) {
        computation.stream = ReadDataId(*stream, members.At("stream"));
    }
    members.RefuseUnknown();
    return computation;
}

ScenarioVessel ReadVessel(JsonNode const& value, JsonPath const& path)
{
    MemberReader members(value, path);
    ScenarioVessel vessel;
    vessel.number = ReadUInt16(members.Get("number"), members.At("number"));
    vessel.name = members.WideText("name");
    if (auto const config = members.Find("config")) {
        JsonPath const configPath = members.At("config");
        for (auto const& [section, items] : ReadObject(*config, configPath)) {
            JsonPath const sectionPath(configPath, section);
            auto& texts = vessel.config[CString(protocol::DecodeUtf8(section))];
            for (auto const& [item, text] : ReadObject(items, sectionPath)) {
                texts[CString(protocol::DecodeUtf8(item))] = ReadWideText(text, JsonPath(sectionPath, item));
            }
        }
    }
    members.RefuseUnknown();
    return vessel;
}

ScenarioStream ReadStream(JsonNode const& value, JsonPath const& path)
{
    MemberReader members(value, path);
    ScenarioStream stream;
    stream.id = ReadDataId(members.Get("id"), members.At("id"));
    if (auto const time = members.Find("time")) {
        stream.time = ReadDouble(*time, members.At("time"));
    }
    if (auto const block = members.Find("block"); block && !block->Is(Kind::Null)) {
        JsonPath const blockPath = members.At("block");
        MemberReader blockMembers(*block, blockPath);
        stream.block = ReadBlock(blockMembers);
        blockMembers.RefuseUnknown();
    }
    members.RefuseUnknown();
    return stream;
}

/// A number of the target's float fields; past the range of a float comes an infinity.
float ReadFloatMember(MemberReader& members, std::string_view key)
{
    double const value = members.Double(key, 0.0);
    constexpr double largest = std::numeric_limits<float>::max();
    if (value != value) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    // Half a step past the largest float is where rounding to nearest leaves the range.
    if (value >= largest * (1.0 + 0x1p-25) || value <= -largest * (1.0 + 0x1p-25)) {
        return value > 0.0 ? std::numeric_limits<float>::infinity() : -std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(std::clamp(value, -largest, largest));
}

/// A number of the target's unsigned fields. The fraction goes, what lies beyond the field saturates, a negative number
/// gives the low 32 bits of the signed one, NaN gives 0.
std::uint32_t ReadNaturalMember(MemberReader& members, std::string_view key)
{
    double const value = members.Double(key, 0.0);
    constexpr double largest = std::numeric_limits<std::uint32_t>::max();
    constexpr double lowest = std::numeric_limits<std::int32_t>::min();
    if (value != value) {
        return 0;
    }
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::clamp(value, lowest, largest)));
}

ScenarioTarget ReadTarget(JsonNode const& value, JsonPath const& path)
{
    MemberReader members(value, path);
    ScenarioTarget target;
    target.pingNumber = ReadNaturalMember(members, "pingNumber");
    target.contactTime = members.Double("contactTime", 0.0);
    target.detailNumberA = ReadNaturalMember(members, "detailNumberA");
    target.detailFlag = members.Bool("detailFlag", false);
    target.detailNumberC = ReadNaturalMember(members, "detailNumberC");
    target.detailValue = ReadFloatMember(members, "detailValue");
    target.latitude = members.Double("latitude", 0.0);
    target.longitude = members.Double("longitude", 0.0);
    target.range = ReadFloatMember(members, "range");
    target.bearing = ReadFloatMember(members, "bearing");
    target.azimuth = ReadFloatMember(members, "azimuth");
    target.contactLength = ReadFloatMember(members, "contactLength");
    target.contactWidth = ReadFloatMember(members, "contactWidth");
    target.contactHeight = ReadFloatMember(members, "contactHeight");
    target.description = members.WideText("description");
    target.classification = members.WideText("classification");
    target.extensionValue = ReadFloatMember(members, "extensionValue");
    target.extensionAngle = ReadFloatMember(members, "extensionAngle");
    target.extensionMeasure = ReadFloatMember(members, "extensionMeasure");
    target.extensionMeasureValid = members.Bool("extensionMeasureValid", false);
    target.detailNumberB = ReadNaturalMember(members, "detailNumberB");
    target.targetId = ReadNaturalMember(members, "targetId");
    target.targetGuid = members.WideText("targetGuid");
    target.latLonValid = members.Bool("latLonValid", false);
    target.tempGeoTiff = members.WideText("tempGeoTiff");
    target.geoTiff = members.WideText("geoTiff");
    target.bearingDeg = ReadFloatMember(members, "bearingDeg");
    target.lost = members.Bool("lost", false);
    members.RefuseUnknown();
    return target;
}

ScenarioTargets ReadTargets(JsonNode const& value, JsonPath const& path)
{
    MemberReader members(value, path);
    ScenarioTargets targets;
    targets.active = members.WideText("active");
    if (auto const files = members.Find("files")) {
        JsonPath const filesPath = members.At("files");
        for (auto const& [name, list] : ReadObject(*files, filesPath)) {
            targets.files[CString(protocol::DecodeUtf8(name))] = ReadList(list, JsonPath(filesPath, name), ReadTarget);
        }
    }
    targets.operatorName = members.WideText("operator");
    targets.geoTiffOutput = members.Bool("geoTiffOutput", false);
    members.RefuseUnknown();
    return targets;
}

ScenarioDisplay ReadDisplay(JsonNode const& value, JsonPath const& path)
{
    MemberReader members(value, path);
    ScenarioDisplay display;
    display.section = members.WideText("section");
    display.type = members.WideText("type");
    display.name = members.WideText("name");
    display.enabled = members.Bool("enabled", true);
    members.RefuseUnknown();
    return display;
}

ScenarioApplication ReadApplication(JsonNode const& value, JsonPath const& path)
{
    MemberReader members(value, path);
    ScenarioApplication application;
    application.guid = members.WideText("guid", application.guid.View());
    application.mainWindow = members.Bool("mainWindow", true);
    application.isOperator = members.Bool("operator", true);
    application.aScan = members.Bool("aScan", false);
    application.lightMode = members.Int32("lightMode", 2);
    if (auto const displays = members.Find("displays")) {
        application.displays = ReadList(*displays, members.At("displays"), ReadDisplay);
    }
    members.RefuseUnknown();
    return application;
}

/// The private folder stands for "/", so no path may lead out of it.
void CheckFilePath(std::string_view file, JsonPath const& path)
{
    bool usable = !file.empty() && file.back() != '/';
    for (std::size_t from = 0; from <= file.size();) {
        auto const end = std::min(file.find('/', from), file.size());
        usable = usable && file.substr(from, end - from) != "..";
        from = end + 1;
    }
    if (!usable) {
        throw InvalidDocument(path, "the path of a file names a file and has no \"..\" in it");
    }
}

void ReadPaths(Scenario& scenario, JsonNode const& value, JsonPath const& path)
{
    for (auto const& [key, text] : ReadObject(value, path)) {
        auto const number = ReadNumberKey(key, path);
        scenario.paths[number] =
            text.Is(Kind::Null) ? std::nullopt : std::optional(ReadWideText(text, JsonPath(path, key)));
    }
}

void ReadUnits(Scenario& scenario, JsonNode const& value, JsonPath const& path)
{
    for (auto const& [key, factor] : ReadObject(value, path)) {
        scenario.units[ReadNumberKey(key, path)] = ReadDouble(factor, JsonPath(path, key));
    }
}

void ReadFiles(Scenario& scenario, JsonNode const& value, JsonPath const& path)
{
    for (auto const& [file, content] : ReadObject(value, path)) {
        JsonPath const filePath(path, file);
        CheckFilePath(file, filePath);
        auto bytes = DecodeBase64(ReadText(content, filePath));
        if (!bytes.has_value()) {
            throw InvalidDocument(filePath, "the content of a file is base64 (standard alphabet, padded, no breaks)");
        }
        scenario.files[std::string(file)] = std::move(*bytes);
    }
}

void ReadItemTexts(Scenario& scenario, JsonNode const& value, JsonPath const& path)
{
    for (auto const& [group, items] : ReadObject(value, path)) {
        JsonPath const groupPath(path, group);
        auto& texts = scenario.itemTexts[ReadNumberKey(group, path)];
        for (auto const& [item, list] : ReadObject(items, groupPath)) {
            texts[ReadNumberKey(item, groupPath)] = ReadList(list, JsonPath(groupPath, item), ReadWideText);
        }
    }
}

template <typename List, typename GetId>
void RefuseTwice(List const& list, GetId const& idOf, JsonPath const& path, char const* what)
{
    for (std::size_t i = 0; i < list.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (idOf(list[i]) == idOf(list[j])) {
                throw InvalidDocument(JsonPath(path, i), what);
            }
        }
    }
}

void ReadDevices(Scenario& scenario, MemberReader& members)
{
    if (auto const devices = members.Find("devices")) {
        scenario.devices = ReadList(*devices, members.At("devices"), ReadDevice);
    }
    if (auto const computations = members.Find("computations")) {
        scenario.computations = ReadList(*computations, members.At("computations"), ReadComputation);
    }
    auto const id = [](auto const& each) { return each.id; };
    RefuseTwice(scenario.devices, id, members.At("devices"), "another device has the same id");
    RefuseTwice(scenario.computations, id, members.At("computations"), "another computation has the same id");
}

void ReadVessels(Scenario& scenario, MemberReader& members)
{
    if (auto const vessels = members.Find("vessels")) {
        scenario.vessels = ReadList(*vessels, members.At("vessels"), ReadVessel);
    }
    auto const number = [](auto const& each) { return each.number; };
    RefuseTwice(scenario.vessels, number, members.At("vessels"), "another vessel has the same number");
    if (auto const active = members.Find("activeVessel")) {
        scenario.activeVessel = ReadUInt16(*active, members.At("activeVessel"));
    }
}

/// What is wrong with a set-up beside what would be wrong in a scenario, too.
void CheckSetUp(JsonNode const& setUp, JsonPath const& path)
{
    RefuseDefects(setUp, path);
    for (auto const& [key, value] : ReadObject(setUp, path)) {
        if (key == "name" || key == "setup" || key == stepsKey) {
            throw InvalidDocument(JsonPath(path, key), "a set-up has no " + QuoteForMessage(key));
        }
    }
}

/// All but its steps, which the reader then knows of.
Scenario ReadScenarioMembers(MemberReader& members)
{
    Scenario scenario;
    if (auto const name = members.Find("name")) {
        scenario.name = ReadText(*name, members.At("name"));
    }
    scenario.clock = members.Double("clock", scenario.clock);
    if (auto const timezone = members.Find("timezone")) {
        scenario.timezone = ReadText(*timezone, members.At("timezone"));
    }
    ReadDevices(scenario, members);
    ReadVessels(scenario, members);
    if (auto const streams = members.Find("streams")) {
        scenario.streams = ReadList(*streams, members.At("streams"), ReadStream);
    }
    if (auto const targets = members.Find("targets"); targets && !targets->Is(Kind::Null)) {
        scenario.targets = ReadTargets(*targets, members.At("targets"));
    }
    if (auto const paths = members.Find("paths")) {
        ReadPaths(scenario, *paths, members.At("paths"));
    }
    if (auto const units = members.Find("units")) {
        ReadUnits(scenario, *units, members.At("units"));
    }
    if (auto const application = members.Find("app")) {
        scenario.application = ReadApplication(*application, members.At("app"));
    }
    if (auto const files = members.Find("files")) {
        ReadFiles(scenario, *files, members.At("files"));
    }
    if (auto const routes = members.Find("routes")) {
        scenario.routes = ReadList(*routes, members.At("routes"), ReadWideText);
    }
    if (auto const itemTexts = members.Find("itemTexts")) {
        ReadItemTexts(scenario, *itemTexts, members.At("itemTexts"));
    }
    members.Find(stepsKey);
    members.RefuseUnknown();
    return scenario;
}

/// None where the scenario has no such member.
JsonItems StepsOf(ScenarioSource const& source, JsonPath const& path)
{
    auto const steps = source.value.Find(stepsKey);
    return steps ? ReadArray(*steps, path) : JsonItems({}, {});
}

/// Checks each step of which `isOwn(its number)`, up to the first that is wrong. What is wrong with that, and its
/// number; no number when nothing is.
template <typename IsOwn>
std::pair<std::optional<std::size_t>, std::exception_ptr> FindWrongStep(JsonItems const& steps, JsonPath const& path,
                                                                        Scenario const& scenario, TakeStep const& check,
                                                                        IsOwn const& isOwn)
{
    ScenarioStep step;
    std::size_t number = 0;
    try {
        for (auto const& value : steps) {
            if (isOwn(number)) {
                JsonPath const stepPath(path, number);
                ReadStep(step, value, stepPath, scenario, StepUse::Check);
                if (check) {
                    check(step, stepPath);
                }
            }
            ++number;
        }
    } catch (...) {
        return {number, std::current_exception()};
    }
    return {};
}

/// Checks the steps from the one of that number on.
void CheckSteps(JsonNode const& value, JsonPath const& path, Scenario const& scenario, TakeStep const& check,
                std::size_t first)
{
    // Bytes of the file from which on a second thread is worth its while, and the steps that each checks by turns.
    constexpr std::size_t many = 1 << 20;
    constexpr std::size_t turn = 256;
    auto const steps = value.Items();
    if (value.Extent() < many) {
        auto const isFurther = [first](std::size_t number) { return number >= first; };
        if (auto const [number, wrong] = FindWrongStep(steps, path, scenario, check, isFurther); number) {
            std::rethrow_exception(wrong);
        }
        return;
    }
    auto const wrongOfHalf = [&](std::size_t half) {
        return FindWrongStep(steps, path, scenario, check, [first, half](std::size_t number) {
            return number >= first && number / turn % 2 == half;
        });
    };
    auto secondHalf = std::async(std::launch::async, wrongOfHalf, std::size_t{1});
    auto const [number, wrong] = wrongOfHalf(0);
    auto const [otherNumber, otherWrong] = secondHalf.get();
    if (number && !(otherNumber && *otherNumber < *number)) {
        std::rethrow_exception(wrong);
    }
    if (otherNumber) {
        std::rethrow_exception(otherWrong);
    }
}

/// The names of the set-ups that the scenarios use.
std::set<std::string_view> UsedSetUps(JsonNode const& scenarios)
{
    std::set<std::string_view> used;
    for (auto const& scenario : scenarios.Items()) {
        if (auto const setUp = scenario.Find("setup")) {
            used.insert(setUp->Text());
        }
    }
    return used;
}

} // namespace

Scenario ReadScenario(ScenarioSource const& source)
{
    RefuseDefects(source.value, source.path);
    if (!source.value.Is(Kind::Object)) {
        throw InvalidDocument(source.path, "a scenario is an object, not " + std::string(KindName(source.value)));
    }
    MemberReader members(source.value, source.path);
    auto const named = members.Find("setup");
    std::optional<JsonPath> setUpPath;
    if (named) {
        auto const name = ReadText(*named, members.At("setup"));
        auto const setUp = source.setUps ? source.setUps->Find(name) : std::nullopt;
        if (!setUp) {
            throw InvalidDocument(members.At("setup"), "there is no set-up " + QuoteForMessage(name));
        }
        setUpPath.emplace(*source.setUpsPath, name);
        CheckSetUp(*setUp, *setUpPath);
        members.FallBackTo(*setUp, *setUpPath);
    }
    return ReadScenarioMembers(members);
}

ScenarioSteps::ScenarioSteps(ScenarioSource const& source, Scenario const& scenario, TakeStep const& check)
    : m_path(source.path, stepsKey), m_ahead(StepsOf(source, m_path), m_path, scenario, check)
{
    if (m_ahead.HasFurther()) {
        CheckSteps(*source.value.Find(stepsKey), m_path, scenario, check, m_ahead.First());
    }
}

void ScenarioSteps::TakeEach(TakeStep const& take)
{
    for (std::size_t i = 0; auto* const step = m_ahead.Next(); ++i) {
        take(*step, JsonPath(m_path, i));
    }
}

void ForEachScenario(JsonDocument const& document, std::function<void(ScenarioSource const& source)> const& run,
                     std::function<void(InvalidDocument const& failure)> const& refuse)
{
    JsonPath const root;
    auto const whole = document.Root();
    bool const hasParts = whole.Find("scenarios") || whole.Find("setups");
    if (!whole.Is(Kind::Array) && !hasParts) {
        run({whole, root, {}, nullptr});
        return;
    }
    auto scenarios = whole;
    JsonPath scenariosPath = root;
    std::optional<JsonNode> setUps;
    JsonPath setUpsPath = root;
    try {
        if (hasParts) {
            MemberReader parts(whole, root);
            scenarios = parts.Get("scenarios");
            scenariosPath = parts.At("scenarios");
            setUps = parts.Find("setups");
            setUpsPath = parts.At("setups");
            ReadArray(scenarios, scenariosPath);
            if (setUps) {
                ReadObject(*setUps, setUpsPath);
            }
            parts.RefuseUnknown();
        }
    } catch (InvalidDocument const& failure) {
        refuse(failure);
        return;
    }
    if (setUps) {
        for (auto const used = UsedSetUps(scenarios); auto const& [name, setUp] : setUps->Members()) {
            if (used.contains(name)) {
                continue; // told where it is used
            }
            JsonPath const path(setUpsPath, name);
            try {
                CheckSetUp(setUp, path);
                MemberReader members(setUp, path);
                ReadScenarioMembers(members);
            } catch (InvalidDocument const& failure) {
                refuse(failure);
            }
        }
    }
    for (std::size_t i = 0; auto const& scenario : scenarios.Items()) {
        JsonPath const path(scenariosPath, i++);
        run({scenario, path, setUps, &setUpsPath});
    }
}

} // namespace qx5::cli
