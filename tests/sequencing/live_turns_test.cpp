// Tests of turns on real sockets: simulated sonars that answer, fall silent, go and come back.
#include "fleet.h"
#include "tests/support/own_network.h"

#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <reference_host/common/log.h>
#include <vordalhostdllR/DataManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <random>
#include <string>
#include <utility>

namespace qx5::test {
namespace {

/// Waits until A and B ping no more, measured by C, which goes on in a group of its own: what was on its way when they
/// fell silent has had its effect by then.
bool ComeToRest(LiveFleet& fleet)
{
    return Eventually([&] {
        auto const a = fleet.arrivals.PingCount(0);
        auto const b = fleet.arrivals.PingCount(1);
        return fleet.arrivals.WaitForPingsOf(2, fleet.arrivals.PingCount(2) + 20) && fleet.arrivals.PingCount(0) == a &&
               fleet.arrivals.PingCount(1) == b;
    });
}

TEST(LiveTurns, TwoSonarsAlternateOverFortyPings)
{
    LiveFleet fleet(std::vector<SonarSetup>(2));
    ASSERT_TRUE(fleet.arrivals.WaitForPings(42));
    // A begins; it may have another turn before B has joined.
    std::string const pings = fleet.arrivals.Pings();
    ASSERT_EQ(pings.front(), 'A');
    std::string const turns = pings.substr(pings.find('B') - 1, 40);
    for (std::size_t i = 0; i < turns.size(); ++i) {
        EXPECT_EQ(turns[i], i % 2 == 0 ? 'A' : 'B') << turns;
    }
}

TEST(LiveTurns, EachSonarIsSilencedOnceBeforeItsFirstPingAndPingsWithTheSameBytes)
{
    LiveFleet fleet(std::vector<SonarSetup>(2));
    ASSERT_TRUE(fleet.arrivals.WaitForPings(8));
    std::array<std::vector<Arrival>, 2> of;
    for (Arrival const& arrival : fleet.arrivals.All()) {
        of[arrival.sonar].push_back(arrival);
    }
    for (auto const& arrivals : of) {
        ASSERT_GE(arrivals.size(), 2U);
        EXPECT_EQ(arrivals[0].command, 1004U);
        EXPECT_EQ(arrivals[0].frame.size(), 96U);
        for (std::size_t i = 1; i < arrivals.size(); ++i) {
            EXPECT_EQ(arrivals[i].command, 1107U);
            EXPECT_EQ(arrivals[i].frame, arrivals[1].frame);
            EXPECT_EQ(arrivals[i].frame.size(), 92U);
            // 2023-11-14 22:13:20 UTC.
            EXPECT_EQ(arrivals[i].frame.substr(20, 10), std::string("\xe7\x07\x3e\x01\x00\x00\xa0\x41\x16\x0d", 10));
        }
    }
}

TEST(LiveTurns, ThePauseIsThatOfTheSonarThatPinged)
{
    LiveFleet fleet({{.overhead = 100.0, .range = 30.0}, {.overhead = 100.0, .range = 300.0}});
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(1, 3));
    auto const arrivals = fleet.arrivals.All();
    std::vector<Arrival> pings;
    std::copy_if(arrivals.begin(), arrivals.end(), std::back_inserter(pings),
                 [](Arrival const& arrival) { return arrival.command == 1107; });
    // The data leave the sonar as it pings, and the next ping comes no earlier than the pause after them.
    std::array<std::size_t, 2> number{};
    for (std::size_t i = 0; i + 1 < pings.size(); ++i) {
        auto const sonar = pings[i].sonar;
        auto const pinged = fleet.Pinged(sonar);
        ASSERT_GT(pinged.size(), number[sonar]);
        EXPECT_GE(pings[i + 1].time - pinged[number[sonar]], std::chrono::milliseconds(sonar == 0 ? 40 : 400));
        ++number[sonar];
    }
}

TEST(LiveTurns, ThePauseIsNeverCutShort)
{
    LiveFleet fleet({{.overhead = 120.0, .range = 100.0}});
    ASSERT_TRUE(fleet.arrivals.WaitForPings(4));
    auto const pinged = fleet.Pinged(0);
    std::vector<Clock::time_point> pings;
    for (Arrival const& arrival : fleet.arrivals.All()) {
        if (arrival.command == 1107) {
            pings.push_back(arrival.time);
        }
    }
    for (std::size_t i = 0; i + 1 < pings.size(); ++i) {
        EXPECT_GE(pings[i + 1] - pinged[i], std::chrono::milliseconds(160));
    }
}

/// Lets the host thread dwell on the device's tree at each of its pings until something else has pinged, or for a
/// while.
class Dwelling
{
public:
    Dwelling(LiveFleet& fleet, std::size_t sonar) : m_fleet(fleet)
    {
        fleet.host.RunAndWait([&] {
            m_subscription.SetMap(DataManager::GetDataManager().GetAttributeSubscriptionMap(IdOfSonar(sonar)));
            m_subscription.SetSubscriber(new MemFunNoInfoSubscriber<Dwelling>(this, &Dwelling::OnPing), true);
            m_subscription.Subscribe(L"x5PingNumber");
        });
    }
    Dwelling(Dwelling const&) = delete;
    Dwelling& operator=(Dwelling const&) = delete;
    ~Dwelling()
    {
        m_fleet.host.RunAndWait([this] { m_subscription.Unsubscribe(); });
    }

private:
    void OnPing()
    {
        auto const pings = m_fleet.arrivals.Pings().size();
        auto const limit = Clock::now() + std::chrono::milliseconds(20);
        while (m_fleet.arrivals.Pings().size() == pings && Clock::now() < limit) {
            std::this_thread::yield();
        }
    }

