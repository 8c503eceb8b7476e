// The page "Data Recording": two commands that wait for the sonar's answer, and how the recording stands.
#include "view_run.h"

#include <gtest/gtest.h>

namespace qx5::test::recording_page_test {
namespace {

constexpr char const* page = "recording";

constexpr int synchronize = 28079;
constexpr int start = 28080;
constexpr int stop = 28081;
constexpr int mode = 28082;
constexpr int directory = 28083;
constexpr int fileName = 28084;
constexpr int fileSize = 28085;
constexpr int diskFree = 28086;

Json const stateNames = Json::parse(R"({"itemTexts": {"78": {"2701": ["Idle", "Recording"]}}})");

Json State(int state)
{
    return Attributes({{"x5DataRecording", "int", state}});
}

Json Recording(int state)
{
    return With(SonarTree(), {"x5DataRecording", "int", state});
}

Json OneRequest(char const* key, char const* kind, Json const& value)
{
    return Json::array({Json::array({Json::array({key, kind, value})})});
}

/// A sonar that takes what it is asked for and never answers.
Json Mute(Json const& tree, Json rest = stateNames)
{
    rest["devices"] =
        Json::array({{{"id", {1, 78, 1, 1}}, {"kind", "plain"}, {"name", "Sonar"}, {"attributes", tree}}});
    return rest;
}

void ExpectButtons(ViewRun const& run, std::size_t step, bool startEnabled, bool stopEnabled)
{
    EXPECT_EQ(run.Control(step, page, start).at("enabled"), startEnabled) << step;
    EXPECT_EQ(run.Control(step, page, stop).at("enabled"), stopEnabled) << step;
}

TEST(RecordingPage, StartsWithNothingToDo)
{
    ViewRun const run(Json::array(), {Json{{"view", "open"}}, Look(), Click(page, start), Click(page, stop)});
    ExpectButtons(run, 1, false, false);
    EXPECT_EQ(run.Control(1, page, synchronize).at("checked"), false);
    EXPECT_EQ(run.Control(1, page, synchronize).at("text"), "Synchronize with main logging");
    EXPECT_EQ(run.Control(1, page, start).at("text"), "Start");
    EXPECT_EQ(run.Control(1, page, stop).at("text"), "Stop");
    for (int const id : {mode, directory, fileName, fileSize, diskFree}) {
        EXPECT_EQ(run.Control(1, page, id).at("text"), "") << id;
    }
    EXPECT_EQ(run.Events(2), Json::array()) << "a button that is disabled takes no click";
    EXPECT_EQ(run.Events(3), Json::array());
}

TEST(RecordingPage, ShowsNoNameOfAStateThatHasNone)
{
    ViewRun const run(SonarTree(), {Look(), State(1), Look(), State(-1), Look(), State(2), Look()}, stateNames);
    EXPECT_EQ(run.Control(0, page, mode).at("text"), "") << "unknown at first";
    ExpectButtons(run, 0, false, false);
    EXPECT_EQ(run.Control(2, page, mode).at("text"), "Recording");
    EXPECT_EQ(run.Control(4, page, mode).at("text"), "Recording") << "keeps its text";
    ExpectButtons(run, 4, false, false);
    EXPECT_EQ(run.Control(6, page, mode).at("text"), "Recording");
}

TEST(RecordingPage, LooksForNamesUntilTheHostHasThem)
{
    ViewRun const run(Recording(0), {Look()});
    EXPECT_EQ(run.Control(0, page, mode).at("text"), "");
    ExpectButtons(run, 0, true, false);
}

TEST(RecordingPage, OffersWhatTheStateAllows)
{
    ViewRun const run(Recording(0), {Look(), State(1), Look(), State(3), Look(), State(0), Look()}, stateNames);
    EXPECT_EQ(run.Control(0, page, mode).at("text"), "Idle");
    ExpectButtons(run, 0, true, false);
    ExpectButtons(run, 2, false, true);
    ExpectButtons(run, 4, false, false);
    ExpectButtons(run, 6, true, false);
}

TEST(RecordingPage, ShowsHowTheRecordingStands)
{
    ViewRun const run(Recording(1), {Attributes({{"x5DirectoryName", "string", "D:/surveys/åre"},
                                                 {"x5FileName", "string", "line_0007.dat"},
                                                 {"x5DiskFree", "int", 87},
                                                 {"x5FileSize", "int64", 5368709120}}),
                                     Look(), Attributes({{"x5FileSize", "int64", 1023}}), Look(),
                                     Attributes({{"x5FileSize", "int", 7}, {"x5DiskFree", "int", -1}}), Look()});
    EXPECT_EQ(run.Control(1, page, directory).at("text"), "D:/surveys/åre");
    EXPECT_EQ(run.Control(1, page, fileName).at("text"), "line_0007.dat");
    EXPECT_EQ(run.Control(1, page, diskFree).at("text"), "87 %");
    EXPECT_EQ(run.Control(1, page, fileSize).at("text"), "5.0 GB");
    EXPECT_EQ(run.Control(3, page, fileSize).at("text"), "1023 B");
    EXPECT_EQ(run.Control(5, page, fileSize).at("text"), "0 B") << "a size of another kind counts as absent";
    EXPECT_EQ(run.Control(5, page, diskFree).at("text"), "-1 %");
}

TEST(RecordingPage, WaitsForTheAnswerToACommand)
{
    ViewRun const run(Json(),
                      {Click(page, start), Look(), State(0), Look(), State(1), Look(), Click(page, stop), Look(),
                       Attributes({{"x5DiskFree", "int", 9}}), Look(), State(0), Look()},
                      Mute(Recording(0)));
    EXPECT_EQ(run.Requests(0), OneRequest("x5DataRecording", "int", 1));
    ExpectButtons(run, 1, false, false);
    ExpectButtons(run, 3, false, false);
    ExpectButtons(run, 5, false, true);
    EXPECT_EQ(run.Requests(6), OneRequest("x5DataRecording", "int", 0));
    ExpectButtons(run, 7, false, false);
    ExpectButtons(run, 9, false, false);
    ExpectButtons(run, 11, true, false);
}

TEST(RecordingPage, FollowsTheEchoOfItsCommand)
{
    ViewRun const run(Recording(0), {Click(page, start), Look(), Click(page, stop), Look()}, stateNames);
    ExpectButtons(run, 1, false, true);
    EXPECT_EQ(run.Control(1, page, mode).at("text"), "Recording");
    ExpectButtons(run, 3, true, false);
}

TEST(RecordingPage, GivesTheCommandsBackByTheOption)
{
    // The sonar did not obey: both stay disabled until the option is clicked twice.
    ViewRun const run(Json(), {Click(page, start), Click(page, synchronize), Look(), Click(page, synchronize), Look()},
                      Mute(Recording(0)));
    EXPECT_EQ(run.Requests(1), OneRequest("SyncDataRecording", "bool", true));
    EXPECT_EQ(run.Control(2, page, synchronize).at("checked"), true);
    ExpectButtons(run, 2, false, false);
    EXPECT_EQ(run.Requests(3), OneRequest("SyncDataRecording", "bool", false));
    ExpectButtons(run, 4, true, false);
}

TEST(RecordingPage, KeepsTheStateWhileTheHostsLoggingLeads)
{
    ViewRun const run(Json(),
                      {Look(), State(1), Look(), Click(page, synchronize), Look(), Click(page, synchronize), State(7),
                       Click(page, synchronize), Look()},
                      Mute(With(Recording(0), {"SyncDataRecording", "bool", true})));
    EXPECT_EQ(run.Control(0, page, synchronize).at("checked"), true);
    ExpectButtons(run, 0, false, false);
    ExpectButtons(run, 2, false, false);
    ExpectButtons(run, 4, false, true);
    ExpectButtons(run, 8, false, false);
}

TEST(RecordingPage, TakesTheOptionWithTheSettingsAlone)
{
    ViewRun const run(
        Json(),
        {Attributes({{"SyncDataRecording", "bool", true}}), Look(), Attributes({{"DeviceEnum", "int", 0}}), Look()},
        Mute(Recording(0)));
    EXPECT_EQ(run.Control(1, page, synchronize).at("checked"), false);
    EXPECT_EQ(run.Control(3, page, synchronize).at("checked"), true);
    // The values follow the settings, and with the option on nothing is offered.
    ExpectButtons(run, 3, false, false);
}

} // namespace
} // namespace qx5::test::recording_page_test
