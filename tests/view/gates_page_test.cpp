// The page "Sonar Gates": limits that are forced into what the sonar can do, sliders and options that act at once.
#include "view_run.h"

#include <gtest/gtest.h>

namespace qx5::test::gates_page_test {
namespace {

constexpr char const* page = "gates";

constexpr int useDepth = 28111;
constexpr int minDepth = 28112;
constexpr int maxDepth = 28113;
constexpr int tilt = 28125;
constexpr int tiltText = 28123;
constexpr int useRange = 28114;
constexpr int minRange = 28115;
constexpr int maxRange = 28116;
constexpr int useAdaptive = 28117;
constexpr int searchMin = 28118;
constexpr int searchMax = 28119;
constexpr int followSeafloor = 28120;
constexpr int windowSize = 28100;
constexpr int windowSizeText = 28124;
constexpr int apply = 28122;

/// What a field starts with as the least value of its gate: single precision, widened.
constexpr double leastAtFirst = 0.10000000149011612;

Json PressReturn(int id)
{
    return {{"press-return", {{"page", page}, {"id", id}}}};
}

Json GateLimits(char const* gate, double least, double window)
{
    return {gate, {{"x5MinValue", "double", least}, {"x5MinWindow", "double", window}}};
}

/// A sample rate at which the sonar reaches that far.
Json RateSet(Json const& greatest)
{
    Json const range = {"x5Range", Json::array({{"x5Max", "double", greatest}})};
    return {"x5SampleRateSet", Json::array({range})};
}

/// One mode whose gates reach from 0.1 m to `greatest` and open at least 2 m.
Json GateSettings(double greatest)
{
    auto settings = With(ModeSettings(), RateSet(greatest));
    settings = With(settings, GateLimits("x5DepthGate", 0.1, 2.0));
    settings = With(settings, GateLimits("x5RangeGate", 0.1, 2.0));
    return With(settings, GateLimits("x5NadirGate", 0.1, 2.0));
}

/// A sonar with gates up to 100 m, all of which are set.
Json Gated()
{
    auto tree = SonarTree(GateSettings(100.0));
    tree.push_back({"x5MinDepthGate", "double", 5.0});
    tree.push_back({"x5MaxDepthGate", "double", 50.0});
    tree.push_back({"x5MinRangeGate", "double", 6.0});
    tree.push_back({"x5MaxRangeGate", "double", 60.0});
    tree.push_back({"x5AGSearchMin", "double", 7.0});
    tree.push_back({"x5AGSearchMax", "double", 70.0});
    return tree;
}

/// Six limits as one request, depth, range and search.
Json Limits(std::vector<double> const& values)
{
    return Json::array({Json::array({{"x5MinDepthGate", "double", values.at(0)},
                                     {"x5MaxDepthGate", "double", values.at(1)},
                                     {"x5MinRangeGate", "double", values.at(2)},
                                     {"x5MaxRangeGate", "double", values.at(3)},
                                     {"x5AGSearchMin", "double", values.at(4)},
                                     {"x5AGSearchMax", "double", values.at(5)}})});
}

/// What Apply asks for after these edits of a gated sonar.
Json Applied(std::vector<std::pair<int, std::string>> const& edits, Json const& tree = Gated())
{
    std::vector<Json> steps;
    for (auto const& [id, text] : edits) {
        steps.push_back(Type(page, id, text));
    }
    steps.push_back(Click(page, apply));
    return ViewRun(tree, steps).Requests(edits.size());
}

Json OneRequest(char const* key, char const* kind, Json const& value)
{
    return Json::array({Json::array({Json::array({key, kind, value})})});
}

TEST(GatesPage, StartsCleanAndEmpty)
{
    ViewRun const run(Json::array(), {Json{{"view", "open"}}, Look()});
    for (int const id : {minDepth, maxDepth, minRange, maxRange, searchMin, searchMax}) {
        EXPECT_EQ(run.Control(1, page, id).at("text"), "") << id;
        EXPECT_EQ(run.Control(1, page, id).at("edited"), false) << id;
        EXPECT_EQ(run.Control(1, page, id).at("enabled"), true) << id;
    }
    for (int const id : {useDepth, useRange, useAdaptive, followSeafloor}) {
        EXPECT_EQ(run.Control(1, page, id).at("checked"), false) << id;
    }
    EXPECT_EQ(run.Control(1, page, useDepth).at("text"), "Use depth gate");
    EXPECT_EQ(run.Control(1, page, useRange).at("text"), "Use range gate");
    EXPECT_EQ(run.Control(1, page, useAdaptive).at("text"), "Use adaptive gate");
    EXPECT_EQ(run.Control(1, page, followSeafloor).at("text"), "Follow seafloor");
    EXPECT_EQ(run.Control(1, page, apply).at("text"), "Apply");
    EXPECT_EQ(run.Control(1, page, apply).at("enabled"), false);
    EXPECT_EQ(run.Control(1, page, tiltText).at("text"), "0°");
    EXPECT_EQ(run.Control(1, page, windowSizeText).at("text"), "5%");
    EXPECT_EQ(run.Control(1, page, 28126).at("text"), "5%");
    EXPECT_EQ(run.Control(1, page, 28127).at("text"), "100%");
    for (int const id : {tilt, windowSize}) {
        EXPECT_EQ(run.Control(1, page, id).at("min"), 0) << id;
        EXPECT_EQ(run.Control(1, page, id).at("max"), 100) << id;
        EXPECT_EQ(run.Control(1, page, id).at("position"), 0) << id;
    }
}

TEST(GatesPage, SendsItsDefaultsBeforeASonarHasAnswered)
{
    ViewRun const run(Json::array(), {Json{{"view", "open"}}, Type(page, maxDepth, "5"), Click(page, apply),
                                      Type(page, minDepth, "5"), Click(page, apply)});
    double const least = leastAtFirst + 2.0;
    EXPECT_EQ(run.Requests(2), Limits({0.0, least, 0.0, least, 0.0, least}));
    EXPECT_EQ(run.Requests(4), Limits({-2.0, 5.0, 0.0, least, 0.0, least}));
}

TEST(GatesPage, ShowsWhatTheSonarSays)
{
    ViewRun const run(Gated(), {Attributes({{"x5MinDepthGate", "double", 0.25},
                                            {"x5MaxDepthGate", "double", 80.06},
                                            {"x5MinRangeGate", "double", 0.35},
                                            {"x5MaxRangeGate", "double", 1234.5},
                                            {"x5AGSearchMin", "double", -1.0},
                                            {"x5AGSearchMax", "double", 0.75},
                                            {"x5DepthGateTilt", "double", -12.6},
                                            {"x5AGWindowSize", "double", 33.4},
                                            {"x5DepthFilterEnabled", "bool", true},
                                            {"x5RangeFilterEnabled", "bool", true},
                                            {"x5AGDepthFilterFixed", "bool", true}}),
                                Look(),
                                Attributes({{"x5DepthFilterEnabled", "bool", false},
                                            {"x5RangeFilterEnabled", "bool", false},
                                            {"x5AdaptiveGateEnabled", "bool", true},
                                            {"x5AGDepthFilterFixed", "bool", false}}),
                                Look()});
    EXPECT_EQ(run.Control(1, page, minDepth).at("text"), "0.2") << "halves to even";
    EXPECT_EQ(run.Control(1, page, maxDepth).at("text"), "80.1");
    EXPECT_EQ(run.Control(1, page, minRange).at("text"), "0.3") << "0.35 lies a little below";
    EXPECT_EQ(run.Control(1, page, maxRange).at("text"), "1234.5");
    EXPECT_EQ(run.Control(1, page, searchMin).at("text"), "-1.0");
    EXPECT_EQ(run.Control(1, page, searchMax).at("text"), "0.8");
    EXPECT_EQ(run.Control(1, page, tilt).at("min"), -30);
    EXPECT_EQ(run.Control(1, page, tilt).at("max"), 30);
    EXPECT_EQ(run.Control(1, page, tilt).at("position"), -13);
    EXPECT_EQ(run.Control(1, page, tiltText).at("text"), "-13°");
    EXPECT_EQ(run.Control(1, page, windowSize).at("min"), 5);
    EXPECT_EQ(run.Control(1, page, windowSize).at("max"), 100);
    EXPECT_EQ(run.Control(1, page, windowSize).at("position"), 33);
    EXPECT_EQ(run.Control(1, page, windowSizeText).at("text"), "33%");
    EXPECT_EQ(run.Control(1, page, useDepth).at("checked"), true);
    EXPECT_EQ(run.Control(1, page, useRange).at("checked"), true);
    EXPECT_EQ(run.Control(1, page, useAdaptive).at("checked"), false);
    EXPECT_EQ(run.Control(1, page, followSeafloor).at("checked"), false);
    EXPECT_EQ(run.Control(3, page, useDepth).at("checked"), false);
    EXPECT_EQ(run.Control(3, page, useRange).at("checked"), false);
    EXPECT_EQ(run.Control(3, page, useAdaptive).at("checked"), true);
    EXPECT_EQ(run.Control(3, page, followSeafloor).at("checked"), true);
}

TEST(GatesPage, ShowsAbsentValuesAsZeroAndFollowsTheSeafloor)
{
    ViewRun const run(SonarTree(), {Look()});
    EXPECT_EQ(run.Control(0, page, minDepth).at("text"), "0.0");
    EXPECT_EQ(run.Control(0, page, searchMax).at("text"), "0.0");
    EXPECT_EQ(run.Control(0, page, followSeafloor).at("checked"), true);
    EXPECT_EQ(run.Control(0, page, tilt).at("position"), 0);
    EXPECT_EQ(run.Control(0, page, tiltText).at("text"), " 0°");
    EXPECT_EQ(run.Control(0, page, windowSize).at("position"), 5);
    EXPECT_EQ(run.Control(0, page, windowSizeText).at("text"), " 0%") << "the label shows the attribute";
}

TEST(GatesPage, RoundsThePositionAndShowsTheAttribute)
{
    auto const at = [](double degrees, double percent) {
        return Attributes({{"x5DepthGateTilt", "double", degrees}, {"x5AGWindowSize", "double", percent}});
    };
    ViewRun const run(Gated(),
                      {at(2.5, 5.0), Look(), at(-2.5, 5.5), Look(), at(-30.0, 100.0), Look(), at(45.0, 250.0), Look()});
    EXPECT_EQ(run.Control(1, page, tilt).at("position"), 3);
    EXPECT_EQ(run.Control(1, page, tiltText).at("text"), " 2°");
    EXPECT_EQ(run.Control(1, page, windowSizeText).at("text"), " 5%");
    EXPECT_EQ(run.Control(3, page, tilt).at("position"), -2);
    EXPECT_EQ(run.Control(3, page, tiltText).at("text"), "-2°");
    EXPECT_EQ(run.Control(3, page, windowSize).at("position"), 6);
    EXPECT_EQ(run.Control(3, page, windowSizeText).at("text"), " 6%");
    EXPECT_EQ(run.Control(5, page, tiltText).at("text"), "-30°");
    EXPECT_EQ(run.Control(5, page, windowSizeText).at("text"), "100%");
    EXPECT_EQ(run.Control(7, page, tilt).at("position"), 30);
    EXPECT_EQ(run.Control(7, page, tiltText).at("text"), "45°");
    EXPECT_EQ(run.Control(7, page, windowSize).at("position"), 100);
    EXPECT_EQ(run.Control(7, page, windowSizeText).at("text"), "250%");
}

TEST(GatesPage, SurvivesNumbersThatAreNone)
{
    for (auto const& [value, text, tiltAt, windowAt] :
         {std::tuple{"nan", "nan", 0, 5}, std::tuple{"inf", "inf", 30, 100}, std::tuple{"-inf", "-inf", -30, 5}}) {
        ViewRun const run(Gated(), {Attributes({{"x5MinDepthGate", "double", value},
                                                {"x5DepthGateTilt", "double", value},
                                                {"x5AGWindowSize", "double", value}}),
                                    Look()});
        EXPECT_EQ(run.Control(1, page, minDepth).at("text"), text);
        EXPECT_EQ(run.Control(1, page, tilt).at("position"), tiltAt) << value;
        EXPECT_EQ(run.Control(1, page, windowSize).at("position"), windowAt) << value;
    }
}

TEST(GatesPage, KeepsAnEditedMinimumAsFarAsTheGateOpens)
{
    EXPECT_EQ(Applied({{minDepth, "99.5"}}), Limits({98.0, 100.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "0"}}), Limits({0.1, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "49.5"}}), Limits({49.5, 51.5, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "20"}}), Limits({20.0, 50.0, 6.0, 60.0, 7.0, 70.0}));
}

