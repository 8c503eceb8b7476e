// The black box: its bound, its numbers, and that nothing falls between two pieces.
#include "recorded_stage.h"
#include "recording/black_box.h"
#include "recording/recorded_session.h"
#include "recording/recording_error.h"
#include "recording/recording_tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>

namespace qx5::test {
namespace {

using namespace recording;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr std::uint64_t mebibyte = 1 << 20;

class BlackBoxTest : public ::testing::Test
{
protected:
    std::vector<std::filesystem::path> Files() const
    {
        std::vector<std::filesystem::path> files;
        for (auto const& entry : std::filesystem::directory_iterator(box)) {
            files.push_back(entry.path());
        }
        std::sort(files.begin(), files.end());
        return files;
    }
    std::uint64_t Bytes() const
    {
        std::uint64_t bytes = 0;
        for (auto const& file : Files()) {
            bytes += std::filesystem::file_size(file);
        }
        return bytes;
    }
    /// So many frames of 1,000 bytes, each with an attribute that counts them.
    void Record(int frames, int first = 0)
    {
        auto const recorder = BlackBox::Record(box, mebibyte, stage.Options());
        recorder->Begin(stage.bow, "Bow", Value(L"x5Range", -1.0));
        recorder->Connection(stage.bow, {vordal::LinkState::Connected, "", {}});
        auto const frame = LongFrame(932);
        for (int i = first; i < first + frames; ++i) {
            recorder->OnSonarTells(stage.bow, Value(L"x5Range", i));
            recorder->Frame(stage.bow, false, frame);
        }
        EXPECT_EQ(recorder->Finish(), "");
        EXPECT_EQ(recorder->Counts().lost, 0U);
    }

    RecordedStage stage;
    std::filesystem::path const box = BlackBoxOf(stage.folder / "survey.qx5");
};

double RangeIn(CAttributeMap const& tree)
{
    double value = 0.0;
    tree.Find(AttributeKey(L"x5Range"), 0).Value().Get(value);
    return value;
}

TEST_F(BlackBoxTest, EachPieceIsAWholeRecordingAndNoMessageFallsBetween)
{
    EXPECT_EQ(box.filename(), "survey.qx5.black-box");
    Record(500);
    auto const files = Files();
    EXPECT_EQ(files.front().filename(), "000001.mcap");
    ASSERT_GE(files.size(), 8U); // some 0.5 MB in pieces of 64 KiB
    int next = 0;
    int frames = 0;
    for (auto const& file : files) {
        EXPECT_TRUE(Check(file).isWhole) << Check(file).line;
        RecordedSession session(file);
        std::vector<RecordedContent> beginning;
        session.ForEach({}, [&](RecordedMessage const& message) {
            if (beginning.size() < 2) {
                beginning.push_back(message.content);
            }
            if (auto const* const told = std::get_if<RecordedAttributes>(&message.content)) {
                EXPECT_EQ(RangeIn(told->tree), next++);
            }
            frames += std::holds_alternative<RecordedFrame>(message.content) ? 1 : 0;
            return true;
        });
        ASSERT_TRUE(std::holds_alternative<RecordedSettings>(beginning[0])) << file;
        EXPECT_EQ(std::get<RecordedSettings>(beginning[0]).name, "Bow");
        EXPECT_EQ(std::get<RecordedConnection>(beginning[1]).state, "connected");
        // As they stood where the piece begins.
        auto const settings = session.SettingsBefore(std::numeric_limits<std::uint64_t>::max());
        EXPECT_EQ(RangeIn(settings.at("1.78.1.1").tree), next - 1);
    }
    EXPECT_EQ(next, 500);
    EXPECT_EQ(frames, 500);
}

TEST_F(BlackBoxTest, APieceBeginsWithTheSettingsAsTheyThenStand)
{
    Record(200);
    auto const files = Files();
    ASSERT_GE(files.size(), 3U);
    // Of each the settings at its beginning are what the one before told last.
    double last = -1.0;
    for (auto const& file : files) {
        RecordedSession session(file);
        bool isFirst = true;
        session.ForEach({}, [&](RecordedMessage const& message) {
            if (std::exchange(isFirst, false)) {
                EXPECT_EQ(RangeIn(std::get<RecordedSettings>(message.content).tree), last) << file;
            }
            if (auto const* const told = std::get_if<RecordedAttributes>(&message.content)) {
                last = RangeIn(told->tree);
            }
            return true;
        });
    }
}

TEST_F(BlackBoxTest, TheOldestGoAndNumbersGoOn)
{
    Record(2000); // some 2 MB into 1 MiB
    EXPECT_LE(Bytes(), mebibyte);
    EXPECT_GE(Bytes(), mebibyte * 12 / 16);
    auto const first = Files();
    EXPECT_GT(first.front().filename(), "000010.mcap");
    Record(10, 2000);
    EXPECT_LE(Bytes(), mebibyte);
    auto const second = Files();
    EXPECT_EQ(std::stoi(second.back().stem()), std::stoi(first.back().stem()) + 1);
    // The newest of all is there.
    auto const settings = RecordedSession(second.back()).SettingsBefore(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(RangeIn(settings.at("1.78.1.1").tree), 2009.0);
}

TEST_F(BlackBoxTest, TwoProgramsOfOneProjectWriteFilesOfTheirOwn)
{
    auto const one = BlackBox::Record(box, mebibyte, stage.Options());
    one->Mark("of the first");
    auto const oldest = Files();
    Record(2000); // would have to take away the first's
    one->Finish();
    ASSERT_EQ(oldest.size(), 1U);
    EXPECT_TRUE(Check(oldest[0]).isWhole);
    bool isThere = false;
    RecordedSession(oldest[0]).ForEach({}, [&](RecordedMessage const& message) {
        isThere = isThere || std::get<RecordedMark>(message.content).text == "of the first";
        return true;
    });
    EXPECT_TRUE(isThere);
}

TEST_F(BlackBoxTest, WhatIsNotItsOwnStays)
{
    std::filesystem::create_directories(box);
    std::ofstream(box / "notes.txt") << std::string(2 * mebibyte, 'x');
    std::ofstream(box / "wreck.mcap") << "kept";
    Record(1500);
    EXPECT_TRUE(std::filesystem::exists(box / "notes.txt"));
    EXPECT_TRUE(std::filesystem::exists(box / "wreck.mcap"));
}

TEST_F(BlackBoxTest, NoFolderIsMadeForAProjectThatIsNowhere)
{
    EXPECT_THROW(BlackBox::Record(stage.folder / "none" / "box", mebibyte, stage.Options()), RecordingError);
    EXPECT_FALSE(std::filesystem::exists(stage.folder / "none"));
}

TEST_F(BlackBoxTest, AFolderThatCannotBeIsOneLine)
{
    std::ofstream(box.string()) << "a file";
    try {
        BlackBox::Record(box, mebibyte, stage.Options());
        FAIL();
    } catch (RecordingError const& error) {
        EXPECT_THAT(error.what(), HasSubstr("survey.qx5.black-box"));
    }
}

} // namespace
} // namespace qx5::test
