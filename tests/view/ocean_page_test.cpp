// The page "Ocean Menu": absorption, spreading loss and sound velocity.
#include "view_run.h"

#include <gtest/gtest.h>

namespace qx5::test::ocean_page_test {
namespace {

constexpr char const* page = "ocean";

constexpr int absorption = 16920;
constexpr int absorptionText = 16924;
constexpr int spreading = 16922;
constexpr int spreadingText = 16925;
constexpr int velocity = 16921;
constexpr int velocityText = 16923;
constexpr int overrideBox = 28092;
constexpr int filter = 28105;
constexpr int filterCaption = 28106;

constexpr int moving = 5;
constexpr int released = 4;
constexpr int lineRight = 1;
constexpr int ended = 8;

Json Sensor(double metresPerSecond)
{
    return {{"block", {{"id", {1, 40, 1, 1}}, {"items", {{801, 103, 8, metresPerSecond, 0}}}}}};
}

Json Override(bool on, double metresPerSecond)
{
    return Attributes({{"x5SoundVelocityOverride", "bool", on}, {"x5SoundVelocity", "double", metresPerSecond}});
}

TEST(OceanPage, StartsWithItsOwnLimits)
{
    ViewRun const run(SonarTree(), {Json{{"view", "open"}}, Look()});
    EXPECT_EQ(run.Control(1, page, absorption).at("max"), 120);
    EXPECT_EQ(run.Control(1, page, absorption).at("position"), 70);
    EXPECT_EQ(run.Control(1, page, absorptionText).at("text"), "70.0 dB/km");
    EXPECT_EQ(run.Control(1, page, spreading).at("max"), 60);
    EXPECT_EQ(run.Control(1, page, spreading).at("position"), 30);
    EXPECT_EQ(run.Control(1, page, spreadingText).at("text"), "30.0 dB");
    EXPECT_EQ(run.Control(1, page, velocity).at("min"), 1400);
    EXPECT_EQ(run.Control(1, page, velocity).at("max"), 1600);
    EXPECT_EQ(run.Control(1, page, velocity).at("position"), 1500);
    EXPECT_EQ(run.Control(1, page, velocity).at("enabled"), false);
    EXPECT_EQ(run.Control(1, page, filter).at("visible"), false);
    EXPECT_EQ(run.Control(1, page, filterCaption).at("visible"), false);
    EXPECT_EQ(run.Control(1, page, filter).at("items"), Json::parse(R"(["None", "Light", "Normal", "Wizard"])"));
    EXPECT_EQ(run.Control(1, page, filter).at("selected"), -1);
}

TEST(OceanPage, TakesItsLimitsFromTheSonar)
{
    auto settings = With(ModeSettings(), {"MaxAbsorption", "double", 99.9});
    settings = With(settings, {"MaxSpreading", "double", 40.0});
    settings = With(settings,
                    Json::parse(R"(["x5SoundVelocity", [["x5Min", "double", 1350.7], ["x5Max", "double", 1599.9]]])"));
    ViewRun const run(SonarTree(settings), {Look()});
    EXPECT_EQ(run.Control(0, page, absorption).at("max"), 99);
    EXPECT_EQ(run.Control(0, page, 28131).at("text"), "99.9");
    EXPECT_EQ(run.Control(0, page, spreading).at("max"), 40);
    EXPECT_EQ(run.Control(0, page, 28132).at("text"), "40.0");
    EXPECT_EQ(run.Control(0, page, velocity).at("min"), 1350);
    EXPECT_EQ(run.Control(0, page, velocity).at("max"), 1599);
    EXPECT_EQ(run.Control(0, page, velocity).at("position"), 1500);
    EXPECT_EQ(run.Control(0, page, 28129).at("text"), "1350.7");
    EXPECT_EQ(run.Control(0, page, 28130).at("text"), "1599.9");
}

TEST(OceanPage, ShowsTheSonarsVelocityUnderOverride)
{
    ViewRun const run(SonarTree(), {Override(true, 1499.7), Look()});
    EXPECT_EQ(run.Control(1, page, velocityText).at("text"), "1499.7 m/s");
    EXPECT_EQ(run.Control(1, page, velocity).at("position"), 1499);
    EXPECT_EQ(run.Control(1, page, velocity).at("enabled"), true);
    EXPECT_EQ(run.Control(1, page, overrideBox).at("checked"), true);
}

TEST(OceanPage, LeavesTheLabelsOfItsStartWhileTheSonarTellsNoLosses)
{
    ViewRun const run(SonarTree(), {Look()});
    EXPECT_EQ(run.Control(0, page, absorptionText).at("text"), "70.0 dB/km");
    EXPECT_EQ(run.Control(0, page, spreadingText).at("text"), "30.0 dB");
}

TEST(OceanPage, LeavesTheSliderWhileThereIsNoOverride)
{
    ViewRun const run(SonarTree(), {Sensor(1523.4), Attributes({{"x5Absorption", "double", 80.0}}), Look()});
    EXPECT_EQ(run.Control(2, page, velocityText).at("text"), "1523.4 m/s");
    EXPECT_EQ(run.Control(2, page, velocity).at("position"), 1500);
}

TEST(OceanPage, LetsTheLabelFollowTheSensorWithoutOverride)
{
    ViewRun const run(SonarTree(), {Sensor(1523.4), Look(), Override(false, 1450.0), Look()});
    EXPECT_EQ(run.Control(1, page, velocityText).at("text"), "1523.4 m/s");
    EXPECT_EQ(run.Control(1, page, velocity).at("position"), 1500);
    EXPECT_EQ(run.Control(1, page, velocity).at("enabled"), false);
    EXPECT_EQ(run.Control(3, page, velocityText).at("text"), "1523.4 m/s") << "the sonar's value is not shown";
}

TEST(OceanPage, SendsTheVelocityWithTheOverrideInBothDirections)
{
    ViewRun const run(SonarTree(), {Sensor(1512.5), Click(page, overrideBox), Look(), Click(page, overrideBox)});
    EXPECT_EQ(run.Requests(1), Json::parse(R"([[["x5SoundVelocity", "double", 1512.5],
                                                ["x5SoundVelocityOverride", "bool", true]]])"));
    EXPECT_EQ(run.Control(2, page, velocity).at("position"), 1512);
    EXPECT_EQ(run.Control(2, page, velocityText).at("text"), "1512.5 m/s");
    EXPECT_EQ(run.Requests(3), Json::parse(R"([[["x5SoundVelocity", "double", 1512.5],
                                                ["x5SoundVelocityOverride", "bool", false]]])"));
}

