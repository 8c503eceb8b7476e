// The view itself: which device it shows, its title, its tabs, its size, and what it stores.
#include "view_run.h"

#include "cli/scenario/view_controls.h"

#include <gtest/gtest.h>

namespace qx5::test::view_frame_test {
namespace {

Json Sonar(Json const& id, char const* name, Json const& tree)
{
    return {{"id", id}, {"name", name}, {"attributes", tree}};
}

/// Two sonars on the first vessel and one on the second.
Json Fleet()
{
    auto const rangeOf = [](double metres) { return With(SonarTree(), {"x5Range", "double", metres}); };
    return {
        {"devices", Json::array({Sonar({1, 78, 1, 1}, "Bow", rangeOf(50)), Sonar({1, 78, 2, 1}, "Stern", rangeOf(100)),
                                 Sonar({1, 78, 1, 2}, "Launch", rangeOf(200))})},
        {"vessels", Json::array({{{"number", 1}, {"name", "Mother"}}, {{"number", 2}, {"name", "Daughter"}}})}};
}

std::string RangeText(ViewRun const& run, std::size_t step)
{
    return run.Control(step, "settings", 16940).at("text");
}

TEST(ViewFrame, OpensWithSixTabsOnTheStoredDevice)
{
    ViewRun const run(SonarTree(), {Look()}, Fleet());
    auto const& view = run.Controls(0);
    EXPECT_EQ(view.at("tabs"), Json::parse(R"(["Sonar Settings", "Sonar Gates", "Ocean Menu", "Data Recording",
                                                "Sonar Steering", "Tracker"])"));
    EXPECT_EQ(view.at("tab"), 0);
    for (auto const& control : cli::viewControls) {
        EXPECT_TRUE(view.at(std::string(control.page)).contains(std::to_string(control.id)))
            << control.page << " " << control.id;
    }
    EXPECT_EQ(view.at("title"), "");
    EXPECT_EQ(view.at("scroll"), Json::parse("[0, 0]"));
    EXPECT_EQ(view.at("stored"), Json::parse("[1, 78, 1, 1]"));
    EXPECT_EQ(RangeText(run, 0), "50.0 m");
    EXPECT_EQ(run.Events(0).size(), 1U);
}

TEST(ViewFrame, ShowsDefaultsWithoutAStoredDevice)
{
    ViewRun const run(SonarTree(),
                      {Json{{"view", "open"}}, Look(), Attributes({{"x5Range", "double", 75.0}}), Look(),
                       Json{{"block", {{"id", {1, 40, 1, 1}}, {"items", {{801, 103, 8, 1490.5, 0}}}}}}, Look(),
                       Click("settings", 28107)},
                      Fleet());
    EXPECT_EQ(run.Controls(1).at("stored"), nullptr);
    EXPECT_EQ(RangeText(run, 3), "0.0 m") << "no attributes are followed";
    EXPECT_EQ(run.Control(5, "ocean", 16923).at("text"), "1490.5 m/s") << "but the sound velocity is";
    EXPECT_EQ(run.Events(6).at(0).at("id"), Json::parse("[1, 78, 1, 1]")) << "and requests go to that device";
}

TEST(ViewFrame, FollowsTheSelectedSonar)
{
    ViewRun const run(SonarTree(),
                      {Json{{"selected-sonar", {1, 40, 2, 1}}}, Look(), Attributes({{"x5Range", "double", 60.0}}),
                       Look(), Json{{"attributes", {{"x5Range", "double", 70.0}}}, {"device", {1, 78, 2, 1}}}, Look(),
                       Json{{"selected-sonar", {1, 78, 2, 1}}}, Json{{"selected-sonar", nullptr}},
                       Json{{"selected-sonar", {1, 78, 9, 1}}}, Look()},
                      Fleet());
    EXPECT_EQ(run.Events(0), Json::parse(R"([{"title": "Stern - Mother"}])"));
    EXPECT_EQ(RangeText(run, 1), "100.0 m");
    EXPECT_EQ(run.Controls(1).at("title"), "Stern - Mother");
    EXPECT_EQ(run.Controls(1).at("stored"), Json::parse("[1, 78, 2, 1]"));
    EXPECT_EQ(RangeText(run, 3), "100.0 m") << "the first sonar is not followed any more";
    EXPECT_EQ(RangeText(run, 5), "70.0 m");
    EXPECT_EQ(run.Events(6), Json::array()) << "that one is shown already";
    EXPECT_EQ(run.Events(7), Json::array()) << "a notification of another kind";
    EXPECT_EQ(run.Events(8), Json::parse(R"([{"title": "Sonar Configuration - Mother"}])")) << "there is no such sonar";
    EXPECT_EQ(RangeText(run, 9), "70.0 m") << "the pages keep what they show";
    EXPECT_EQ(run.Controls(9).at("stored"), Json::parse("[1, 78, 2, 1]"));
}

TEST(ViewFrame, FollowsTheActiveVessel)
{
    ViewRun const run(SonarTree(),
                      {Json{{"active-vessel", 2}}, Look(), Json{{"active-vessel", 7}}, Look(),
                       Json{{"active-vessel", nullptr}}, Json{{"active-vessel", 2}}},
                      Fleet());
    EXPECT_EQ(run.Events(0), Json::parse(R"([{"title": "Launch - Daughter"}])"));
    EXPECT_EQ(RangeText(run, 1), "200.0 m");
    EXPECT_EQ(run.Events(2), Json::array()) << "no device of that vessel";
    EXPECT_EQ(run.Controls(3).at("title"), "Launch - Daughter");
    EXPECT_EQ(run.Events(4), Json::array());
    EXPECT_EQ(run.Events(5), Json::parse(R"([{"title": "Launch - Daughter"}])")) << "ids are not compared";
}

TEST(ViewFrame, SelectsByHint128Alone)
{
    ViewRun const run(SonarTree(),
                      {Json{{"view-update", 127}, {"id", {1, 78, 2, 1}}}, Look(),
                       Json{{"view-update", 128}, {"id", {1, 78, 2, 1}}}, Look()},
                      Fleet());
    EXPECT_EQ(RangeText(run, 1), "50.0 m");
    EXPECT_EQ(run.Events(2), Json::array());
    EXPECT_EQ(RangeText(run, 3), "100.0 m");
    EXPECT_EQ(run.Controls(3).at("title"), "") << "the title stays";
}

TEST(ViewFrame, LaysASmallPaneOutForItsLeastSize)
{
    ViewRun const run(SonarTree(), {Json{{"resize", {200, 200}}}, Look(), Json{{"resize", {800, 300}}}, Look(),
                                    Json{{"view", "open"}, {"size", {500, 600}}}, Look()});
    EXPECT_EQ(run.Controls(1).at("scroll"), Json::parse("[340, 440]"));
    EXPECT_EQ(run.Controls(3).at("scroll"), Json::parse("[800, 440]"));
    EXPECT_EQ(run.Controls(5).at("scroll"), Json::parse("[500, 600]"));
}

TEST(ViewFrame, SwitchesTabs)
{
    ViewRun const run(SonarTree(), {Json{{"tab", 3}}, Look(), Json{{"tab", 60}}, Look(), Json{{"tab", -1}}, Look(),
                                    Click("tracker", 28134)});
    EXPECT_EQ(run.Controls(1).at("tab"), 3);
    EXPECT_EQ(run.Controls(3).at("tab"), 3);
    EXPECT_EQ(run.Controls(5).at("tab"), 3);
    EXPECT_EQ(run.Requests(6).size(), 1U) << "a page need not be in front";
}

TEST(ViewFrame, RemovesTheDisplayOfAKindThatIsOfferedNoMore)
{
    auto const tree = With(SonarTree(), {"DeviceId", "int", 9000});
    ViewRun const run(tree, {Look(), Click("settings", 28107), Json{{"tab", 1}}, Json{{"resize", {800, 800}}},
                             Json{{"block", {{"id", {1, 40, 1, 1}}, {"items", {{801, 103, 8, 1490.5, 0}}}}}},
                             Attributes({{"x5Range", "double", 75.0}}), Look(), Json{{"view", "close"}}, Look()});
    EXPECT_EQ(run.OpeningEvents(), Json::parse(R"([
        {"display-remove": ""}, {"message": "x5 single beam control has been removed from VORDAL."}])"));
    EXPECT_EQ(run.Controls(0).at("tabs"), Json::array());
    EXPECT_EQ(run.Controls(0).at("tab"), -1);
    EXPECT_EQ(run.Events(1), Json::array());
    EXPECT_EQ(run.Control(6, "ocean", 16923).at("text"), "1500.0 m/s");
    EXPECT_EQ(run.Control(6, "settings", 16940).at("text"), "0.0 m");
    EXPECT_EQ(run.Events(8), Json::parse(R"([{"controls": {}}])"));
}

TEST(ViewFrame, DoesNothingWithoutAView)
{
    ViewRun const run(SonarTree(),
                      {Json{{"view", "close"}}, Click("settings", 28107), Json{{"tab", 1}},
                       Json{{"view-update", 128}, {"id", {1, 78, 1, 1}}}, Json{{"resize", {1, 1}}}, Look()});
    for (std::size_t step = 1; step < 5; ++step) {
        EXPECT_EQ(run.Events(step), Json::array());
    }
    EXPECT_EQ(run.Events(5), Json::parse(R"([{"controls": {}}])"));
}

TEST(ViewFrame, FindsTheSteeringComputationAmongThoseLinked)
{
    Json rest;
    rest["computations"] = Json::parse(R"([
        {"id": [2, 1011, 1, 1], "type": 1011, "linked": [[1, 78, 1, 1]], "attributes": []},
        {"id": [2, 1117, 1, 1], "type": 1117, "linked": [[1, 78, 1, 1]],
         "attributes": [["SteeringMode", "int", 0], ["PipeRouteSteeringDelay", "int", 0], ["own", "int", 5]]}])");
    ViewRun const run(SonarTree(), {Look(), Click("steering", 28098)}, rest);
    EXPECT_EQ(run.Control(0, "steering", 28102).at("text"), "2") << "a delay of 0 counts as 2";
    EXPECT_EQ(run.Control(0, "steering", 28097).at("checked"), true);
    EXPECT_EQ(run.Events(1), Json::parse(R"([
        {"host-set": [["SteeringMode", "int", 1], ["PipeRouteSteeringDelay", "int", 0], ["own", "int", 5]],
         "id": [2, 1117, 1, 1], "flags": 15},
        {"notify-app": [2, 1117, 1, 1]}])"));
}

TEST(ViewFrame, WritesNoSteeringWithoutAComputation)
{
    ViewRun const run(SonarTree(), {Click("steering", 28098), Look()});
    EXPECT_EQ(run.Events(0), Json::array());
    EXPECT_EQ(run.Control(1, "steering", 28098).at("checked"), true) << "it works on the screen";
}

} // namespace
} // namespace qx5::test::view_frame_test
