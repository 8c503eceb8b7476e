// Tests of one group by itself: whose silence counts as a loss, how long it pauses, when its thread lives and ends.
#include "fleet.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalDataBlocksR/BaseIOHandler.h>
#include <reference_host/common/host_observer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <utility>

#include <unistd.h>

namespace qx5::test {
namespace {

/// A port that only knows who is attached.
class Port final : public BaseIOHandler
{
public:
    explicit Port(std::vector<BaseDevice*> devices) : m_devices(std::move(devices)) {}
    int GetDeviceCount() const override { return static_cast<int>(m_devices.size()); }
    BaseDevice* GetDevice(int index) const override
    {
        auto const at = static_cast<std::size_t>(index);
        return at < m_devices.size() ? m_devices[at] : nullptr;
    }

private:
    std::vector<BaseDevice*> m_devices;
};

/// Tells in order whose time-out was switched: "A+B-" when A's is on and B's off.
class TimeOuts final : public vordal::HostObserver
{
public:
    std::string Told() const
    {
        std::lock_guard const lock(m_mutex);
        return m_told;
    }

private:
    void OnDisableTimeOut(BaseDevice& device, bool disable) override
    {
        std::lock_guard const lock(m_mutex);
        m_told += static_cast<char>('A' + device.GetDataId().GetDeviceNum() - 1);
        m_told += disable ? '-' : '+';
    }
    mutable std::mutex m_mutex;
    std::string m_told;
};

/// A group that the test leads itself, of sonars that were not discovered.
class Group : public testing::Test
{
protected:
    PingMember Member(std::size_t index)
    {
        PingMember member;
        member.dataId = IdOfSonar(index);
        member.device = fleet.host.Devices()[index];
        member.pingRecord =
            ConfigurationInfoAccess::Record(fleet.Info(), 1107, nullptr, 0, 7125, static_cast<int>(index));
        return member;
    }
    void Join(std::size_t index)
    {
        ASSERT_TRUE(group->BeginJoining(IdOfSonar(index)));
        group->Join(Member(index));
    }
    void Status(std::size_t index, std::uint16_t status) { group->BufferStatusChanged(IdOfSonar(index), status); }
    void Settings(std::size_t index, std::uint32_t pause)
    {
        group->SettingsArrived(IdOfSonar(index), pause, Clock::now());
    }
    /// The thread holds its group.
    bool Runs() const { return group.use_count() == 2; }
    void TearDown() override { group->End(); }