TEST(GatesPage, KeepsAnEditedMaximumAsFarAsTheGateOpens)
{
    EXPECT_EQ(Applied({{maxDepth, "1"}}), Limits({2.1 - 2.0, 2.1, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{maxDepth, "150"}}), Limits({5.0, 100.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{maxDepth, "6.5"}}), Limits({4.5, 6.5, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{maxRange, "150"}}), Limits({5.0, 50.0, 6.0, 100.0, 7.0, 70.0}));
}

TEST(GatesPage, TakesTheSideThatWasTouchedLast)
{
    EXPECT_EQ(Applied({{maxDepth, "30"}, {minDepth, "40"}}), Limits({40.0, 42.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "40"}, {maxDepth, "30"}}), Limits({28.0, 30.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "40"}, {minRange, "90"}, {maxDepth, "30"}}),
              Limits({28.0, 30.0, 90.0, 92.0, 7.0, 70.0}));
}

TEST(GatesPage, LetsTheRangeGateDecideWhichSideOfTheSearchHolds)
{
    EXPECT_EQ(Applied({{searchMin, "90"}}), Limits({5.0, 50.0, 6.0, 60.0, 68.0, 70.0}));
    EXPECT_EQ(Applied({{maxRange, "61"}, {searchMin, "90"}}), Limits({5.0, 50.0, 6.0, 61.0, 68.0, 70.0}));
    EXPECT_EQ(Applied({{minRange, "8"}, {searchMin, "90"}}), Limits({5.0, 50.0, 8.0, 60.0, 90.0, 92.0}));
    EXPECT_EQ(Applied({{minRange, "8"}, {searchMax, "3"}}), Limits({5.0, 50.0, 8.0, 60.0, 7.0, 9.0}));
}

