// The player of recorded sessions: what it shows of a moment, at what pace it goes on, and how far it reads for that.
#include "recorded_stage.h"
#include "recording/replay_player.h"
#include "recording/session_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace qx5::test {
namespace {

using namespace recording;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr std::uint64_t second = 1'000'000'000;

double RangeIn(CAttributeMap const& tree)
{
    double value = 0.0;
    tree.Find(AttributeKey(L"x5Range"), 0).Value().Get(value);
    return value;
}

/// What a player shows, as lines; times in milliseconds from the start of the stage.
class Shown final : public ReplayReceiver
{
public:
    void OnState(std::uint64_t time, std::map<std::string, RecordedState> const& states) override
    {
        lines.push_back("state at " + std::to_string((time - stageStart) / 1'000'000));
        for (auto const& [sonar, state] : states) {
            auto const range = state.settings ? static_cast<int>(RangeIn(state.settings->tree)) : 0;
            lines.push_back(sonar + " range " + std::to_string(range) + ' ' +
                            (state.connection ? state.connection->state : "none"));
        }
    }
    void OnMessage(RecordedMessage const& message) override
    {
        lines.push_back(std::to_string((message.time - stageStart) / 1'000'000) + ' ' +
                        std::string(message.kind->name));
    }
    Lines Take() { return std::exchange(lines, {}); }

    Lines lines;
};

class ReplayPlayerTest : public ::testing::Test
{
protected:
    /// A moment in milliseconds from the start of the stage.
    static std::uint64_t At(std::uint64_t milliseconds) { return stageStart + milliseconds * 1'000'000; }