    LiveFleet& m_fleet;
    Subscription m_subscription;
};

TEST(LiveTurns, TwoHeadsOnOnePortAndInOneGroupNeverPingAtOnce)
{
    LiveFleet fleet(std::vector<SonarSetup>(2), Connections::Shared);
    Dwelling const first(fleet, 0);
    Dwelling const second(fleet, 1);
    constexpr auto late = std::chrono::milliseconds(40);
    fleet.Command(0, "misbehave answer-late 40");
    auto const before = fleet.arrivals.Pings().size();
    ASSERT_TRUE(fleet.arrivals.WaitForPings(before + 12));
    std::vector<Arrival> pings;
    for (Arrival const& arrival : fleet.arrivals.All()) {
        if (arrival.command == 1107) {
            pings.push_back(arrival);
        }
    }
    // Each waits for what the other says, and it says it late.
    for (std::size_t i = before; i + 1 < pings.size(); ++i) {
        EXPECT_NE(pings[i + 1].sonar, pings[i].sonar);
        EXPECT_GE(pings[i + 1].time - pings[i].time, late) << i;
    }
}

TEST(LiveTurns, ASilentSonarStallsItsOwnGroupAlone)
{
    LiveFleet fleet({{.group = 1}, {.group = 1}, {.group = 2}, {.group = 2}});
    fleet.Command(0, "misbehave silent");
    ASSERT_TRUE(ComeToRest(fleet)) << "A is awaited";
    auto const before = fleet.arrivals.PingCount(0) + fleet.arrivals.PingCount(1);
    // Pings of C that lie more than five seconds apart show that its group went on for all that time.
    auto const lastOfC = [&] {
        auto const arrivals = fleet.arrivals.All();
        auto const last = std::find_if(arrivals.rbegin(), arrivals.rend(), [](Arrival const& arrival) {
            return arrival.sonar == 2 && arrival.command == 1107;
        });
        return last != arrivals.rend() ? last->time : Clock::time_point();
    };
    auto const begin = lastOfC();
    auto const pingsOfC = fleet.arrivals.PingCount(2);
    ASSERT_TRUE(Eventually(
        [&] { return lastOfC() - begin > std::chrono::seconds(5) && fleet.arrivals.PingCount(2) > pingsOfC + 50; }));
    EXPECT_EQ(fleet.arrivals.PingCount(0) + fleet.arrivals.PingCount(1), before);
    // It tells of itself again: one settings report, and the turns go on.
    fleet.Command(0, "behave");
    fleet.Command(0, "ping");
    EXPECT_TRUE(fleet.arrivals.WaitForPingsOf(1, fleet.arrivals.PingCount(1) + 3));
}

TEST(LiveTurns, AnAwaitedSonarWhoseLinkIsLostFreesTheOtherAndComesBack)
{
    LiveFleet fleet({{.group = 1}, {.group = 1}, {.group = 2}});
    fleet.Command(0, "misbehave silent");
    ASSERT_TRUE(ComeToRest(fleet)) << "A is awaited and holds up B";
    fleet.Command(0, "misbehave refuse not-listening");
    fleet.Command(0, "drop");
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(1, fleet.arrivals.PingCount(1) + 20));
    auto const before = fleet.arrivals.PingCount(0);
    fleet.Command(0, "behave");
    EXPECT_TRUE(fleet.arrivals.WaitForPingsOf(0, before + 5));
}

