// The page "Sonar Settings": positions, labels and requests.
#include "view_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qx5::test::settings_page_test {
namespace {

constexpr char const* page = "settings";

// Controls of the page.
constexpr int modes = 28076;
constexpr int range = 16926;
constexpr int rangeText = 16940;
constexpr int power = 16927;
constexpr int powerText = 16941;
constexpr int pingRate = 16928;
constexpr int pingRateText = 16952;
constexpr int gain = 16929;
constexpr int gainText = 16957;
constexpr int timeVaried = 28090;
constexpr int fixedGain = 28091;
constexpr int pulseLength = 16931;
constexpr int pulseLengthText = 16945;
constexpr int pulseType = 28088;
constexpr int beamWidth = 16930;
constexpr int beamWidthText = 16946;
constexpr int steering = 16932;
constexpr int steeringText = 16953;
constexpr int scanOption = 28128;

// Kinds of scroll events.
constexpr int lineLeft = 0;
constexpr int lineRight = 1;
constexpr int pageLeft = 2;
constexpr int pageRight = 3;
constexpr int released = 4;
constexpr int moving = 5;
constexpr int toLeftEnd = 6;
constexpr int toRightEnd = 7;
constexpr int ended = 8;

Json Value(char const* key, double value)
{
    return {key, "double", value};
}

Json OneRequest(char const* key, char const* type, Json const& value)
{
    return Json::array({Json::array({Json::array({key, type, value})})});
}

struct Shown
{
    int position;
    std::string text;
};

/// How a slider and its label stand after the sonar told one value.
Shown After(Json const& value, int slider, int label, Json const& tree = SonarTree())
{
    ViewRun const run(tree, {Attributes(Json::array({value})), Look()});
    return {run.Control(1, page, slider).at("position"), run.Control(1, page, label).at("text")};
}

TEST(SettingsPage, StartsWithTheTextsAndPositionsOfAViewWithoutADevice)
{
    ViewRun const run(SonarTree(), {Json{{"view", "open"}}, Look()});
    auto const text = [&](int id) { return run.Control(1, page, id).at("text").get<std::string>(); };
    auto const& slider = run.Control(1, page, range);
    EXPECT_EQ(slider.at("min"), 0);
    EXPECT_EQ(slider.at("max"), 41) << "42 ranges by default";
    EXPECT_EQ(slider.at("position"), 0);
    EXPECT_EQ(text(rangeText), "0.0 m");
    EXPECT_EQ(text(16937), "2.5");
    EXPECT_EQ(text(16936), "15000.0");
    EXPECT_EQ(text(powerText), "OFF");
    EXPECT_EQ(text(16938), "OFF");
    EXPECT_EQ(text(16939), "0");
    EXPECT_EQ(run.Control(1, page, power).at("max"), 1);
    EXPECT_EQ(text(pingRateText), "OFF");
    EXPECT_EQ(text(gainText), "0.0 dB");
    EXPECT_EQ(text(pulseLengthText), "55 us");
    EXPECT_EQ(text(16943), "0 \u00B5s");
    EXPECT_EQ(run.Control(1, page, pulseLength).at("max"), 30000);
    EXPECT_EQ(run.Control(1, page, pulseLength).at("position"), 1000);
    EXPECT_EQ(run.Control(1, page, pulseType).at("items"), Json::parse(R"(["CW", "FM"])"));
    EXPECT_EQ(run.Control(1, page, pulseType).at("selected"), 0);
    EXPECT_EQ(run.Control(1, page, pulseType).at("enabled"), false);
    EXPECT_EQ(run.Control(1, page, beamWidth).at("visible"), false);
    EXPECT_EQ(run.Control(1, page, steering).at("visible"), false);
    EXPECT_EQ(run.Control(1, page, scanOption).at("visible"), false);
    EXPECT_EQ(run.Control(1, page, timeVaried).at("checked"), false);
    EXPECT_EQ(run.Control(1, page, fixedGain).at("checked"), false);
}

TEST(SettingsPage, ShowsTheLimitsOfTheSonar)
{
    ViewRun const run(SonarTree(), {Look()});
    auto const text = [&](int id) { return run.Control(0, page, id).at("text").get<std::string>(); };
    auto const& ranges = run.Control(0, page, range);
    EXPECT_EQ(ranges.at("max"), 2);
    EXPECT_EQ(text(16937), "50.0");
    EXPECT_EQ(text(16936), "200.0");
    EXPECT_EQ(run.Control(0, page, power).at("max"), 51);
    EXPECT_EQ(text(16939), "220");
    EXPECT_EQ(run.Control(0, page, pingRate).at("max"), 200);
    EXPECT_EQ(text(16949), "0") << "the sonar's own minimum is not offered";
    EXPECT_EQ(text(16950), "20");
    EXPECT_EQ(text(16958), "0.0");
    EXPECT_EQ(text(16959), "83.0");
    EXPECT_EQ(run.Control(0, page, gain).at("max"), 83);
    EXPECT_EQ(text(16943), "25 \u00B5s");
    EXPECT_EQ(text(16944), "500 \u00B5s");
    EXPECT_EQ(text(16948), "0.5\u00B0");
    EXPECT_EQ(text(16933), "2.0\u00B0");
    EXPECT_EQ(run.Control(0, page, steering).at("min"), -40);
    EXPECT_EQ(run.Control(0, page, steering).at("max"), 40);
    EXPECT_EQ(text(16955), "-10\u00B0");
    EXPECT_EQ(text(16956), "10\u00B0");
    EXPECT_EQ(run.Control(0, page, modes).at("items"), Json::parse(R"(["200 kHz"])"));
    EXPECT_EQ(run.Control(0, page, modes).at("selected"), 0);
    EXPECT_EQ(run.Control(0, page, modes).at("enabled"), true);
    EXPECT_EQ(run.Control(0, page, pulseType).at("enabled"), true);
    EXPECT_EQ(run.Control(0, page, timeVaried).at("enabled"), true);
}

TEST(SettingsPage, GivesLongPulseLengthsInMilliseconds)
{
    auto const tree = With(SonarTree(), {"x5PulseLengthValues", "doubles", {0.0005, 0.01}});
    ViewRun const run(tree, {Look()});
    EXPECT_EQ(run.Control(0, page, 16943).at("text"), "0.50 ms");
    EXPECT_EQ(run.Control(0, page, 16944).at("text"), "10.0 ms");

    auto const shorter = With(SonarTree(), {"x5PulseLengthValues", "doubles", {0.000025, 0.001}});
    ViewRun const upToOne(shorter, {Attributes(Json::array({Value("x5PulseLength", 0.001)})), Look(),
                                    Attributes(Json::array({Value("x5PulseLength", 0.000999)})), Look()});
    EXPECT_EQ(upToOne.Control(1, page, 16943).at("text"), "0.03 ms") << "0.025 lies a little above in binary";
    EXPECT_EQ(upToOne.Control(1, page, 16944).at("text"), "1.0 ms") << "one millisecond is no more in microseconds";
    EXPECT_EQ(upToOne.Control(1, page, pulseLengthText).at("text"), "1.00 ms");
    EXPECT_EQ(upToOne.Control(3, page, pulseLengthText).at("text"), "999 \u00B5s");
}

TEST(SettingsPage, PlacesARangeBetweenTheStepsOfTheSonar)
{
    auto const at100 = After(Value("x5Range", 100), range, rangeText);
    EXPECT_EQ(at100.position, 1);
    EXPECT_EQ(at100.text, "100.0 m");
    auto const at150 = After(Value("x5Range", 150), range, rangeText);
    EXPECT_EQ(at150.position, 1);
    EXPECT_EQ(at150.text, "150.0 m");
    EXPECT_EQ(After(Value("x5Range", 20), range, rangeText).position, 0);
    EXPECT_EQ(After(Value("x5Range", 1000), range, rangeText).position, 2);
}

TEST(SettingsPage, ShowsPowerAboveItsLeastAndOffBelowATenth)
{
    EXPECT_EQ(After(Value("x5Power", 170), power, powerText).position, 1);
    auto const greatest = After(Value("x5Power", 220), power, powerText);
    EXPECT_EQ(greatest.position, 51);
    EXPECT_EQ(greatest.text, "220 dB");
    auto const off = After(Value("x5Power", 0.05), power, powerText);
    EXPECT_EQ(off.position, 0);
    EXPECT_EQ(off.text, "OFF");
}

TEST(SettingsPage, ShowsThePingRateOnlyWhileTheSonarPings)
{
    auto const pinging = With(SonarTree(), {"x5PingOnOffState", "int", 1});
    auto const slow = After(Value("x5MaxPingRate", 12.5), pingRate, pingRateText, pinging);
    EXPECT_EQ(slow.position, 125);
    EXPECT_EQ(slow.text, "12.5 p/s");
    auto const tooSlow = After(Value("x5MaxPingRate", 0.05), pingRate, pingRateText, pinging);
    EXPECT_EQ(tooSlow.position, 0);
    EXPECT_EQ(tooSlow.text, "OFF");
    EXPECT_EQ(After(Value("x5MaxPingRate", 12.5), pingRate, pingRateText).text, "OFF");
}

TEST(SettingsPage, OffersOffAndMaxToASonarThatPingsFreely)
{
    auto const settings =
        With(ModeSettings(), Json::parse(R"(["x5PingRate", [["x5Max", "double", 1], ["x5Ratio", "double", 1],
                                        ["x5FreeRun", "bool", true]]])"));
    auto const tree = With(With(SonarTree(settings), {"x5PingOnOffState", "int", 1}), Value("x5MaxPingRate", 1));
    ViewRun const run(tree, {Look(), SlideTo(page, pingRate, moving, 0), Look(), Slide(page, pingRate, ended),
                             SlideTo(page, pingRate, moving, 1), Look(),
                             Attributes(Json::array({{"x5SonarSettings", ModeSettings()}})), Look()});
    EXPECT_EQ(run.Control(0, page, pingRate).at("max"), 1);
    EXPECT_EQ(run.Control(0, page, pingRate).at("position"), 1);
    EXPECT_EQ(run.Control(0, page, pingRateText).at("text"), "MAX");
    EXPECT_EQ(run.Control(0, page, 16949).at("text"), "OFF");
    EXPECT_EQ(run.Control(0, page, 16950).at("text"), "MAX");
    EXPECT_EQ(run.Control(2, page, pingRateText).at("text"), "OFF");
    EXPECT_EQ(run.Requests(3), OneRequest("x5MaxPingRate", "double", 0.0));
    EXPECT_EQ(run.Control(5, page, pingRateText).at("text"), "MAX");
    EXPECT_EQ(run.Control(7, page, 16949).at("text"), "0") << "a sonar that can be set again";
    EXPECT_EQ(run.Control(7, page, 16950).at("text"), "20");
}

