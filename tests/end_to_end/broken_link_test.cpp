// The link is cut in the middle and comes back: nothing torn, nothing old, no call that waits.
#include "stage.h"

#include "tests/support/fault_relay.h"

#include <algorithm>
#include <map>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::ElementsAre;

/// Each frame that arrived is whole, and on each connection the ranges rise, and from one connection to the next.
void ExpectWholeAndRising(FarEnd const& far)
{
    float last = -1.0F;
    std::uint64_t connection = 0;
    for (auto const& arrival : far.Arrivals()) {
        auto const range = RangeOf(arrival.frame);
        if (!range) {
            continue; // what the plug-in sends when it is connected
        }
        EXPECT_EQ(arrival.frame, RangeFrame(*range));
        EXPECT_GT(*range, last);
        EXPECT_GE(arrival.connection, connection);
        last = *range;
        connection = arrival.connection;
    }
}

TEST(BrokenLink, RequestsFlowAgainAfterTheSonarHasDroppedTheLink)
{
    FarEnd far;
    NearEnd near(far.Port());
    ASSERT_TRUE(near.Connect());
    near.AskRange(50.0);
    ASSERT_TRUE(far.WaitForRange(50.0F));

    far.Command("misbehave refuse not-listening");
    EXPECT_EQ(far.Command("drop"), "1 connection dropped");
    ASSERT_TRUE(near.WaitForLoss());
    for (int i = 0; i < 20; ++i) {
        EXPECT_FALSE(near.Send(60.0F));
        near.AskRange(61.0 + i);
        EXPECT_EQ(near.EchoedRanges().back(), 61.0 + i);
        EXPECT_EQ(near.SeenRanges().back(), 61.0 + i);
    }

    far.Command("behave");
    ASSERT_TRUE(near.WaitForConnection());
    near.AskRange(90.0);
    ASSERT_TRUE(far.WaitForRange(90.0F));
    EXPECT_THAT(far.Ranges(), ElementsAre(50.0F, 90.0F));
    ExpectWholeAndRising(far);
    EXPECT_EQ(far.Server().Counts().connections, 2U);
    EXPECT_EQ(far.Server().Counts().skippedBytes, 0U);
}

TEST(BrokenLink, ACutInTheMiddleOfAFrameTearsNothing)
{
    FarEnd far;
    vordal::FaultRelay relay(far.Port());
    NearEnd near(relay.Port());
    ASSERT_TRUE(near.Connect());
    // Cuts after odd numbers of bytes, so that a frame is broken each time, while requests go on and on.
    float range = 1.0F;
    for (std::uint64_t const bytes : {1U, 13U, 95U, 97U, 500U, 1000U}) {
        auto const connections = relay.Connections();
        relay.CutAfter(vordal::FaultRelay::Direction::ToTarget, bytes);
        ASSERT_TRUE(Eventually([&] {
            near.AskRange(range);
            range += 1.0F;
            return relay.Connections() > connections && near.Port().GetLink().IsConnected();
        })) << "cut after "
            << bytes;
        float const marker = range;
        range += 1.0F;
        near.AskRange(marker);
        ASSERT_TRUE(far.WaitForRange(marker));
    }
    EXPECT_EQ(near.EchoedRanges().size(), static_cast<std::size_t>(range) - 1);
    ExpectWholeAndRising(far);
    EXPECT_GE(far.Server().Counts().connections, 7U);
}

TEST(BrokenLink, NothingOfTheOldQueueIsSentOnTheNewConnection)
{
    FarEnd far;
    vordal::FaultRelay relay(far.Port());
    NearEnd near(relay.Port(), [](vordal::LinkOptions& options) {
        options.queueBytes = 64 * 1024;
        options.systemBufferBytes = 4 * 1024;
    });
    ASSERT_TRUE(near.Connect());
    near.AskRange(1.0);
    ASSERT_TRUE(far.WaitForRange(1.0F));

    // The sonar stops reading: first the system's buffers fill, then the queue, then a send is refused, at once.
    relay.SetStalled(vordal::FaultRelay::Direction::ToTarget, true);
    float range = 2.0F;
    while (near.Send(range)) {
        range += 1.0F;
        ASSERT_LT(range, 1e6F) << "the queue has no end";
    }
    EXPECT_GT(near.Port().GetLink().GetQueuedBytes(), 60U * 1024U);
    near.AskRange(range); // refused, too, and echoed none the less
    EXPECT_EQ(near.EchoedRanges().back(), range);

    relay.Cut();
    ASSERT_TRUE(near.WaitForLoss());
    relay.SetStalled(vordal::FaultRelay::Direction::ToTarget, false);
    ASSERT_TRUE(near.WaitForConnection());
    EXPECT_EQ(near.Port().GetLink().GetQueuedBytes(), 0U);
    float const after = 2e6F;
    near.AskRange(after);
    ASSERT_TRUE(far.WaitForRange(after));

    auto const arrivals = far.Arrivals();
    for (auto const& arrival : arrivals) {
        auto const asked = RangeOf(arrival.frame);
        if (asked && arrival.connection > 1) {
            EXPECT_EQ(*asked, after) << "a request of before the cut";
        }
    }
    EXPECT_LT(far.Ranges().size(), static_cast<std::size_t>(range));
    ExpectWholeAndRising(far);
}

TEST(BrokenLink, TheSonarTellsEverythingAnewAfterTheCut)
{
    FarEnd far;
    NearEnd near(far.Port());
    ASSERT_TRUE(near.Connect());
    far.Command("misbehave refuse not-listening");
    far.Command("drop");
    ASSERT_TRUE(near.WaitForLoss());
    near.AskRange(77.0); // never arrives
    far.Command("set x5Range=55");
    far.Command("behave");
    ASSERT_TRUE(near.WaitUntilSeen(55.0));
    EXPECT_EQ(near.Value(L"x5Range"), 55.0);
    auto seen = near.SeenRanges();
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end()); // the change may be reported once more
    EXPECT_THAT(seen, ElementsAre(100.0, 77.0, 55.0));
}

TEST(BrokenLink, AHalfFrameFromTheSonarIsForgotten)
{
    FarEnd far;
    NearEnd near(far.Port());
    ASSERT_TRUE(near.Connect());
    far.Command("misbehave half-frame");
    far.Command("set x5Range=55"); // the report of it is cut in half, and the link with it
    ASSERT_TRUE(Eventually([&] { return far.Server().Counts().connections == 2; }));
    ASSERT_TRUE(near.WaitUntilSeen(55.0));
    EXPECT_EQ(near.Port().DroppedTrees(), 0U);
    near.AskRange(60.0);
    EXPECT_TRUE(far.WaitForRange(60.0F));
}

} // namespace
} // namespace qx5::test