TEST(LiveTurns, AnAwaitedSonarThatVanishesFreesTheOtherWithinThreeSecondsAndItsRecordsAreTold)
{
    // Before there are threads.
    if (std::string const why = PrepareToDropSegments(); !why.empty()) {
        GTEST_SKIP() << why;
    }
    std::mutex mutex;
    std::vector<std::string> lines;
    vordal::SetLogSink([&](vordal::LogLevel, std::string_view line) {
        std::lock_guard const lock(mutex);
        lines.emplace_back(line);
    });
    {
        LiveFleet fleet({{.group = 1}, {.group = 1}, {.group = 2}});
        fleet.Command(0, "misbehave silent");
        ASSERT_TRUE(ComeToRest(fleet)) << "A is awaited and holds up B";
        fleet.Command(0, "misbehave vanish");
        // The turn goes on to B, comes back to A, and what A is then told reaches nobody.
        auto const before = fleet.arrivals.PingCount(1);
        fleet.Data(0);
        ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(1, before + 20)) << "B goes on alone";
        std::vector<Clock::time_point> pings;
        for (Arrival const& arrival : fleet.arrivals.All()) {
            if (arrival.sonar == 1 && arrival.command == 1107) {
                pings.push_back(arrival.time);
            }
        }
        // Its own last ping, then the silence, then no pause of that kind any more.
        EXPECT_LT(pings[before + 1] - pings[before], std::chrono::seconds(3));
        EXPECT_GT(pings[before + 1] - pings[before], std::chrono::milliseconds(1500)) << "A was awaited";
        EXPECT_TRUE(Eventually([&] {
            std::lock_guard const lock(mutex);
            return std::count_if(lines.begin(), lines.end(), [](std::string const& line) {
                       return line.find("1 record (92 bytes) was sent and not acknowledged: 1107") != std::string::npos;
                   }) == 1;
        }));
        auto const pingsOfA = fleet.arrivals.PingCount(0);
        fleet.Command(0, "behave");
        EXPECT_TRUE(fleet.arrivals.WaitForPingsOf(0, pingsOfA + 5)) << "it takes its turns again";
    }
    vordal::SetLogSink({});
}

TEST(LiveTurns, AnAwaitedSonarThatGoesFreesTheOther)
{
    LiveFleet fleet(std::vector<SonarSetup>(2));
    fleet.Command(0, "misbehave answer-late 600000");
    // Its next answer stays out, so that the turns come to rest with A.
    fleet.Status(0, 1);
    // A ping of A may have been on its way.
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(1, fleet.arrivals.PingCount(1) + 2));
    auto const before = fleet.arrivals.PingCount(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(1, fleet.arrivals.PingCount(1) + 10));
    EXPECT_EQ(fleet.arrivals.PingCount(0), before);
}

TEST(LiveTurns, ASonarTellsThatItsStreamIsNotWell)
{
    LiveFleet fleet(std::vector<SonarSetup>(2));
    fleet.Command(1, "buffer-status 3");
    ASSERT_TRUE(Eventually([&] {
        auto const b = fleet.arrivals.PingCount(1);
        return fleet.arrivals.WaitForPingsOf(0, fleet.arrivals.PingCount(0) + 10) && fleet.arrivals.PingCount(1) == b;
    }));
    auto const b = fleet.arrivals.PingCount(1);
    fleet.Command(1, "buffer-status 0");
    EXPECT_TRUE(fleet.arrivals.WaitForPingsOf(1, b + 5));
}

TEST(LiveTurns, DataOfTheSonarThatIsNotAwaitedCauseNoPing)
{
    LiveFleet fleet({{.group = 1}, {.group = 1}, {.group = 2}});
    fleet.Command(0, "misbehave silent");
    ASSERT_TRUE(ComeToRest(fleet)) << "A is awaited";
    auto const a = fleet.arrivals.PingCount(0);
    auto const b = fleet.arrivals.PingCount(1);
    for (int i = 0; i < 100; ++i) {
        fleet.Data(1);
    }
    ASSERT_TRUE(ComeToRest(fleet));
    EXPECT_EQ(fleet.arrivals.PingCount(0), a);
    EXPECT_EQ(fleet.arrivals.PingCount(1), b);
    fleet.Data(0);
    EXPECT_TRUE(fleet.arrivals.WaitForPingsOf(1, b + 1));
}

