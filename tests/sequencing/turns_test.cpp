// Tests of turns with a scripted connection: notifications from within sends, stops in every state, races.
#include "fleet.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalSubscriberR/NotificationInfo.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <future>
#include <random>
#include <string>

#include <unistd.h>

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

TEST(Turns, ASonarThatGoesWhileAwaitedLeavesNoPauseWhateverItsDataTold)
{
    // With this overhead any data make a pause beyond all patience: 15 days.
    ScriptedFleet fleet({{.group = 1, .overhead = 1e9}, {.group = 1, .overhead = 1e9}});
    std::atomic<bool> armed{false};
    fleet.traffic.onPing = [&](std::size_t) {
        if (armed.exchange(false)) {
            // B pings. Its data are in before it is waited for, then it goes, and A is back.
            fleet.Data(1);
            fleet.Status(0, 0);
            fleet.Status(1, 2);
        }
    };
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    fleet.Data(1);
    armed = true;
    fleet.Status(0, 1);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(3));
    EXPECT_EQ(fleet.arrivals.Pings(), "ABA");
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

TEST(Stops, InAPauseLeaveNoSignalForTheTurnsThatBeginAfterwards)
{
    // C, in a group of its own, measures what A and B do not do.
    ScriptedFleet fleet({{.group = 1, .overhead = 1e9}, {.group = 1, .overhead = 1e9}, {.group = 2}});
    std::atomic<pid_t> thread{0};
    fleet.traffic.onPing = [&](std::size_t sonar) {
        if (sonar == 0) {
            thread = gettid();
        }
    };
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    fleet.Data(1);
    fleet.Data(0); // a pause of 15 days
    ASSERT_TRUE(Eventually([&] { return Waits(thread); }));
    fleet.Status(0, 1);
    fleet.Status(1, 1);
    fleet.Status(1, 0);
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(1, 1));
    // B is awaited: nothing but its own data, or its going, ends that. Least of all that it is well.
    fleet.Status(0, 0);
    DataId_NI const awaited(IdOfSonar(1));
    fleet.Info().OnBufferStatusChange(&awaited);
    fleet.Status(0, 1);
    fleet.Data(0);
    for (std::size_t round = 1; round < 30; ++round) {
        fleet.Data(2);
        ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(2, round));
    }
    EXPECT_EQ(fleet.arrivals.PingCount(0), 1U);
    EXPECT_EQ(fleet.arrivals.PingCount(1), 1U);
}

TEST(Stops, AStartDuringAStopBeginsTheTurnsOnceThatIsOver)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    std::promise<void> mayReturn;
    std::atomic<int> pings{0};
    fleet.traffic.onPing = [&](std::size_t) {
        if (++pings == 1) {
            mayReturn.get_future().wait();
        }
    };
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(Eventually([&] { return pings == 1; }));
    std::atomic<pid_t> thread{0};
    auto stop = std::async(std::launch::async, [&] {
        thread = gettid();
        fleet.Status(0, 1);
    });
    // It waits for the group's thread, which is in its send.
    ASSERT_TRUE(Eventually([&] { return thread != 0 && Waits(thread); }));
    fleet.Status(0, 0);
    mayReturn.set_value();
    EXPECT_EQ(stop.wait_for(patience), std::future_status::ready);
    EXPECT_TRUE(fleet.arrivals.WaitForPings(2));
}

TEST(Stops, TheLastWordCountsOfThoseFromWithinTheSend)
{
    // C, in a group of its own, measures what A and B do not do.
    ScriptedFleet fleet({{.group = 1}, {.group = 1}, {.group = 2}});
    std::atomic<bool> armed{false};
    fleet.traffic.onPing = [&](std::size_t sonar) {
        if (sonar == 1 && armed.exchange(false)) {
            fleet.Status(0, 1);
            fleet.Status(1, 1); // stop
            fleet.Status(0, 0); // begin anew
            fleet.Status(0, 1); // and stop
        }
    };
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    fleet.Data(1);
    armed = true;
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    for (std::size_t round = 1; round < 30; ++round) {
        fleet.Data(2);
        ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(2, round));
    }
    // The stop is over: what begins now is a new round, from the first sonar that is well.
    fleet.Status(0, 0);
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(0, 2));
    EXPECT_EQ(fleet.arrivals.PingCount(0), 2U);
    EXPECT_EQ(fleet.arrivals.PingCount(1), 1U);
}

