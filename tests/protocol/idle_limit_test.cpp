// Unfinished frames that are given up after a time without a byte; the time is the test's own.
#include <gtest/gtest.h>

#include <protocol/idle_limit.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

using std::chrono::milliseconds;

class IdleLimitTest : public testing::Test
{
protected:
    void Feed(std::vector<unsigned char> const& bytes)
    {
        reader.Feed(bytes);
        TakeAll();
        limit.Heard(reader, now);
    }
    void TakeAll()
    {
        while (auto const frame = reader.Next()) {
            frames.push_back(frame->header.recordId);
        }
    }
    bool DoubtAfter(milliseconds passed)
    {
        now += passed;
        bool const doubted = limit.Doubt(reader, now);
        TakeAll();
        if (doubted) {
            limit.Taken(reader, now);
        }
        return doubted;
    }
    bool ExpireAfter(milliseconds passed)
    {
        now += passed;
        bool const expired = limit.Expire(reader, now);
        TakeAll();
        return expired;
    }

    FrameReader reader;
    IdleLimit limit{milliseconds(5000)};
    IdleLimit::Time now{std::chrono::hours(1)};
    std::vector<std::uint32_t> frames;
    /// The start of a frame of 1 MiB.
    std::vector<unsigned char> const claim = Bytes("0500 3c00 ffff0000 00001000");
    std::vector<unsigned char> const good = BuildFrame(7611, OwnSonar, 1700000000.0, Bytes("00007042"));
};

TEST_F(IdleLimitTest, NothingIsDueWithoutAnUnfinishedFrame)
{
    EXPECT_FALSE(limit.Due());
    Feed(good);
    EXPECT_FALSE(limit.Due());
    Feed({0xAB, 0xCD});
    EXPECT_FALSE(limit.Due()) << "garbage is dropped at once and keeps nothing waiting";
    EXPECT_FALSE(ExpireAfter(milliseconds(100000)));
}

TEST_F(IdleLimitTest, AFalseClaimIsGivenUpAndWhatLiesInsideIsFound)
{
    Feed(Join({claim, good, good}));
    EXPECT_TRUE(frames.empty());
    ASSERT_TRUE(limit.Due());
    EXPECT_EQ(*limit.Due() - now, milliseconds(500)) << "its share of time comes first";
    EXPECT_FALSE(ExpireAfter(milliseconds(4999)));
    EXPECT_TRUE(frames.empty());
    EXPECT_TRUE(ExpireAfter(milliseconds(1)));
    EXPECT_EQ(frames, (std::vector<std::uint32_t>{7611, 7611}));
    EXPECT_EQ(reader.DamagedFrames(), 1U);
    EXPECT_EQ(reader.SkippedBytes(), 12U);
    EXPECT_EQ(reader.BufferedBytes(), 0U);
    EXPECT_FALSE(limit.Due());
    Feed(good);
    EXPECT_EQ(frames.size(), 3U);
}

TEST_F(IdleLimitTest, EachByteBuysTheWholeTimeAnew)
{
    Feed(claim);
    for (int i = 0; i < 10; ++i) {
        EXPECT_FALSE(ExpireAfter(milliseconds(4999)));
        Feed({0});
    }
    EXPECT_FALSE(ExpireAfter(milliseconds(4999)));
    EXPECT_TRUE(ExpireAfter(milliseconds(1)));
    EXPECT_EQ(reader.SkippedBytes(), 22U);
}

TEST_F(IdleLimitTest, WhatLiesInsideAFalseClaimIsGivenWhileMoreBytesCome)
{
    Feed(claim);
    auto const begun = now;
    for (int i = 0; i < 49; ++i) {
        EXPECT_FALSE(DoubtAfter(milliseconds(10))) << i;
        Feed(good);
        EXPECT_TRUE(frames.empty());
    }
    EXPECT_TRUE(DoubtAfter(milliseconds(10)));
    EXPECT_EQ(now - begun, milliseconds(500));
    EXPECT_EQ(frames.size(), 49U);
    EXPECT_EQ(reader.SkippedBytes(), 12U);
    EXPECT_FALSE(limit.Due());
    Feed(good);
    EXPECT_EQ(frames.size(), 50U);
}

TEST_F(IdleLimitTest, AFrameThatIsDoubtedAndHoldsNoneGoesOnArriving)
{
    auto const large = BuildFrame(7610, OwnSonar, 1700000000.0, std::vector<unsigned char>(100000, 0x05));
    for (std::size_t at = 0; at < large.size(); at += 100) {
        auto const from = large.begin() + static_cast<std::ptrdiff_t>(at);
        Feed({from, from + static_cast<std::ptrdiff_t>(std::min<std::size_t>(100, large.size() - at))});
        DoubtAfter(milliseconds(100)); // 1,000 bytes a second: the share passes 200 times
    }
    EXPECT_EQ(frames, (std::vector<std::uint32_t>{7610}));
    EXPECT_EQ(reader.SkippedBytes(), 0U);
}

TEST_F(IdleLimitTest, ADoubtGivesNoTimeToTheIdleLimit)
{
    Feed(claim);
    EXPECT_TRUE(DoubtAfter(milliseconds(500)));
    EXPECT_FALSE(DoubtAfter(milliseconds(500))) << "once for each frame";
    EXPECT_FALSE(ExpireAfter(milliseconds(3999)));
    EXPECT_TRUE(ExpireAfter(milliseconds(1)));
}

TEST_F(IdleLimitTest, TheNextUnfinishedFrameHasItsOwnShare)
{
    Feed(Join({claim, good, claim, good}));
    EXPECT_TRUE(DoubtAfter(milliseconds(500)));
    EXPECT_EQ(frames.size(), 1U);
    ASSERT_TRUE(limit.Due());
    EXPECT_EQ(*limit.Due() - now, milliseconds(500));
    EXPECT_FALSE(DoubtAfter(milliseconds(499)));
    EXPECT_TRUE(DoubtAfter(milliseconds(1)));
    EXPECT_EQ(frames.size(), 2U);
}

TEST_F(IdleLimitTest, TimeThatThisSideTookIsGivenBack)
{
    Feed(claim);
    now += milliseconds(400);
    limit.Restart(reader, now);
    EXPECT_FALSE(DoubtAfter(milliseconds(499)));
    EXPECT_TRUE(DoubtAfter(milliseconds(1)));
}

TEST_F(IdleLimitTest, AFrameThatEndsInTimeIsGood)
{
    Feed({good.begin(), good.begin() + 71});
    EXPECT_FALSE(ExpireAfter(milliseconds(4999)));
    Feed({good.begin() + 71, good.end()});
    EXPECT_EQ(frames, (std::vector<std::uint32_t>{7611}));
    EXPECT_FALSE(ExpireAfter(milliseconds(100000)));
    EXPECT_EQ(reader.SkippedBytes(), 0U);
}

} // namespace

} // namespace qx5::protocol::test
