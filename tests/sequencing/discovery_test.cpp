// Tests of the discovery of sonars under ping control, the records made for them, and the pause after a ping.
#include "fleet.h"

#include "QX5SonarConfiguration.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalSubscriberR/NotificationInfo.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/DataManager.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

namespace qx5::test {
namespace {

std::string HexOf(std::string_view bytes)
{
    std::string text;
    for (char const byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(byte));
        text += digits;
    }
    return text;
}

// 1107 to device 7125, enumerator 1, at 2023-11-14 22:13:20 UTC: year 2023, day 318, 20.0 s, 22 h, 13 min.
constexpr char const* pingRecord = "05003c00ffff00005c0000000000000000000000"
                                   "e7073e010000a041160d"
                                   "01004c1d0000d51b000000000100"
                                   "0000000000000000000000000000000000000000"
                                   "5304000053040000"
                                   "00000000000000000000000000000000"
                                   "00000000";

TEST(Discovery, KeepsWhatTheDevicesTell)
{
    ScriptedFleet fleet({{.group = 3, .overhead = 120.0}, {.group = -4, .overhead = 0.5}});
    fleet.Info().Init();
    auto const& entries = ConfigurationInfoAccess::Entries(fleet.Info());
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].groupId, 3);
    EXPECT_EQ(entries[0].overheadPercent, 120.0);
    EXPECT_TRUE(entries[0].dataId == CDataId(1, 78, 1, 1));
    EXPECT_EQ(entries[1].groupId, -4);
    EXPECT_EQ(entries[1].overheadPercent, 0.5);
    EXPECT_EQ(entries[1].deviceId, 7125);
    EXPECT_EQ(entries[1].enumerator, 1);
    EXPECT_EQ(HexOf(entries[1].pingRecord), pingRecord);
    fleet.Info().Exit();
    EXPECT_TRUE(ConfigurationInfoAccess::Entries(fleet.Info()).empty());
    fleet.Info().Exit();
}

TEST(Discovery, PassesOverWhatIsNotControlledAndMovesTheHostsWalkOn)
{
    ScriptedFleet fleet({{.group = 1}, {.group = 2}, {.group = 3}, {.group = 4}});
    auto const devices = fleet.host.Devices();
    auto uncontrolled = AttributesOf({}, 0);
    uncontrolled.FindCreate(L"PingMode").SetValue(CVordalInt(0));
    fleet.host.ReplaceAttributes(*devices[0], uncontrolled);
    fleet.host.ReplaceAttributes(*devices[2], CAttributeMap());
    CAttributeMap nameless;
    nameless.Add(L"PingMode", CVordalInt(1), 0);
    fleet.host.ReplaceAttributes(*devices[3], nameless);
    // A device of another kind of data, whatever its tree says, is no sonar.
    auto* const other = fleet.host.AddDevice(std::make_unique<QX5Device>(), CDataId(1, 77, 5, 1));
    fleet.host.ReplaceAttributes(*other, AttributesOf({}, 4));
    fleet.Info().Init();
    auto const& entries = ConfigurationInfoAccess::Entries(fleet.Info());
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_TRUE(entries[0].dataId == IdOfSonar(1));
    // Three sonars were passed over, so the walk stands at the fourth device.
    EXPECT_EQ(DataManager::GetDataManager().GetNextDevice(1), devices[3]);
}

TEST(Discovery, SeesDevicesThatCameWithTheNextInit)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    fleet.Info().Init();
    auto* const device = fleet.host.AddDevice(std::make_unique<QX5Device>(), IdOfSonar(1));
    fleet.host.ReplaceAttributes(*device, AttributesOf({}, 1));
    EXPECT_EQ(ConfigurationInfoAccess::Entries(fleet.Info()).size(), 1U);
    fleet.Info().Init();
    EXPECT_EQ(ConfigurationInfoAccess::Entries(fleet.Info()).size(), 2U);
}

TEST(Discovery, TheHostsCallForItBeginsAnewEachTime)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(2));
    DiscoverDevices();
    DiscoverDevices();
    EXPECT_EQ(ConfigurationInfoAccess::Entries(fleet.Info()).size(), 2U);
    ReleaseDevices();
    EXPECT_TRUE(ConfigurationInfoAccess::Entries(fleet.Info()).empty());
}

TEST(Discovery, CopiesShareEntriesAndGroups)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    fleet.Info().Init();
    fleet.Data(0);
    {
        QX5SonarConfigurationInfo copy(fleet.Info());
        EXPECT_EQ(ConfigurationInfoAccess::Entries(copy).size(), 1U);
        EXPECT_EQ(ConfigurationInfoAccess::Groups(copy), 1U);
        EXPECT_EQ(ConfigurationInfoAccess::Entries(copy)[0].dataSubscription,
                  ConfigurationInfoAccess::Entries(fleet.Info())[0].dataSubscription);
        copy = fleet.Info();
        // A copy that clears ends what it shares, once.
        copy.Exit();
    }
    ASSERT_TRUE(fleet.arrivals.WaitForPings(0));
    auto const before = fleet.arrivals.Pings().size();
    fleet.Data(0);
    EXPECT_EQ(fleet.arrivals.Pings().size(), before);
    fleet.Info().Exit();
    EXPECT_EQ(ConfigurationInfoAccess::Groups(fleet.Info()), 0U);
}

