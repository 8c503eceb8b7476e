// Scenarios against the real plug-in: what comes out, in which order, and with which exit status.
#include "cli/scenario/scenario_command.h"
#include "cli/scenario/scenario_run.h"
#include "cli/scenario/step_kinds.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace qx5::cli::scenario_run_test {
namespace {

struct Outcome
{
    int status = -1;
    std::string out;
    std::string err;
};

Outcome RunFiles(std::vector<std::string> files, std::string const& input, bool check = false,
                 std::string const& plugin = QX5_PLUGIN_FILE)
{
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    ScenarioOptions options;
    options.files = std::move(files);
    options.check = check;
    options.plugin = plugin;
    Outcome outcome;
    outcome.status = RunScenarios(options, in, out, err);
    outcome.out = out.str();
    outcome.err = err.str();
    return outcome;
}

Outcome RunText(std::string const& text)
{
    return RunFiles({"-"}, text);
}
Outcome CheckText(std::string const& text)
{
    return RunFiles({"-"}, text, true);
}

/// What one step does, as its list of events in the result; the scenario must run.
std::string Events(std::string const& step, std::string const& others = "")
{
    auto const outcome = RunText("{" + others + "\"steps\":[" + step + "]}");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    std::string const before = R"("steps":[)";
    auto const from = outcome.out.find(before) + before.size();
    auto const to = outcome.out.find(R"(],"teardown":)");
    return outcome.out.substr(from, to - from);
}

TEST(ScenarioRun, GivesOneLineForEachScenario)
{
    auto const outcome = RunText(R"([{"name":"a","steps":[{"clock":1},{"settle":0}]},{"name":"é"},{}])");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, testing::StartsWith(R"({"name":"a","setup":[)"));
    EXPECT_THAT(outcome.out, testing::HasSubstr(R"("steps":[[],[]],"teardown":[)"));
    EXPECT_THAT(outcome.out, testing::HasSubstr("\n{\"name\":\"\xC3\xA9\",\"setup\":["));
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 3);
    auto const none = RunText("[]");
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.out + none.err, "");
}

TEST(ScenarioRun, TurnsARequestIntoBytesAndAnEcho)
{
    // 50.0f is 0x42480000.
    EXPECT_EQ(Events(R"({"request":[["x5Range","double",50]]})"),
              R"([{"remote":1003,"payload":"00004842","device":0,"enumerator":-1},)"
              R"({"echo":[["x5Range","double",50.0]],"flags":0}])");
    EXPECT_EQ(Events(R"({"request":[["x5Range","int",50]]})"), "[]");
    EXPECT_EQ(Events(R"({"request":null})"), "[]");
    EXPECT_EQ(Events(R"({"request":[]})"), "[]");
}

TEST(ScenarioRun, GivesEveryStepItsEventsHoweverManyThereAre)
{
    std::string steps;
    std::string expected;
    for (int i = 0; i < 2000; ++i) {
        // 1.0f is 0x3F800000, 2.0f 0x40000000, 3.0f 0x40400000.
        static constexpr char const* payloads[] = {"0000803f", "00000040", "00004040"};
        auto const range = std::to_string(i % 3 + 1);
        steps += (i == 0 ? "" : ",") + ("{\"request\":[[\"x5Range\",\"double\"," + range + "]]}");
        expected += std::string(i == 0 ? "" : ",") + "[{\"remote\":1003,\"payload\":\"" + payloads[i % 3] +
                    "\",\"device\":0,\"enumerator\":-1},{\"echo\":[[\"x5Range\",\"double\"," + range +
                    ".0]],\"flags\":0}]";
    }
    EXPECT_EQ(Events(steps), expected);
}

TEST(ScenarioRun, KeepsMinusZeroAndWritesNumbersThatAreNoNumbers)
{
    EXPECT_EQ(Events(R"({"request":[["x5Range","double",-0.0]]})"),
              R"([{"remote":1003,"payload":"00000080","device":0,"enumerator":-1},)"
              R"({"echo":[["x5Range","double",-0.0]],"flags":0}])");
    EXPECT_EQ(Events(R"({"request":[["x5Range","double","-inf"]]})"),
              R"([{"remote":1003,"payload":"000080ff","device":0,"enumerator":-1},)"
              R"({"echo":[["x5Range","double","-inf"]],"flags":0}])");
    EXPECT_EQ(Events(R"({"request":[["x5Range","double","nan"]]})"),
              R"([{"remote":1003,"payload":"0000c07f","device":0,"enumerator":-1},)"
              R"({"echo":[["x5Range","double","nan"]],"flags":0}])");
}