TEST(LiveTurns, BothGoneStopTheTurnsAndOneBackBeginsThem)
{
    LiveFleet fleet(std::vector<SonarSetup>(2));
    ASSERT_TRUE(fleet.arrivals.WaitForPings(4));
    fleet.Status(0, 1);
    fleet.Status(1, 1);
    // No thread sends any more; what had left arrives.
    auto const pings = fleet.arrivals.Pings().size();
    fleet.Data(0);
    fleet.Data(1);
    fleet.Status(1, 0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(pings + 5));
    auto const after = fleet.arrivals.Pings();
    EXPECT_EQ(after.substr(after.size() - 3), "BBB");
}

TEST(LiveTurns, TheWholeMetresCountWhereTheFloatIsZero)
{
    // 200 m at 1500 m/s take 266.7 ms.
    LiveFleet fleet({{.group = 1, .overhead = 100.0}, {.group = 3}, {.group = 2}});
    fleet.Command(0, "misbehave silent");
    fleet.Command(1, "misbehave silent");
    ASSERT_TRUE(ComeToRest(fleet));
    auto const pings = fleet.arrivals.PingCount(0);
    CDataBlock block;
    block.AddItem(699, DATA_FLOAT, std::array<unsigned char, 4>{}, 4, 0);
    block.AddItem(609, DATA_UINT16, std::array<unsigned char, 2>{200, 0}, 2, 0);
    auto const told = Clock::now();
    fleet.host.PutBlock(IdOfSonar(0), block);
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(0, pings + 1));
    EXPECT_GE(Clock::now() - told, std::chrono::milliseconds(267));
}

TEST(LiveTurns, EightGroupsStopWhileTheyWait)
{
    std::vector<SonarSetup> sonars;
    for (int group = 0; group < 8; ++group) {
        sonars.push_back({.group = group});
    }
    LiveFleet fleet(sonars);
    for (std::size_t i = 0; i < sonars.size(); ++i) {
        ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(i, 1));
        fleet.Command(i, "misbehave silent");
    }
    // From the stop call to its return. A machine that is busy elsewhere may take longer once, not again and again.
    auto least = Clock::duration::max();
    EXPECT_TRUE(Eventually([&] {
        fleet.host.RunAndWait([&] {
            auto const begin = Clock::now();
            QX5SonarConfigurationInfo::Instance().Exit();
            least = std::min(least, Clock::now() - begin);
            QX5SonarConfigurationInfo::Instance().Init();
        });
        for (std::size_t i = 0; i < sonars.size(); ++i) {
            auto const pings = fleet.arrivals.PingCount(i);
            fleet.Data(i); // joins, pings and is awaited
            EXPECT_TRUE(fleet.arrivals.WaitForPingsOf(i, pings + 1));
        }
        return least < std::chrono::milliseconds(20);
    }));
    RecordProperty("stopMicroseconds",
                   static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(least).count()));
}

TEST(LiveTurns, EverySonarPingsAgainAfterAThousandRandomNotifications)
{
    LiveFleet fleet({{.group = 1}, {.group = 1}, {.group = 2}, {.group = 2}});
    constexpr std::size_t sonars = 4;
    auto const disturb = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 500; ++i) {
            std::size_t const sonar = random() % sonars;
            if (random() % 2 == 0) {
                fleet.Data(sonar, random() % 2 == 0 ? 1.0 : 0.0);
            } else {
                fleet.Status(sonar, static_cast<unsigned short>(random() % 2));
            }
        }
    };
    std::thread first(disturb, 1U);
    std::thread second(disturb, 2U);
    first.join();
    second.join();
    for (std::size_t i = 0; i < sonars; ++i) {
        fleet.Status(i, 0);
    }
    std::array<std::size_t, sonars> before{};
    for (std::size_t i = 0; i < sonars; ++i) {
        before[i] = fleet.arrivals.PingCount(i);
    }
    // A sonar that was given more pings than can wait has left some out, and owes their settings data.
    EXPECT_TRUE(Eventually([&] {
        bool all = true;
        for (std::size_t i = 0; i < sonars; ++i) {
            fleet.Command(i, "ping");
            all = all && fleet.arrivals.PingCount(i) >= before[i] + 2;
        }
        return all;
    }));
}

} // namespace
} // namespace qx5::test