TEST(SettingsPage, AsksForPingsOnlyWhereTheyAreOffAndTheRateIsNot)
{
    auto const rate = With(SonarTree(), Value("x5MaxPingRate", 10));
    ViewRun const off(rate, {Look(), Slide(page, pingRate, ended)});
    EXPECT_EQ(off.Control(0, page, pingRate).at("position"), 0) << "the rate stands, the pings are off";
    EXPECT_EQ(off.Requests(1), OneRequest("x5MaxPingRate", "double", 10.0));
    ViewRun const on(With(rate, {"x5PingOnOffState", "int", 1}), {Look(), Slide(page, pingRate, ended)});
    EXPECT_EQ(on.Control(0, page, pingRate).at("position"), 100);
    EXPECT_EQ(on.Requests(1), OneRequest("x5MaxPingRate", "double", 10.0));
}

TEST(SettingsPage, SendsADragOfTheRangeOnce)
{
    ViewRun const run(SonarTree(), {SlideTo(page, range, moving, 1), SlideTo(page, range, moving, 2), Look(),
                                    SlideTo(page, range, released, 2), Slide(page, range, ended)});
    EXPECT_EQ(run.Events(0), Json::array());
    EXPECT_EQ(run.Events(1), Json::array());
    EXPECT_EQ(run.Control(2, page, rangeText).at("text"), "200.0 m");
    EXPECT_EQ(run.Control(2, page, range).at("position"), 2);
    EXPECT_EQ(run.Events(3), Json::array());
    // 200.0f is 0x43480000.
    EXPECT_EQ(run.Events(4), Json::parse(R"([
        {"host-set": [["Request", [["x5Range", "double", 200.0]]]], "id": [1, 78, 1, 1], "flags": 4},
        {"remote": 1003, "payload": "00004843", "device": 0, "enumerator": -1},
        {"echo": [["x5Range", "double", 200.0]], "flags": 0}])"));
}