TEST(GatesPage, ReadsTheNumberThatATextBeginsWith)
{
    EXPECT_EQ(Applied({{minDepth, "abc"}}), Limits({0.1, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, ""}}), Limits({0.1, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "12.5abc"}}), Limits({12.5, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "  7"}}), Limits({7.0, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "2e1"}}), Limits({20.0, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "0x10"}}), Limits({0.1, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "inf"}}), Limits({0.1, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "nan"}}), Limits({0.1, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "7,5"}}), Limits({7.0, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(Applied({{minDepth, "1e999"}}), Limits({98.0, 100.0, 6.0, 60.0, 7.0, 70.0}));
}

TEST(GatesPage, MarksAnEditUntilItIsApplied)
{
    ViewRun const run(Gated(), {Type(page, minDepth, "5.0"), Look(), Type(page, maxRange, "80"), Look(),
                                Click(page, apply), Look(), Click(page, apply)});
    EXPECT_EQ(run.Control(1, page, minDepth).at("edited"), true) << "the same text counts as an edit";
    EXPECT_EQ(run.Control(1, page, maxDepth).at("edited"), false);
    EXPECT_EQ(run.Control(1, page, apply).at("enabled"), true);
    EXPECT_EQ(run.Control(3, page, minDepth).at("edited"), true);
    EXPECT_EQ(run.Control(3, page, maxRange).at("edited"), true);
    EXPECT_EQ(run.Requests(4).size(), 1U);
    EXPECT_EQ(run.Control(5, page, minDepth).at("edited"), false);
    EXPECT_EQ(run.Control(5, page, maxRange).at("edited"), false);
    EXPECT_EQ(run.Control(5, page, apply).at("enabled"), false);
    EXPECT_EQ(run.Requests(6), Json::array()) << "Apply cannot be pressed";
}

TEST(GatesPage, AppliesOnReturnEditedOrNot)
{
    ViewRun const run(Gated(), {PressReturn(searchMax), Type(page, minDepth, "99.5"), PressReturn(maxRange), Look()});
    EXPECT_EQ(run.Requests(0), Limits({5.0, 50.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(run.Requests(2), Limits({98.0, 100.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(run.Control(3, page, minDepth).at("edited"), false);
    EXPECT_EQ(run.Control(3, page, apply).at("enabled"), false);
}

TEST(GatesPage, KeepsWhichSideWasEditedAfterApply)
{
    ViewRun const run(Gated(), {Type(page, minDepth, "99.5"), Click(page, apply), PressReturn(minDepth)});
    // Nothing came back: the field still holds what was typed, and the minimum still is the side that holds.
    EXPECT_EQ(run.Requests(2), Limits({98.0, 100.0, 6.0, 60.0, 7.0, 70.0}));
}

TEST(GatesPage, LosesAPendingEditToARefresh)
{
    ViewRun const run(Gated(), {Type(page, minDepth, "99.5"), Type(page, minRange, "59"),
                                Attributes({{"x5DiskFree", "int", 12}}), Look(), PressReturn(maxDepth)});
    EXPECT_EQ(run.Control(3, page, minDepth).at("text"), "5.0");
    EXPECT_EQ(run.Control(3, page, minDepth).at("edited"), false);
    EXPECT_EQ(run.Control(3, page, minRange).at("text"), "6.0");
    EXPECT_EQ(run.Control(3, page, apply).at("enabled"), false);
    EXPECT_EQ(run.Requests(4), Limits({5.0, 50.0, 6.0, 60.0, 7.0, 70.0}));
}

TEST(GatesPage, LetsTheMaximumHoldAfterARefresh)
{
    // The sonar's own gate is narrower than it can be: with the minimum edited last its maximum would rise.
    auto const tree = With(With(Gated(), {"x5MinDepthGate", "double", 30.0}), {"x5MaxDepthGate", "double", 31.0});
    ViewRun const run(tree, {Type(page, minDepth, "30"), Attributes({{"x5DiskFree", "int", 12}}), PressReturn(minDepth),
                             Type(page, minDepth, "30.0"), PressReturn(minDepth)});
    EXPECT_EQ(run.Requests(2), Limits({29.0, 31.0, 6.0, 60.0, 7.0, 70.0}));
    EXPECT_EQ(run.Requests(4), Limits({30.0, 32.0, 6.0, 60.0, 7.0, 70.0}));
}

TEST(GatesPage, TakesTheLimitsOfEachGate)
{
    auto settings = With(GateSettings(100.0), GateLimits("x5DepthGate", 1.0, 3.0));
    settings = With(settings, GateLimits("x5RangeGate", 2.0, 4.0));
    settings = With(settings, GateLimits("x5NadirGate", 4.0, 8.0));
    auto tree = Gated();
    tree = With(tree, {"x5SonarSettings", settings});
    EXPECT_EQ(Applied({{maxDepth, "0"}, {maxRange, "0"}, {searchMax, "0"}}, tree),
              Limits({1.0, 4.0, 2.0, 6.0, 4.0, 12.0}));
}

TEST(GatesPage, CountsAbsentLimitsAsZero)
{
    auto settings = Without(GateSettings(100.0), "x5DepthGate");
    settings = With(settings, {"x5RangeGate", Json::array({{"x5MinWindow", "double", 4.0}})});
    settings = With(settings, {"x5NadirGate", {{"x5MinValue", "double", 4.0}, {"x5MinWindow", "int", 9}}});
    auto const tree = With(Gated(), {"x5SonarSettings", settings});
    EXPECT_EQ(Applied({{maxDepth, "-1"}, {maxRange, "-1"}, {searchMax, "-1"}}, tree),
              Limits({0.0, 0.0, 0.0, 4.0, 4.0, 4.0}));
}

TEST(GatesPage, TakesTheLimitsOfTheActiveMode)
{
    auto tree = With(Gated(), {"DeviceEnum", "int", 1});
    tree.push_back({"x5SonarSettings", With(GateSettings(40.0), GateLimits("x5DepthGate", 0.5, 10.0))});
    EXPECT_EQ(Applied({{minDepth, "39"}}, tree), Limits({30.0, 50.0, 6.0, 40.0, 7.0, 40.0}));
    // Without settings of that number the first ones hold.
    EXPECT_EQ(Applied({{minDepth, "99"}}, With(tree, {"DeviceEnum", "int", 2})),
              Limits({98.0, 100.0, 6.0, 60.0, 7.0, 70.0}));
}

TEST(GatesPage, TakesTheGreatestRangeOfTheActiveSampleRate)
{
    auto settings = GateSettings(100.0);
    settings.push_back(RateSet(25.0));
    auto const tree = With(With(Gated(), {"x5SonarSettings", settings}), {"x5SampleRateSelection", "int", 1});
    EXPECT_EQ(Applied({{maxDepth, "60"}}, tree), Limits({5.0, 25.0, 6.0, 25.0, 7.0, 25.0}));
    // A sample rate that is not there reaches nowhere: the gates are as narrow and as near as can be.
    EXPECT_EQ(Applied({{maxDepth, "60"}}, With(tree, {"x5SampleRateSelection", "int", 2})),
              Limits({2.1 - 2.0, 2.1, 2.1 - 2.0, 2.1, 2.1 - 2.0, 2.1}));
    EXPECT_EQ(Applied({{maxDepth, "60"}}, With(tree, {"x5SampleRateSelection", "int", -1})),
              Limits({2.1 - 2.0, 2.1, 2.1 - 2.0, 2.1, 2.1 - 2.0, 2.1}));
}

TEST(GatesPage, SurvivesLimitsThatAreNoNumbers)
{
    for (char const* value : {"nan", "inf", "-inf"}) {
        auto const gate = [value](char const* key) {
            return Json{key, {{"x5MinValue", "double", value}, {"x5MinWindow", "double", value}}};
        };
        auto settings = With(ModeSettings(), RateSet(value));
        settings = With(With(With(settings, gate("x5DepthGate")), gate("x5RangeGate")), gate("x5NadirGate"));
        auto const tree = With(Gated(), {"x5SonarSettings", settings});
        EXPECT_EQ(Applied({{minDepth, "5"}, {minRange, "5"}}, tree).size(), 1U) << value;
        EXPECT_EQ(Applied({{maxDepth, "5"}}, tree).size(), 1U) << value;
    }
}

TEST(GatesPage, LetsTheAdaptiveGateStandAlone)
{
    auto const enables = [](bool depth, bool range, bool adaptive) {
        return Json::array({Json::array({{"x5DepthFilterEnabled", "bool", depth},
                                         {"x5RangeFilterEnabled", "bool", range},
                                         {"x5AdaptiveGateEnabled", "bool", adaptive},
                                         {"x5AGDepthFilterEnabled", "bool", adaptive}})});
    };
    ViewRun const run(Gated(), {Click(page, useDepth), Click(page, useRange), Look(), Click(page, useAdaptive), Look(),
                                Click(page, useRange), Look(), Click(page, useRange)});
    EXPECT_EQ(run.Requests(0), enables(true, false, false));
    EXPECT_EQ(run.Requests(1), enables(true, true, false));
    EXPECT_EQ(run.Control(2, page, useDepth).at("checked"), true);
    EXPECT_EQ(run.Control(2, page, useRange).at("checked"), true);
    EXPECT_EQ(run.Requests(3), enables(false, false, true));
    EXPECT_EQ(run.Control(4, page, useDepth).at("checked"), false);
    EXPECT_EQ(run.Control(4, page, useRange).at("checked"), false);
    EXPECT_EQ(run.Control(4, page, useAdaptive).at("checked"), true);
    EXPECT_EQ(run.Requests(5), enables(false, true, false));
    EXPECT_EQ(run.Control(6, page, useAdaptive).at("checked"), false);
    EXPECT_EQ(run.Requests(7), enables(false, false, false));
}

TEST(GatesPage, AsksToFollowTheSeafloorByTheOppositeKey)
{
    auto const tree = With(Gated(), {"x5AGDepthFilterFixed", "bool", true});
    ViewRun const run(tree, {Click(page, followSeafloor), Click(page, followSeafloor)});
    EXPECT_EQ(run.Requests(0), OneRequest("x5AGDepthFilterFixed", "bool", false));
    EXPECT_EQ(run.Requests(1), OneRequest("x5AGDepthFilterFixed", "bool", true));
}

TEST(GatesPage, MovesTheTiltAndSendsItAtTheEnd)
{
    ViewRun const run(Gated(), {Slide(page, tilt, 0),
                                Look(),
                                Slide(page, tilt, 3),
                                Slide(page, tilt, 1),
                                Look(),
                                Slide(page, tilt, 6),
                                Slide(page, tilt, 0),
                                Slide(page, tilt, 2),
                                Look(),
                                Slide(page, tilt, 8),
                                Slide(page, tilt, 7),
                                Slide(page, tilt, 1),
                                Slide(page, tilt, 3),
                                Look(),
                                SlideTo(page, tilt, 5, 12),
                                SlideTo(page, tilt, 4, 20),
                                Look(),
                                Slide(page, tilt, 8),
                                SlideTo(page, tilt, 5, 99),
                                Slide(page, tilt, 8)});
    EXPECT_EQ(run.Control(1, page, tilt).at("position"), -1);
    EXPECT_EQ(run.Control(1, page, tiltText).at("text"), "-1°");
    EXPECT_EQ(run.Control(4, page, tilt).at("position"), 1);
    EXPECT_EQ(run.Control(4, page, tiltText).at("text"), " 1°");
    EXPECT_EQ(run.Control(8, page, tilt).at("position"), -30);
    EXPECT_EQ(run.Control(8, page, tiltText).at("text"), "-30°");
    EXPECT_EQ(run.Requests(9), OneRequest("x5DepthGateTilt", "double", -30.0));
    EXPECT_EQ(run.Control(13, page, tilt).at("position"), 30);
    EXPECT_EQ(run.Control(16, page, tilt).at("position"), 12) << "letting go moves nothing";
    EXPECT_EQ(run.Control(16, page, tiltText).at("text"), "12°");
    EXPECT_EQ(run.Requests(17), OneRequest("x5DepthGateTilt", "double", 12.0));
    EXPECT_EQ(run.Requests(19), OneRequest("x5DepthGateTilt", "double", 30.0));
    for (std::size_t const step : {0U, 2U, 3U, 5U, 6U, 7U, 10U, 11U, 12U, 14U, 15U, 18U}) {
        EXPECT_EQ(run.Events(step), Json::array()) << step;
    }
}

TEST(GatesPage, MovesTheWindowSizeAndSendsItAtTheEnd)
{
    ViewRun const run(Gated(), {SlideTo(page, windowSize, 5, 7), Look(), Slide(page, windowSize, 2),
                                Slide(page, windowSize, 2), Slide(page, windowSize, 2), Look(),
                                Slide(page, windowSize, 8), Slide(page, windowSize, 7), Slide(page, windowSize, 8)});
    EXPECT_EQ(run.Control(1, page, windowSizeText).at("text"), " 7%");
    EXPECT_EQ(run.Control(5, page, windowSize).at("position"), 5);
    EXPECT_EQ(run.Control(5, page, windowSizeText).at("text"), " 5%");
    EXPECT_EQ(run.Requests(6), OneRequest("x5AGWindowSize", "double", 5.0));
    EXPECT_EQ(run.Requests(8), OneRequest("x5AGWindowSize", "double", 100.0));
}

TEST(GatesPage, JumpsBackWhenTheSonarSpeaksDuringADrag)
{
    auto const tree = With(Gated(), {"x5DepthGateTilt", "double", -8.0});
    ViewRun const run(tree, {SlideTo(page, tilt, 5, 12), Attributes({{"x5DiskFree", "int", 12}}), Look(),
                             SlideTo(page, tilt, 5, 13), Look(), Slide(page, tilt, 8)});
    EXPECT_EQ(run.Control(2, page, tilt).at("position"), -8);
    EXPECT_EQ(run.Control(2, page, tiltText).at("text"), "-8°");
    EXPECT_EQ(run.Control(4, page, tilt).at("position"), 13);
    EXPECT_EQ(run.Requests(5), OneRequest("x5DepthGateTilt", "double", 13.0));
}

} // namespace
} // namespace qx5::test::gates_page_test