TEST(Stops, OneThatFindsNothingToStopWaitsForTheOneThatStops)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    std::promise<void> mayReturn;
    std::atomic<bool> released{false};
    std::atomic<bool> sends{false};
    fleet.traffic.onPing = [&](std::size_t) {
        sends = true;
        mayReturn.get_future().wait();
    };
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(Eventually([&] { return sends.load(); }));
    auto first = std::async(std::launch::async, [&] { fleet.Info().Exit(); });
    // The first has taken all there is, and waits for the group's thread, which is in its send.
    ASSERT_TRUE(Eventually([&] { return ConfigurationInfoAccess::IsEmpty(fleet.Info()); }));
    std::atomic<pid_t> thread{0};
    auto second = std::async(std::launch::async, [&] {
        // A notification that this thread has carried out before is over.
        DataId_NI const known(IdOfSonar(0));
        fleet.Info().OnNewSonarSettingsData(&known);
        fleet.Info().OnBufferStatusChange(&known);
        thread = gettid();
        fleet.Info().Exit();
        EXPECT_TRUE(released) << "a ping was under way still";
    });
    ASSERT_TRUE(Eventually([&] {
        return second.wait_for(std::chrono::seconds(0)) == std::future_status::ready || (thread != 0 && Waits(thread));
    }));
    released = true;
    mayReturn.set_value();
    EXPECT_EQ(first.wait_for(patience), std::future_status::ready);
    EXPECT_EQ(second.wait_for(patience), std::future_status::ready);
}

TEST(Stops, OneFromWithinANotificationDoesNotWaitForTheOneThatWaitsForThatNotification)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    std::future<void> first;
    std::atomic<pid_t> thread{0};
    fleet.traffic.onSilence = [&](std::size_t) {
        first = std::async(std::launch::async, [&] {
            thread = gettid();
            fleet.Info().Exit();
        });
        // It waits until the notification that this happens in is over.
        EXPECT_TRUE(Eventually([&] { return thread != 0 && Waits(thread); }));
        fleet.Info().Exit();
    };
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(first.valid());
    EXPECT_EQ(first.wait_for(patience), std::future_status::ready);
}

TEST(Stops, TellsAllGroupsBeforeItWaitsForOne)
{
    ScriptedFleet fleet({{.group = 1}, {.group = 2}, {.group = 3}});
    std::promise<void> mayReturn;
    std::atomic<bool> sends{false};
    std::array<std::atomic<pid_t>, 2> threads{};
    fleet.traffic.onPing = [&](std::size_t sonar) {
        if (sonar < 2) {
            threads[sonar] = gettid();
        } else {
            sends = true;
            mayReturn.get_future().wait();
        }
    };
    fleet.Info().Init();
    for (std::size_t i = 0; i < 3; ++i) {
        fleet.Data(i);
    }
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    ASSERT_TRUE(Eventually([&] { return sends.load(); }));
    auto stop = std::async(std::launch::async, [&] { fleet.Info().Exit(); });
    // The third does not return from its send; the others end nevertheless.
    for (auto const& thread : threads) {
        EXPECT_TRUE(
            Eventually([&] { return access(("/proc/self/task/" + std::to_string(thread)).c_str(), F_OK) != 0; }));
    }
    EXPECT_EQ(stop.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_EQ(stop.wait_for(patience), std::future_status::ready);
}

TEST(Stops, AGroupThatHasEndedStartsNoThreadAgain)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(2));
    auto const member = [&](std::size_t index) {
        PingMember made;
        made.dataId = IdOfSonar(index);
        made.device = fleet.host.Devices()[index];
        return made;
    };
    auto const group = std::make_shared<PingGroup>(1);
    ASSERT_TRUE(group->BeginJoining(IdOfSonar(0)));
    group->Join(member(0));
    EXPECT_EQ(group.use_count(), 2) << "its thread holds it";
    group->End();
    EXPECT_EQ(group.use_count(), 1);
    // What was under way while it ended comes too late.
    group->BufferStatusChanged(IdOfSonar(0), 0);
    ASSERT_TRUE(group->BeginJoining(IdOfSonar(1)));
    group->Join(member(1));
    group->BufferStatusChanged(IdOfSonar(1), 0);
    EXPECT_EQ(group.use_count(), 1);

    auto const other = std::make_shared<PingGroup>(2);
    other->RequestEnd();
    ASSERT_TRUE(other->BeginJoining(IdOfSonar(0)));
    other->Join(member(0));
    EXPECT_EQ(other.use_count(), 1);
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

TEST(Joining, WaitsForADeviceThatIsNotThere)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    fleet.Info().Init();
    fleet.host.RemoveDevice(fleet.host.Devices().front());
    fleet.Data(0);
    EXPECT_TRUE(fleet.arrivals.All().empty());
    auto* const device = fleet.host.AddDevice(std::make_unique<QX5Device>(), IdOfSonar(0));
    fleet.host.ReplaceAttributes(*device, AttributesOf({}, 0));
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    EXPECT_EQ(fleet.arrivals.All().front().command, 1004U);
}

TEST(Joining, ComesToNothingForASonarThatWasForgottenMeanwhile)
{
    // Its data were on their way when all was cleared: the device is there, the sonar is none of the known.
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    auto const group = std::make_shared<PingGroup>(1);
    ASSERT_TRUE(group->BeginJoining(IdOfSonar(0)));
    ConfigurationInfoAccess::Join(fleet.Info(), *group, IdOfSonar(0));
    EXPECT_TRUE(fleet.arrivals.All().empty());
    EXPECT_TRUE(group->BeginJoining(IdOfSonar(0))) << "its place is free again";
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