TEST(SettingsPage, HasTheShortestRangeAtPositionZero)
{
    ViewRun const run(With(SonarTree(), Value("x5Range", 200)),
                      {SlideTo(page, range, moving, 0), Look(), Slide(page, range, ended)});
    EXPECT_EQ(run.Control(1, page, rangeText).at("text"), "50.0 m");
    EXPECT_EQ(run.Control(1, page, range).at("position"), 0);
    EXPECT_EQ(run.Requests(2), OneRequest("x5Range", "double", 50.0));
}

TEST(SettingsPage, MovesByLinesAndPagesAndToTheEnds)
{
    ViewRun const run(SonarTree(),
                      {Slide(page, gain, lineRight), Look(), Slide(page, gain, toRightEnd), Look(),
                       Slide(page, gain, pageRight), Slide(page, gain, lineRight), Look(), Slide(page, gain, lineLeft),
                       Slide(page, gain, pageLeft), Look(), Slide(page, gain, toLeftEnd), Slide(page, gain, lineLeft),
                       Look(), Slide(page, gain, ended)});
    auto const position = [&](std::size_t step) { return run.Control(step, page, gain).at("position").get<int>(); };
    EXPECT_EQ(position(1), 1);
    EXPECT_EQ(position(3), 83);
    EXPECT_EQ(position(6), 83);
    EXPECT_EQ(position(9), 81);
    EXPECT_EQ(position(12), 0);
    EXPECT_EQ(run.Control(9, page, gainText).at("text"), "81.0 dB");
    EXPECT_EQ(run.Requests(13), OneRequest("x5Gain", "double", 0.0));
}

