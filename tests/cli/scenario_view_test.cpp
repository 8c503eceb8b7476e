// Steps that act on a view: what reaches its controls, what is told of them, and what the view does to its host.
#include "cli/scenario/scenario_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace qx5::cli {
namespace {

struct Outcome
{
    int status = -1;
    std::string out;
    std::string err;
};

Outcome RunText(std::string const& text, bool check = false)
{
    std::istringstream in(text);
    std::ostringstream out;
    std::ostringstream err;
    ScenarioOptions options;
    options.files = {"-"};
    options.check = check;
    options.plugin = VIEW_PLUGIN;
    Outcome outcome;
    outcome.status = RunScenarios(options, in, out, err);
    outcome.out = out.str();
    outcome.err = err.str();
    return outcome;
}

/// Runs the steps, each with what it is expected to do; `others` are further members of the scenario, with commas.
void Check(std::string const& steps, std::string const& others = "")
{
    auto const outcome = RunText("{" + others + "\"steps\":[" + steps + "]}", true);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
}

std::string const open = R"({"view":"open","expect":[]},)";
std::string const idle = R"("expect":[]},)";

std::string HostSet(std::string const& request)
{
    return R"("expect":[{"host-set":[["Request",[)" + request + R"(]]],"id":[1,78,1,1],"flags":4}]})";
}

std::string RefusalOf(std::string const& step)
{
    auto const outcome = RunText("{\"steps\":[" + step + "]}");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    return outcome.err;
}

TEST(ScenarioView, LooksAtEveryControlOfTheView)
{
    Check(R"({"look":true,"expect":[{"controls":{}}]},)" + open + R"({"look":true,"expect":[{"controls":{
        "settings":{
            "28076":{"visible":true,"enabled":true,"items":["A & B","C"],"selected":-1},
            "16926":{"visible":true,"enabled":true,"min":5,"max":25,"position":5},
            "16940":{"visible":true,"enabled":true,"text":"100.0 m"},
            "28090":{"visible":true,"enabled":true,"text":"Mode","checked":false},
            "28091":{"visible":true,"enabled":true,"text":"Mode","checked":false},
            "28107":{"visible":true,"enabled":true,"text":"Depth","checked":false},
            "28128":{"visible":false,"enabled":true,"text":"","checked":false}},
        "gates":{
            "28112":{"visible":true,"enabled":true,"text":"","edited":false},
            "28122":{"visible":true,"enabled":false,"text":"Apply"}},
        "ocean":{},
        "recording":{"28082":{"visible":true,"enabled":true,"text":"Recording"}},
        "steering":{"28096":{"visible":true,"enabled":true,"items":["north","süd"],"selected":-1}},
        "tracker":{"28140":{"visible":true,"enabled":true,"text":"2.5","edited":false}},
        "tabs":["One","Two"],"tab":0,"title":"","scroll":[0,0],"stored":null}}]},
        {"view":"close","expect":[]},{"look":true,"expect":[{"controls":{}}]})",
          R"("routes":["north","süd"],"itemTexts":{"78":{"2701":["Idle","Recording"]}},)");
}

TEST(ScenarioView, BringsThePositionOfAScrollWithinTheLimits)
{
    std::string const slider = R"({"slider":{"page":"settings","id":16926},"kind":)";
    Check(open + slider + R"(5,"position":99,)" + idle + slider + "8," + HostSet(R"(["x5Range","int",25])") + "," +
          slider + R"(4,"position":-1,)" + idle + slider + "8," + HostSet(R"(["x5Range","int",5])") + "," + slider +
          R"(5,"position":12,)" + idle + slider + R"(3,)" + HostSet(R"(["scroll","pair",[3,12]])"));
}

