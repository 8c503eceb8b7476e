// How the device's tree reaches the pages: active settings, operation modes, what stays and what falls back.
#include "view_run.h"

#include <gtest/gtest.h>

namespace qx5::test::device_state_test {
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
    EXPECT_EQ(ModeName("Head A)"), "Head A)");
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

TEST(DeviceState, FollowsAChangeOfTheEnumerator)
{
    auto tree = With(SonarTree(), {"x5SampleRateSelection", "int", 0});
    auto second = With(ModeSettings(), {"DeviceEnum", "int", 1});
    second = With(second, Json::parse(R"(["x5SampleRateSet", [["x5RangeSet", "doubles", [1, 2, 3, 4, 5]],
                                          ["x5Range", [["x5Max", "double", 77]]]]])"));
    second =
        With(second, Json::parse(R"(["x5DepthGate", [["x5MinValue", "double", 3], ["x5MinWindow", "double", 1]]])"));
    tree.push_back({"x5SonarSettings", second});
    ViewRun const run(
        tree, {Attributes({{"DeviceEnum", "int", 1}}), Look(), Type("gates", 28113, "100"), Click("gates", 28122)});
    EXPECT_EQ(run.Control(1, "settings", range).at("max"), 4);
    EXPECT_EQ(run.Control(1, "settings", modes).at("selected"), 1);
    EXPECT_EQ(run.Requests(3).at(0).at(1), Json::parse(R"(["x5MaxDepthGate", "double", 77.0])"));
}

TEST(DeviceState, CountsLimitsThatAreMissingAsZero)
{
    ViewRun const run(
        Json::parse(R"([["DeviceEnum", "int", 0], ["x5SonarSettings", [["SystemText", "string", "bare"]]]])"),
        {Look()});
    auto const& settings = run.Controls(0).at("settings");
    auto const text = [&](int id) { return settings.at(std::to_string(id)).at("text").get<std::string>(); };
    auto const greatest = [&](int id) { return settings.at(std::to_string(id)).at("max").get<int>(); };
    EXPECT_EQ(greatest(range), 0);
    EXPECT_EQ(text(16937), "0.0");
    EXPECT_EQ(text(16936), "0.0");
    EXPECT_EQ(greatest(16927), 1) << "off, and 0 dB";
    EXPECT_EQ(text(16939), "0");
    EXPECT_EQ(text(16943), "0 \u00B5s");
    EXPECT_EQ(text(16944), "0 \u00B5s");
    EXPECT_EQ(settings.at("16930").at("visible"), false);
    EXPECT_EQ(text(16955), "0\u00B0");
    EXPECT_EQ(text(16956), "0\u00B0");
    EXPECT_EQ(settings.at("16932").at("visible"), false);
    EXPECT_EQ(greatest(16928), 0);
    EXPECT_EQ(text(16949), "0");
    EXPECT_EQ(text(16950), "0");
    EXPECT_EQ(greatest(16929), 0);
    EXPECT_EQ(text(16958), "0.0");
    EXPECT_EQ(text(16959), "0.0");
    EXPECT_EQ(settings.at("28091").at("enabled"), false);
    EXPECT_EQ(settings.at("28088").at("enabled"), false);
    EXPECT_EQ(settings.at("28076").at("items"), Json::array({"bare"}));
    auto const& ocean = run.Controls(0).at("ocean");
    EXPECT_EQ(ocean.at("16921").at("max"), 0);
    EXPECT_EQ(ocean.at("28129").at("text"), "0.0");
    EXPECT_EQ(ocean.at("28130").at("text"), "0.0");
    EXPECT_EQ(ocean.at("28131").at("text"), "0.0");
    EXPECT_EQ(ocean.at("28132").at("text"), "0.0");
}

TEST(DeviceState, CountsASonarWithoutARatioAsOneThatCannotBeSet)
{
    auto const settings = With(ModeSettings(), Json::parse(R"(["x5PingRate", [["x5Max", "double", 20]]])"));
    ViewRun const run(With(SonarTree(settings), {"x5PingOnOffState", "int", 1}), {Look()});
    EXPECT_EQ(run.Control(0, "settings", 16928).at("max"), 0);
    EXPECT_EQ(run.Control(0, "settings", 16950).at("text"), "20");
}

TEST(DeviceState, CountsFixedGainLimitsThatAreMissingAsZero)
{
    auto const settings =
        With(ModeSettings(), Json::parse(R"(["x5Gain", [["x5Min", "double", 3], ["x5Max", "double", 40],
                                                               ["x5Fixed", [["x5Available", "bool", true]]]]])"));
    ViewRun const run(SonarTree(settings), {Look(), Attributes({{"x5GainMode", "int", 2}, {"x5Gain", "double", 0.0}}),
                                            Look(), Attributes({{"x5Gain", "double", 1.0}}), Look()});
    EXPECT_EQ(run.Control(0, "settings", 16958).at("text"), "3.0");
    EXPECT_EQ(run.Control(0, "settings", 16959).at("text"), "40.0");
    EXPECT_EQ(run.Control(0, "settings", 16929).at("min"), 3);
    EXPECT_EQ(run.Control(4, "settings", 16958).at("text"), "0.0");
    EXPECT_EQ(run.Control(4, "settings", 16959).at("text"), "0.0");
}