TEST(SettingsPage, SteersByQuarterDegreesAndPagesOfTwo)
{
    auto const tree = With(SonarTree(), Value("x5ProjBeamAngleHor", -2.5));
    ViewRun const run(tree, {SlideTo(page, steering, moving, 5), Slide(page, steering, pageRight), Look(),
                             Slide(page, steering, ended)});
    EXPECT_EQ(run.Control(2, page, steering).at("position"), 13);
    EXPECT_EQ(run.Control(2, page, steeringText).at("text"), "3.25\u00B0");
    EXPECT_EQ(run.Requests(3), OneRequest("x5BeamSteer", "pair", {3.25, -2.5}));
}

TEST(SettingsPage, ChoosesABeamWidthOfTheList)
{
    ViewRun const run(With(SonarTree(), Value("x5BeamWidthX", 1.0)),
                      {Look(), Slide(page, beamWidth, lineRight), Look(), Slide(page, beamWidth, ended)});
    EXPECT_EQ(run.Control(0, page, beamWidth).at("position"), 1);
    EXPECT_EQ(run.Control(0, page, beamWidthText).at("text"), "1.0\u00B0");
    EXPECT_EQ(run.Control(2, page, beamWidthText).at("text"), "2.0\u00B0");
    EXPECT_EQ(run.Requests(3), OneRequest("x5BeamWidthX", "double", 2.0));
}

