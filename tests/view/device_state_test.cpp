// How the device's tree reaches the pages: active settings, operation modes, what stays and what falls back.
#include "view_run.h"

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

constexpr int modes = 28076;
constexpr int beamWidth = 16930;
constexpr int range = 16926;

std::string ModeName(std::string const& systemText)
{
    ViewRun const run(SonarTree(With(ModeSettings(), {"SystemText", "string", systemText})), {Look()});
    return run.Control(0, "settings", modes).at("items").at(0);
}

TEST(DeviceState, NamesAModeByWhatStandsInBrackets)
{
    EXPECT_EQ(ModeName("Head A (200 kHz)"), "200 kHz");
    EXPECT_EQ(ModeName("Head A"), "Head A");
    EXPECT_EQ(ModeName("Head A (200 kHz"), "Head A (200 kHz");
    EXPECT_EQ(ModeName(") Head (a) (b)"), "a");
    EXPECT_EQ(ModeName("()"), "");
}

TEST(DeviceState, FallsBackToTheFirstSettings)
{
    ViewRun const run(With(SonarTree(), {"DeviceEnum", "int", 1}), {Look()});
    EXPECT_EQ(run.Control(0, "settings", range).at("max"), 2);
    EXPECT_EQ(run.Control(0, "settings", modes).at("selected"), -1) << "no mode bears that enumerator";
}

TEST(DeviceState, TakesTheSettingsOfTheEnumerator)
{
    auto tree = With(SonarTree(), {"DeviceEnum", "int", 1});
    auto second = With(ModeSettings(), {"DeviceEnum", "int", 1});
    second = With(second, Json::parse(R"(["x5SampleRateSet", [["x5RangeSet", "doubles", [1, 2, 3, 4, 5]]]])"));
    tree.push_back({"x5SonarSettings", second});
    ViewRun const run(tree, {Look()});
    EXPECT_EQ(run.Control(0, "settings", range).at("max"), 4);
    EXPECT_EQ(run.Control(0, "settings", modes).at("selected"), 1);
    EXPECT_EQ(run.Control(0, "settings", 16937).at("text"), "0.0") << "the second has no limits of the range";
}

TEST(DeviceState, TakesTheSelectedSampleRate)
{
    auto settings = ModeSettings();
    settings.push_back(Json::parse(R"(["x5SampleRateSet", [["x5RangeSet", "doubles", [10, 20]]]])"));
    ViewRun const run(With(SonarTree(settings), {"x5SampleRateSelection", "int", 1}), {Look()});
    EXPECT_EQ(run.Control(0, "settings", range).at("max"), 1);
}

TEST(DeviceState, ChangesNoLimitsWithoutAnEnumerator)
{
    ViewRun const run(Without(SonarTree(), "DeviceEnum"), {Look()});
    EXPECT_EQ(run.Control(0, "settings", range).at("max"), 41);
    EXPECT_EQ(run.Control(0, "settings", modes).at("items"), Json::array());
    EXPECT_EQ(run.Control(0, "tracker", 28140).at("text"), "0") << "values are applied all the same";
}

TEST(DeviceState, ChangesNoLimitsWhereTheActiveSettingsAreEmpty)
{
    ViewRun const run(Json::parse(R"([["DeviceEnum", "int", 0], ["x5SonarSettings", "none"]])"), {Look()});
    EXPECT_EQ(run.Control(0, "settings", range).at("max"), 41);
}

TEST(DeviceState, SkipsEmptyModesAndGoesOn)
{
    auto tree = SonarTree();
    tree.push_back(Json::parse(R"(["x5SonarSettings", "none"])"));
    tree.push_back(
        {"x5SonarSettings", With(With(ModeSettings(), {"SystemText", "string", "Deep"}), {"DeviceEnum", "int", 3})});
    tree.push_back({"x5EnumIsFixed", "bool", true});
    ViewRun const run(tree, {Look()});
    EXPECT_EQ(run.Control(0, "settings", modes).at("items"), Json::parse(R"(["200 kHz", "Deep"])"));
    EXPECT_EQ(run.Control(0, "settings", modes).at("enabled"), false);
}

TEST(DeviceState, KeepsVariableBeamWidthsOfAnEarlierSonar)
{
    auto const fixed = With(ModeSettings(), Json::parse(R"(["x5BeamWidthSetX", [["x5Variable", "bool", false]]])"));
    ViewRun const run(SonarTree(), {Attributes(Json::array({{"x5SonarSettings", fixed}})), Look()});
    EXPECT_EQ(run.Control(1, "settings", beamWidth).at("visible"), true);
    EXPECT_EQ(run.Control(1, "settings", beamWidth).at("max"), 2);
    EXPECT_EQ(run.Control(1, "settings", 16933).at("text"), "2.0\u00B0");
}

TEST(DeviceState, BringsGainModeAndPulseTypeAlongWithOtherKeysOnly)
{
    ViewRun const run(SonarTree(), {Attributes({{"x5PulseType", "int", 1}}), Look(),
                                    Attributes({{"x5Gain", "double", 3.0}}), Look()});
    EXPECT_EQ(run.Control(1, "settings", 28088).at("selected"), 0);
    EXPECT_EQ(run.Control(3, "settings", 28088).at("selected"), 1);
}

TEST(DeviceState, RefreshesBetweenTwoEchoesOfOneRequest)
{
    // After an event of its slider the page drops the pulse length of two refreshes, so it tells how many there were.
    constexpr int pulseLength = 16931;
    constexpr int pulseLengthText = 16945;
    auto const tree = With(SonarTree(), {"x5PulseLength", "double", 0.0001});
    Json const two = Json::parse(R"([["x5Range", "double", 100], ["x5Power", "double", 200]])");
    ViewRun const run(tree, {SlideTo("settings", pulseLength, 5, 15000), Json{{"host-request", two}}, Look(),
                             Json{{"host-request", two}}, Look()});
    EXPECT_EQ(run.Control(2, "settings", pulseLengthText).at("text"), "110 \u00B5s");
    EXPECT_EQ(run.Control(4, "settings", pulseLengthText).at("text"), "100 \u00B5s") << "two refreshes went before";
}

} // namespace
} // namespace qx5::test