TEST(ScenarioRun, SendsWithoutAPortAsWell)
{
    EXPECT_EQ(Events(R"({"request":[["x5CalibCommand","int",70000]]})", R"("devices":[{"port":"none"}],)"),
              R"([{"remote":1002,"payload":"7011","device":0,"enumerator":-1},)"
              R"({"ask":7055,"device":0,"enumerator":-1}])");
}

TEST(ScenarioRun, FramesWhatGoesPastTheFacade)
{
    // 2023-11-14 22:13:20 UTC is day 318: u16 2023, u16 318, f32 20.0, u8 22, u8 13. Absorption 60.0f is 0x42700000.
    EXPECT_EQ(Events(R"({"request":[["x5Absorption","double",60]]})",
                     R"("devices":[{"attributes":[["DeviceId","int",7125],["DeviceEnum","int",3]]}],)"),
              R"([{"raw":"05003c00ffff000048000000)"
              "0000000000000000"
              "e7073e010000a041160d"
              "0100"
              "bb1d0000"
              "d51b0000"
              "0000"
              "0300"
              "00000000"
              "0000"
              "0000"
              "00000000"
              "00000000"
              "00000000"
              "00007042"
              "00000000"
              R"(","flag":false},{"echo":[["x5Absorption","double",60.0]],"flags":0}])");
}

TEST(ScenarioRun, MovesTheClock)
{
    auto const outcome = RunText(R"({"clock":0,"devices":[{"attributes":[["DeviceId","int",1]]}],"steps":[
        {"request":[["x5Absorption","double",0]]},{"clock":86400},{"request":[["x5Absorption","double",0]]}]})");
    EXPECT_EQ(outcome.status, 0);
    // 1970-01-01 is day 1, a day later day 2.
    EXPECT_THAT(outcome.out, testing::HasSubstr("b207010000000000"));
    EXPECT_THAT(outcome.out, testing::HasSubstr("b207020000000000"));
}

TEST(ScenarioRun, PutsTreesInPlaceMergesAndCompletesFromThem)
{
    // The coverage sector needs both angles: 60 degrees are 0x3f860a92, 0 are 0.
    auto const outcome = RunText(R"({"steps":[
        {"request":[["x5CoverageAngle","double",60]]},
        {"replace-attributes":[["x5RxSteeringAngle","double",0]]},
        {"request":[["x5CoverageAngle","double",60]]},
        {"replace-attributes":[]},
        {"request":[["x5CoverageAngle","double",60]]},
        {"attributes":[["x5RxSteeringAngle","double",0]]},
        {"host-request":[["x5CoverageAngle","double",60]]}]})");
    EXPECT_EQ(outcome.status, 0);
    std::string const events = R"([{"remote":1035,"payload":"920a863f00000000","device":0,"enumerator":-1},)"
                               R"({"echo":[["x5CoverageAngle","double",60.0],["x5RxSteeringAngle","double",0.0]],)"
                               R"("flags":0}])";
    EXPECT_THAT(outcome.out,
                testing::HasSubstr(R"("steps":[[],[],)" + events + ",[],[],[]," + events + R"(],"teardown":)"));
}

TEST(ScenarioRun, NamesDevicesOtherThanTheFirst)
{
    EXPECT_EQ(
        Events(
            R"({"request":[["x5CalibCommand","int",1]],"device":[1,78,2,1]},{"request":[["x5CalibCommand","int",1]]})",
            R"("devices":[{"id":[1,78,1,1]},{"id":[1,78,2,1],"portName":"port-2"}],)"),
        R"([{"remote":1002,"payload":"0100","device":0,"enumerator":-1,"of":[1,78,2,1]},)"
        R"({"ask":7055,"device":0,"enumerator":-1,"of":[1,78,2,1]}],)"
        R"([{"remote":1002,"payload":"0100","device":0,"enumerator":-1},)"
        R"({"ask":7055,"device":0,"enumerator":-1}])");
}

