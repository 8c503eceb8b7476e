// Order among threads, and stopping in the middle of work.
#include "stage.h"

#include "tests/support/fault_relay.h"

#include <algorithm>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using Steady = std::chrono::steady_clock;

TEST(Threads, RequestsKeepTheOrderOfTheirThread)
{
    FarEnd far;
    NearEnd near(far.Port());
    ASSERT_TRUE(near.Connect());
    constexpr int threads = 4;
    constexpr int requests = 200;
    std::vector<std::thread> workers;
    for (int worker = 0; worker < threads; ++worker) {
        workers.emplace_back([&near, worker] {
            for (int i = 1; i <= requests; ++i) {
                near.PostRange(worker * 1000 + i);
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    ASSERT_TRUE(far.WaitForRanges(threads * requests));
    auto const ranges = far.Ranges();
    ASSERT_EQ(ranges.size(), static_cast<std::size_t>(threads * requests));
    std::vector<int> last(threads, 0);
    for (float const range : ranges) {
        auto const worker = static_cast<std::size_t>(range) / 1000;
        ASSERT_LT(worker, last.size());
        EXPECT_EQ(static_cast<int>(range) % 1000, last[worker] + 1);
        last[worker] = static_cast<int>(range) % 1000;
    }
    for (auto const& arrival : far.Arrivals()) {
        if (auto const range = RangeOf(arrival.frame)) {
            EXPECT_EQ(arrival.frame, RangeFrame(*range));
        }
    }
    // What was echoed came in the order in which it was sent. The last echo follows its send.
    near.Host().RunAndWait([] {});
    auto const echoed = near.EchoedRanges();
    EXPECT_TRUE(std::equal(echoed.begin(), echoed.end(), ranges.begin(), ranges.end()));
}

TEST(Threads, SendsOfSeveralThreadsDoNotMix)
{
    FarEnd far;
    NearEnd near(far.Port());
    ASSERT_TRUE(near.Connect());
    constexpr std::size_t threads = 4;
    constexpr int sends = 500;
    std::vector<std::thread> workers;
    for (std::size_t worker = 0; worker < threads; ++worker) {
        workers.emplace_back([&near, worker] {
            for (int i = 1; i <= sends; ++i) {
                EXPECT_TRUE(near.Send(static_cast<float>(worker * 1000) + static_cast<float>(i)));
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    ASSERT_TRUE(far.WaitForRanges(threads * sends));
    std::vector<int> last(threads, 0);
    for (float const range : far.Ranges()) {
        auto const worker = static_cast<std::size_t>(range) / 1000;
        ASSERT_LT(worker, last.size());
        EXPECT_EQ(static_cast<int>(range) % 1000, last[worker] + 1);
        last[worker] = static_cast<int>(range) % 1000;
    }
    EXPECT_EQ(far.Server().Counts().skippedBytes, 0U);
}

TEST(Threads, ASubscriberSeesEveryEchoInOrder)
{
    FarEnd far;
    far.Command("misbehave silent"); // so that nothing but echoes changes the tree
    NearEnd near(far.Port());
    near.Open();
    ASSERT_TRUE(near.WaitForConnection());
    std::vector<double> expected;
    for (int i = 1; i <= 500; ++i) {
        near.PostRange(i);
        expected.push_back(i);
    }
    ASSERT_TRUE(near.WaitUntilSeen(500.0));
    EXPECT_EQ(near.SeenRanges(), expected);
    EXPECT_EQ(near.EchoedRanges(), expected);
}

TEST(Threads, ASubscriberSeesTheSonarsReportsInOrder)
{
    simulator::ServerOptions options;
    options.reportLatency = std::chrono::milliseconds(1);
    FarEnd far(options);
    NearEnd near(far.Port());
    ASSERT_TRUE(near.Connect());
    for (int i = 1; i <= 200; ++i) {
        far.Command("set x5Range=" + std::to_string(100 + i));
    }
    ASSERT_TRUE(near.WaitUntilSeen(300.0));
    auto const seen = near.SeenRanges();
    // Changes that follow closely are reported together, so some are not seen; what is seen rises.
    EXPECT_EQ(seen.front(), 100.0);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), 300.0);
}

TEST(Threads, HostAndSonarStopInBoundedTimeWhileBusy)
{
    simulator::ServerOptions options;
    options.announcePings = true;
    options.reportLatency = std::chrono::milliseconds(1);
    FarEnd far(options);
    auto near = std::make_unique<NearEnd>(far.Port());
    ASSERT_TRUE(near->Connect());
    CAttributeMap pings;
    pings.Add(L"x5MaxPingRate", CVordalDouble(50.0), 0);
    pings.Add(L"x5PingOnOffState", CVordalInt(1), 0);
    near->Ask(pings);
    std::atomic<bool> end{false};
    std::vector<std::thread> workers;
    for (int worker = 0; worker < 2; ++worker) {
        workers.emplace_back([&] {
            for (int i = 1; !end; i = i % 400 + 1) {
                near->PostRange(i);
                std::this_thread::yield();
            }
        });
    }
    ASSERT_TRUE(far.WaitForRanges(500));

    auto start = Steady::now();
    far.Server().Stop();
    EXPECT_LT(Steady::now() - start, std::chrono::seconds(10));
    ASSERT_TRUE(near->WaitForLoss());

    start = Steady::now();
    near->Host().Stop(std::chrono::seconds(5));
    EXPECT_LT(Steady::now() - start, std::chrono::seconds(10));
    end = true;
    for (std::thread& worker : workers) {
        worker.join();
    }
    start = Steady::now();
    near.reset();
    EXPECT_LT(Steady::now() - start, std::chrono::seconds(10));
}

TEST(Threads, TheHostStopsInBoundedTimeWithASonarThatReadsNothing)
{
    FarEnd far;
    vordal::FaultRelay relay(far.Port());
    auto near = std::make_unique<NearEnd>(relay.Port(), [](vordal::LinkOptions& options) {
        options.queueBytes = 64 * 1024;
        options.systemBufferBytes = 4 * 1024;
    });
    ASSERT_TRUE(near->Connect());
    relay.SetStalled(vordal::FaultRelay::Direction::ToTarget, true);
    while (near->Send(1.0F)) {
    }
    auto const start = Steady::now();
    near.reset();
    far.Server().Stop();
    EXPECT_LT(Steady::now() - start, std::chrono::seconds(10));
}

} // namespace
} // namespace qx5::test
