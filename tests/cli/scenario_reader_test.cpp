// What a scenario file may hold, what it means when it says nothing, and how each mistake is told.
#include "cli/scenario/scenario_reader.h"
#include "json/json_parser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace qx5::cli::scenario_reader_test {
namespace {

Scenario Read(std::string const& text)
{
    auto const document = ParseJson(text);
    JsonPath const root;
    ScenarioSource const source{document.Root(), root, {}, nullptr};
    auto scenario = ReadScenario(source);
    ScenarioSteps const steps(source, scenario);
    return scenario;
}

std::string Refusal(std::string const& text)
{
    try {
        Read(text);
    } catch (InvalidDocument const& failure) {
        return failure.Path() + ": " + failure.what();
    }
    return "accepted";
}

std::string StepRefusal(std::string const& step)
{
    return Refusal(R"({"devices":[{"id":[1,78,1,1]},{"id":[1,20,1,1],"kind":"plain"}],
        "computations":[{"id":[5,1112,1,1],"type":1011}],"steps":[)" +
                   step + "]}");
}

TEST(ScenarioReader, FillsInEveryDefault)
{
    auto const scenario = Read("{}");
    EXPECT_EQ(scenario.name, "");
    EXPECT_EQ(scenario.clock, 1700000000.0);
    EXPECT_EQ(scenario.timezone, "UTC");
    ASSERT_EQ(scenario.devices.size(), 1U);
    EXPECT_EQ(scenario.devices[0].id, CDataId(1, 78, 1, 1));
    EXPECT_TRUE(scenario.devices[0].isSonar);
    EXPECT_TRUE(scenario.devices[0].enabled);
    EXPECT_EQ(scenario.devices[0].port, PortKind::Sonar);
    EXPECT_EQ(scenario.devices[0].portName, CString(L"port-1"));
    EXPECT_EQ(scenario.devices[0].attributes.Count(), 0);
    EXPECT_TRUE(scenario.computations.empty());
    ASSERT_EQ(scenario.vessels.size(), 1U);
    EXPECT_EQ(scenario.vessels[0].number, 1);
    EXPECT_EQ(scenario.vessels[0].name, CString(L"Vessel"));
    EXPECT_FALSE(scenario.activeVessel.has_value());
    EXPECT_TRUE(scenario.streams.empty());
    EXPECT_FALSE(scenario.targets.has_value());
    EXPECT_EQ(scenario.application.guid, CString(L"app-guid"));
    EXPECT_TRUE(scenario.application.mainWindow);
    EXPECT_TRUE(scenario.application.isOperator);
    EXPECT_FALSE(scenario.application.aScan);
    EXPECT_EQ(scenario.application.lightMode, 2);
}

TEST(ScenarioReader, ReadsEverythingAroundTheSteps)
{
    auto const scenario = Read(R"({
        "name": "all", "clock": 1.5, "timezone": "Europe/Oslo",
        "devices": [{"id": [1,78,1,2], "kind": "plain", "name": "pan", "enabled": false, "port": "playback",
                     "portName": "p", "attributes": [["a","int",1]]}],
        "computations": [{"id": [5,1112,1,1], "type": 1011, "attributes": [["b","none"]], "linked": [[1,78,1,2]],
                          "stream": [5,40,1,1]}],
        "vessels": [{"number": 2, "name": "V", "config": {"sec": {"item": "text"}}}], "activeVessel": 2,
        "streams": [{"id": [1,40,1,1], "time": 12.5, "block": {"status": 7, "items": [
            [801,101,4,-2], [1,103,10,1.0,3], [2,109,null,0.5], [3,111,1,65535], [4,106,1,255], [5,101,4,null]]}}],
        "targets": {"active": "t.sts", "files": {"t.sts": [{"targetId": 4294967295, "latitude": "nan", "range": 1e300,
                    "latLonValid": true, "lost": true, "targetGuid": "g", "bearingDeg": 0.1}]}, "operator": "me",
                    "geoTiffOutput": true},
        "paths": {"101": "/p/", "7": null}, "units": {"3": 3.28},
        "app": {"guid": "g", "mainWindow": false, "operator": false, "aScan": true, "lightMode": 1,
                "displays": [{"section": "s", "type": "t", "name": "n", "enabled": false}]},
        "files": {"/d/a.bin": "AP8="}, "routes": ["r1", "r2"], "itemTexts": {"78": {"2701": ["x", "y"]}},
        "steps": []})");
    EXPECT_EQ(scenario.name, "all");
    EXPECT_EQ(scenario.clock, 1.5);
    EXPECT_EQ(scenario.timezone, "Europe/Oslo");
    auto const& device = scenario.devices.at(0);
    EXPECT_FALSE(device.isSonar);
    EXPECT_FALSE(device.enabled);
    EXPECT_EQ(device.name, CString(L"pan"));
    EXPECT_EQ(device.port, PortKind::Playback);
    EXPECT_TRUE(device.attributes.Has(L"a"));
    auto const& computation = scenario.computations.at(0);
    EXPECT_EQ(computation.type, 1011);
    EXPECT_EQ(computation.linked.at(0), CDataId(1, 78, 1, 2));
    EXPECT_EQ(computation.stream, CDataId(5, 40, 1, 1));
    EXPECT_EQ(scenario.vessels.at(0).config.at(L"sec").at(L"item"), CString(L"text"));
    EXPECT_EQ(scenario.activeVessel, 2);
    auto const& items = scenario.streams.at(0).block->items;
    EXPECT_EQ(scenario.streams[0].time, 12.5);
    EXPECT_EQ(scenario.streams[0].block->status, 7);
    using Bytes = std::vector<unsigned char>;
    ASSERT_EQ(items.size(), 6U);
    EXPECT_EQ(items[0].bytes, (Bytes{0xFE, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(items[1].bytes, (Bytes{0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0, 0}));
    EXPECT_EQ(items[1].status, 3);
    EXPECT_EQ(items[2].size, 4U);
    EXPECT_EQ(items[2].bytes, (Bytes{0, 0, 0, 0x3F}));
    EXPECT_EQ(items[3].bytes, (Bytes{0xFF}));
    EXPECT_EQ(items[4].bytes, (Bytes{0xFF}));
    EXPECT_FALSE(items[5].bytes.has_value());
    EXPECT_EQ(items[5].size, 4U);
    auto const& target = scenario.targets->files.at(L"t.sts").at(0);
    EXPECT_EQ(target.targetId, 4294967295U);
    EXPECT_TRUE(std::isnan(target.latitude));
    EXPECT_TRUE(std::isinf(target.range));
    EXPECT_EQ(target.bearingDeg, 0.1F);
    EXPECT_TRUE(target.latLonValid && target.lost);
    EXPECT_EQ(target.pingNumber, 0U);
    EXPECT_EQ(scenario.paths.at(101), CString(L"/p/"));
    EXPECT_FALSE(scenario.paths.at(7).has_value());
    EXPECT_EQ(scenario.units.at(3), 3.28);
    EXPECT_EQ(scenario.application.lightMode, 1);
    EXPECT_FALSE(scenario.application.displays.at(0).enabled);
    EXPECT_EQ(scenario.files.at("/d/a.bin"), (Bytes{0x00, 0xFF}));
    EXPECT_EQ(scenario.routes.at(1), CString(L"r2"));
    EXPECT_EQ(scenario.itemTexts.at(78).at(2701).at(1), CString(L"y"));
}

TEST(ScenarioReader, ReadsEveryStep)
{
    auto const document = ParseJson(R"({"devices":[{},{"id":[1,78,2,1]}],"steps":[
        {"request":[["x5Range","double",50]],"expect":[{"ask":1}]}, {"request":null,"device":[1,78,2,1]},
        {"host-request":[]}, {"attributes":[]}, {"replace-attributes":[]}, {"load":[]}, {"apply":true},
        {"connected":true}, {"logger":"start"}, {"logger":"stop"},
        {"target-change":{"targetId":1,"changeCode":2,"time":3.5}}, {"target-change":null},
        {"block":{"id":[1,40,1,1],"status":1,"items":[]}}, {"buffer-status":{"id":[1,40,1,1],"status":3}},
        {"terminal":-5}, {"discover":true}, {"clear":true}, {"clock":"nan"}, {"settle":0},
        {"call":"DeviceCtrlInit","args":[1,78,1,1]}, {"selected-sonar":null}, {"selected-sonar":[1,78,1,1]},
        {"active-vessel":2}, {"active-vessel":null}, {"view":"open","stored":[1,78,1,1],"size":[300,200]},
        {"view":"close"}, {"tab":2}, {"slider":{"page":"gates","id":28125},"kind":5,"position":-3},
        {"click":{"page":"settings","id":28107}}, {"choose":{"page":"ocean","id":28105},"index":-1},
        {"type":{"page":"tracker","id":28140},"text":"1.5"}, {"press-return":{"page":"gates","id":28112}},
        {"look":true}, {"view-update":4,"id":[1,78,1,1]}, {"resize":[1,2]}]})");
    JsonPath const root;
    ScenarioSource const source{document.Root(), root, {}, nullptr};
    std::vector<ScenarioStep> steps;
    auto const scenario = ReadScenario(source);
    ScenarioSteps(source, scenario).TakeEach([&](ScenarioStep const& step, JsonPath const&) { steps.push_back(step); });
    ASSERT_EQ(steps.size(), 35U);
    EXPECT_EQ(steps[0].kind, StepKind::Request);
    EXPECT_EQ(steps[0].device, CDataId(1, 78, 1, 1));
    EXPECT_EQ(steps[0].expect->events.size(), 1U);
    EXPECT_FALSE(std::get<TreeArgument>(steps[1].argument).tree.has_value());
    EXPECT_EQ(steps[1].device, CDataId(1, 78, 2, 1));
    EXPECT_FALSE(steps[1].expect.has_value());
    EXPECT_TRUE(std::get<LoggerArgument>(steps[8].argument).start);
    EXPECT_EQ(std::get<TargetChangeArgument>(steps[10].argument).change->time, 3.5);
    EXPECT_FALSE(std::get<TargetChangeArgument>(steps[11].argument).change.has_value());
    EXPECT_EQ(std::get<BufferStatusArgument>(steps[13].argument).status, 3);
    EXPECT_EQ(std::get<IntegerArgument>(steps[14].argument).value, -5);
    EXPECT_TRUE(std::isnan(std::get<NumberArgument>(steps[17].argument).value));
    auto const& call = std::get<CallArgument>(steps[19].argument);
    EXPECT_EQ(call.function, EntryPoint::DeviceCtrlInit);
    EXPECT_EQ(call.numbers, (std::array<std::uint16_t, 4>{1, 78, 1, 1}));
    EXPECT_EQ(std::get<ViewArgument>(steps[24].argument).size, std::pair(300, 200));
    EXPECT_EQ(std::get<SliderArgument>(steps[27].argument).position, -3);
    EXPECT_EQ(std::get<TypeArgument>(steps[30].argument).text, CString(L"1.5"));
    EXPECT_EQ(steps[34].kind, StepKind::Resize);
}

/// A document of one scenario, whose steps are clocks from 0 on but for those of `others`.
std::string Clocks(int count, std::map<int, std::string> const& others = {})
{
    std::string text = R"({"steps":[)";
    for (int i = 0; i < count; ++i) {
        auto const other = others.find(i);
        text += (i == 0 ? "" : ",") + (other != others.end() ? other->second : "{\"clock\":" + std::to_string(i) + "}");
    }
    return text + "]}";
}

/// A step whose tree has that many nodes.
std::string LargeStep(int nodes)
{
    std::string text = R"({"attributes":[)";
    for (int i = 0; i < nodes; ++i) {
        text += (i == 0 ? "" : ",") + std::string(R"(["key","none"])");
    }
    return text + "]}";
}

TEST(ScenarioReader, SaysWhichOfManyStepsIsTheFirstThatIsWrong)
{
    constexpr int count = 80'000; // more than a megabyte
    auto const text = [&](std::map<int, std::string> const& others) { return Clocks(count, others); };
    EXPECT_EQ(Refusal(text({})), "accepted");
    for (int const at : {0, 255, 256, 40'000, 40'300, count - 1}) {
        auto const place = "$.steps[" + std::to_string(at) + "]";
        EXPECT_EQ(Refusal(text({{at, "{\"clock\":null}"}})),
                  place + ".clock: a number, or \"nan\", \"inf\" or \"-inf\", is expected here, not null");
        EXPECT_EQ(Refusal(text({{at, "7"}, {std::min(at + 256, count - 1), at + 256 < count ? "{}" : "7"}})),
                  place + ": an object is expected here, not an integer");
    }
}

TEST(ScenarioReader, TellsTheFirstStepThatIsWrongInWhateverWay)
{
    auto const refuseLook = [](ScenarioStep const& step, JsonPath const& path) {
        if (step.kind == StepKind::Look) {
            throw InvalidDocument(path, "not today");
        }
    };
    std::string const look = "{\"look\":true}";
    for (auto const& [first, second] :
         {std::pair(3, 10), std::pair(10, 3), std::pair(70, 100), std::pair(20, 79'000)}) {
        auto const document = ParseJson(Clocks(80'000, {{first, look}, {second, "7"}}));
        JsonPath const root;
        ScenarioSource const source{document.Root(), root, {}, nullptr};
        auto const scenario = ReadScenario(source);
        try {
            ScenarioSteps const steps(source, scenario, refuseLook);
            ADD_FAILURE();
        } catch (InvalidDocument const& failure) {
            EXPECT_EQ(failure.Path(), "$.steps[" + std::to_string(std::min(first, second)) + "]");
            EXPECT_EQ(std::string(failure.what()) == "not today", first < second);
        }
    }
}

TEST(ScenarioReader, GivesManyStepsInTheirOrder)
{
    for (int const count : {0, 1, 63, 64, 65, 128, 767, 768, 769, 5000}) {
        auto const document = ParseJson(Clocks(count));
        JsonPath const root;
        ScenarioSource const source{document.Root(), root, {}, nullptr};
        auto const scenario = ReadScenario(source);
        int next = 0;
        ScenarioSteps(source, scenario).TakeEach([&](ScenarioStep const& step, JsonPath const& path) {
            ASSERT_EQ(std::get<NumberArgument>(step.argument).value, next);
            ASSERT_EQ(path.ToText(), "$.steps[" + std::to_string(next) + "]");
            ++next;
        });
        EXPECT_EQ(next, count);
    }
}

TEST(ScenarioReader, GivesLargeStepsBetweenSmallOnes)
{
    int const nodes = 20'000;
    auto const large = LargeStep(nodes);
    auto const document = ParseJson(
        Clocks(1000, {{0, large}, {1, large}, {7, large}, {300, large}, {301, large}, {302, large}, {999, large}}));
    JsonPath const root;
    ScenarioSource const source{document.Root(), root, {}, nullptr};
    auto const scenario = ReadScenario(source);
    std::vector<int> found;
    int next = 0;
    ScenarioSteps(source, scenario).TakeEach([&](ScenarioStep const& step, JsonPath const&) {
        if (step.kind == StepKind::Attributes) {
            found.push_back(next);
            ASSERT_EQ(std::get<TreeArgument>(step.argument).tree->Count(), nodes);
        } else {
            ASSERT_EQ(std::get<NumberArgument>(step.argument).value, next);
        }
        ++next;
    });
    EXPECT_EQ(next, 1000);
    EXPECT_EQ(found, (std::vector{0, 1, 7, 300, 301, 302, 999}));
}

TEST(ScenarioReader, ReadsNoFurtherOnceAStepHasFailed)
{
    auto const document = ParseJson(Clocks(5000, {{4000, LargeStep(20'000)}}));
    JsonPath const root;
    ScenarioSource const source{document.Root(), root, {}, nullptr};
    auto const scenario = ReadScenario(source);
    for (int const last : {0, 63, 64, 767, 768, 3999, 4000, 4999}) {
        int taken = 0;
        EXPECT_THROW(ScenarioSteps(source, scenario).TakeEach([&](ScenarioStep const&, JsonPath const&) {
            if (taken++ == last) {
                throw std::runtime_error("enough");
            }
        }),
                     std::runtime_error);
        EXPECT_EQ(taken, last + 1);
    }
}

TEST(ScenarioReader, SaysWhereAScenarioIsWrong)
{
    EXPECT_EQ(Refusal("[]"), "$: a scenario is an object, not an array");
    EXPECT_EQ(Refusal("7"), "$: a scenario is an object, not an integer");
    EXPECT_EQ(Refusal(R"({"step":[]})"), "$: unknown key \"step\"");
    EXPECT_EQ(Refusal(R"({"name":7})"), "$.name: a text is expected here, not an integer");
    EXPECT_EQ(Refusal(R"({"name":"a\u0000b"})"), "$.name: a text holds U+0000");
    EXPECT_EQ(Refusal(R"({"name":"\udfff"})"), "$.name: a text holds a lone surrogate");
    EXPECT_EQ(Refusal(R"({"name":"a","name":"b"})"), "$.name: the key \"name\" stands here twice");
    EXPECT_EQ(Refusal(R"({"clock":true})"),
              "$.clock: a number, or \"nan\", \"inf\" or \"-inf\", is expected here, not true");
    EXPECT_EQ(Refusal(R"({"clock":1e999})"), "$.clock: the number 1e999 is beyond the range of a double");
    EXPECT_EQ(Refusal(R"({"devices":{}})"), "$.devices: an array is expected here, not an object");
    EXPECT_EQ(Refusal(R"({"devices":[{"id":[1,2]}]})"), "$.devices[0].id: an id is four integers, [a, b, c, d]");
    EXPECT_EQ(Refusal(R"({"devices":[{"kind":"fish"}]})"),
              "$.devices[0].kind: \"fish\" is none of \"sonar\", \"plain\"");
    EXPECT_EQ(Refusal(R"({"devices":[{"port":"com1"}]})"),
              "$.devices[0].port: \"com1\" is none of \"sonar\", \"playback\", \"other\", \"none\"");
    EXPECT_EQ(Refusal(R"({"devices":[{"colour":1}]})"), "$.devices[0]: unknown key \"colour\"");
    EXPECT_EQ(Refusal(R"({"devices":[{},{}]})"), "$.devices[1]: another device has the same id");
    EXPECT_EQ(Refusal(R"({"devices":[{"attributes":[["a","int","3"]]}]})"),
              "$.devices[0].attributes[0][2]: an integer is expected here, not a text");
    EXPECT_EQ(Refusal(R"({"computations":[{}]})"), "$.computations[0]: \"id\" is missing");
    EXPECT_EQ(Refusal(R"({"vessels":[{"number":70000}]})"),
              "$.vessels[0].number: 70000 is out of range, which is 0 to 65535");
    EXPECT_EQ(Refusal(R"({"vessels":[{"number":1,"config":{"s":{"i":1}}}]})"),
              "$.vessels[0].config.s.i: a text is expected here, not an integer");
    EXPECT_EQ(Refusal(R"({"streams":[{"id":[1,2,3,4],"block":{"items":[[1,102,4,0]]}}]})"),
              "$.streams[0].block.items[0][1]: unknown type tag 102");
    EXPECT_EQ(Refusal(R"({"streams":[{"id":[1,2,3,4],"block":{"items":[[1,101]]}}]})"),
              "$.streams[0].block.items[0]: a block item is [item, type tag, size in bytes, value, item status]");
    EXPECT_EQ(Refusal(R"({"streams":[{"id":[1,2,3,4],"block":{"items":[[1,106,1,256]]}}]})"),
              "$.streams[0].block.items[0][3]: 256 is out of range, which is 0 to 255");
    EXPECT_EQ(Refusal(R"({"streams":[{"id":[1,2,3,4],"block":{"items":[[1,101,1048577,0]]}}]})"),
              "$.streams[0].block.items[0][2]: 1048577 is out of range, which is 0 to 1048576");
    EXPECT_EQ(Refusal(R"({"targets":{"files":{"a b":[{"colour":1}]}}})"),
              R"($.targets.files["a b"][0]: unknown key "colour")");
    EXPECT_EQ(Refusal(R"({"paths":{"x":"y"}})"), "$.paths: the key \"x\" is no number of 32 bits");
    EXPECT_EQ(Refusal(R"({"units":{"3":"x"}})"),
              "$.units.3: a number, or \"nan\", \"inf\" or \"-inf\", is expected here, not a text");
    EXPECT_EQ(Refusal(R"({"app":{"displays":[1]}})"), "$.app.displays[0]: an object is expected here, not an integer");
    EXPECT_EQ(Refusal(R"({"files":{"/a/../b":""}})"),
              R"($.files["/a/../b"]: the path of a file names a file and has no ".." in it)");
    EXPECT_EQ(Refusal(R"({"files":{"/a":"!"}})"),
              R"($.files["/a"]: the content of a file is base64 (standard alphabet, padded, no breaks))");
    EXPECT_EQ(Refusal(R"({"routes":[1]})"), "$.routes[0]: a text is expected here, not an integer");
    EXPECT_EQ(Refusal(R"({"itemTexts":{"1":{"y":[]}}})"), "$.itemTexts.1: the key \"y\" is no number of 32 bits");
    EXPECT_EQ(Refusal(R"({"steps":{}})"), "$.steps: an array is expected here, not an object");
    EXPECT_EQ(Refusal(R"({"devices":[],"steps":[{"clock":1},{"request":[]}]})"),
              "$.steps[1]: the scenario has no device for this step");
}

TEST(ScenarioReader, SaysWhereAStepIsWrong)
{
    EXPECT_EQ(StepRefusal("7"), "$.steps[0]: an object is expected here, not an integer");
    EXPECT_EQ(StepRefusal("{}"), "$.steps[0]: a step needs a key that says what it does");
    EXPECT_EQ(StepRefusal(R"({"dance":1})"), "$.steps[0]: unknown step \"dance\"");
    EXPECT_EQ(StepRefusal(R"({"request":[],"load":[]})"),
              "$.steps[0]: a step is of one kind, not \"request\" and \"load\"");
    EXPECT_EQ(StepRefusal(R"({"request":[],"expects":[]})"), "$.steps[0]: unknown key \"expects\"");
    EXPECT_EQ(StepRefusal(R"({"request":{}})"), "$.steps[0].request: a tree is an array of nodes, not an object");
    EXPECT_EQ(StepRefusal(R"({"host-request":null})"),
              "$.steps[0].host-request: a tree is an array of nodes, not null");
    EXPECT_EQ(StepRefusal(R"({"request":[["a","dbl",1]]})"), "$.steps[0].request[0][1]: unknown type \"dbl\"");
    EXPECT_EQ(StepRefusal(R"({"request":[],"expect":1})"),
              "$.steps[0].expect: an array is expected here, not an integer");
    EXPECT_EQ(StepRefusal(R"({"request":[],"expect":{}})"), "$.steps[0].expect: \"of\" is missing");
    EXPECT_EQ(StepRefusal(R"({"request":[],"expect":[1]})"),
              "$.steps[0].expect[0]: an object is expected here, not an integer");
    EXPECT_EQ(StepRefusal(R"({"request":[],"device":[1,78,9,1]})"),
              "$.steps[0].device: the scenario has no device [1,78,9,1]");
    EXPECT_EQ(StepRefusal(R"({"request":[],"device":[1,20,1,1]})"),
              "$.steps[0].device: the step \"request\" needs a sonar device, and this is a plain one");
    EXPECT_EQ(StepRefusal(R"({"apply":true,"device":[5,1112,1,1]})"),
              "$.steps[0].device: the step \"apply\" needs a device, and this is a computation");
    EXPECT_EQ(StepRefusal(R"({"apply":false})"), "$.steps[0].apply: this step takes true alone");
    EXPECT_EQ(StepRefusal(R"({"logger":"pause"})"),
              "$.steps[0].logger: the logger takes \"start\" or \"stop\", not \"pause\"");
    EXPECT_EQ(StepRefusal(R"({"settle":-1})"), "$.steps[0].settle: milliseconds from 0 to 600000 are expected here");
    EXPECT_EQ(StepRefusal(R"({"settle":"nan"})"), "$.steps[0].settle: milliseconds from 0 to 600000 are expected here");
    EXPECT_EQ(StepRefusal(R"({"block":{"items":[]}})"), "$.steps[0].block: \"id\" is missing");
    EXPECT_EQ(StepRefusal(R"({"buffer-status":{"id":[1,1,1,1]}})"), "$.steps[0].buffer-status: \"status\" is missing");
    EXPECT_EQ(StepRefusal(R"({"call":"Dance"})"),
              "$.steps[0].call: the plug-in exports no such function that a step may call");
    EXPECT_EQ(StepRefusal(R"({"call":"DeviceCtrlInit"})"),
              "$.steps[0].call: DeviceCtrlInit takes four numbers in \"args\"");
    EXPECT_EQ(StepRefusal(R"({"call":"DeviceCtrlInit","args":[1,2,3]})"),
              "$.steps[0].args: an array of 4 is expected here, not of 3");
    EXPECT_EQ(StepRefusal(R"({"call":"DeviceCtrlInit","args":[1,2,3,65536]})"),
              "$.steps[0].args[3]: 65536 is out of range, which is 0 to 65535");
    EXPECT_EQ(StepRefusal(R"({"call":"RegisterViews","args":[1]})"), "$.steps[0].args: this function takes nothing");
    EXPECT_EQ(StepRefusal(R"({"terminal":1.0})"),
              "$.steps[0].terminal: an integer is expected here, not a number with a point or an exponent");
    EXPECT_EQ(StepRefusal(R"({"click":{"page":"gate","id":1}})"), "$.steps[0].click.page: there is no page \"gate\"");
    EXPECT_EQ(StepRefusal(R"({"slider":{"page":"gates","id":28100},"kind":9})"),
              "$.steps[0].kind: 9 is out of range, which is 0 to 8");
    EXPECT_EQ(StepRefusal(R"({"type":{"page":"gates","id":28112}})"), "$.steps[0]: \"text\" is missing");
    EXPECT_EQ(StepRefusal(R"({"resize":[1]})"), "$.steps[0].resize: an array of 2 is expected here, not of 1");
    EXPECT_EQ(StepRefusal(R"({"view":"shut"})"), "$.steps[0].view: the view takes \"open\" or \"close\", not \"shut\"");
    EXPECT_EQ(StepRefusal(R"({"attributes":[],"device":[5,1112,1,1]})"), "accepted");
    EXPECT_EQ(StepRefusal(R"({"host-request":[],"device":[1,20,1,1]})"), "accepted");
}

} // namespace
} // namespace qx5::cli::scenario_reader_test