TEST(ScenarioRun, SetsUpPlainDevicesComputationsAndStreams)
{
    auto const outcome = RunText(R"({"devices":[{"id":[1,20,1,1],"kind":"plain","port":"other"}],
        "computations":[{"id":[5,1112,1,1],"type":1,"linked":[[1,20,1,1]]}],
        "vessels":[{"number":1,"name":"a"},{"number":2,"name":"b"}],"activeVessel":2,
        "streams":[{"id":[1,40,1,1],"time":1.5,"block":{"items":[[801,101,4,7]]}}],
        "steps":[{"host-request":[["x5Range","double",50]]},{"attributes":[["a","int",1]]},
                 {"attributes":[["a","int",1]],"device":[5,1112,1,1]},
                 {"block":{"id":[1,40,2,1],"items":[[1,109,null,0.5]]}},
                 {"buffer-status":{"id":[1,40,1,1],"status":1}}]})");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "{\"name\":\"\",\"setup\":[],\"steps\":[[],[],[],[],[]],\"teardown\":[]}\n");
}

TEST(ScenarioRun, TakesDeepAndWideTreesUpToItsLimit)
{
    auto const nested = [](int depth) {
        std::string tree = "[]";
        for (int i = 0; i < depth; ++i) {
            tree = R"([["x5Range",)" + tree + "]]";
        }
        return R"({"steps":[{"request":)" + tree + R"(},{"attributes":)" + tree + R"(},{"host-request":)" + tree +
               "}]}";
    };
    auto const deep = RunText(nested(500));
    EXPECT_EQ(deep.status, 0);
    EXPECT_THAT(deep.out, testing::HasSubstr(R"("steps":[[],[],[]])"));
    auto const deeper = RunText(nested(1000));
    EXPECT_EQ(deeper.status, 2);
    EXPECT_EQ(deeper.out, "");
    EXPECT_THAT(deeper.err, testing::EndsWith("...: nested deeper than 1024 levels\n"));
    EXPECT_EQ(std::count(deeper.err.begin(), deeper.err.end(), '\n'), 1);

    std::string wide = R"(["x5Range","double",50])";
    for (int i = 0; i < 10000; ++i) {
        wide += R"(,["x5Range","int",1])";
    }
    EXPECT_EQ(Events(R"({"request":[)" + wide + "]}"),
              R"([{"remote":1003,"payload":"00004842","device":0,"enumerator":-1},)"
              R"({"echo":[["x5Range","double",50.0]],"flags":0}])");
}

TEST(ScenarioRun, GivesTheSameResultEveryTime)
{
    std::string const text = R"({"name":"n","devices":[{},{"id":[1,78,2,1]}],
        "steps":[{"request":[["x5LoadFactoryParameters","none"],["x5Power","double",220]]}]})";
    auto const first = RunText(text);
    EXPECT_EQ(first.status, 0);
    EXPECT_EQ(RunText(text).out, first.out);
}

#ifndef QX5_VIEW
TEST(ScenarioRun, RefusesStepsThatNeedAViewWhereThereIsNone)
{
    auto const outcome = RunText(R"([{"name":"a"},{"steps":[{"clock":1},{"tab":7}]},{"name":"b"}])");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "-: $[1].steps[1]: step \"tab\" needs the view, which this build leaves out\n");
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 2);
}
#endif

TEST(ScenarioRun, ABadScenarioStopsNoOther)
{
    auto const outcome = RunText(R"([{"name":"a"},{"name":"\ud800"},7,{"clock":1e999},{"name":"b"}])");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "-: $[1].name: a text holds a lone surrogate\n"
                           "-: $[2]: a scenario is an object, not an integer\n"
                           "-: $[3].clock: the number 1e999 is beyond the range of a double\n");
    EXPECT_THAT(outcome.out, testing::HasSubstr(R"({"name":"a",)"));
    EXPECT_THAT(outcome.out, testing::HasSubstr(R"({"name":"b",)"));
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 2);
}

TEST(ScenarioRun, TellsFilesThatCannotBeRead)
{
    test::TemporaryFolder const folder;
    auto const good = (folder / "scenario_run_test_good.json").string();
    std::ofstream(good) << R"({"name":"good"})";
    auto const missing = (folder / "scenario_run_test_missing.json").string();
    auto const outcome = RunFiles({missing, good, folder.string(), "-"}, "{");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, missing + ": $: cannot be read: No such file or directory\n" + folder.string() +
                               ": $: cannot be read: it is a folder\n"
                               "-: $: not JSON: a key in quotes is missing (line 1, column 2)\n");
    EXPECT_THAT(outcome.out, testing::StartsWith(R"({"name":"good",)"));
}

TEST(ScenarioRun, TellsAMissingPlugIn)
{
    auto const outcome = RunFiles({"-"}, "{}", false, "no-such-module.so");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, testing::HasSubstr("no-such-module.so"));
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1);
}

