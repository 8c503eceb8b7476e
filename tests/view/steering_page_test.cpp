// The page "Sonar Steering": the control panel of the computation that steers the sonar's swath.
#include "view_run.h"

#include <gtest/gtest.h>

namespace qx5::test::steering_page_test {
namespace {

constexpr char const* page = "steering";

constexpr int routeSteering = 28093;
constexpr int pipeSteering = 28103;
constexpr int activeRoute = 28094;
constexpr int localRoute = 28095;
constexpr int routes = 28096;
constexpr int horizontal = 28097;
constexpr int flex = 28098;
constexpr int difference = 28099;
constexpr int differenceText = 28100;
constexpr int delay = 28101;
constexpr int delayText = 28102;

Json const computation = {1, 1117, 1, 1};

Json Attribute(char const* key, Json const& value)
{
    if (value.is_string()) {
        return {key, "string", value};
    }
    return {key, value.is_number_float() ? "double" : "int", value};
}

/// All that the computation knows, and a key of its own.
Json const usual = {Attribute("SonarSteering", 0),
                    Attribute("RouteSteering", 1),
                    Attribute("SteeringMode", 1),
                    Attribute("RouteName", "south.rte"),
                    Attribute("PipeRouteSonarSteering", 1),
                    Attribute("PipeRouteSteeringDelay", 4),
                    Attribute("PipeRouteSteeringDiff", 2.34),
                    Attribute("SteeringGain", 7)};

/// A project with that computation, two routes, and a vessel that says so of pipe detection.
Json Project(Json const& attributes = usual, Json const& pipeDetection = "1,1")
{
    Json project;
    project["computations"] =
        Json::array({{{"id", computation}, {"type", 1117}, {"attributes", attributes}, {"linked", {{1, 78, 1, 1}}}}});
    project["routes"] = {"north.rte", "south.rte"};
    Json vessel = {{"number", 1}, {"name", "Vessel"}};
    if (pipeDetection.is_string()) {
        vessel["config"] = {{"PipeDetection", {{"EnablePipeDetection", pipeDetection}}}};
    }
    project["vessels"] = Json::array({vessel});
    return project;
}

/// The same without the computation.
Json UnsteeredProject()
{
    Json project = Project();
    project.erase("computations");
    return project;
}

/// The computation says something else; nobody is told.
Json Computed(Json const& node)
{
    return {{"attributes", Json::array({node})}, {"device", computation}};
}

/// The view looks anew, for a reason that has nothing to do with steering.
Json Refresh(int nonce)
{
    return Attributes({{"x5DiskFree", "int", nonce}});
}

/// What writing that tree to the computation tells.
Json Written(Json const& tree)
{
    return {{{"host-set", tree}, {"id", computation}, {"flags", 15}}, {{"notify-app", computation}}};
}

TEST(SteeringPage, StartsWithoutAComputation)
{
    ViewRun const run(SonarTree(), {Look()}, UnsteeredProject());
    EXPECT_EQ(run.Control(0, page, routeSteering).at("checked"), false);
    EXPECT_EQ(run.Control(0, page, routeSteering).at("text"), "Enable route steering");
    EXPECT_EQ(run.Control(0, page, pipeSteering).at("visible"), false);
    EXPECT_EQ(run.Control(0, page, pipeSteering).at("text"), "Enable pipe steering");
    EXPECT_EQ(run.Control(0, page, activeRoute).at("text"), "Active route");
    EXPECT_EQ(run.Control(0, page, localRoute).at("text"), "Local route");
    EXPECT_EQ(run.Control(0, page, horizontal).at("text"), "Horizontal");
    EXPECT_EQ(run.Control(0, page, flex).at("text"), "Flex");
    for (int const id : {activeRoute, localRoute, horizontal, flex}) {
        EXPECT_EQ(run.Control(0, page, id).at("checked"), false) << id;
    }
    EXPECT_EQ(run.Control(0, page, routes).at("items"), Json::parse(R"(["north.rte", "south.rte"])"));
    EXPECT_EQ(run.Control(0, page, routes).at("selected"), -1);
    EXPECT_EQ(run.Control(0, page, difference).at("min"), 0);
    EXPECT_EQ(run.Control(0, page, difference).at("max"), 50);
    EXPECT_EQ(run.Control(0, page, difference).at("position"), 0);
    EXPECT_EQ(run.Control(0, page, differenceText).at("text"), "0°");
    EXPECT_EQ(run.Control(0, page, delay).at("min"), 2);
    EXPECT_EQ(run.Control(0, page, delay).at("max"), 10);
    EXPECT_EQ(run.Control(0, page, delay).at("position"), 2);
    EXPECT_EQ(run.Control(0, page, delayText).at("text"), "2");
}

TEST(SteeringPage, WorksOnTheScreenWithoutAComputation)
{
    ViewRun const run(SonarTree(),
                      {Click(page, routeSteering), Click(page, localRoute), Click(page, flex), Choose(page, routes, 1),
                       SlideTo(page, difference, 5, 12), Slide(page, difference, 8), Slide(page, delay, 7),
                       Slide(page, delay, 8), Look()},
                      UnsteeredProject());
    for (std::size_t step = 0; step < 8; ++step) {
        EXPECT_EQ(run.Events(step), Json::array()) << step;
    }
    EXPECT_EQ(run.Control(8, page, routeSteering).at("checked"), true);
    EXPECT_EQ(run.Control(8, page, localRoute).at("checked"), true);
    EXPECT_EQ(run.Control(8, page, flex).at("checked"), true);
    EXPECT_EQ(run.Control(8, page, routes).at("selected"), 1);
    EXPECT_EQ(run.Control(8, page, difference).at("position"), 12);
    EXPECT_EQ(run.Control(8, page, differenceText).at("text"), "1.2°");
    EXPECT_EQ(run.Control(8, page, delay).at("position"), 10);
    EXPECT_EQ(run.Control(8, page, delayText).at("text"), "10");
}

TEST(SteeringPage, ShowsWhatTheComputationSays)
{
    ViewRun const run(SonarTree(), {Look()}, Project());
    EXPECT_EQ(run.Control(0, page, routeSteering).at("checked"), false);
    EXPECT_EQ(run.Control(0, page, activeRoute).at("checked"), false);
    EXPECT_EQ(run.Control(0, page, localRoute).at("checked"), true);
    EXPECT_EQ(run.Control(0, page, horizontal).at("checked"), false);
    EXPECT_EQ(run.Control(0, page, flex).at("checked"), true);
    EXPECT_EQ(run.Control(0, page, pipeSteering).at("visible"), true);
    EXPECT_EQ(run.Control(0, page, pipeSteering).at("enabled"), true);
    EXPECT_EQ(run.Control(0, page, pipeSteering).at("checked"), true);
    EXPECT_EQ(run.Control(0, page, routes).at("selected"), 1);
    EXPECT_EQ(run.Control(0, page, difference).at("position"), 23);
    EXPECT_EQ(run.Control(0, page, differenceText).at("text"), "2.3°");
    EXPECT_EQ(run.Control(0, page, delay).at("position"), 4);
    EXPECT_EQ(run.Control(0, page, delayText).at("text"), "4");
}

TEST(SteeringPage, ChecksNeitherOfTwoThatAreNotMeant)
{
    ViewRun const run(SonarTree(),
                      {Computed(Attribute("RouteSteering", 2)), Computed(Attribute("SteeringMode", -1)), Refresh(1),
                       Look(), Computed(Attribute("RouteSteering", 0)), Computed(Attribute("SteeringMode", 0)),
                       Refresh(2), Look()},
                      Project());
    for (int const id : {activeRoute, localRoute, horizontal, flex}) {
        EXPECT_EQ(run.Control(3, page, id).at("checked"), false) << id;
    }
    EXPECT_EQ(run.Control(7, page, activeRoute).at("checked"), true);
    EXPECT_EQ(run.Control(7, page, localRoute).at("checked"), false);
    EXPECT_EQ(run.Control(7, page, horizontal).at("checked"), true);
    EXPECT_EQ(run.Control(7, page, flex).at("checked"), false);
}

TEST(SteeringPage, CountsWhatAComputationLacksAsZero)
{
    ViewRun const run(SonarTree(), {Look()}, Project(Json::array()));
    EXPECT_EQ(run.Control(0, page, activeRoute).at("checked"), true);
    EXPECT_EQ(run.Control(0, page, horizontal).at("checked"), true);
    EXPECT_EQ(run.Control(0, page, pipeSteering).at("checked"), false);
    EXPECT_EQ(run.Control(0, page, routes).at("selected"), -1);
    EXPECT_EQ(run.Control(0, page, differenceText).at("text"), "0.0°");
    EXPECT_EQ(run.Control(0, page, delay).at("position"), 2);
    EXPECT_EQ(run.Control(0, page, delayText).at("text"), "2");
}

TEST(SteeringPage, LimitsTheDifference)
{
    struct Case
    {
        Json degrees;
        int position;
        char const* text;
    };
    for (auto const& each :
         {Case{2.35, 24, "2.4°"}, Case{7.0, 50, "5.0°"}, Case{-0.04, 0, "0.0°"}, Case{-3.0, 0, "0.0°"},
          Case{0.3, 3, "0.3°"}, Case{5.0, 50, "5.0°"}, Case{1e300, 50, "5.0°"}, Case{"nan", 0, "0.0°"},
          Case{"inf", 50, "5.0°"}, Case{"-inf", 0, "0.0°"}}) {
        ViewRun const run(SonarTree(), {Look()},
                          Project(Json::array({{"PipeRouteSteeringDiff", "double", each.degrees}})));
        EXPECT_EQ(run.Control(0, page, difference).at("position"), each.position) << each.degrees;
        EXPECT_EQ(run.Control(0, page, differenceText).at("text"), each.text) << each.degrees;
    }
}

TEST(SteeringPage, LimitsTheDelay)
{
    for (auto const& [said, shown] : {std::pair{0, 2}, {1, 2}, {2, 2}, {10, 10}, {11, 10}, {-2147483647 - 1, 2}}) {
        ViewRun const run(SonarTree(), {Look()}, Project(Json::array({Attribute("PipeRouteSteeringDelay", said)})));
        EXPECT_EQ(run.Control(0, page, delay).at("position"), shown) << said;
        EXPECT_EQ(run.Control(0, page, delayText).at("text"), std::to_string(shown)) << said;
    }
}

TEST(SteeringPage, OffersPipeSteeringWhereTheVesselDoes)
{
    auto const offered = [](Json const& text) {
        ViewRun const run(SonarTree(), {Look()}, Project(usual, text));
        return run.Control(0, page, pipeSteering).at("visible").get<bool>();
    };
    for (char const* text : {"1,1", "0,1", "1,2", " 1, 2", "+1,+3", "-1,\t4", "1,1 and more", "1,007", "99999999999,1",
                             "1,99999999999999999999999999"}) {
        EXPECT_TRUE(offered(text)) << text;
    }
    for (char const* text : {"", "1", "1,0", "1,", "1 ,1", ",1", "x,1", "1,x", "1;1", "1,-1", "- 1,1", "1,+", "1,- 1",
                             "1,-99999999999999999999999999", "0x1,1"}) {
        EXPECT_FALSE(offered(text)) << text;
    }
    EXPECT_FALSE(offered(nullptr)) << "no such item";
    auto project = Project();
    project["vessels"] = Json::array();
    EXPECT_EQ(ViewRun(SonarTree(), {Look()}, project).Control(0, page, pipeSteering).at("visible"), false);
}

TEST(SteeringPage, LeavesTheBoxAloneWithoutPipeDetection)
{
    ViewRun const run(SonarTree(), {Look(), Click(page, routeSteering), Look()}, Project(usual, "1,0"));
    EXPECT_EQ(run.Control(0, page, pipeSteering).at("checked"), false);
    EXPECT_EQ(run.Control(2, page, pipeSteering).at("enabled"), true);
    // A level below 0 hides the box, which follows all the same.
    ViewRun const below(SonarTree(), {Look(), Click(page, routeSteering), Look()}, Project(usual, "1,-1"));
    EXPECT_EQ(below.Control(0, page, pipeSteering).at("visible"), false);
    EXPECT_EQ(below.Control(0, page, pipeSteering).at("checked"), true);
    EXPECT_EQ(below.Control(2, page, pipeSteering).at("enabled"), false);
    EXPECT_EQ(below.Control(2, page, pipeSteering).at("checked"), false);
}

TEST(SteeringPage, LetsRouteAndPipeSteeringExcludeEachOther)
{
    ViewRun const run(SonarTree(),
                      {Click(page, routeSteering), Look(), Refresh(1), Look(), Click(page, pipeSteering),
                       Click(page, routeSteering), Look(), Click(page, pipeSteering), Look(),
                       Click(page, routeSteering), Click(page, routeSteering), Look()},
                      Project());
    EXPECT_EQ(run.Events(0), Written(With(usual, Attribute("SonarSteering", 1))));
    for (std::size_t const step : {1U, 3U}) {
        EXPECT_EQ(run.Control(step, page, routeSteering).at("checked"), true);
        EXPECT_EQ(run.Control(step, page, pipeSteering).at("enabled"), false);
        EXPECT_EQ(run.Control(step, page, pipeSteering).at("checked"), false);
    }
    EXPECT_EQ(run.Events(4), Json::array()) << "a box that is disabled takes no click";
    EXPECT_EQ(run.Events(5), Written(usual));
    EXPECT_EQ(run.Control(6, page, pipeSteering).at("enabled"), true);
    EXPECT_EQ(run.Control(6, page, pipeSteering).at("checked"), true) << "the stored setting survives";
    EXPECT_EQ(run.Events(7), Written(With(usual, Attribute("PipeRouteSonarSteering", 0))));
    EXPECT_EQ(run.Control(8, page, pipeSteering).at("checked"), false);
    EXPECT_EQ(run.Control(11, page, pipeSteering).at("enabled"), true);
    EXPECT_EQ(run.Control(11, page, pipeSteering).at("checked"), false) << "the click was stored";
}

TEST(SteeringPage, WritesAllThatTheComputationKnows)
{
    auto const other = With(usual, Attribute("SteeringGain", 9));
    ViewRun const run(SonarTree(),
                      {Click(page, activeRoute), Computed(Attribute("SteeringGain", 9)), Click(page, localRoute),
                       Click(page, horizontal), Click(page, flex), Choose(page, routes, 0), Choose(page, routes, 2)},
                      Project());
    EXPECT_EQ(run.Events(0), Written(With(usual, Attribute("RouteSteering", 0))));
    EXPECT_EQ(run.Events(2), Written(other)) << "with what the computation knows by now";
    EXPECT_EQ(run.Events(3), Written(With(other, Attribute("SteeringMode", 0))));
    EXPECT_EQ(run.Events(4), Written(other));
    EXPECT_EQ(run.Events(5), Written(With(other, Attribute("RouteName", "north.rte"))));
    EXPECT_EQ(run.Events(6), Json::array());
}

TEST(SteeringPage, AddsAKeyThatTheComputationLacks)
{
    Json const little = Json::array({Attribute("SteeringGain", 7)});
    ViewRun const run(SonarTree(), {Click(page, flex)}, Project(little));
    EXPECT_EQ(run.Events(0), Written({Attribute("SteeringGain", 7), Attribute("SteeringMode", 1)}));
}

TEST(SteeringPage, WritesAgainWhatIsCheckedAlready)
{
    ViewRun const run(SonarTree(), {Click(page, flex), Click(page, localRoute)}, Project());
    EXPECT_EQ(run.Events(0), Written(usual));
    EXPECT_EQ(run.Events(1), Written(usual));
}

TEST(SteeringPage, LeavesTheSelectionAtAnUnknownRoute)
{
    ViewRun const run(SonarTree(), {Computed(Attribute("RouteName", "west.rte")), Refresh(1), Look()}, Project());
    EXPECT_EQ(run.Control(2, page, routes).at("selected"), 1);
}

TEST(SteeringPage, MovesTheDifferenceAndWritesItAtTheEnd)
{
    ViewRun const run(SonarTree(),
                      {Slide(page, difference, 0), Look(), Slide(page, difference, 3), Slide(page, difference, 1),
                       Look(), Slide(page, difference, 6), Slide(page, difference, 0), Slide(page, difference, 2),
                       Look(), Slide(page, difference, 7), Slide(page, difference, 1), Slide(page, difference, 3),
                       Look(), SlideTo(page, difference, 5, 3), SlideTo(page, difference, 4, 30), Look(),
                       Slide(page, difference, 8), Look()},
                      Project());
    EXPECT_EQ(run.Control(1, page, differenceText).at("text"), "2.2°");
    EXPECT_EQ(run.Control(4, page, difference).at("position"), 24);
    EXPECT_EQ(run.Control(4, page, differenceText).at("text"), "2.4°");
    EXPECT_EQ(run.Control(8, page, difference).at("position"), 0);
    EXPECT_EQ(run.Control(8, page, differenceText).at("text"), "0.0°");
    EXPECT_EQ(run.Control(12, page, difference).at("position"), 50);
    EXPECT_EQ(run.Control(12, page, differenceText).at("text"), "5.0°");
    EXPECT_EQ(run.Control(15, page, difference).at("position"), 3) << "letting go moves nothing";
    EXPECT_EQ(run.Control(15, page, differenceText).at("text"), "0.3°");
    // Three tenths as the product has it, not as 0.3 would be.
    EXPECT_EQ(run.Events(16), Written(With(usual, Attribute("PipeRouteSteeringDiff", 0.30000000000000004))));
    EXPECT_EQ(run.Control(17, page, difference).at("position"), 3);
    for (std::size_t const step : {0U, 2U, 3U, 5U, 6U, 7U, 9U, 10U, 11U, 13U, 14U}) {
        EXPECT_EQ(run.Events(step), Json::array()) << step;
    }
}

TEST(SteeringPage, MovesTheDelayAndWritesItAtTheEnd)
{
    ViewRun const run(SonarTree(),
                      {Slide(page, delay, 2), Look(), Slide(page, delay, 6), Slide(page, delay, 2), Look(),
                       SlideTo(page, delay, 5, 99), SlideTo(page, delay, 4, 3), Look(), Slide(page, delay, 8)},
                      Project());
    EXPECT_EQ(run.Control(1, page, delayText).at("text"), "3");
    EXPECT_EQ(run.Control(4, page, delay).at("position"), 2);
    EXPECT_EQ(run.Control(7, page, delay).at("position"), 10);
    EXPECT_EQ(run.Control(7, page, delayText).at("text"), "10");
    EXPECT_EQ(run.Events(8), Written(With(usual, Attribute("PipeRouteSteeringDelay", 10))));
}

TEST(SteeringPage, KeepsWhatItHadForASonarWithoutAComputation)
{
    auto project = Project();
    project["devices"] = Json::array({{{"id", {1, 78, 1, 1}}, {"name", "First"}, {"attributes", SonarTree()}},
                                      {{"id", {1, 78, 2, 1}}, {"name", "Second"}, {"attributes", SonarTree()}}});
    ViewRun const run(Json(),
                      {Json{{"selected-sonar", {1, 78, 2, 1}}}, Look(), Click(page, pipeSteering),
                       Click(page, routeSteering), Click(page, routeSteering), Look(),
                       Json{{"selected-sonar", {1, 78, 1, 1}}}, Look()},
                      project);
    EXPECT_EQ(run.Control(1, page, pipeSteering).at("visible"), true);
    EXPECT_EQ(run.Control(1, page, difference).at("position"), 23);
    EXPECT_EQ(run.Control(1, page, delay).at("position"), 4);
    EXPECT_EQ(run.Events(2), Json::array());
    EXPECT_EQ(run.Events(3), Json::array());
    EXPECT_EQ(run.Control(5, page, pipeSteering).at("checked"), false) << "stored without a computation, too";
    EXPECT_EQ(run.Control(7, page, pipeSteering).at("checked"), true);
}

} // namespace
} // namespace qx5::test::steering_page_test