TEST(DeviceState, CountsValuesThatAreMissingAsZero)
{
    auto told = SonarTree();
    for (auto const& value : Json::parse(R"([
             ["x5Range", "double", 75], ["x5Power", "double", 200], ["x5PulseLength", "double", 0.0001],
             ["x5PulseType", "int", 1], ["x5BeamWidthX", "double", 1], ["x5MaxPingRate", "double", 10],
             ["x5PingOnOffState", "int", 1], ["x5ProjBeamAngleVer", "double", 5], ["x5ProjBeamAngleHor", "double", 3],
             ["x5GainMode", "int", 2], ["x5Gain", "double", 20], ["x5DepthFilterEnabled", "bool", true],
             ["x5RangeFilterEnabled", "bool", true], ["x5AdaptiveGateEnabled", "bool", true],
             ["x5SoundVelocityOverride", "bool", true], ["x5SoundVelocity", "double", 1450],
             ["x5Absorption", "double", 5], ["x5SpreadingLoss", "double", 6], ["x5SoundVelocityFilter", "int", 2],
             ["x5DirectoryName", "string", "here"], ["x5FileName", "string", "this"], ["x5DataRecording", "int", 1],
             ["x5DiskFree", "int", 50], ["x5FileSize", "int64", 1000], ["PingOnlyDuringScan", "bool", true],
             ["MountedOnPanAndTilt", "int", 1]])")) {
        told.push_back(value);
    }
    Json const two = {
        {"devices", Json::array({{{"id", {1, 78, 1, 1}}, {"name", "Bow"}, {"attributes", told}},
                                 {{"id", {1, 78, 2, 1}}, {"name", "Stern"}, {"attributes", SonarTree()}}})}};
    ViewRun const run(told,
                      {Look(), Json{{"selected-sonar", {1, 78, 2, 1}}}, Look(), SlideTo("settings", 16932, 5, 4),
                       Slide("settings", 16932, 8)},
                      two);
    auto const control = [&](std::size_t step, char const* page, int id) { return run.Control(step, page, id); };
    struct Text
    {
        char const* page;
        int id;
        char const* before;
        char const* after;
    };
    for (auto const& [page, id, before, after] : {Text{"settings", 16940, "75.0 m", "0.0 m"},
                                                  {"settings", 16941, "200 dB", "OFF"},
                                                  {"settings", 16945, "100 \u00B5s", "0 \u00B5s"},
                                                  {"settings", 16946, "1.0\u00B0", "0.0\u00B0"},
                                                  {"settings", 16952, "10.0 p/s", "OFF"},
                                                  {"settings", 16953, "5.00\u00B0", "0.00\u00B0"},
                                                  {"settings", 16957, "20.0 dB", "0.0 dB"},
                                                  {"ocean", 16923, "1450.0 m/s", "1450.0 m/s"},
                                                  {"ocean", 16924, "5.0 dB/km", "0.0 dB/km"},
                                                  {"ocean", 16925, "6.0 dB", "0.0 dB"},
                                                  {"recording", 28083, "here", ""},
                                                  {"recording", 28084, "this", ""},
                                                  {"recording", 28086, "50 %", "0 %"}}) {
        EXPECT_EQ(control(0, page, id).at("text"), before) << page << " " << id;
        EXPECT_EQ(control(2, page, id).at("text"), after) << page << " " << id;
    }
    for (int const id : {28091, 28107, 28108, 28109, 28128}) {
        EXPECT_EQ(control(0, "settings", id).at("checked"), true) << id;
        EXPECT_EQ(control(2, "settings", id).at("checked"), false) << id;
    }
    EXPECT_EQ(control(2, "settings", 28090).at("checked"), false) << "without a gain mode neither";
    EXPECT_EQ(control(0, "settings", 28088).at("selected"), 1);
    EXPECT_EQ(control(2, "settings", 28088).at("selected"), 0);
    EXPECT_EQ(control(2, "settings", 28128).at("visible"), false);
    EXPECT_EQ(control(0, "ocean", 28092).at("checked"), true);
    EXPECT_EQ(control(2, "ocean", 28092).at("checked"), false);
    EXPECT_EQ(control(0, "ocean", 28105).at("visible"), true);
    EXPECT_EQ(control(2, "ocean", 28105).at("visible"), false);
    EXPECT_EQ(control(0, "recording", 28081).at("enabled"), true);
    EXPECT_EQ(control(2, "recording", 28081).at("enabled"), false);
    EXPECT_EQ(control(2, "recording", 28080).at("enabled"), false) << "the state is unknown, not idle";
    EXPECT_EQ(run.Requests(4), Json::parse(R"([[["x5BeamSteer", "pair", [1.0, 0.0]]]])"));
}

TEST(DeviceState, ForgetsTheVelocityOfAnOverrideWithoutOne)
{
    ViewRun const run(With(SonarTree(), {"x5SoundVelocityOverride", "bool", true}), {Look()});
    EXPECT_EQ(run.Control(0, "ocean", 16923).at("text"), "0.0 m/s");
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
} // namespace qx5::test::device_state_test
