// Tests of a recording in the window: what it looks like at any moment, and that nothing done there reaches a sonar.
#include "frames.h"
#include "program.h"
#include "tests/recording/recorded_stage.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/replay_window.h>
#include <recording/recording_error.h>
#include <reference_host/attributes/host_keys.h>
#include <reference_host/window/attribute_browser.h>
#include <reference_host/window/device_panel.h>
#include <reference_host/window/record_monitor.h>

#include <VordalAttributesR/CVordalType.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <protocol/echo_records.h>
#include <vordalhostdllR/DataManager.h>

#include <QAction>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QTest>

#include <atomic>
#include <fstream>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using cli::ReplayWindow;
using ::testing::HasSubstr;
using vordal::LinkState;

CDataId const bow(1, 78, 1, 1);
CDataId const stern(1, 78, 2, 1);

/// A moment in milliseconds from the start of the stage.
std::uint64_t At(std::uint64_t milliseconds)
{
    return stageStart + milliseconds * 1'000'000;
}

class Replay : public ::testing::Test
{
protected:
    void Open(std::filesystem::path const& file)
    {
        replay = std::make_unique<ReplayWindow>(
            cli::ReplaySetup{file, {QX5_PLUGIN_FILE}, 1, 4, [this] { return seconds.load(); }});
        replay->Main().show();
    }
    /// Shows that moment.
    void MoveTo(std::uint64_t milliseconds)
    {
        replay->Control().MoveTo(At(milliseconds));
        WaitUntilShown(milliseconds);
    }
    void WaitUntilShown(std::uint64_t milliseconds)
    {
        ASSERT_TRUE(RunUntil([&] {
            return !replay->Control().IsMoving() && replay->Control().Status().position == At(milliseconds);
        })) << replay->Control().Status().position - stageStart;
    }
    void Trigger(char const* action) { replay->Main().findChild<QAction*>(QString::fromLatin1(action))->trigger(); }
    double RangeOf(CDataId const& sonar)
    {
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(sonar, tree);
        double range = 0.0;
        tree.FindValue(AttributeKey(L"x5Range")).Get(range);
        return range;
    }
    bool IsShown(CDataId const& sonar, LinkState state)
    {
        return RunUntil([&] { return replay->Main().Devices().StateOf(sonar) == state; });
    }
    int Records() { return replay->Main().Records().Model().rowCount(); }
    int Events() { return replay->Whole().Panes().Events().Model().rowCount(); }
    bool HasEvent(std::string const& text)
    {
        auto const& model = replay->Whole().Panes().Events().Model();
        for (int row = 0; row < model.rowCount(); ++row) {
            for (int column = 0; column < model.columnCount(); ++column) {
                if (model.index(row, column).data().toString().contains(QString::fromStdString(text))) {
                    return true;
                }
            }
        }
        return false;
    }
    QLabel& Time() { return *replay->Main().findChild<QLabel*>(QStringLiteral("replayTime")); }
    QSlider& Slider() { return *replay->Main().findChild<QSlider*>(QStringLiteral("timeSlider")); }

    RecordedStage stage;
    std::atomic<double> seconds{1000.0};
    std::unique_ptr<ReplayWindow> replay;
};