    RecordedStage stage;
    Shown shown;
};

Lines const upToTwoSeconds{"state at 0", "0 settings",      "0 settings",    "0 connection",    "1000 requests",
                           "1000 sent",  "1000 attributes", "2000 received", "2000 attributes", "2000 results"};

TEST_F(ReplayPlayerTest, AMomentIsShownWithWhatLedToIt)
{
    ReplayPlayer player(stage.RecordTwoSonars(), shown);
    EXPECT_EQ(player.Start(), stageStart);
    EXPECT_EQ(player.End(), At(5000));
    EXPECT_THAT(shown.lines, IsEmpty());
    player.MoveTo(At(2500), 0.0);
    EXPECT_EQ(shown.Take(), upToTwoSeconds);
    EXPECT_EQ(player.Position(), At(2500));
    EXPECT_FALSE(player.IsPlaying());
    // Beyond either end there is nothing.
    player.MoveTo(At(60'000), 0.0);
    EXPECT_EQ(player.Position(), At(5000));
    EXPECT_EQ(shown.Take().back(), "5000 sent");
    player.MoveTo(0, 0.0);
    EXPECT_EQ(player.Position(), stageStart);
    EXPECT_THAT(shown.Take(), ElementsAre("state at 0", "0 settings", "0 settings", "0 connection"));
}

TEST_F(ReplayPlayerTest, PlaysAtItsPaceByTheTimesThatItIsGiven)
{
    ReplayPlayer player(stage.RecordTwoSonars(), shown);
    player.MoveTo(At(0), 100.0);
    shown.Take();
    player.Advance(101.5);
    EXPECT_EQ(player.Position(), At(0)) << "it stands still";
    player.Play(200.0);
    player.Advance(200.9);
    EXPECT_THAT(shown.Take(), IsEmpty());
    player.Advance(201.0);
    EXPECT_THAT(shown.Take(), ElementsAre("1000 requests", "1000 sent", "1000 attributes"));
    // From here on ten times as fast, then ten times as slow.
    player.SetSpeed(10.0, 201.0);
    player.Advance(201.25);
    EXPECT_EQ(player.Position(), At(3500));
    EXPECT_EQ(shown.Take().back(), "3000 marks");
    player.SetSpeed(0.1, 201.25);
    player.Advance(205.25);
    EXPECT_EQ(player.Position(), At(3900));
    EXPECT_THAT(shown.Take(), IsEmpty());
    player.Pause();
    player.Advance(300.0);
    EXPECT_EQ(player.Position(), At(3900));
    player.SetSpeed(1000.0, 300.0);
    EXPECT_EQ(player.Speed(), 100.0);
    player.SetSpeed(0.0, 300.0);
    EXPECT_EQ(player.Speed(), 0.1);
}

TEST_F(ReplayPlayerTest, StandsStillAtTheEndAndBeginsAnewFromThere)
{
    ReplayPlayer player(stage.RecordTwoSonars(), shown);
    player.MoveTo(At(4500), 0.0);
    shown.Take();
    player.Play(10.0);
    player.Advance(60.0);
    EXPECT_THAT(shown.Take(), ElementsAre("5000 connection", "5000 connection", "5000 sent"));
    EXPECT_FALSE(player.IsPlaying());
    EXPECT_EQ(player.Position(), At(5000));
    player.Play(70.0);
    EXPECT_TRUE(player.IsPlaying());
    EXPECT_EQ(player.Position(), stageStart);
}

TEST_F(ReplayPlayerTest, StepsByMessageAndByWhatIsLookedFor)
{
    ReplayPlayer player(stage.RecordTwoSonars(), shown);
    player.MoveTo(At(500), 0.0);
    player.Play(0.0);
    shown.Take();
    EXPECT_TRUE(player.Step());
    EXPECT_THAT(shown.Take(), ElementsAre("1000 requests"));
    EXPECT_FALSE(player.IsPlaying());
    EXPECT_TRUE(player.Step());
    EXPECT_THAT(shown.Take(), ElementsAre("1000 sent"));
    EXPECT_TRUE(player.MoveToNext({&kinds::Marks}));
    EXPECT_EQ(player.Position(), At(3000));
    EXPECT_FALSE(player.MoveToNext({&kinds::Marks}));
    EXPECT_EQ(player.Position(), At(3000));
    EXPECT_TRUE(player.MoveToPrevious({&kinds::Requests}));
    EXPECT_EQ(player.Position(), At(1000));
    EXPECT_EQ(shown.lines.back(), "1000 attributes") << "with all that happened at that time";
    EXPECT_FALSE(player.MoveToPrevious({&kinds::Requests}));
    player.MoveTo(At(5000), 0.0);
    EXPECT_FALSE(player.Step());
}

TEST_F(ReplayPlayerTest, OfALongFileThePartAloneIsRead)
{
    auto const file = stage.folder / "long.mcap";
    {
        // One frame of 100 KB a millisecond, what the sonar tells each tenth of a second: 60 MB.
        auto options = stage.Options();
        options.period = std::chrono::milliseconds(5);
        stage.At(0);
        FlightRecorder recorder(file, options);
        recorder.Begin(stage.bow, "Bow", Value(L"x5Range", 1000.0));
        recorder.Connection(stage.bow, {vordal::LinkState::Connected, "", {}});
        auto const frame = LongFrame(100'000);
        for (std::uint64_t i = 0; i < 600; ++i) {
            stage.At(i);
            recorder.Frame(stage.bow, false, frame);
            if (i % 100 == 0) {
                recorder.OnSonarTells(stage.bow, Value(L"x5Range", static_cast<double>(i)));
            }
        }
        EXPECT_EQ(recorder.Finish(), "");
        EXPECT_EQ(recorder.Counts().lost, 0U);
    }
    // The first chunks are damaged: nothing of a later moment needs them.
    std::uint64_t damaged = 0;
    {
        McapReader const reader(file);
        std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
        for (auto const& chunk : reader.Chunks()) {
            if (chunk.end < At(300)) {
                bytes.seekp(static_cast<std::streamoff>(chunk.offset + 500));
                bytes.put('!');
                ++damaged;
            }
        }
    }
    ASSERT_GT(damaged, 10U);
    ReplayPlayer player(file, shown);
    player.MoveTo(At(550), 0.0);
    ASSERT_GE(shown.lines.size(), 2U);
    EXPECT_EQ(shown.lines[1], "1.78.1.1 range 400 connected");
    EXPECT_EQ(shown.lines.back(), "550 received");
    EXPECT_EQ(player.Session().File().DamagedChunks(), 0U);
    // The lead is bounded: some 80 frames.
    EXPECT_LT(shown.Take().size(), 100U);
    // Where the beginning is damaged what can be told is told.
    player.MoveTo(At(200), 0.0);
    EXPECT_EQ(player.Position(), At(200));
}

TEST_F(ReplayPlayerTest, AFileWithoutAnIndexIsPlayedTheSame)
{
    auto const file = stage.RecordTwoSonars();
    std::filesystem::resize_file(file, std::filesystem::file_size(file) - 20);
    ReplayPlayer player(file, shown);
    ASSERT_FALSE(player.Session().File().IsComplete());
    // Its sonars are known before it was read.
    EXPECT_THAT(player.Session().Sonars(),
                ElementsAre(RecordedSonar{"1.78.1.1", "Bow"}, RecordedSonar{"1.78.2.1", "Stern"}));
    player.MoveTo(At(2500), 0.0);
    EXPECT_EQ(shown.Take(), upToTwoSeconds);
    EXPECT_TRUE(player.MoveToPrevious({&kinds::Requests}));
    EXPECT_EQ(player.Position(), At(1000));
}

TEST_F(ReplayPlayerTest, AFileWithoutMessagesIsEmptyAndNothingElse)
{
    auto const file = stage.folder / "empty.mcap";
    SessionWriter(file, {}).File().Finish();
    ReplayPlayer player(file, shown);
    player.MoveTo(At(0), 0.0);
    player.Play(0.0);
    player.Advance(10.0);
    EXPECT_FALSE(player.IsPlaying());
    EXPECT_FALSE(player.Step());
    EXPECT_FALSE(player.MoveToNext({&kinds::Marks}));
    EXPECT_EQ(player.Position(), 0U);
}

} // namespace
} // namespace qx5::test
