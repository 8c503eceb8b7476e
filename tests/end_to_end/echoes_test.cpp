// Echoes the whole way: a simulated sonar that hears a scene, its link, the host, a subscriber of the blocks.
#include "stage.h"

#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>

#include <protocol/bytes.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::test {
namespace {

/// Follows one stream of the sonar from its making on.
class Follower
{
public:
    Follower(NearEnd& near, SonarEchoGroup group) : m_near(near)
    {
        CDataId stream = near.Sonar().GetDataId();
        stream.SetGroupId(group);
        m_subscription.SetSubscriber(new MemFunNoInfoSubscriber<Follower>(this, &Follower::OnBlock), true);
        m_near.Host().RunAndWait([&] { m_subscription.Subscribe(stream); });
    }
    Follower(Follower const&) = delete;
    Follower& operator=(Follower const&) = delete;
    ~Follower()
    {
        m_near.Host().RunAndWait([&] { m_subscription.Unsubscribe(); });
    }

    std::vector<CDataBlock> Blocks() const
    {
        std::lock_guard const lock(m_mutex);
        return m_blocks;
    }
    bool WaitFor(std::size_t count) const
    {
        return Eventually([&] { return Blocks().size() >= count; });
    }

private:
    void OnBlock()
    {
        CDataBlock block;
        if (m_subscription.GetDataBuffer()->ReadBlock(block, DATA_ACCESS_LATEST)) {
            std::lock_guard const lock(m_mutex);
            m_blocks.push_back(block);
        }
    }

    NearEnd& m_near;
    DataSubscription m_subscription;
    mutable std::mutex m_mutex;
    std::vector<CDataBlock> m_blocks;
};

std::span<unsigned char const> BytesOf(CDataBlock const& block, SonarEchoItem item)
{
    unsigned short index = 0;
    EXPECT_TRUE(block.LookUp(item, ADDR_FIRST_OF_ITEM, index)) << item;
    CDataItem const& found = *block.GetItem(index);
    return {static_cast<unsigned char const*>(found.data), found.size};
}

simulator::ServerOptions Calm()
{
    simulator::ServerOptions options;
    options.scene = "flat";
    options.depth = 20.0;
    options.calm = true;
    return options;
}

class EndToEndEchoes : public testing::Test
{
protected:
    FarEnd far{Calm()};
    NearEnd near{far.Port()};
};

TEST_F(EndToEndEchoes, ASubscriberSeesTheSceneAndWithoutOneNothingIsComputed)
{
    ASSERT_TRUE(near.Connect());
    far.Command("set x5Range=50");
    far.Command("set x5PingOnOffState=1");
    ASSERT_TRUE(Eventually([&] { return far.Server().Counts().pings >= 3; }));
    EXPECT_EQ(far.Server().Counts().echoesSent, 0U);
    {
        Follower const detections(near, SONAR_DETECTIONS_GROUP);
        Follower const water(near, SONAR_WATER_COLUMN_GROUP);
        ASSERT_TRUE(detections.WaitFor(3));
        ASSERT_TRUE(water.WaitFor(3));
        auto const block = detections.Blocks()[1];
        auto const times = BytesOf(block, DETECTION_TRAVEL_TIME);
        auto const angles = BytesOf(block, DETECTION_ANGLE);
        ASSERT_EQ(times.size(), angles.size());
        ASSERT_GT(times.size(), 0U);
        // Straight down the bottom is 20 m below: 26.7 ms there and back at 1500 m/s.
        std::size_t middle = 0;
        for (std::size_t at = 0; at < angles.size(); at += 4) {
            if (std::abs(protocol::GetF32LE(angles, at)) < std::abs(protocol::GetF32LE(angles, middle))) {
                middle = at;
            }
        }
        EXPECT_NEAR(protocol::GetF32LE(times, middle), 2.0F * 20.0F / 1500.0F, 0.001F);
        auto const column = water.Blocks()[1];
        auto const beams = BytesOf(column, WATER_BEAM_ANGLE).size() / 4;
        auto const samples = protocol::GetI32LE(BytesOf(column, WATER_SAMPLE_COUNT), 0);
        EXPECT_EQ(BytesOf(column, WATER_LEVELS).size(), beams * static_cast<std::size_t>(samples));
        EXPECT_EQ(protocol::GetI32LE(BytesOf(column, ECHO_BEAM_COUNT), 0), static_cast<std::int32_t>(beams));
        // Pings follow one another, and time with them.
        EXPECT_LT(water.Blocks()[0].GetTime(), water.Blocks()[2].GetTime());
    }
    // The last one has gone: what was sent before the sonar heard of it may still come, and then no more.
    ASSERT_TRUE(Eventually([&] {
        auto const sent = far.Server().Counts().echoesSent;
        auto const pings = far.Server().Counts().pings;
        return Eventually([&] { return far.Server().Counts().pings > pings + 2; }) &&
               far.Server().Counts().echoesSent == sent;
    }));
}

TEST_F(EndToEndEchoes, ALinkThatBreaksInMidFrameIsMendedAndAskedAgain)
{
    ASSERT_TRUE(near.Connect());
    Follower const water(near, SONAR_WATER_COLUMN_GROUP);
    far.Command("set x5Range=50");
    far.Command("set x5PingOnOffState=1");
    ASSERT_TRUE(water.WaitFor(1));
    auto const before = near.Port().GetLink().GetCounters().connections;
    far.Command("misbehave half-frame");
    ASSERT_TRUE(Eventually([&] { return near.Port().GetLink().GetCounters().connections > before; }));
    auto const known = water.Blocks().size();
    EXPECT_TRUE(water.WaitFor(known + 2));
    EXPECT_EQ(near.Port().EchoCounts().damaged, 0U);
}

TEST_F(EndToEndEchoes, RequestsAreAnsweredWhilePicturesCome)
{
    ASSERT_TRUE(near.Connect());
    Follower const water(near, SONAR_WATER_COLUMN_GROUP);
    Follower const detections(near, SONAR_DETECTIONS_GROUP);
    far.Command("set x5MaxPingRate=50");
    far.Command("set x5PingOnOffState=1");
    ASSERT_TRUE(water.WaitFor(1));
    for (double range = 20.0; range < 24.0; range += 0.5) {
        near.AskRange(range);
        EXPECT_TRUE(far.WaitForRange(static_cast<float>(range)));
        EXPECT_TRUE(Eventually([&] { return near.Value(L"x5Range") == range; }));
    }
    EXPECT_EQ(near.Port().Pauses(), 0U);
}

} // namespace
} // namespace qx5::test
