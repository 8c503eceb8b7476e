// Garbage, damaged frames and single bytes in both directions: both ends find the next good frame.
#include "stage.h"

#include "tests/support/fault_relay.h"

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using Direction = vordal::FaultRelay::Direction;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// Bytes of every value, the first byte of a frame among them; the same each time.
Bytes Garbage(std::size_t count, std::uint32_t seed)
{
    Bytes bytes;
    for (std::size_t i = 0; i < count; ++i) {
        seed = seed * 1664525U + 1013904223U;
        bytes.push_back(static_cast<unsigned char>(seed >> 24U));
    }
    return bytes;
}

class DamagedStream : public ::testing::Test
{
protected:
    FarEnd far;
    vordal::FaultRelay relay{far.Port()};
    NearEnd near{relay.Port()};

    /// A request arrives whole and is echoed, and what the sonar makes of it comes back.
    void ExpectARequestGoesThrough(float range)
    {
        near.AskRange(range);
        EXPECT_TRUE(far.WaitForRange(range)) << range;
        EXPECT_EQ(near.EchoedRanges().back(), range);
        far.Command("set x5Gain=" + std::to_string(static_cast<int>(range)));
        EXPECT_TRUE(Eventually([&] { return near.Value(L"x5Gain") == range; })) << range;
    }
};

TEST_F(DamagedStream, SingleBytesBothWays)
{
    relay.SetPieceSize(1);
    far.Command("misbehave split");
    ASSERT_TRUE(near.Connect());
    for (float range = 10.0F; range < 15.0F; range += 1.0F) {
        ExpectARequestGoesThrough(range);
    }
    EXPECT_EQ(far.Ranges().size(), 5U);
    EXPECT_EQ(far.Server().Counts().skippedBytes, 0U);
    EXPECT_EQ(near.Port().GetLink().GetCounters().bytesSkipped, 0U);
}

TEST_F(DamagedStream, GarbageBetweenFramesIsSkippedCountedAndReportedOnce)
{
    ASSERT_TRUE(near.Connect());
    ExpectARequestGoesThrough(10.0F);
    for (std::uint32_t round = 1; round <= 5; ++round) {
        relay.Inject(Direction::ToTarget, Garbage(1000, round));
        relay.Inject(Direction::ToClient, Garbage(1000, round + 100));
        ExpectARequestGoesThrough(10.0F + static_cast<float>(round));
    }
    EXPECT_THAT(far.Ranges(), ElementsAre(10.0F, 11.0F, 12.0F, 13.0F, 14.0F, 15.0F));
    EXPECT_EQ(far.Server().Counts().skippedBytes, 5000U);
    EXPECT_EQ(near.Port().GetLink().GetCounters().bytesSkipped, 5000U);
    auto const lines = near.LogLines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](std::string const& line) { return line.find("no frame") != std::string::npos; }),
              1);
}

TEST_F(DamagedStream, GarbageOfTheSonarAndSingleBytesTogether)
{
    relay.SetPieceSize(1);
    far.Command("misbehave garbage 100");
    far.Command("misbehave split");
    ASSERT_TRUE(near.Connect());
    for (float range = 10.0F; range < 13.0F; range += 1.0F) {
        relay.Inject(Direction::ToTarget, Garbage(37, static_cast<std::uint32_t>(range)));
        ExpectARequestGoesThrough(range);
    }
    EXPECT_EQ(far.Server().Counts().skippedBytes, 3U * 37U);
    EXPECT_GE(near.Port().GetLink().GetCounters().bytesSkipped, 400U);
    EXPECT_EQ(near.Port().DroppedTrees(), 0U);
}

TEST_F(DamagedStream, ADamagedFrameIsLostAndTheNextOneIsNot)
{
    ASSERT_TRUE(near.Connect());
    near.AskRange(10.0);
    ASSERT_TRUE(far.WaitForRange(10.0F));
    relay.Corrupt(Direction::ToTarget, 92, 0x01); // its trailing word
    near.AskRange(11.0);
    near.AskRange(12.0);
    ASSERT_TRUE(far.WaitForRange(12.0F));
    relay.Corrupt(Direction::ToTarget, 4, 0x80); // its sync word
    near.AskRange(13.0);
    near.AskRange(14.0);
    ASSERT_TRUE(far.WaitForRange(14.0F));
    EXPECT_THAT(far.Ranges(), ElementsAre(10.0F, 12.0F, 14.0F));
    EXPECT_EQ(far.Server().Counts().skippedBytes, 192U);
    EXPECT_EQ(far.Server().Counts().connections, 1U);
}

TEST_F(DamagedStream, AHeadWithoutItsFrameSwallowsNothing)
{
    ASSERT_TRUE(near.Connect());
    near.AskRange(10.0);
    ASSERT_TRUE(far.WaitForRange(10.0F));
    // The head of a frame of 172 bytes, and then the next two: they lie where its data and its end would be.
    Bytes head = RangeFrame(11.0F);
    head.resize(64);
    head[8] = 172;
    relay.Inject(Direction::ToTarget, head);
    near.AskRange(12.0);
    near.AskRange(13.0);
    ASSERT_TRUE(far.WaitForRange(13.0F));
    EXPECT_THAT(far.Ranges(), ElementsAre(10.0F, 12.0F, 13.0F));
}

TEST_F(DamagedStream, AMegabyteOfGarbageEachWayCostsNoConnection)
{
    ASSERT_TRUE(near.Connect());
    relay.Inject(Direction::ToTarget, Garbage(1000000, 7));
    relay.Inject(Direction::ToClient, Garbage(1000000, 8));
    ExpectARequestGoesThrough(10.0F);
    EXPECT_EQ(far.Server().Counts().connections, 1U);
    EXPECT_EQ(near.Port().GetLink().GetCounters().connections, 1U);
    EXPECT_GE(near.Port().GetLink().GetCounters().bytesSkipped, 1000000U);
}

TEST(LyingSonar, WhatFollowsAFalseSizeWordIsHeard)
{
    FarEnd far;
    NearEnd near(far.Port());
    ASSERT_TRUE(near.Connect());
    far.Command("misbehave lie-about-size");
    for (double const range : {55.0, 56.0, 57.0, 58.0}) {
        far.Command("set x5Range=" + std::to_string(range));
        ASSERT_TRUE(near.WaitUntilSeen(range));
    }
    EXPECT_TRUE(near.Port().GetLink().IsConnected());
    EXPECT_EQ(far.Server().Counts().connections, 1U);
}

TEST(CollidingSonar, IsHeardBehindItsTree)
{
    FarEnd far;
    NearEnd near(far.Port());
    ASSERT_TRUE(near.Connect());
    far.Command("misbehave collide 3000");
    far.Command("set x5Range=55");
    ASSERT_TRUE(near.WaitUntilSeen(55.0));
}

} // namespace
} // namespace qx5::test
