// Tests of turns with a scripted connection: notifications from within sends, stops in every state, races.
#include "fleet.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <future>
#include <random>

namespace qx5::test {
namespace {

/// "ABAB..." of that length.
std::string Alternating(std::size_t length)
{
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += i % 2 == 0 ? 'A' : 'B';
    }
    return text;
}

/// Two sonars that have joined; A has pinged and is awaited.
class TwoSonars : public testing::Test
{
protected:
    void Begin()
    {
        fleet.Info().Init();
        fleet.Data(0);
        ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
        fleet.Data(1);
        ASSERT_EQ(fleet.arrivals.Pings(), "A");
    }
    ScriptedFleet fleet{{{.group = 1}, {.group = 1}}};
};

TEST_F(TwoSonars, AnAnswerFromWithinTheSendIsNotLost)
{
    std::atomic<bool> answers{false};
    std::atomic<int> left{40};
    fleet.traffic.onPing = [&](std::size_t sonar) {
        if (answers && left.fetch_sub(1) > 1) {
            fleet.Data(sonar);
        }
    };
    Begin();
    answers = true;
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(41));
    EXPECT_EQ(fleet.arrivals.Pings(), Alternating(41));
}

TEST_F(TwoSonars, DataOfTheSonarThatIsNotAwaitedCauseNoPing)
{
    Begin();
    for (int i = 0; i < 100; ++i) {
        fleet.Data(1);
    }
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    EXPECT_EQ(fleet.arrivals.Pings(), "AB");
}

TEST_F(TwoSonars, ASonarThatGoesWhileAwaitedIsNotWaitedFor)
{
    Begin();
    fleet.Status(0, 2);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    fleet.Data(1);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(3));
    EXPECT_EQ(fleet.arrivals.Pings(), "ABB");
}

TEST_F(TwoSonars, BothGoneStopsTheTurnsAndOneBackBeginsThem)
{
    Begin();
    fleet.Status(1, 1);
    fleet.Status(0, 1);
    // The thread has ended when the notification has returned.
    fleet.Data(0);
    fleet.Data(1);
    EXPECT_EQ(fleet.arrivals.Pings(), "A");
    fleet.Status(1, 0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    fleet.Status(0, 0);
    fleet.Data(1);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(3));
    EXPECT_EQ(fleet.arrivals.Pings(), "ABA");
}

TEST_F(TwoSonars, ASignalDuringThePauseStaysSetForTheNext)
{
    // A's data bring a pause; more data of A in it let B ping without being waited for.
    auto* const device = fleet.host.Devices().front();
    fleet.host.ReplaceAttributes(*device, AttributesOf({.group = 1, .overhead = 100.0}, 0));
    Begin();
    // 500 ms each. The first ends the wait, those that come until B pings fall into the pause.
    ASSERT_TRUE(Eventually([&] {
        fleet.Data(0, 375.0);
        return fleet.arrivals.Pings().size() >= 2;
    }));
    ASSERT_TRUE(fleet.arrivals.WaitForPings(3));
    auto const arrivals = fleet.arrivals.All();
    EXPECT_EQ(fleet.arrivals.Pings(), "ABA");
    // The second pause, which the same data told, is timed from B's ping and not from before it.
    EXPECT_GE(arrivals[4].time - arrivals[3].time, std::chrono::milliseconds(500));
}

TEST_F(TwoSonars, TheTurnsEndWithoutAMainWindow)
{
    Begin();
    fleet.host.SetMainWindow(false);
    fleet.Data(0);
    // The thread ends by itself; it stays, so that nothing starts another, until it is stopped.
    fleet.Status(0, 0);
    fleet.Status(0, 1);
    fleet.Status(1, 1);
    EXPECT_EQ(fleet.arrivals.Pings(), "A");
    fleet.host.SetMainWindow(true);
    fleet.Status(1, 0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    EXPECT_EQ(fleet.arrivals.Pings(), "AB");
}

TEST_F(TwoSonars, AStopFromWithinTheSendTakesEffectAndAStartOvertakesIt)
{
    std::atomic<int> round{0};
    fleet.traffic.onPing = [&](std::size_t) {
        if (round == 1) {
            // Both go: the group's own thread is told to stop, and does not wait for itself. One is back at once.
            round = 2;
            fleet.Status(0, 1);
            fleet.Status(1, 1);
            fleet.Status(0, 0);
        }
    };
    Begin();
    round = 1;
    fleet.Data(0);
    // B, in whose send this happens; then the turns begin anew, with A alone.
    ASSERT_TRUE(fleet.arrivals.WaitForPings(3));
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(4));
    EXPECT_EQ(fleet.arrivals.Pings(), "ABAA");
}

