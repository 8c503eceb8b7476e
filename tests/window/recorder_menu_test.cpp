// Tests of the flight recorder in the window: its menu, its light, what it records and what stands in its way.
#include "live_stage.h"
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/recorder_menu.h>
#include <recording/black_box.h>
#include <recording/recorded_session.h>
#include <recording/recording_error.h>
#include <recording/recording_tools.h>
#include <reference_host/attributes/host_keys.h>

#include <VordalAttributesR/CVordalType.h>
#include <vordalhostdllR/DataManager.h>

#include <QAction>
#include <QLabel>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <map>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

namespace qx5::test {
namespace {

using namespace std::chrono_literals;

using cli::IsWarning;
using cli::LightText;
using cli::ProposedRecording;
using cli::RecordingState;
using recording::RecordedMessage;
using recording::RecordedSession;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(RecorderLight, TellsFileTimeAndSizeAndWhatIsMissing)
{
    RecordingState state;
    state.file = "/surveys/dive 3.mcap";
    state.since = std::chrono::steady_clock::time_point(10s);
    state.counts.bytes = 3 * 1048576 + 524288;
    auto const now = std::chrono::steady_clock::time_point(10s + 1h + 2min + 3s);
    EXPECT_EQ(LightText(state, now).toStdString(), "Recording dive 3.mcap, 1:02:03, 3.5 MiB");
    EXPECT_FALSE(IsWarning(state));
    state.counts.lost = 12;
    EXPECT_EQ(LightText(state, now).toStdString(), "Recording dive 3.mcap, 1:02:03, 3.5 MiB, 12 messages lost");
    EXPECT_TRUE(IsWarning(state));
    state.counts.lost = 0;
    state.problem = "/surveys/dive 3.mcap: cannot be written any further: No space left on device";
    EXPECT_EQ(LightText(state, now).toStdString(), "dive 3.mcap is not recorded any more");
    EXPECT_TRUE(IsWarning(state));
}

TEST(RecorderLight, ProposesANameBesideTheProject)
{
    EXPECT_EQ(ProposedRecording("/surveys/wreck.qx5", 1'700'000'000), "/surveys/wreck-20231114T221320Z.mcap");
    EXPECT_EQ(ProposedRecording({}, 1'700'000'000), "qx5-20231114T221320Z.mcap");
}

/// The stage with the recorder's menu, whose questions the test answers.
class RecorderMenus : public ::testing::Test
{
protected:
    void Begin(std::string const& project = {}, cli::RecordingSetup setup = {})
    {
        stage = std::make_unique<Stage>(project, std::move(setup));
        cli::RecorderQuestions questions;
        questions.file = [this](QString const& name) {
            proposed = name.toStdString();
            return QString::fromStdString(chosen.string());
        };
        questions.word = [this](QString const& time) {
            askedFor = time.toStdString();
            return QString::fromStdString(word);
        };
        menu = std::make_unique<cli::RecorderMenu>(stage->session, *stage->window, std::move(questions));
        ASSERT_TRUE(RunUntil([this] { return stage->IsReady(); }));
    }
    void TearDown() override
    {
        menu.reset();
        stage.reset();
    }
    void End()
    {
        menu.reset();
        stage->End();
    }
    QAction& Action(char const* name) const { return *stage->window->findChild<QAction*>(QString::fromLatin1(name)); }
    bool IsLit() const { return stage->window->findChild<QWidget*>(QStringLiteral("recorderLight"))->isVisible(); }
    QLabel& Text() const { return *stage->window->findChild<QLabel*>(QStringLiteral("recorderText")); }
    /// The file is made, and the settings of all sonars are in it.
    bool WaitUntilRecording() const
    {
        return RunUntil([this] { return stage->session.Recorder().State().counts.messages >= 3; });
    }
    void Stop() const
    {
        Action("record").trigger();
        ASSERT_TRUE(stage->WaitForEvent("recorded, "));
    }

    TemporaryFolder const folder;
    std::filesystem::path chosen = folder / "dive";
    std::string proposed;
    std::string word;
    std::string askedFor;
    std::unique_ptr<Stage> stage;
    std::unique_ptr<cli::RecorderMenu> menu;
};

/// What a recording holds, as a test asks for it.
struct Content
{
    explicit Content(std::filesystem::path const& file)
    {
        RecordedSession session(file);
        summary = session.Summary();
        session.ForEach({}, [this](RecordedMessage const& message) {
            auto const sonar = message.sonar != nullptr ? *message.sonar : std::string();
            ++kinds[sonar + ' ' + std::string(message.kind->name)];
            if (auto const* const settings = std::get_if<recording::RecordedSettings>(&message.content)) {
                names[sonar] = settings->name;
                settingsSizes[sonar] = settings->tree.Count();
            } else if (auto const* const connection = std::get_if<recording::RecordedConnection>(&message.content)) {
                states[sonar].push_back(connection->state);
            } else if (auto const* const mark = std::get_if<recording::RecordedMark>(&message.content)) {
                marks.push_back(mark->text);
            }
            return true;
        });
    }

    recording::RecordedSummary summary;
    std::map<std::string, int> kinds;
    std::map<std::string, std::string> names;
    std::map<std::string, int> settingsSizes;
    std::map<std::string, std::vector<std::string>> states;
    std::vector<std::string> marks;
};

TEST_F(RecorderMenus, RecordsAllSonarsFromTheirSettingsOnAndShowsThatItDoes)
{
    Begin();
    EXPECT_FALSE(IsLit());
    EXPECT_TRUE(Action("record").isCheckable());
    EXPECT_FALSE(Action("record").isChecked());
    Action("record").trigger();
    EXPECT_TRUE(std::filesystem::path(proposed).filename().string().starts_with("qx5-20"));
    EXPECT_TRUE(Action("record").isChecked());
    EXPECT_TRUE(IsLit());
    EXPECT_EQ(Text().accessibleName(), QStringLiteral("Recording dive.mcap"));
    EXPECT_THAT(Text().text().toStdString(), HasSubstr("Recording dive.mcap, 0:00:0"));
    ASSERT_TRUE(WaitUntilRecording());
    word = "  a wreck ";
    Action("markMoment").trigger();
    EXPECT_THAT(askedFor, HasSubstr(" UTC"));
    Stop();
    EXPECT_FALSE(IsLit());
    EXPECT_FALSE(Action("record").isChecked());

    Content const content(folder / "dive.mcap");
    EXPECT_TRUE(content.summary.isComplete);
    EXPECT_EQ(content.names, (std::map<std::string, std::string>{
                                 {"1.78.1.1", "Hull sonar"}, {"1.78.2.1", "Pole sonar"}, {"1.78.1.2", "ROV sonar"}}));
    for (char const* const sonar : {"1.78.1.1", "1.78.2.1", "1.78.1.2"}) {
        EXPECT_GT(content.settingsSizes.at(sonar), 20) << sonar;
        EXPECT_THAT(content.states.at(sonar), ElementsAre("connected")) << sonar;
    }
    EXPECT_THAT(content.marks, ElementsAre("a wreck"));
    End();
    EXPECT_TRUE(stage->session.LackingRecordings().empty());
}

TEST_F(RecorderMenus, ARequestIsInItWithItsRecordAndWhatCameOfIt)
{
    Begin();
    Action("record").trigger();
    ASSERT_TRUE(WaitUntilRecording());
    CAttributeMap tree;
    CAttributeMap request;
    request.Add(L"x5Range", CVordalDouble(75.0), 0);
    *tree.Add(vordal::keys::Request) = request;
    DataManager::GetDataManager().SetAttributeMap(pole, tree, 4, false);
    constexpr unsigned range = 1003;
    ASSERT_TRUE(RunUntil([this] { return !stage->sonars[1].Payloads(range).empty(); }));
    // What came of it stands once the sonar has told it, and is a step then.
    ASSERT_TRUE(RunUntil([this] {
        operation::SessionHistory::Content steps;
        return stage->session.Desk().Steps().ReadIfChanged(0, steps) && !steps.steps.empty();
    }));
    Stop();
    Content const content(folder / "dive.mcap");
    EXPECT_EQ(content.kinds.at("1.78.2.1 requests"), 1);
    EXPECT_EQ(content.kinds.at("1.78.2.1 results"), 1);
    EXPECT_EQ(content.kinds.at("1.78.2.1 sent"), 1);
    EXPECT_GE(content.kinds.at("1.78.2.1 received"), 1);
    EXPECT_GE(content.kinds.at("1.78.2.1 attributes"), 2);
    EXPECT_EQ(content.kinds.count("1.78.1.1 requests"), 0U);
    EXPECT_EQ(content.summary.requests, 1U);
}

TEST_F(RecorderMenus, ASonarThatIsAddedLaterIsRecordedToo)
{
    Begin();
    Action("record").trigger();
    ASSERT_TRUE(WaitUntilRecording());
    std::string error;
    cli::SonarSetup setup;
    setup.name = L"Late sonar";
    setup.deviceClass = stage->session.SonarClass();
    setup.vessel = L"Surveyor";
    setup.simulated = true;
    auto const late = stage->session.AddSonar(setup, error);
    ASSERT_TRUE(late) << error;
    // It has told something of itself.
    ASSERT_TRUE(RunUntil([&] { return stage->session.Desk().Watch().StateOf(*late).lastData.has_value(); }));
    Stop();
    Content content(folder / "dive.mcap");
    EXPECT_EQ(content.summary.sonars.size(), 4U);
    EXPECT_EQ(content.names["1.78.3.1"], "Late sonar");
    EXPECT_THAT(content.states["1.78.3.1"], Contains("connected"));
    EXPECT_GE(content.kinds["1.78.3.1 received"], 1);
}

TEST_F(RecorderMenus, AFileThatIsThereAndAFolderThatIsNotAreOneLineAndTheSessionGoesOn)
{
    Begin();
    chosen = folder / "letter.mcap";
    std::ofstream(chosen) << "Dear all";
    Action("record").trigger();
    EXPECT_TRUE(stage->WaitForEvent("letter.mcap: nothing is written over a file that is there"));
    EXPECT_TRUE(RunUntil([this] { return !IsLit() && !Action("record").isChecked(); }));
    std::ifstream kept(chosen);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "Dear all");
    chosen = folder / "none" / "dive.mcap";
    Action("record").trigger();
    EXPECT_TRUE(stage->WaitForEvent("dive.mcap: cannot be written: No such file or directory"));
    chosen = folder / "dive.mcap";
    ASSERT_TRUE(RunUntil([this] { return !IsLit(); }));
    Action("record").trigger();
    ASSERT_TRUE(WaitUntilRecording());
    Stop();
    EXPECT_TRUE(recording::Check(chosen).isWhole);
}

TEST_F(RecorderMenus, AFullDiskIsOneLineAndAWarningAndTheSessionGoesOn)
{
    Begin();
    Action("record").trigger();
    ASSERT_TRUE(WaitUntilRecording());
    // No file may grow any more: to this process as good as a full disk.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    auto const formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit tight = before;
    tight.rlim_cur = 16;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    word = "too much";
    Action("markMoment").trigger();
    bool const isTold = stage->WaitForEvent("nothing is recorded any more: ");
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, formerHandler);
    ASSERT_TRUE(isTold);
    EXPECT_TRUE(RunUntil([this] { return Text().text() == QStringLiteral("dive.mcap is not recorded any more"); }));
    EXPECT_EQ(Text().accessibleName(), QStringLiteral("Recording dive.mcap: something is missing"));
    EXPECT_THAT(Text().accessibleDescription().toStdString(), HasSubstr("cannot be written any further"));
    EXPECT_TRUE(stage->IsConnected(hull));
    // What was written stands; a new file can be begun.
    EXPECT_EQ(Content(folder / "dive.mcap").names.size(), 3U);
    Action("record").trigger();
    ASSERT_TRUE(RunUntil([this] { return !IsLit(); }));
    chosen = folder / "next.mcap";
    Action("record").trigger();
    ASSERT_TRUE(WaitUntilRecording());
    End();
    EXPECT_TRUE(recording::Check(folder / "next.mcap").isWhole);
    EXPECT_THAT(stage->session.LackingRecordings(), ElementsAre(HasSubstr("dive.mcap")));
}

TEST_F(RecorderMenus, ProjectsHaveABlackBoxFromTheBeginningAndMarksStandInIt)
{
    auto const project = folder / "survey.qx5";
    Begin(project.string(), {.program = {{"qx5", "0.1"}}, .blackBoxBytes = recording::BlackBox::UsualBytes});
    EXPECT_FALSE(IsLit());
    word = "a wreck";
    Action("markMoment").trigger();
    ASSERT_TRUE(stage->WaitForEvent("marked: a wreck"));
    // It goes on in the box of the project that it is saved as.
    bool isSaved = false;
    stage->session.SaveAs(folder / "other.qx5", [&](std::string const&) { isSaved = true; });
    auto const second = recording::BlackBoxOf(folder / "other.qx5") / "000001.mcap";
    ASSERT_TRUE(RunUntil([&] { return std::filesystem::exists(second); }));
    ASSERT_TRUE(RunUntil([&] {
        try {
            return Content(second).names.size() == 3;
        } catch (recording::RecordingError const&) {
            return false; // its first bytes are not there yet
        }
    }));
    End();
    EXPECT_TRUE(isSaved);
    Content const first(recording::BlackBoxOf(project) / "000001.mcap");
    EXPECT_TRUE(first.summary.isComplete);
    EXPECT_EQ(first.summary.program.front().second, "0.1");
    EXPECT_THAT(first.marks, ElementsAre("a wreck"));
    EXPECT_EQ(first.names.size(), 3U);
    // From before the first connection on.
    EXPECT_EQ(first.states.at("1.78.1.1").front(), "closed");
    EXPECT_THAT(first.states.at("1.78.1.1"), Contains("connected"));
    EXPECT_TRUE(Content(second).summary.isComplete);
}

TEST_F(RecorderMenus, AMarkThatStandsNowhereIsTold)
{
    Begin();
    word = "lost";
    Action("markMoment").trigger();
    EXPECT_TRUE(stage->WaitForEvent("the mark \"lost\" stands nowhere"));
}

TEST(RecordedRun, TheWindowOfTheProgramRecordsFromItsBeginning)
{
    TemporaryFolder const folder;
    auto const file = folder / "dive.mcap";
    ChildProcess program({QX5_PROGRAM, "run", "--record", file.string(), "--project", (folder / "a.qx5").string()},
                         {"QT_QPA_PLATFORM=offscreen"});
    ASSERT_TRUE(program.WaitForOutput("The window is open; ")) << program.Errors();
    ASSERT_TRUE(RunUntil([&] {
        auto const content = Content(file);
        return std::count_if(content.states.begin(), content.states.end(),
                             [](auto const& sonar) { return sonar.second.back() == "connected"; }) == 3;
    }));
    program.Signal(SIGTERM);
    EXPECT_EQ(program.WaitForEnd(), 0) << program.Errors();
    EXPECT_TRUE(recording::Check(file).isWhole);
    EXPECT_EQ(Content(file).summary.sonars.size(), 3U);
    EXPECT_TRUE(recording::Check(recording::BlackBoxOf(folder / "a.qx5") / "000001.mcap").isWhole);
    ExpectComplaint(Qx5({"run", "--record", file.string()}, {}, {"QT_QPA_PLATFORM=offscreen"}), 1,
                    {"dive.mcap: nothing is written over a file that is there"});
}

} // namespace
} // namespace qx5::test