TEST(ScenarioView, ClicksAsAnOperatorDoes)
{
    auto const click = [](int id) { return R"({"click":{"page":"settings","id":)" + std::to_string(id) + "},"; };
    Check(open + click(28107) + HostSet(R"(["toggle","bool",true])") + "," + click(28107) +
          HostSet(R"(["toggle","bool",false])") + "," + click(28090) + HostSet(R"(["mode","bool",true])") + "," +
          click(28091) + HostSet(R"(["mode","bool",true])") + "," + click(28128) + idle +
          R"({"click":{"page":"gates","id":28122},"expect":[]})");
    auto const look = RunText("{\"steps\":[" + open + click(28090) + "\"device\":[1,78,1,1]}," + click(28091) +
                              R"("device":[1,78,1,1]},{"look":true}]})");
    EXPECT_THAT(look.out,
                testing::HasSubstr(R"("28090":{"visible":true,"enabled":true,"text":"Mode","checked":false})"));
    EXPECT_THAT(look.out,
                testing::HasSubstr(R"("28091":{"visible":true,"enabled":true,"text":"Mode","checked":true})"));
}

TEST(ScenarioView, ChoosesOnlyWhatIsThere)
{
    std::string const choose = R"({"choose":{"page":"settings","id":28076},"index":)";
    Check(open + choose + "2," + idle + choose + "-1," + idle + choose + "1," + HostSet(R"(["DeviceEnum","int",1])") +
          "," + choose + "1," + HostSet(R"(["DeviceEnum","int",1])"));
}

TEST(ScenarioView, TakesTypingAsAnEditAlsoWithTheSameText)
{
    std::string const field = R"({"page":"gates","id":28112})";
    std::string const apply = R"({"click":{"page":"gates","id":28122},)";
    Check(open + R"({"type":)" + field + R"(,"text":"",)" + idle + apply + HostSet(R"(["minimum","string",""])") +
          R"(,{"type":)" + field + R"(,"text":"1,5 é",)" + idle + apply + HostSet(R"(["minimum","string","1,5 é"])") +
          "," + apply + idle + R"({"press-return":)" + field + "," + HostSet(R"(["minimum","string","1,5 é"])"));
    auto const look = RunText("{\"steps\":[" + open + R"({"type":)" + field + R"(,"text":"x"},{"look":true}]})");
    EXPECT_THAT(look.out, testing::HasSubstr(R"("28112":{"visible":true,"enabled":true,"text":"x","edited":true})"));
}

TEST(ScenarioView, FollowsSonarVesselAndValues)
{
    Check(open + R"({"selected-sonar":[1,40,2,3],"expect":[{"title":"sonar 1.40.2.3"}]},
        {"selected-sonar":null,"expect":[]},
        {"active-vessel":2,"expect":[{"title":"vessel Dinghy"}]},
        {"active-vessel":9,"expect":[{"title":"vessel "}]},
        {"active-vessel":null,"expect":[]},
        {"view-update":127,"id":[1,78,2,1],"expect":[]})",
          R"("vessels":[{"number":1,"name":"Ship"},{"number":2,"name":"Dinghy"}],)");
    auto const look =
        RunText("{\"steps\":[" + open +
                R"({"attributes":[["value","double",2.25]]},{"selected-sonar":[1,2,3,4]},{"resize":[200,500]},
                             {"tab":7},{"tab":1},{"view-update":128,"id":[1,78,2,1]},{"look":true}]})");
    EXPECT_THAT(look.out, testing::HasSubstr(R"("16940":{"visible":true,"enabled":true,"text":"2.2"})"));
    EXPECT_THAT(look.out, testing::HasSubstr(R"("tabs":["One","Two"],"tab":1,"title":"sonar 1.2.3.4",)"
                                             R"("scroll":[340,500],"stored":[1,78,2,1])"));
}

TEST(ScenarioView, OpensOneViewAtATimeWithWhatWasStored)
{
    auto const outcome = RunText(
        R"({"steps":[{"view":"open","stored":[1,78,5,1],"size":[400,300]},{"look":true},{"view":"open"},{"look":true},
                {"selected-sonar":[1,2,3,4]}]})");
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, testing::HasSubstr(R"("scroll":[400,440],"stored":[1,78,5,1]}})"));
    EXPECT_THAT(outcome.out, testing::HasSubstr(R"("scroll":[0,0],"stored":null}})"));
    EXPECT_THAT(outcome.out, testing::HasSubstr(R"(,[{"title":"sonar 1.2.3.4"}]],"teardown")"));
}