TEST(ScenarioCheck, SaysThatAScenarioMatches)
{
    auto const outcome =
        CheckText(R"({"name":"range","steps":[{"clock":5},{"request":[["x5Range","double",50]],"expect":[
        {"echo":[["x5Range","double",50]],"flags":0}, {"remote":1003,"payload":"00004842","device":0,"enumerator":-1}]}]})");
    EXPECT_EQ(outcome.status, 1);
    auto const right = CheckText(R"({"name":"range","steps":[{"clock":5},{"request":[["x5Range","double",50]],"expect":[
        {"remote":1003,"payload":"00004842","device":0,"enumerator":-1}, {"flags":0,"echo":[["x5Range","double",50]]}]}]})");
    EXPECT_EQ(right.status, 0);
    EXPECT_EQ(right.err, "");
    EXPECT_EQ(right.out, "-: $ \"range\": matches (1 of 2 steps checked)\n");
}

TEST(ScenarioCheck, TellsEachStepThatDiffers)
{
    auto const outcome = CheckText(R"([{"name":"a","steps":[
        {"request":[["x5Range","double",50]],"expect":[{"remote":1003,"payload":"00004843","device":0,"enumerator":-1}]},
        {"request":[["x5Range","double",50]]},
        {"request":[],"expect":[{"ask":1,"device":0,"enumerator":-1}]}]},{"name":"b"}])");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out,
              "-: $[0].steps[0] (\"a\", request): event 1 differs (1 expected, 2 happened) at $.payload: byte 3: "
              "expected 43, got 42\n"
              "  expected {\"remote\":1003,\"payload\":\"00004843\",\"device\":0,\"enumerator\":-1}\n"
              "  got      {\"remote\":1003,\"payload\":\"00004842\",\"device\":0,\"enumerator\":-1}\n"
              "-: $[0].steps[2] (\"a\", request): event 1 did not happen (1 expected, 0 happened)\n"
              "  expected {\"ask\":1,\"device\":0,\"enumerator\":-1}\n"
              "-: $[1] \"b\": matches (0 of 0 steps checked)\n");
}

TEST(ScenarioCheck, ABadScenarioOutweighsADifference)
{
    auto const outcome = CheckText(R"([{"steps":[{"clock":1,"expect":[{"ask":1}]}]},{"colour":1}])");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "-: $[1]: unknown key \"colour\"\n");
    EXPECT_THAT(outcome.out, testing::HasSubstr("did not happen"));
}

TEST(ScenarioSetUps, AScenarioBeginsWithItsSetUpAndItsOwnKeysReplaceWholeOnes)
{
    auto const outcome = CheckText(R"({"setups":{
      "head 1":{"clock":5,"devices":[{"attributes":[["DeviceId","int",7125]]}]},
      "unused":{"timezone":"UTC"}},
     "scenarios":[
      {"name":"its own","setup":"head 1","steps":[
        {"request":[["x5Range","double",50]],"expect":[
          {"remote":1003,"payload":"00004842","device":0,"enumerator":-1},{"echo":[["x5Range","double",50]],"flags":0}]}]},
      {"name":"another device","setup":"head 1","devices":[{"id":[1,78,2,1]}],"steps":[
        {"request":[["x5Range","double",50]],"device":[1,78,2,1],"expect":[
          {"remote":1003,"payload":"00004842","device":0,"enumerator":-1},{"echo":[["x5Range","double",50]],"flags":0}]},
        {"request":[["x5Range","double",50]],"device":[1,78,1,1]}]},
      {"name":"none","steps":[{"clock":1}]}]})");
    EXPECT_EQ(outcome.err, "-: $.scenarios[1].steps[1].device: the scenario has no device [1,78,1,1]\n");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "-: $.scenarios[0] \"its own\": matches (1 of 1 steps checked)\n"
                           "-: $.scenarios[2] \"none\": matches (0 of 1 steps checked)\n");
}

