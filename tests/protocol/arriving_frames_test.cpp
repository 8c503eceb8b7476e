// The frames of one connection by bytes and times alone: given up in time, and told once of each kind of damage.
#include <gtest/gtest.h>

#include <protocol/arriving_frames.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

using std::chrono::milliseconds;

class ArrivingFramesTest : public testing::Test
{
protected:
    void Feed(std::vector<unsigned char> const& bytes)
    {
        arriving.Feed(bytes);
        Take();
        arriving.Heard(now);
    }
    /// As the owner of the timer does, whether it is due or not.
    void LookAfter(milliseconds passed, bool moreArrived = false)
    {
        now += passed;
        while (arriving.LookAgain(now, moreArrived)) {
            Take();
        }
    }
    void Take()
    {
        while (auto const frame = arriving.Next()) {
            frames.push_back(frame->header.recordId);
        }
        if (auto const damage = arriving.NewDamage(); damage != Damage::None) {
            told.push_back(damage);
        }
    }

    ArrivingFrames arriving{IdleLimit(milliseconds(5000), milliseconds(500))};
    ArrivingFrames::Time now{std::chrono::hours(1)};
    std::vector<std::uint32_t> frames;
    std::vector<Damage> told;
    /// The start of a frame of 1 MiB.
    std::vector<unsigned char> const claim = Bytes("0500 3c00 ffff0000 00001000");
    std::vector<unsigned char> const good = BuildFrame(7611, OwnSonar, 1700000000.0, Bytes("00007042"));
};

TEST_F(ArrivingFramesTest, GarbageIsToldOnce)
{
    Feed(good);
    EXPECT_TRUE(told.empty());
    Feed({0xAB, 0xCD});
    Feed({0xEF});
    Feed(good);
    EXPECT_EQ(told, (std::vector<Damage>{Damage::Garbage}));
    EXPECT_EQ(frames.size(), 2U);
    EXPECT_FALSE(arriving.Due());
}

TEST_F(ArrivingFramesTest, AnUnfinishedFrameIsDoubtedThenGivenUpAndToldOnceInItsOwnWords)
{
    Feed(claim);
    ASSERT_TRUE(arriving.Due());
    EXPECT_EQ(*arriving.Due() - now, milliseconds(500));
    LookAfter(milliseconds(500));
    ASSERT_TRUE(arriving.Due());
    EXPECT_EQ(*arriving.Due() - now, milliseconds(4500)) << "a doubt gives it no time";
    LookAfter(milliseconds(4499));
    EXPECT_TRUE(told.empty());
    LookAfter(milliseconds(1));
    EXPECT_EQ(told, (std::vector<Damage>{Damage::Unfinished})) << "and not that its bytes are garbage";
    EXPECT_EQ(arriving.Reader().SkippedBytes(), 12U);
    EXPECT_FALSE(arriving.Due());
    Feed(claim);
    LookAfter(milliseconds(5000));
    EXPECT_EQ(told.size(), 1U);
    EXPECT_EQ(arriving.Reader().SkippedBytes(), 24U);
}

TEST_F(ArrivingFramesTest, ADoubtGivesTheFramesInsideAndTellsOfGarbage)
{
    Feed(claim);
    Feed(good);
    EXPECT_TRUE(frames.empty());
    LookAfter(milliseconds(500));
    EXPECT_EQ(frames, (std::vector<std::uint32_t>{7611}));
    EXPECT_EQ(told, (std::vector<Damage>{Damage::Garbage}));
    EXPECT_FALSE(arriving.Due());
}

TEST_F(ArrivingFramesTest, WhatFollowsADoubtedFrameHasAShareOfItsOwn)
{
    Feed(claim);
    Feed(good);
    Feed(claim);
    LookAfter(milliseconds(500));
    EXPECT_EQ(frames.size(), 1U);
    ASSERT_TRUE(arriving.Due());
    EXPECT_EQ(*arriving.Due() - now, milliseconds(500));
}

TEST_F(ArrivingFramesTest, WhatHasArrivedAndWasNotFedYetIsNoSilence)
{
    Feed(claim);
    LookAfter(milliseconds(500));
    LookAfter(milliseconds(4500), true);
    EXPECT_TRUE(told.empty());
    ASSERT_TRUE(arriving.Due());
    EXPECT_EQ(*arriving.Due() - now, milliseconds(5000));
}

TEST_F(ArrivingFramesTest, AMachineThatSleptLooksForBothAtOnce)
{
    Feed(claim);
    Feed(good);
    LookAfter(milliseconds(100000));
    EXPECT_EQ(frames, (std::vector<std::uint32_t>{7611}));
    EXPECT_EQ(arriving.Reader().BufferedBytes(), 0U);
}

} // namespace

} // namespace qx5::protocol::test