TEST(SettingsPage, TurnsPingsOnWhenTheRateLeavesZero)
{
    ViewRun const run(SonarTree(), {SlideTo(page, pingRate, moving, 125), Look(), Slide(page, pingRate, ended),
                                    SlideTo(page, pingRate, moving, 0), Slide(page, pingRate, ended)});
    EXPECT_EQ(run.Control(1, page, pingRateText).at("text"), "12.5 p/s");
    EXPECT_EQ(run.Requests(2),
              Json::parse(R"([[["x5MaxPingRate", "double", 12.5]], [["x5PingOnOffState", "int", 1]]])"));
    EXPECT_EQ(run.Requests(4), OneRequest("x5MaxPingRate", "double", 0.0)) << "the pings themselves stay on";
}

TEST(SettingsPage, SendsPowerInSteps)
{
    ViewRun const run(SonarTree(), {SlideTo(page, power, moving, 51), Look(), Slide(page, power, ended),
                                    Slide(page, power, toLeftEnd), Look(), Slide(page, power, ended)});
    EXPECT_EQ(run.Control(1, page, powerText).at("text"), "220 dB");
    EXPECT_EQ(run.Requests(2), OneRequest("x5Power", "double", 220.0));
    EXPECT_EQ(run.Control(4, page, powerText).at("text"), "OFF");
    EXPECT_EQ(run.Requests(5), OneRequest("x5Power", "double", 0.0));
}

// The pulse length works on microseconds and is rounded to two digits.

std::string PulseTextAfter(double seconds, Json const& step, Json const& limits = {0.00001, 0.01})
{
    auto const tree = With(SonarTree(), {"x5PulseLengthValues", "doubles", limits});
    ViewRun const run(tree, {Attributes(Json::array({Value("x5PulseLength", seconds)})), step, Look()});
    return run.Control(2, page, pulseLengthText).at("text");
}

TEST(SettingsPage, MovesThePulseLengthByATenthOfItsDecade)
{
    EXPECT_EQ(PulseTextAfter(0.001234, Slide(page, pulseLength, lineRight)), "1.30 ms");
    EXPECT_EQ(PulseTextAfter(0.001234, Slide(page, pulseLength, pageRight)), "1.70 ms");
    EXPECT_EQ(PulseTextAfter(0.000055, Slide(page, pulseLength, lineRight)), "56 \u00B5s");
    EXPECT_EQ(PulseTextAfter(0.000055, Slide(page, pulseLength, lineLeft)), "54 \u00B5s");
    EXPECT_EQ(PulseTextAfter(0.000055, Slide(page, pulseLength, pageLeft)), "50 \u00B5s");
    EXPECT_EQ(PulseTextAfter(0.000055, Slide(page, pulseLength, toLeftEnd)), "10 \u00B5s");
    EXPECT_EQ(PulseTextAfter(0.000055, Slide(page, pulseLength, toRightEnd)), "10.00 ms");
}

TEST(SettingsPage, PlacesThePulseLengthByItsLogarithm)
{
    // Half way between 25 and 500 microseconds lies 111.8, which becomes 110.
    EXPECT_EQ(PulseTextAfter(0.0001, SlideTo(page, pulseLength, moving, 15000), {0.000025, 0.0005}), "110 \u00B5s");
    // 30000 * log10(4) / log10(20) = 13882.6
    EXPECT_EQ(After(Value("x5PulseLength", 0.0001), pulseLength, pulseLengthText).position, 13882);
    EXPECT_EQ(After(Value("x5PulseLength", 0.0005), pulseLength, pulseLengthText).text, "500 \u00B5s");
}