    ScriptedFleet fleet{std::vector<SonarSetup>(3)};
    std::shared_ptr<PingGroup> group = std::make_shared<PingGroup>(1);
};

TEST(TimeOut, IsOnForTheSonarThatPingsAndOffForThoseThatWait)
{
    // Two ports: A and B with a device that is no sonar between them, and C with D, which is in no group.
    ScriptedFleet fleet({{.group = 1}, {.group = 1}, {.group = 1}, {.group = 2}});
    TimeOuts timeOuts;
    fleet.host.SetObserver(&timeOuts);
    auto const devices = fleet.host.Devices();
    BaseDevice other;
    Port first({devices[0], &other, devices[1]});
    Port second({devices[2], devices[3]});
    for (std::size_t i = 0; i < devices.size(); ++i) {
        fleet.host.SetPort(*devices[i], i < 2 ? &first : &second);
    }
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    // One member, and the whole of its port.
    EXPECT_EQ(timeOuts.Told(), "A+B+");
    fleet.Data(1);
    fleet.Data(2);
    EXPECT_EQ(fleet.arrivals.Pings(), "A");
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    // B's turn: for each member in order, those of its port. The port's last word for A and B is that of B, on.
    EXPECT_EQ(timeOuts.Told(), "A+B+"
                               "A-B-A+B+C-D-");
    fleet.Data(1);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(3));
    EXPECT_EQ(timeOuts.Told(), "A+B+"
                               "A-B-A+B+C-D-"
                               "A-B-A-B-C+D+");
    EXPECT_EQ(fleet.arrivals.Pings(), "ABC");
    fleet.Info().Exit();
    for (BaseDevice* const device : devices) {
        fleet.host.SetPort(*device, nullptr);
    }
    fleet.host.SetObserver(nullptr);
}

TEST(TimeOut, OfASonarWithoutAPortIsLeftAlone)
{
    ScriptedFleet fleet({{.group = 1}, {.group = 1}});
    TimeOuts timeOuts;
    fleet.host.SetObserver(&timeOuts);
    auto* const device = fleet.host.Devices()[1];
    Port port({device});
    fleet.host.SetPort(*device, &port);
    fleet.Info().Init();
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    fleet.Data(1);
    fleet.Data(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    EXPECT_EQ(timeOuts.Told(), "B+");
    fleet.Info().Exit();
    fleet.host.SetPort(*device, nullptr);
    fleet.host.SetObserver(nullptr);
}

TEST_F(Group, SendsItsPingsWithoutTheFlag)
{
    Join(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    EXPECT_FALSE(fleet.arrivals.All().front().flag);
}

TEST_F(Group, GivesASonarOnePlace)
{
    EXPECT_TRUE(group->BeginJoining(IdOfSonar(0)));
    EXPECT_FALSE(group->BeginJoining(IdOfSonar(0))) << "its place is reserved";
    EXPECT_TRUE(group->BeginJoining(IdOfSonar(1)));
    group->GiveUpJoining(IdOfSonar(0));
    EXPECT_TRUE(group->BeginJoining(IdOfSonar(0)));
    group->Join(Member(0));
    EXPECT_FALSE(group->BeginJoining(IdOfSonar(0)));
}

TEST_F(Group, ASonarThatGoesWhileAnotherIsAwaitedEndsNoWait)
{
    // B, in a group of its own, measures what A does not do.
    auto const other = std::make_shared<PingGroup>(2);
    ASSERT_TRUE(other->BeginJoining(IdOfSonar(2)));
    other->Join(Member(2));
    Join(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(0, 1));
    ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(2, 1));
    Join(1);
    Status(1, 3);
    for (std::size_t round = 2; round < 30; ++round) {
        other->SettingsArrived(IdOfSonar(2), 0, Clock::now());
        ASSERT_TRUE(fleet.arrivals.WaitForPingsOf(2, round));
    }
    EXPECT_EQ(fleet.arrivals.PingCount(0), 1U);
    other->End();
}

TEST_F(Group, APauseOfAMillisecondIsWhole)
{
    Join(0);
    Join(1);
    for (std::size_t ping = 1; ping < 60; ++ping) {
        ASSERT_TRUE(fleet.arrivals.WaitForPings(ping));
        // A, B, A, ... from when the ping has left.
        auto const told = Clock::now();
        group->SettingsArrived(IdOfSonar((ping - 1) % 2), 1, told);
        ASSERT_TRUE(fleet.arrivals.WaitForPings(ping + 1));
        EXPECT_GE(fleet.arrivals.All().back().time - told, std::chrono::milliseconds(1));
    }
}

TEST_F(Group, HasAThreadWhileASonarIsWell)
{
    Join(0);
    EXPECT_TRUE(Runs());
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    Status(0, 1);
    EXPECT_FALSE(Runs()) << "it has ended when the call returns";
    Status(0, 0);
    EXPECT_TRUE(Runs());
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
}

TEST_F(Group, TheEndIsRequestedWithoutAWait)
{
    Join(0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    group->RequestEnd();
    EXPECT_TRUE(Eventually([&] { return !Runs(); }));
    EXPECT_EQ(fleet.arrivals.Pings(), "A");
}

TEST_F(Group, AThreadThatEndedForWantOfAWindowIsNotBegunAnewUntilItIsStopped)
{
    Join(0);
    Join(1);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(1));
    fleet.host.SetMainWindow(false);
    Settings(0, 0);
    ASSERT_TRUE(Eventually([&] { return !Runs(); }));
    fleet.host.SetMainWindow(true);
    Status(0, 0);
    EXPECT_FALSE(Runs());
    EXPECT_EQ(fleet.arrivals.Pings(), "A");
    Status(0, 1);
    Status(1, 1);
    Status(1, 0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    EXPECT_EQ(fleet.arrivals.Pings(), "AB");
}

TEST_F(Group, MayBeGivenUpByItsOwnThread)
{
    auto given = std::make_shared<PingGroup>(2);
    PingGroup& made = *given;
    std::weak_ptr<PingGroup> const left = given;
    std::atomic<bool> isGiven{false};
    std::promise<void> mayEnd;
    fleet.traffic.onPing = [&](std::size_t) {
        given->End(); // from its own thread: without a wait
        given.reset();
        isGiven = true;
        mayEnd.get_future().wait();
    };
    ASSERT_TRUE(made.BeginJoining(IdOfSonar(0)));
    made.Join(Member(0));
    ASSERT_TRUE(Eventually([&] { return isGiven.load(); }));
    EXPECT_EQ(left.use_count(), 1) << "the thread alone has it";
    mayEnd.set_value();
    EXPECT_TRUE(Eventually([&] { return left.expired(); }));
}

TEST_F(Group, AThreadThatWasStoppedFromWithinAndBegunAnewCanBeAgain)
{
    std::atomic<int> ping{0};
    fleet.traffic.onPing = [&](std::size_t) {
        switch (++ping) {
        case 1:
            Status(0, 1); // it stops
            break;
        case 2:
            Status(0, 1); // it stops, and begins again by itself
            Status(0, 0);
            break;
        default:
            break;
        }
    };
    Join(0);
    ASSERT_TRUE(Eventually([&] { return !Runs(); }));
    Status(0, 0);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(3));
    EXPECT_TRUE(Runs());
}

TEST_F(Group, WhoWaitsForTheStopOfAnotherIsFreeOnceAnotherThreadHasBegun)
{
    std::promise<void> mayReturn;
    std::atomic<int> pings{0};
    fleet.traffic.onPing = [&](std::size_t) {
        if (++pings == 1) {
            mayReturn.get_future().wait();
        }
    };
    Join(0);
    ASSERT_TRUE(Eventually([&] { return pings == 1; }));
    std::array<std::atomic<pid_t>, 2> threads{};
    std::array<std::future<void>, 2> stops;
    for (std::size_t i = 0; i < stops.size(); ++i) {
        stops[i] = std::async(std::launch::async, [&, i] {
            threads[i] = gettid();
            Status(0, 1);
        });
        ASSERT_TRUE(Eventually([&] { return threads[i] != 0 && Waits(threads[i]); }));
    }
    Status(0, 0);
    EXPECT_EQ(stops[0].wait_for(std::chrono::seconds(0)), std::future_status::timeout) << "it sends still";
    EXPECT_EQ(stops[1].wait_for(std::chrono::seconds(0)), std::future_status::timeout) << "it sends still";
    mayReturn.set_value();
    EXPECT_EQ(stops[0].wait_for(patience), std::future_status::ready);
    EXPECT_EQ(stops[1].wait_for(patience), std::future_status::ready);
    ASSERT_TRUE(fleet.arrivals.WaitForPings(2));
    EXPECT_TRUE(Runs());
}

} // namespace
} // namespace qx5::test