TEST_F(TwoSonars, AStopFromWithinTheSendStays)
{
    std::atomic<bool> goes{false};
    fleet.traffic.onPing = [&](std::size_t) {
        if (goes) {
            fleet.Status(0, 1);
            fleet.Status(1, 1);
        }
    };
    Begin();
    goes = true;
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    goes = false;
    fleet.Data(0);
    fleet.Data(1);
    // Started anew from this thread once the other has ended, or while it still ends.
    fleet.Status(1, 0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(3));
    EXPECT_EQ(fleet.arrivals.Pings(), "ABB");
}

TEST(Stops, TwoGroupsThatStopOneAnotherDoNotWaitForEachOther)
{
    ScriptedFleet fleet({{.group = 1}, {.group = 2}});
    std::atomic<int> inside{0};
    std::atomic<bool> armed{false};
    fleet.traffic.onPing = [&](std::size_t sonar) {
        if (armed) {
            inside.fetch_add(1);
            Eventually([&] { return inside.load() == 2; });
            fleet.Status(1 - sonar, 1);
        }
    };
    fleet.Info().Init();
    fleet.Data(0);
    fleet.Data(1);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    armed = true;
    fleet.Data(0);
    fleet.Data(1);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(4));
    fleet.Info().Exit();
    EXPECT_EQ(fleet.arrivals.Pings().size(), 4U);
}

TEST(Stops, InAPauseOfTwentySeconds)
{
    ScriptedFleet fleet({{.group = 1, .overhead = 100.0}, {.group = 1}});
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    fleet.Data(1);
    fleet.Data(0, 15000.0); // 20 s
    auto const begin = Clock::now();
    fleet.Info().Exit();
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(15));
    EXPECT_EQ(fleet.arrivals.Pings(), "A");
}

TEST(Stops, OfManyWaitingGroupsWithoutAPingMore)
{
    std::vector<SonarSetup> sonars;
    for (int group = 0; group < 64; ++group) {
        sonars.push_back({.group = group});
    }
    ScriptedFleet fleet(sonars);
    fleet.Info().Init();
    for (std::size_t i = 0; i < sonars.size(); ++i) {
        fleet.Data(i);
    }
    ASSERT_TRUE(fleet.arrivals.WaitForPings(64));
    fleet.Info().Exit();
    for (std::size_t i = 0; i < sonars.size(); ++i) {
        fleet.Data(i);
        fleet.Status(i, 0);
    }
    EXPECT_EQ(fleet.arrivals.Pings().size(), 64U);
}

TEST(Stops, ThatRaceAllReturnOnceNothingRuns)
{
    ScriptedFleet fleet({{.group = 1}, {.group = 1}, {.group = 2}});
    for (int round = 0; round < 30; ++round) {
        fleet.Info().Init();
        for (std::size_t i = 0; i < 3; ++i) {
            fleet.Data(i);
        }
        std::atomic<bool> ended{false};
        std::thread statuses([&] {
            std::mt19937 random(static_cast<unsigned>(round));
            while (!ended) {
                fleet.Status(random() % 3, static_cast<unsigned short>(random() % 2));
                fleet.Data(random() % 3);
            }
        });
        std::array<std::future<void>, 2> stops;
        for (auto& stop : stops) {
            stop = std::async(std::launch::async, [&] {
                fleet.Info().Exit();
                // Whichever found the lists empty: nothing runs any more for either.
                auto const pings = fleet.arrivals.Pings().size();
                fleet.Data(0);
                EXPECT_EQ(fleet.arrivals.Pings().size(), pings);
            });
        }
        for (auto& stop : stops) {
            ASSERT_EQ(stop.wait_for(patience), std::future_status::ready);
        }
        ended = true;
        statuses.join();
        for (std::size_t i = 0; i < 3; ++i) {
            fleet.Status(i, 0);
        }
    }
}

TEST(Joining, HappensOnceHoweverManyDataComeAtOnce)
{
    ScriptedFleet fleet({{.group = 1}, {.group = 1}});
    fleet.Info().Init();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&fleet, i] { fleet.Data(static_cast<std::size_t>(i % 2)); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    std::array<int, 2> joined{};
    for (Arrival const& arrival : fleet.arrivals.All()) {
        joined[arrival.sonar] += arrival.command == 1004 ? 1 : 0;
    }
    EXPECT_EQ(joined[0], 1);
    EXPECT_EQ(joined[1], 1);
}

} // namespace
} // namespace qx5::test