TEST(SettingsPage, IgnoresTwoValuesOfTheSonarAfterAPulseLengthEvent)
{
    auto const tell = [](double seconds) { return Attributes(Json::array({Value("x5PulseLength", seconds)})); };
    ViewRun const run(SonarTree(), {tell(0.0001), SlideTo(page, pulseLength, moving, 15000), tell(0.0002), Look(),
                                    tell(0.0003), Look(), tell(0.0004), Look()});
    EXPECT_EQ(run.Control(3, page, pulseLengthText).at("text"), "110 \u00B5s");
    EXPECT_EQ(run.Control(5, page, pulseLengthText).at("text"), "110 \u00B5s");
    EXPECT_EQ(run.Control(7, page, pulseLengthText).at("text"), "400 \u00B5s");
}

TEST(SettingsPage, EmptiesThePulseLengthOnReleaseUntilTheEndOfScrolling)
{
    ViewRun const run(SonarTree(),
                      {Attributes(Json::array({Value("x5PulseLength", 0.0001)})),
                       SlideTo(page, pulseLength, moving, 15000), SlideTo(page, pulseLength, released, 15000), Look(),
                       Slide(page, pulseLength, ended), Look()});
    EXPECT_EQ(run.Events(2), Json::array());
    EXPECT_EQ(run.Control(3, page, pulseLengthText).at("text"), "");
    EXPECT_EQ(run.Control(5, page, pulseLengthText).at("text"), "110 \u00B5s");
    // 110 divided by 1000000 in single precision.
    EXPECT_EQ(run.Requests(4), OneRequest("x5PulseLength", "double", 0.00011000000085914508));
}

TEST(SettingsPage, TakesTheMinimaOfTheSteeringAsAFirstValueAlone)
{
    ViewRun const run(SonarTree(), {Look(), Attributes(Json::parse(R"([["x5ProjBeamAngleVer", "double", -10],
                                                               ["x5ProjBeamAngleHor", "double", -5]])")),
                                    Look()});
    // The device's tree has no angles: 0 and 0 follow the minima.
    EXPECT_EQ(run.Control(0, page, steeringText).at("text"), "0.00\u00B0");
    EXPECT_EQ(run.Control(2, page, steeringText).at("text"), "0.00\u00B0");
}

TEST(SettingsPage, TakesEachSteeringAngleThatChangesAlone)
{
    auto const tree = With(With(SonarTree(), Value("x5ProjBeamAngleVer", 5)), Value("x5ProjBeamAngleHor", 3));
    ViewRun const run(tree, {Attributes(Json::array({Value("x5ProjBeamAngleHor", 4)})), Slide(page, steering, ended),
                             Attributes(Json::array({Value("x5ProjBeamAngleVer", -10)})), Look()});
    EXPECT_EQ(run.Requests(1), OneRequest("x5BeamSteer", "pair", {5.0, 4.0}));
    EXPECT_EQ(run.Control(3, page, steeringText).at("text"), "-10.00\u00B0") << "one minimum alone is a value";
}

TEST(SettingsPage, KnowsTwoGainModes)
{
    ViewRun const run(SonarTree(),
                      {Attributes(Json::parse(R"([["x5GainMode", "int", 2], ["x5Gain", "double", 20]])")), Look(),
                       Attributes(Json::parse(R"([["x5GainMode", "int", 1], ["x5Gain", "double", 21]])")), Look(),
                       Click(page, fixedGain), Look(), Click(page, timeVaried)});
    EXPECT_EQ(run.Control(1, page, fixedGain).at("checked"), true);
    EXPECT_EQ(run.Control(1, page, gain).at("min"), 5);
    EXPECT_EQ(run.Control(1, page, gain).at("max"), 50);
    EXPECT_EQ(run.Control(1, page, gain).at("position"), 20);
    EXPECT_EQ(run.Control(3, page, fixedGain).at("checked"), false);
    EXPECT_EQ(run.Control(3, page, timeVaried).at("checked"), false);
    EXPECT_EQ(run.Control(3, page, gain).at("max"), 83);
    EXPECT_EQ(run.Requests(4), OneRequest("x5GainMode", "int", 2));
    EXPECT_EQ(run.Control(5, page, fixedGain).at("checked"), true);
    EXPECT_EQ(run.Control(5, page, timeVaried).at("checked"), false);
    EXPECT_EQ(run.Requests(6), OneRequest("x5GainMode", "int", 0));
}