TEST(OceanPage, LetsASensorMoveTheSliderUnderOverride)
{
    ViewRun const run(SonarTree(), {Override(true, 1500.0), Sensor(1487.9), Look(), Slide(page, velocity, ended)});
    EXPECT_EQ(run.Control(2, page, velocity).at("position"), 1487);
    EXPECT_EQ(run.Requests(3), Json::parse(R"([[["x5SoundVelocity", "double", 1487.0],
                                                ["x5SoundVelocityOverride", "bool", true]]])"));
}

TEST(OceanPage, MovesOnReleaseAndSendsAtTheEnd)
{
    ViewRun const run(SonarTree(), {SlideTo(page, absorption, released, 33), Look(), Slide(page, absorption, ended),
                                    SlideTo(page, spreading, moving, 20), Slide(page, spreading, lineRight),
                                    Slide(page, spreading, ended), Look()});
    EXPECT_EQ(run.Events(0), Json::array());
    EXPECT_EQ(run.Control(1, page, absorption).at("position"), 33);
    EXPECT_EQ(run.Control(1, page, absorptionText).at("text"), "33.0 dB/km");
    EXPECT_EQ(run.Requests(2), Json::parse(R"([[["x5Absorption", "double", 33.0]]])"));
    EXPECT_EQ(run.Requests(5), Json::parse(R"([[["x5SpreadingLoss", "double", 21.0]]])"));
    EXPECT_EQ(run.Control(6, page, spreadingText).at("text"), "21.0 dB");
}

TEST(OceanPage, FreesTheSliderForASonarThatNeverAnswers)
{
    Json const mute = {
        {"devices",
         Json::array({{{"id", {1, 78, 1, 1}}, {"kind", "plain"}, {"name", "Sonar"}, {"attributes", SonarTree()}}})}};
    ViewRun const run(Json(), {Click(page, overrideBox), Look(), Click(page, overrideBox), Look()}, mute);
    EXPECT_EQ(run.Control(1, page, velocity).at("enabled"), true);
    EXPECT_EQ(run.Control(3, page, velocity).at("enabled"), false);
}

TEST(OceanPage, ShowsTheFilterOfASonarThatHasOne)
{
    ViewRun const run(SonarTree(), {Attributes({{"x5SoundVelocityFilter", "int", 3}}), Look(), Choose(page, filter, 3),
                                    Attributes({{"x5SoundVelocityFilter", "int", 0}}), Look(),
                                    Attributes({{"x5SoundVelocityFilter", "int", 3}}), Choose(page, filter, 0)});
    EXPECT_EQ(run.Control(1, page, filter).at("visible"), true);
    EXPECT_EQ(run.Control(1, page, filterCaption).at("visible"), true);
    EXPECT_EQ(run.Control(1, page, filter).at("selected"), 2) << "Normal";
    EXPECT_EQ(run.Requests(2), Json::parse(R"([[["x5SoundVelocityFilter", "int", 4]]])"));
    EXPECT_EQ(run.Control(4, page, filter).at("visible"), false);
    EXPECT_EQ(run.Requests(6), Json::parse(R"([[["x5SoundVelocityFilter", "int", 1]]])"));
}

TEST(OceanPage, IsLockedWhereTheTrackerGoverns)
{
    auto const tree = With(With(SonarTree(), {"x5SystemMode", "int", 1}), {"x5TrackerPowerGainEnabled", "bool", true});
    ViewRun const run(tree, {Look(), Attributes({{"x5SystemMode", "int", 2}}), Look()});
    EXPECT_EQ(run.Control(0, page, absorption).at("enabled"), false);
    EXPECT_EQ(run.Control(0, page, spreading).at("enabled"), false);
    EXPECT_EQ(run.Control(0, "settings", 16927).at("enabled"), false);
    EXPECT_EQ(run.Control(2, page, absorption).at("enabled"), true);
}

TEST(OceanPage, TakesAnItemOfTheRightFormAlone)
{
    auto const block = [](Json const& item) {
        return Json{{"block", {{"id", {1, 40, 1, 1}}, {"items", Json::array({item})}}}};
    };
    ViewRun const run(SonarTree(), {block({801, 109, 4, 1600.0, 0}), block({801, 103, 8, nullptr, 0}),
                                    block({802, 103, 8, 1600.0, 0}), block({801, 103, 4, 1600.0, 0}),
                                    block({801, 101, 8, 1600, 0}), Look()});
    EXPECT_EQ(run.Control(5, page, velocityText).at("text"), "1500.0 m/s");
}

} // namespace
} // namespace qx5::test::ocean_page_test