TEST_F(Replay, LooksAsItLookedAtAnyMoment)
{
    Open(stage.RecordTwoSonars());
    auto const vessels = replay->Main().Devices().Vessels();
    ASSERT_EQ(vessels.size(), 1U);
    ASSERT_EQ(vessels[0].devices.size(), 2U);
    EXPECT_EQ(vessels[0].devices[0].name, QStringLiteral("Bow"));
    EXPECT_EQ(vessels[0].devices[1].name, QStringLiteral("Stern"));
    EXPECT_THAT(replay->Main().windowTitle().toStdString(), HasSubstr("Replay of two.mcap"));

    MoveTo(1500);
    EXPECT_EQ(RangeOf(bow), 50.0);
    EXPECT_EQ(RangeOf(stern), 30.0);
    EXPECT_TRUE(IsShown(bow, LinkState::Connected));
    EXPECT_TRUE(IsShown(stern, LinkState::Closed));
    EXPECT_TRUE(RunUntil([this] { return Records() == 1; }));
    EXPECT_EQ(replay->Now(), 1'700'000'001.5);
    EXPECT_TRUE(RunUntil([this] { return Time().text() == QStringLiteral("2023-11-14 22:13:21.500 UTC"); }));

    MoveTo(3500);
    EXPECT_EQ(RangeOf(bow), 49.5);
    EXPECT_TRUE(RunUntil([this] { return Records() == 2 && HasEvent("mark: a wreck"); }));
    // The request came to something else: an event at its time, and a step.
    EXPECT_TRUE(HasEvent("differs"));
    EXPECT_TRUE(HasEvent("22:13:22.000"));
    EXPECT_TRUE(HasEvent("49.5 m"));
    EXPECT_TRUE(RunUntil([this] { return replay->Whole().Panes().History().Model().rowCount() == 1; }));

    // Back again nothing is left of what was later.
    MoveTo(500);
    EXPECT_EQ(RangeOf(bow), 100.0);
    EXPECT_EQ(Records(), 0);
    EXPECT_EQ(Events(), 0);
    EXPECT_TRUE(RunUntil([this] { return replay->Whole().Panes().History().Model().rowCount() == 0; }));

    MoveTo(5000);
    EXPECT_TRUE(RunUntil([this] { return HasEvent("the connection was lost: reset") && HasEvent("connected again"); }));
    EXPECT_TRUE(IsShown(bow, LinkState::Connected));
    EXPECT_TRUE(RunUntil([this] { return Records() == 4; }));
}

TEST_F(Replay, WhatTheHostWroteIsShownFromItsTimeOn)
{
    auto const file = stage.folder / "written.mcap";
    {
        recording::FlightRecorder recorder(file, stage.Options());
        recorder.Begin(bow, "Bow", Value(L"x5Range", 100.0));
        stage.At(1000);
        recorder.OnWritten(bow, Value(L"x5Range", 75.0));
        stage.At(3000);
        recorder.Mark("the end");
    }
    Open(file);
    MoveTo(500);
    EXPECT_EQ(RangeOf(bow), 100.0);
    Trigger("playReplay");
    ASSERT_TRUE(RunUntil([this] { return replay->Control().Status().isPlaying; }));
    seconds = 1001.0;
    WaitUntilShown(1500);
    EXPECT_EQ(RangeOf(bow), 75.0) << "as it plays";
    Trigger("playReplay");
    MoveTo(900);
    EXPECT_EQ(RangeOf(bow), 100.0);
    MoveTo(2000);
    EXPECT_EQ(RangeOf(bow), 75.0);
}

TEST_F(Replay, PlaysOnByItsClockAndStandsStill)
{
    Open(stage.RecordTwoSonars());
    MoveTo(0);
    Trigger("playReplay");
    ASSERT_TRUE(RunUntil([this] { return replay->Control().Status().isPlaying; }));
    seconds = 1001.2;
    WaitUntilShown(1200);
    EXPECT_EQ(RangeOf(bow), 50.0);
    auto& speed = *replay->Main().findChild<QComboBox*>(QStringLiteral("replaySpeed"));
    EXPECT_EQ(speed.itemText(0), QStringLiteral("\u00d70.1"));
    EXPECT_EQ(speed.itemText(speed.count() - 1), QStringLiteral("\u00d7100"));
    speed.setCurrentText(QStringLiteral("\u00d72"));
    ASSERT_TRUE(RunUntil([this] { return replay->Control().Status().speed == 2.0; }));
    seconds = 1001.7;
    WaitUntilShown(2200);
    EXPECT_EQ(RangeOf(bow), 49.5);
    Trigger("playReplay");
    ASSERT_TRUE(RunUntil([this] { return !replay->Control().Status().isPlaying; }));
    // What a sonar does not tell in a replay that stands still is no silence.
    seconds = 2000.0;
    replay->Session().Tick();
    EXPECT_TRUE(RunUntil([this] { return Slider().value() == 2200; }));
    EXPECT_FALSE(HasEvent("it has told nothing"));
    EXPECT_EQ(replay->Control().Status().position, At(2200));
}

TEST_F(Replay, TheTimeLineLeadsEverywhere)
{
    Open(stage.RecordTwoSonars());
    MoveTo(0);
    EXPECT_EQ(Slider().maximum(), 5000);
    Slider().setFocus();
    QTest::keyClick(&Slider(), Qt::Key_Right);
    WaitUntilShown(1000);
    QTest::keyClick(&Slider(), Qt::Key_End);
    WaitUntilShown(5000);
    QTest::keyClick(&Slider(), Qt::Key_Home);
    WaitUntilShown(0);
    Trigger("nextMark");
    WaitUntilShown(3000);
    Trigger("previousRequest");
    WaitUntilShown(1000);
    Trigger("stepReplay");
    WaitUntilShown(2000);
    Trigger("nextRequest");
    EXPECT_TRUE(RunUntil([this] { return HasEvent("there is none after this moment"); }));
    EXPECT_EQ(replay->Control().Status().position, At(2000));
    EXPECT_TRUE(RunUntil([this] { return replay->Control().Status().marks == std::vector{At(3000)}; }));
    // Each can be done without a mouse, and is told to a screen reader.
    for (char const* const name :
         {"playReplay", "stepReplay", "nextRequest", "previousRequest", "nextMark", "previousMark"}) {
        EXPECT_FALSE(replay->Main().findChild<QAction*>(QString::fromLatin1(name))->shortcut().isEmpty()) << name;
    }
    EXPECT_FALSE(Slider().accessibleName().isEmpty());
}

TEST_F(Replay, NothingThatIsAskedForReachesASonar)
{
    Open(stage.RecordTwoSonars());
    MoveTo(1500);
    CAttributeMap tree;
    tree.Add(vordal::keys::Request)->Add(L"x5Range", CVordalDouble(75.0), 0);
    DataManager::GetDataManager().SetAttributeMap(bow, tree, 4, false);
    EXPECT_TRUE(
        RunUntil([this] { return HasEvent("this is a replay: nothing that is asked for here reaches a sonar"); }));
    EXPECT_EQ(RangeOf(bow), 50.0);
    EXPECT_FALSE(replay->Whole().Panes().SonarMenu().menuAction()->isVisible());
    EXPECT_EQ(replay->Main().findChild<QLabel*>(QStringLiteral("replayWord"))->text(),
              QStringLiteral("Replay: nothing here reaches a sonar"));
}

TEST_F(Replay, EchoesComeToWhoFollowsThem)
{
    auto const file = stage.folder / "pings.mcap";
    {
        stage.At(0);
        recording::FlightRecorder recorder(file, stage.Options());
        recorder.Begin(stage.bow, "Bow", Value(L"x5Range", 50.0));
        recorder.Connection(stage.bow, {LinkState::Connected, "", {}});
        protocol::WaterColumnView sizes;
        sizes.head.beams = 3;
        sizes.samples = 4;
        for (int ping = 1; ping <= 5; ++ping) {
            stage.At(static_cast<std::uint64_t>(ping) * 1000);
            sizes.head.utcSeconds = 1'700'000'000.0 + ping;
            recorder.Frame(stage.bow, false, protocol::BeginWaterColumn(protocol::OwnSonar, sizes)->bytes);
        }
    }
    Open(file);
    CDataId stream = bow;
    stream.SetGroupId(SONAR_WATER_COLUMN_GROUP);
    std::atomic<int> blocks{0};
    struct Counter
    {
        std::atomic<int>& blocks;
        void OnBlock() { ++blocks; }
    } counter{blocks};
    DataSubscription subscription;
    subscription.SetSubscriber(new MemFunNoInfoSubscriber<Counter>(&counter, &Counter::OnBlock), true);
    subscription.Subscribe(stream);
    MoveTo(3500);
    // Whoever is told on the window's thread is told of the latest.
    EXPECT_TRUE(RunUntil([&] { return blocks > 0; }));
    double time = 0.0;
    EXPECT_TRUE(subscription.GetDataBuffer()->GetLastTime(time));
    EXPECT_EQ(time, 1'700'000'003.0);
    subscription.Unsubscribe();
}

TEST_F(Replay, WhatIsNoRecordingIsOneLine)
{
    auto const letter = stage.folder / "letter.mcap";
    std::ofstream(letter) << "Dear all, this is no recording";
    EXPECT_THROW(Open(letter), recording::RecordingError);
    EXPECT_THROW(Open(stage.folder / "none.mcap"), recording::RecordingError);
    ExpectComplaint(Qx5({"replay", letter.string()}, {}, {"QT_QPA_PLATFORM=offscreen"}), 1,
                    {"letter.mcap: is no recording"});
    auto const file = stage.RecordTwoSonars().string();
    ExpectComplaint(Qx5({"replay", file, "--from", "noon"}, {}, {"QT_QPA_PLATFORM=offscreen"}), 2,
                    {"--from: 'noon' is no time"});
    EXPECT_EQ(Qx5({"replay", file}, {}, {"QT_QPA_PLATFORM=", "DISPLAY=", "WAYLAND_DISPLAY="}).code, 1);
}

TEST_F(Replay, TheProgramPicturesAMoment)
{
    auto const picture = stage.folder / "moment.png";
    auto const outcome =
        Qx5({"replay", stage.RecordTwoSonars().string(), "--from", "+2.5", "--screenshot", picture.string()});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_FALSE(QImage(QString::fromStdString(picture.string())).isNull());
}

} // namespace
} // namespace qx5::test