TEST(SettingsPage, LetsTheAdaptiveGateStandAlone)
{
    auto tree = With(SonarTree(), {"x5AdaptiveGateEnabled", "bool", true});
    // What the gates' record needs besides.
    tree = With(With(tree, {"x5DepthFilterFollow", "bool", false}), {"x5AGDepthFilterFixed", "bool", false});
    ViewRun const run(tree, {Click(page, 28107), Click(page, 28108), Look(), Click(page, 28109), Look()});
    auto const gates = [](bool depth, bool range_, bool adaptive) {
        return Json::array({Json::array({{"x5DepthFilterEnabled", "bool", depth},
                                         {"x5RangeFilterEnabled", "bool", range_},
                                         {"x5AdaptiveGateEnabled", "bool", adaptive},
                                         {"x5AGDepthFilterEnabled", "bool", adaptive}})});
    };
    EXPECT_EQ(run.Requests(0), gates(true, false, false));
    EXPECT_EQ(run.Requests(1), gates(true, true, false));
    EXPECT_EQ(run.Control(2, page, 28109).at("checked"), false);
    EXPECT_EQ(run.Control(2, "gates", 28111).at("checked"), true) << "the other page follows the echo";
    EXPECT_EQ(run.Requests(3), gates(false, false, true));
    EXPECT_EQ(run.Control(4, page, 28107).at("checked"), false);
}

TEST(SettingsPage, AsksForModeAndPulseType)
{
    auto const second = With(With(ModeSettings(), {"SystemText", "string", "400 kHz"}), {"DeviceEnum", "int", 7});
    auto tree = SonarTree();
    tree.push_back({"x5SonarSettings", second});
    ViewRun const run(tree, {Choose(page, modes, 1), Choose(page, pulseType, 1), Choose(page, modes, 2),
                             Choose(page, modes, 0), Choose(page, pulseType, 0)});
    EXPECT_EQ(run.Requests(0), OneRequest("DeviceEnum", "int", 7));
    EXPECT_EQ(run.Requests(1), OneRequest("x5PulseType", "int", 1));
    EXPECT_EQ(run.Events(2), Json::array()) << "there is no such mode";
    EXPECT_EQ(run.Requests(3), OneRequest("DeviceEnum", "int", 0));
    EXPECT_EQ(run.Requests(4), OneRequest("x5PulseType", "int", 0));
}

TEST(SettingsPage, OffersScanningOnlyOnAPanAndTiltUnit)
{
    auto const tree = With(With(SonarTree(), {"MountedOnPanAndTilt", "int", 1}), {"PingOnlyDuringScan", "bool", true});
    ViewRun const run(tree, {Look(), Click(page, scanOption)});
    EXPECT_EQ(run.Control(0, page, scanOption).at("visible"), true);
    EXPECT_EQ(run.Control(0, page, scanOption).at("checked"), true);
    EXPECT_EQ(run.Requests(1), OneRequest("PingOnlyDuringScan", "bool", false));
}

TEST(SettingsPage, LocksWhatTheTrackerGoverns)
{
    auto const tree = With(With(SonarTree(), {"x5SystemMode", "int", 1}), {"x5TrackerRangeEnabled", "bool", true});
    ViewRun const run(tree, {Look(), SlideTo(page, range, moving, 2), Slide(page, range, ended),
                             Attributes(Json::parse(R"([["x5SystemMode", "int", 2]])")), Look()});
    EXPECT_EQ(run.Control(0, page, range).at("enabled"), false);
    EXPECT_EQ(run.Control(0, page, power).at("enabled"), true);
    EXPECT_EQ(run.Events(2), Json::array()) << "a disabled slider takes no step";
    EXPECT_EQ(run.Control(4, page, range).at("enabled"), true);
}

