// The page "Tracker": options that are requests of their own, and two numbers that wait for Apply.
#include "view_run.h"

#include <gtest/gtest.h>

namespace qx5::test::tracker_page_test {
namespace {

constexpr char const* page = "tracker";

constexpr int enableTracker = 28133;
constexpr int range = 28134;
constexpr int powerGain = 28135;
constexpr int pulseLength = 28136;
constexpr int coverage = 28137;
constexpr int fixedSwath = 28138;
constexpr int limitCoverage = 28139;
constexpr int swathWidth = 28140;
constexpr int maxCoverage = 28141;
constexpr int apply = 28122;

constexpr int allOptions[]{enableTracker, range, powerGain, pulseLength, coverage, fixedSwath, limitCoverage};

Json PressReturn(int id)
{
    return {{"press-return", {{"page", page}, {"id", id}}}};
}

/// A sonar that says nothing of the tracker but the two numbers.
Json Tracked()
{
    auto tree = SonarTree();
    tree.push_back({"x5TrackerFixedSwathWidth", "double", 20.0});
    tree.push_back({"x5TrackerMaxCoverageAngle", "double", 60.5});
    return tree;
}

Json OneRequest(char const* key, char const* kind, Json const& value)
{
    return Json::array({Json::array({Json::array({key, kind, value})})});
}

Json Numbers(double width, double angle)
{
    return Json::array(
        {Json::array({{"x5TrackerFixedSwathWidth", "double", width}, {"x5TrackerMaxCoverageAngle", "double", angle}})});
}

TEST(TrackerPage, StartsWithItsOwnNumbers)
{
    ViewRun const run(Json::array(), {Json{{"view", "open"}}, Look(), PressReturn(swathWidth)});
    EXPECT_EQ(run.Control(1, page, swathWidth).at("text"), "10");
    EXPECT_EQ(run.Control(1, page, maxCoverage).at("text"), "140");
    EXPECT_EQ(run.Control(1, page, swathWidth).at("edited"), false);
    EXPECT_EQ(run.Control(1, page, maxCoverage).at("edited"), false);
    EXPECT_EQ(run.Control(1, page, apply).at("enabled"), false);
    for (int const id : allOptions) {
        EXPECT_EQ(run.Control(1, page, id).at("checked"), false) << id;
        EXPECT_EQ(run.Control(1, page, id).at("enabled"), true) << id;
    }
    EXPECT_EQ(run.Control(1, page, enableTracker).at("text"), "Enable tracker");
    EXPECT_EQ(run.Control(1, page, range).at("text"), "Range");
    EXPECT_EQ(run.Control(1, page, powerGain).at("text"), "Power, gain, absorption and spreading");
    EXPECT_EQ(run.Control(1, page, pulseLength).at("text"), "Pulse length");
    EXPECT_EQ(run.Control(1, page, coverage).at("text"), "Enable");
    EXPECT_EQ(run.Control(1, page, fixedSwath).at("text"), "Fixed swath width");
    EXPECT_EQ(run.Control(1, page, limitCoverage).at("text"), "Limit coverage angle");
    EXPECT_EQ(run.Requests(2), Numbers(10.0, 140.0));
}

TEST(TrackerPage, ShowsWhatTheSonarSays)
{
    ViewRun const run(Tracked(), {Attributes({{"x5SystemMode", "int", 1},
                                              {"x5TrackerRangeEnabled", "bool", true},
                                              {"x5TrackerPulseLengthEnabled", "bool", true},
                                              {"x5TrackerFixedSwathEnabled", "bool", true}}),
                                  Look(),
                                  Attributes({{"x5SystemMode", "int", 2},
                                              {"x5TrackerRangeEnabled", "bool", false},
                                              {"x5TrackerPowerGainEnabled", "bool", true},
                                              {"x5TrackerPulseLengthEnabled", "int", 1},
                                              {"x5TrackerCoverageAngleEnabled", "bool", true},
                                              {"x5TrackerFixedSwathEnabled", "bool", false},
                                              {"x5TrackerLimitCoverage", "bool", true},
                                              {"x5TrackerFixedSwathWidth", "double", 0.1},
                                              {"x5TrackerMaxCoverageAngle", "double", 123456789.0}}),
                                  Look()});
    auto const checked = [&run](std::size_t step) {
        std::vector<bool> boxes;
        for (int const id : allOptions) {
            boxes.push_back(run.Control(step, page, id).at("checked").get<bool>());
        }
        return boxes;
    };
    EXPECT_EQ(checked(1), (std::vector<bool>{true, true, false, true, false, true, false}));
    EXPECT_EQ(run.Control(1, page, swathWidth).at("text"), "20");
    EXPECT_EQ(run.Control(1, page, maxCoverage).at("text"), "60.5");
    EXPECT_EQ(checked(3), (std::vector<bool>{false, false, true, false, true, false, true}));
    EXPECT_EQ(run.Control(3, page, swathWidth).at("text"), "0.1");
    EXPECT_EQ(run.Control(3, page, maxCoverage).at("text"), "123456789");
    EXPECT_EQ(run.Control(3, page, maxCoverage).at("edited"), false) << "an exchange is no edit";
}

TEST(TrackerPage, ShowsAbsentNumbersAsZero)
{
    ViewRun const run(SonarTree(), {Look(), PressReturn(maxCoverage)});
    EXPECT_EQ(run.Control(0, page, swathWidth).at("text"), "0");
    EXPECT_EQ(run.Control(0, page, maxCoverage).at("text"), "0");
    EXPECT_EQ(run.Requests(1), Numbers(0.0, 0.0));
}

TEST(TrackerPage, UnchecksWhatIsAbsent)
{
    ViewRun const run(Tracked(), {Click(page, range), Attributes({{"x5DiskFree", "int", 12}}), Look()});
    EXPECT_EQ(run.Control(2, page, range).at("checked"), false);
}

TEST(TrackerPage, SendsEachOptionAlone)
{
    ViewRun const run(Tracked(),
                      {Click(page, range), Click(page, powerGain), Click(page, pulseLength), Click(page, coverage),
                       Click(page, fixedSwath), Click(page, limitCoverage), Click(page, range), Look()});
    EXPECT_EQ(run.Requests(0), OneRequest("x5TrackerRangeEnabled", "bool", true));
    EXPECT_EQ(run.Requests(1), OneRequest("x5TrackerPowerGainEnabled", "bool", true));
    EXPECT_EQ(run.Requests(2), OneRequest("x5TrackerPulseLengthEnabled", "bool", true));
    EXPECT_EQ(run.Requests(3), OneRequest("x5TrackerCoverageAngleEnabled", "bool", true));
    EXPECT_EQ(run.Requests(4), OneRequest("x5TrackerFixedSwathEnabled", "bool", true));
    EXPECT_EQ(run.Requests(5), OneRequest("x5TrackerLimitCoverage", "bool", true));
    EXPECT_EQ(run.Requests(6), OneRequest("x5TrackerRangeEnabled", "bool", false));
    for (int const id : allOptions) {
        EXPECT_EQ(run.Control(7, page, id).at("enabled"), true) << "options stay usable with the tracker off: " << id;
    }
    EXPECT_EQ(run.Control(7, page, apply).at("enabled"), false);
}

TEST(TrackerPage, TurnsTheTrackerOnAndOff)
{
    ViewRun const run(With(Tracked(), {"x5SystemMode", "int", 2}),
                      {Look(), Click(page, enableTracker), Click(page, enableTracker)});
    EXPECT_EQ(run.Control(0, page, enableTracker).at("checked"), false);
    EXPECT_EQ(run.Requests(1), OneRequest("x5SystemMode", "int", 1));
    EXPECT_EQ(run.Requests(2), OneRequest("x5SystemMode", "int", 0));
}

TEST(TrackerPage, SendsBothNumbersWhicheverWasEdited)
{
    ViewRun const run(Tracked(), {Type(page, swathWidth, "25.5"), Look(), Click(page, apply), Look(),
                                  Type(page, maxCoverage, "90 deg"), Look(), PressReturn(swathWidth)});
    EXPECT_EQ(run.Events(0), Json::array());
    EXPECT_EQ(run.Control(1, page, swathWidth).at("edited"), true);
    EXPECT_EQ(run.Control(1, page, maxCoverage).at("edited"), false);
    EXPECT_EQ(run.Control(1, page, apply).at("enabled"), true);
    EXPECT_EQ(run.Requests(2), Numbers(25.5, 60.5));
    EXPECT_EQ(run.Control(3, page, swathWidth).at("edited"), false);
    EXPECT_EQ(run.Control(3, page, apply).at("enabled"), false);
    EXPECT_EQ(run.Control(5, page, swathWidth).at("edited"), false);
    EXPECT_EQ(run.Control(5, page, maxCoverage).at("edited"), true);
    EXPECT_EQ(run.Requests(6), Numbers(25.5, 90.0));
}

TEST(TrackerPage, CountsATextThatIsNoNumberAsZero)
{
    ViewRun const run(Tracked(), {Type(page, swathWidth, "wide"), Type(page, maxCoverage, ""), Click(page, apply)});
    EXPECT_EQ(run.Requests(2), Numbers(0.0, 0.0));
}

TEST(TrackerPage, SendsAnOptionWithoutTheNumberThatIsBeingEdited)
{
    ViewRun const run(Tracked(), {Type(page, swathWidth, "25.5"), Click(page, limitCoverage), Look()});
    EXPECT_EQ(run.Requests(1), OneRequest("x5TrackerLimitCoverage", "bool", true));
    EXPECT_EQ(run.Control(2, page, swathWidth).at("edited"), true);
    EXPECT_EQ(run.Control(2, page, swathWidth).at("text"), "25.5");
    EXPECT_EQ(run.Control(2, page, apply).at("enabled"), true);
}

TEST(TrackerPage, LosesAPendingEditToARefresh)
{
    ViewRun const run(Tracked(), {Type(page, swathWidth, "25.5"), Attributes({{"x5DiskFree", "int", 12}}), Look(),
                                  PressReturn(swathWidth)});
    EXPECT_EQ(run.Control(2, page, swathWidth).at("text"), "20");
    EXPECT_EQ(run.Control(2, page, swathWidth).at("edited"), false);
    EXPECT_EQ(run.Control(2, page, apply).at("enabled"), false);
    EXPECT_EQ(run.Requests(3), Numbers(20.0, 60.5));
}

TEST(TrackerPage, SurvivesNumbersThatAreNone)
{
    for (char const* value : {"nan", "inf", "-inf"}) {
        ViewRun const run(Tracked(),
                          {Attributes({{"x5TrackerFixedSwathWidth", "double", value}}), PressReturn(swathWidth)});
        // What the field then shows is no number.
        EXPECT_EQ(run.Requests(1), Numbers(0.0, 60.5)) << value;
    }
}

} // namespace
} // namespace qx5::test::tracker_page_test