TEST(ScenarioView, KeepsARemovedDisplayToLookAt)
{
    std::string const gone = R"("devices":[{"attributes":[["Gone","bool",true]]}],)";
    Check(R"({"view":"open","size":[500,500],"expect":[{"display-remove":""},{"message":"gone"}]},
        {"selected-sonar":[1,2,3,4],"expect":[]},
        {"resize":[600,600],"expect":[]},{"view-update":128,"id":[1,78,2,1],"expect":[]},
        {"slider":{"page":"settings","id":16926},"kind":8,"expect":[]},
        {"click":{"page":"settings","id":28107},"expect":[]},
        {"choose":{"page":"settings","id":28076},"index":1,"expect":[]},
        {"type":{"page":"gates","id":28112},"text":"x","expect":[]},
        {"press-return":{"page":"gates","id":28112},"expect":[]},{"tab":1,"expect":[]},
        {"view":"close","expect":[]},{"look":true,"expect":[{"controls":{}}]})",
          gone);
    auto const look = RunText("{" + gone + R"("steps":[{"view":"open","size":[500,500]},{"look":true}]})");
    EXPECT_THAT(look.out,
                testing::HasSubstr(R"("28107":{"visible":true,"enabled":true,"text":"Depth","checked":false})"));
    EXPECT_THAT(look.out, testing::HasSubstr(R"("tabs":[],"tab":-1,"title":"","scroll":[0,0],"stored":null)"));
}

TEST(ScenarioView, DoesNothingWithoutAView)
{
    Check(R"({"slider":{"page":"settings","id":16926},"kind":8,"expect":[]},
        {"click":{"page":"settings","id":28107},"expect":[]},{"tab":1,"expect":[]},
        {"type":{"page":"gates","id":28112},"text":"x","expect":[]},{"view":"close","expect":[]},
        {"resize":[1,1],"expect":[]},{"view-update":128,"id":[1,2,3,4],"expect":[]},
        {"selected-sonar":[1,2,3,4],"expect":[]},{"active-vessel":1,"expect":[]})");
}

TEST(ScenarioView, RefusesControlsThatAreNotThereOrOfAnotherKind)
{
    EXPECT_EQ(RefusalOf(R"({"click":{"page":"settings","id":1}})"),
              "-: $.steps[0].click.id: the page \"settings\" has no control 1\n");
    EXPECT_EQ(RefusalOf(R"({"click":{"page":"depths","id":28107}})"),
              "-: $.steps[0].click.page: there is no page \"depths\"\n");
    // 28100 is a slider of the gates page and a label of the steering page.
    EXPECT_EQ(RefusalOf(R"({"slider":{"page":"steering","id":28100},"kind":8})"),
              "-: $.steps[0].slider.id: control 28100 is a label, which this step cannot act on\n");
    EXPECT_EQ(RefusalOf(R"({"click":{"page":"gates","id":28100}})"),
              "-: $.steps[0].click.id: control 28100 is a slider, which this step cannot act on\n");
    EXPECT_EQ(RefusalOf(R"({"type":{"page":"recording","id":28082},"text":""})"),
              "-: $.steps[0].type.id: control 28082 is a read-only text, which this step cannot act on\n");
    EXPECT_EQ(RefusalOf(R"({"press-return":{"page":"recording","id":28083}})"),
              "-: $.steps[0].press-return.id: control 28083 is a read-only text, which this step cannot act on\n");
    EXPECT_EQ(RefusalOf(R"({"choose":{"page":"gates","id":28122},"index":0})"),
              "-: $.steps[0].choose.id: control 28122 is a button, which this step cannot act on\n");
}

} // namespace
} // namespace qx5::cli