TEST(Discovery, AnAssignmentTakesAllOfTheOther)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    fleet.Info().Init();
    QX5SonarConfigurationInfo const empty = [&] {
        fleet.Info().Exit();
        return QX5SonarConfigurationInfo(fleet.Info());
    }();
    fleet.Info().Init();
    fleet.Data(0);
    QX5SonarConfigurationInfo full(fleet.Info());
    QX5SonarConfigurationInfo assigned(empty);
    assigned = full;
    for (auto* const copy : {&full, &assigned}) {
        EXPECT_EQ(ConfigurationInfoAccess::Entries(*copy).size(), 1U);
        EXPECT_EQ(ConfigurationInfoAccess::Groups(*copy), 1U);
        EXPECT_EQ(ConfigurationInfoAccess::LastBuffer(*copy),
                  DataManager::GetDataManager().FindDatablockBuffer(IdOfSonar(0), false));
        EXPECT_NE(ConfigurationInfoAccess::LastBuffer(*copy), nullptr);
        unsigned short index = 0;
        EXPECT_TRUE(ConfigurationInfoAccess::LastBlock(*copy).LookUp(699, ADDR_BY_ITEM, index));
    }
    auto& same = assigned;
    assigned = same;
    EXPECT_EQ(ConfigurationInfoAccess::Entries(assigned).size(), 1U);
    assigned = empty;
    EXPECT_TRUE(ConfigurationInfoAccess::IsEmpty(assigned));
    EXPECT_EQ(ConfigurationInfoAccess::Entries(full).size(), 1U);
}

TEST(Discovery, AnExitEndsTheSubscriptionsThatACopyHoldsStill)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    fleet.Info().Init();
    QX5SonarConfigurationInfo copy(fleet.Info());
    auto const followed = ConfigurationInfoAccess::Entries(copy)[0].dataSubscription;
    EXPECT_NE(followed->GetDataBuffer(), nullptr);
    fleet.Info().Exit();
    EXPECT_EQ(followed->GetDataBuffer(), nullptr);
}

TEST(Discovery, OtherNotificationsAreNone)
{
    ScriptedFleet fleet(std::vector<SonarSetup>(1));
    fleet.Info().Init();
    NFDataT<unsigned short> const other(1);
    fleet.Info().OnNewSonarSettingsData(&other);
    fleet.Info().OnNewSonarSettingsData(nullptr);
    fleet.Info().OnBufferStatusChange(&other);
    fleet.Info().OnBufferStatusChange(nullptr);
    // No block yet.
    DataId_NI const known(IdOfSonar(0));
    fleet.Info().OnNewSonarSettingsData(&known);
    DataId_NI const unknown(CDataId(9, 78, 9, 9));
    fleet.Info().OnNewSonarSettingsData(&unknown);
    fleet.Info().OnBufferStatusChange(&unknown);
    EXPECT_EQ(ConfigurationInfoAccess::Groups(fleet.Info()), 0U);
    EXPECT_TRUE(fleet.arrivals.All().empty());
}

TEST(RemoteControlRecord, HasNinetyTwoBytesBesideThePayload)
{
    ScriptedFleet fleet(std::vector<SonarSetup>{});
    EXPECT_EQ(HexOf(ConfigurationInfoAccess::Record(fleet.Info(), 1107, nullptr, 0, 7125, 1)), pingRecord);
    unsigned char zero[4] = {};
    EXPECT_EQ(HexOf(ConfigurationInfoAccess::Record(fleet.Info(), 1004, zero, 4, 0, -1)),
              "05003c00ffff0000600000000000000000000000"
              "e7073e010000a041160d"
              "01004c1d0000000000000000ffff"
              "0000000000000000000000000000000000000000"
              "ec030000ec030000"
              "00000000000000000000000000000000"
              "00000000"
              "00000000");
}

TEST(Pause, IsTheTravelTimeTimesTheOverhead)
{
    EXPECT_EQ(PauseMilliseconds(100.0, 1500.0, 120.0), 160U);
    EXPECT_EQ(PauseMilliseconds(30.0, 1500.0, 100.0), 40U);
    EXPECT_EQ(PauseMilliseconds(300.0, 1500.0, 100.0), 400U);
    EXPECT_EQ(PauseMilliseconds(100.0, 1500.0, 0.0), 0U);
    // 0.75 ms is 1, 0.375 ms is 0.
    EXPECT_EQ(PauseMilliseconds(0.5625, 1500.0, 100.0), 1U);
    EXPECT_EQ(PauseMilliseconds(0.28125, 1500.0, 100.0), 0U);
    // 0.125 s of travel times 0.4 % are 0.5 ms exactly, which is rounded up.
    EXPECT_EQ(PauseMilliseconds(1.0, 16.0, 0.4), 1U);
}

TEST(Pause, SaturatesAndTakesNoNumberAsZero)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(PauseMilliseconds(infinity, 1500.0, 100.0), 4294967295U);
    EXPECT_EQ(PauseMilliseconds(1e30, 1500.0, 100.0), 4294967295U);
    EXPECT_EQ(PauseMilliseconds(100.0, -1500.0, 100.0), 0U);
    EXPECT_EQ(PauseMilliseconds(100.0, 1500.0, -1e30), 0U);
    EXPECT_EQ(PauseMilliseconds(100.0, none, 100.0), 0U);
    EXPECT_EQ(PauseMilliseconds(100.0, 1500.0, none), 0U);
    EXPECT_EQ(PauseMilliseconds(infinity, infinity, 100.0), 0U);
}

} // namespace
} // namespace qx5::test