TEST(ScenarioSetUps, WhatIsWrongIsToldWhereItStands)
{
    auto const complaint = [](std::string const& text) {
        auto const outcome = RunText(text);
        EXPECT_EQ(outcome.status, 2) << text;
        return outcome.err;
    };
    EXPECT_EQ(complaint(R"({"setups":{"a":{}},"scenarios":[{"setup":"b"}]})"),
              "-: $.scenarios[0].setup: there is no set-up \"b\"\n");
    EXPECT_EQ(complaint(R"({"setup":"a"})"), "-: $.setup: there is no set-up \"a\"\n");
    EXPECT_EQ(complaint(R"([{"setup":1}])"), "-: $[0].setup: a text is expected here, not an integer\n");
    for (std::string const key : {"name", "setup", "steps"}) {
        EXPECT_EQ(complaint(R"({"setups":{"a":{")" + key + R"(":[]}},"scenarios":[{"setup":"a"}]})"),
                  "-: $.setups.a." + key + ": a set-up has no \"" + key + "\"\n");
        // Used by nobody, it is wrong all the same.
        EXPECT_EQ(complaint(R"({"setups":{"a":{")" + key + R"(":[]}},"scenarios":[]})"),
                  "-: $.setups.a." + key + ": a set-up has no \"" + key + "\"\n");
    }
    EXPECT_EQ(complaint(R"({"setups":{"a":{"clock":"noon"}},"scenarios":[{"setup":"a"},{"setup":"a","clock":1}]})"),
              "-: $.setups.a.clock: a number, or \"nan\", \"inf\" or \"-inf\", is expected here, not a text\n");
    EXPECT_EQ(complaint(R"({"setups":{"a":{"clok":1}},"scenarios":[{"setup":"a"}]})"),
              "-: $.setups.a: unknown key \"clok\"\n");
    EXPECT_EQ(complaint(R"({"setups":{"a":[]},"scenarios":[{"setup":"a"}]})"),
              "-: $.setups.a: an object is expected here, not an array\n");
    EXPECT_EQ(complaint(R"({"setups":{}})"), "-: $: \"scenarios\" is missing\n");
    EXPECT_EQ(complaint(R"({"scenarios":{}})"), "-: $.scenarios: an array is expected here, not an object\n");
    EXPECT_EQ(complaint(R"({"setups":[],"scenarios":[]})"), "-: $.setups: an object is expected here, not an array\n");
    EXPECT_EQ(complaint(R"({"scenarios":[],"name":"a"})"), "-: $: unknown key \"name\"\n");
    EXPECT_EQ(RunText(R"({"scenarios":[{"name":"alone"}]})").status, 0);
}

TEST(ScenarioSetUps, ABadOneSpoilsOnlyTheScenariosThatUseIt)
{
    auto const outcome = RunText(R"({"setups":{"bad":{"devices":[{"name":"\ud800"}]},"good":{}},"scenarios":[
      {"name":"first","setup":"bad"},{"name":"second","setup":"good"},{"name":"third","setup":"bad","devices":[]}]})");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, testing::MatchesRegex("(-: \\$.setups.bad.devices\\[0\\].name: [^\n]*\n){2}"));
    EXPECT_THAT(outcome.out, testing::HasSubstr(R"({"name":"second",)"));
    EXPECT_THAT(outcome.out, testing::Not(testing::HasSubstr("first")));
}

TEST(ScenarioCheck, EventsOfSomeKindsAloneAreCompared)
{
    auto const check = [](std::string const& expect) {
        return CheckText(
            R"({"name":"range","steps":[{"request":[["x5Range","double",50],["x5Power","double",200]],"expect":)" +
            expect + "}]}");
    };
    EXPECT_EQ(check(R"({"of":["echo"],"events":[{"echo":[["x5Range","double",50]],"flags":0},
                                                {"echo":[["x5Power","double",200]],"flags":0}]})")
                  .status,
              0);
    EXPECT_EQ(check(R"({"of":["ask","throws"],"events":[]})").status, 0);
    EXPECT_EQ(check(R"({"events":[{"remote":1003,"payload":"00004842","device":0,"enumerator":-1},
                                  {"remote":1005,"payload":"00004843","device":0,"enumerator":-1}],"of":["remote"]})")
                  .status,
              0);
    auto const missing =
        check(R"({"of":["remote"],"events":[{"remote":1003,"payload":"00004842","device":0,"enumerator":-1}]})");
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.out, testing::HasSubstr("event 2 was not expected (1 expected, 2 happened)"));
    EXPECT_EQ(check(R"({"of":["remtoe"],"events":[]})").err,
              "-: $.steps[0].expect.of[0]: there is no event \"remtoe\"\n");
    EXPECT_EQ(check(R"({"of":["remote"]})").err, "-: $.steps[0].expect: \"events\" is missing\n");
    EXPECT_EQ(check(R"({"events":[]})").err, "-: $.steps[0].expect: \"of\" is missing\n");
    EXPECT_EQ(check(R"({"of":[],"events":[],"more":1})").err, "-: $.steps[0].expect: unknown key \"more\"\n");
    EXPECT_EQ(check(R"("all")").err, "-: $.steps[0].expect: an array is expected here, not a text\n");
}

} // namespace
} // namespace qx5::cli::scenario_run_test