TEST(SettingsPage, LetsTheSonarsValueJumpUnderADrag)
{
    ViewRun const run(SonarTree(), {SlideTo(page, range, moving, 2), Attributes(Json::array({Value("x5Range", 50)})),
                                    Look(), SlideTo(page, range, moving, 2), Look()});
    EXPECT_EQ(run.Control(2, page, range).at("position"), 0);
    EXPECT_EQ(run.Control(4, page, range).at("position"), 2);
}

// Bad limits.

TEST(SettingsPage, KeepsTheRangeWithoutATable)
{
    auto const settings = With(ModeSettings(), Json::parse(R"(["x5SampleRateSet", [["x5RangeSet", "doubles", []]]])"));
    ViewRun const run(With(SonarTree(settings), Value("x5Range", 75)),
                      {Slide(page, range, lineRight), Look(), Slide(page, range, ended)});
    EXPECT_EQ(run.Control(1, page, range).at("max"), 0);
    EXPECT_EQ(run.Control(1, page, rangeText).at("text"), "75.0 m");
    EXPECT_EQ(run.Requests(2), OneRequest("x5Range", "double", 75.0));
}

TEST(SettingsPage, CutsALongListOfBeamWidthsToTen)
{
    auto const settings = With(ModeSettings(), Json::parse(R"(["x5BeamWidthSetX", [["x5Variable", "bool", true],
        ["x5BeamWidthList", "doubles", [1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12]]]])"));
    ViewRun const run(SonarTree(settings), {Slide(page, beamWidth, toRightEnd), Look()});
    EXPECT_EQ(run.Control(1, page, beamWidth).at("max"), 9);
    EXPECT_EQ(run.Control(1, page, 16933).at("text"), "10.0\u00B0");
    EXPECT_EQ(run.Control(1, page, beamWidthText).at("text"), "10.0\u00B0");
}

TEST(SettingsPage, StandsAnyNumberAsALimit)
{
    for (Json const& odd : {Json("nan"), Json("inf"), Json("-inf"), Json(1e300), Json(-1e300), Json(0.0)}) {
        auto settings = ModeSettings();
        Json const range_ = Json::array({Json::array({"x5Min", "double", odd}), Json::array({"x5Max", "double", odd})});
        for (char const* key : {"x5Power", "x5SoundVelocity"}) {
            settings = With(settings, {key, range_});
        }
        settings = With(settings, {"x5Gain", range_});
        settings = With(settings, Json::array({"x5PingRate", Json::array({Json::array({"x5Max", "double", odd}),
                                                                          Json::array({"x5Ratio", "double", odd})})}));
        settings =
            With(settings, Json::array({"x5BeamSteer", Json::array({Json::array({"x5MinX", "double", odd}),
                                                                    Json::array({"x5MaxX", "double", odd}),
                                                                    Json::array({"x5Steerable", "bool", true})})}));
        settings = With(settings, {"MaxAbsorption", "double", odd});
        auto tree = With(SonarTree(settings), Json::array({"x5PulseLength", "double", odd}));
        for (char const* key :
             {"x5Range", "x5Power", "x5Gain", "x5MaxPingRate", "x5ProjBeamAngleVer", "x5BeamWidthX"}) {
            tree = With(tree, Json::array({key, "double", odd}));
        }
        std::vector<Json> steps;
        for (int const slider : {range, power, pingRate, gain, pulseLength, beamWidth, steering}) {
            for (int kind = lineLeft; kind <= ended; ++kind) {
                steps.push_back(SlideTo(page, slider, kind, 1000));
            }
        }
        steps.push_back(Look());
        ViewRun const run(tree, steps);
        for (int const slider : {range, power, pingRate, gain, pulseLength, beamWidth, steering}) {
            auto const& state = run.Control(steps.size() - 1, page, slider);
            EXPECT_LE(state.at("min"), state.at("max")) << odd << " on " << slider;
            EXPECT_LE(state.at("min"), state.at("position")) << odd << " on " << slider;
            EXPECT_LE(state.at("position"), state.at("max")) << odd << " on " << slider;
        }
    }
}

} // namespace
} // namespace qx5::test::settings_page_test
