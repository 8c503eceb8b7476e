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
        while (auto const frame = reader.Next())
            frames.push_back(frame->header.recordId);
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
    EXPECT_EQ(*limit.Due() - now, milliseconds(5000));
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
