// The device's life on a live host, and each notification's way: from who raises it to the sonar or to who follows it.
#include "stage.h"

#include <VordalDataBlocksR/BaseDataSource.h>
#include <reference_host/core/pan_tilt_unit.h>

#include <cstring>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

CDataId const unitComputation(1, 1112, 1, 1);
CDataId const unitStream(1, 112, 1, 1);
CDataId const multibeamComputation(1, 1011, 1, 1);

std::uint32_t NumberAt(Bytes const& frame, std::size_t at)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4 && at + i < frame.size(); ++i) {
        number |= static_cast<std::uint32_t>(frame[at + i]) << (8 * i);
    }
    return number;
}

/// The record's id, of a wrapped command that of the command.
std::uint32_t RecordOf(Bytes const& frame)
{
    std::uint32_t const record = NumberAt(frame, 32);
    return record == 7500 ? NumberAt(frame, 64) : record;
}

class Notifications : public ::testing::Test
{
protected:
    ~Notifications() override
    {
        near.Host().RunAndWait([this] { unit.reset(); });
    }

    void OnHost(vordal::Host::Task const& task) { ASSERT_TRUE(near.Host().RunAndWait(task)); }
    /// As a host brings a device up: its configuration, then what follows from it.
    void LoadAndApply(CAttributeMap const& attributes)
    {
        OnHost([&] {
            EXPECT_TRUE(near.Host().LoadDevice(near.Sonar(), attributes));
            near.Host().ApplyDevice(near.Sonar(), true);
        });
    }
    void MountOnUnit()
    {
        OnHost([this] {
            unit = std::make_unique<vordal::PanTiltUnit>(near.Host(), unitComputation, unitStream);
            unit->Carry(near.Sonar(), multibeamComputation);
            near.Host().ApplyDevice(near.Sonar(), true);
        });
    }
    void Scan(bool scanning)
    {
        OnHost([&] { unit->SetScanning(scanning); });
    }
    void Store(AttributeKey const& key, CVordalType const& value)
    {
        CAttributeMap tree;
        tree.Add(key, value, 0);
        OnHost([&] { near.Host().MergeDecoded(near.Sonar(), tree); });
    }

    /// The records that have arrived, once there are so many of them.
    std::vector<std::uint32_t> Records(std::size_t count)
    {
        EXPECT_TRUE(Eventually([&] { return far.Arrivals().size() >= count; }));
        std::vector<std::uint32_t> records;
        for (auto const& arrival : far.Arrivals()) {
            records.push_back(RecordOf(arrival.frame));
        }
        return records;
    }
    /// A range as the last of all: when it has come, so has everything before it.
    void SendLast()
    {
        near.AskRange(123.0);
        ASSERT_TRUE(far.WaitForRange(123.0F));
    }

    FarEnd far;
    NearEnd near{far.Port()};
    std::unique_ptr<vordal::PanTiltUnit> unit;
};

TEST_F(Notifications, AStoredRequestDoesNotComeBackToLife)
{
    CAttributeMap stored;
    stored.Add(L"Request")->Add(L"x5Range", CVordalDouble(50.0), 0);
    stored.Add(L"x5SonarSettings")->Add(L"x5Range", CVordalDouble(50.0), 0);
    stored.Add(L"x5Power", CVordalDouble(210.0), 0);
    LoadAndApply(stored);
    CAttributeMap tree;
    near.Sonar().GetAttributeMap(tree);
    EXPECT_FALSE(tree.Has(L"Request"));
    EXPECT_FALSE(tree.Has(L"x5SonarSettings"));
    EXPECT_TRUE(tree.Has(L"x5Power"));
}

TEST_F(Notifications, AConfigurationThatIsNotThereIsRefused)
{
    Store(L"x5Power", CVordalDouble(210.0));
    OnHost([this] { EXPECT_FALSE(near.Sonar().LoadAttribs(L"sonar", nullptr)); });
    EXPECT_EQ(near.Value(L"x5Power"), 210.0);
}

TEST_F(Notifications, TheMountingIsWrittenIntoTheTree)
{
    auto const mounting = [this] {
        int value = -1;
        unsigned flags = 0;
        return near.Sonar().GetAttribValue(L"MountedOnPanAndTilt", value, flags) ? value : -1;
    };
    MountOnUnit();
    EXPECT_EQ(mounting(), 1);
    // One that cannot be read leaves the device's mirror as it was, which is written all the same.
    OnHost([this] {
        near.Host().ReplaceAttributes(near.Sonar(), {});
        near.Host().ApplyDevice(near.Sonar(), true);
    });
    EXPECT_EQ(mounting(), 1);
}

TEST_F(Notifications, TheLoggerReachesTheRecording)
{
    ASSERT_TRUE(near.Connect());
    Store(L"SyncDataRecording", CVordalBool(true));
    OnHost([this] { near.Host().Notify(Subscription::General, L"$VordalHostloggerStartLogging$", nullptr); });
    EXPECT_THAT(Records(1), ElementsAre(1200U));
    OnHost([this] { near.Host().Notify(Subscription::General, L"$VordalHostloggerStopLogging$", nullptr); });
    EXPECT_THAT(Records(2), ElementsAre(1200U, 1201U));
}

TEST_F(Notifications, TheScanStateReachesThePings)
{
    ASSERT_TRUE(near.Connect());
    MountOnUnit();
    Scan(true);
    Store(L"PingOnlyDuringScan", CVordalBool(true));
    OnHost([this] { near.Host().ApplyDevice(near.Sonar(), true); });
    EXPECT_THAT(far.Arrivals(), IsEmpty());
    Scan(true);
    EXPECT_THAT(Records(1), ElementsAre(1100U));
    OnHost([this] { unit->Publish(); });
    Scan(false);
    EXPECT_THAT(Records(2), ElementsAre(1100U, 1101U));
    SendLast();
    EXPECT_THAT(Records(3), ElementsAre(1100U, 1101U, 1003U));
}

TEST_F(Notifications, TheUnitIsFollowedOnceAfterANewConnection)
{
    ASSERT_TRUE(near.Connect());
    MountOnUnit();
    Store(L"PingOnlyDuringScan", CVordalBool(true));
    OnHost([this] { near.Host().ApplyDevice(near.Sonar(), true); });
    far.Command("drop");
    ASSERT_TRUE(Eventually([this] { return near.Port().GetLink().GetCounters().connections >= 2; }));
    ASSERT_TRUE(near.WaitForConnection());
    Scan(true);
    EXPECT_THAT(Records(1), ElementsAre(1100U));
    SendLast();
    EXPECT_THAT(Records(2), ElementsAre(1100U, 1003U));
}

TEST_F(Notifications, WhatTheHoistIsToldReachesThoseWhoFollowItsStream)
{
    /// Keeps the tilt of each block, as it is told.
    struct Follower
    {
        void OnBlock()
        {
            CDataBlock block;
            unsigned short index = 0;
            if (source->ReadCurrentBlock(block) && block.LookUp(252, ADDR_FIRST_OF_ITEM, index)) {
                double tilt = 0.0;
                std::memcpy(&tilt, block.GetItem(index)->data, sizeof tilt);
                tilts.push_back(tilt);
                times.push_back(block.GetTime());
            }
        }

        BaseDataSource* source;
        std::vector<double> tilts{};
        std::vector<double> times{};
    };

    ASSERT_TRUE(near.Connect());
    MountOnUnit();
    CDataId const stream = vordal::PanTiltUnit::HoistStream(near.Sonar().GetDataId());
    Follower follower{&near.Host().Buffer(stream)};
    DataSubscription subscription;
    subscription.SetSubscriber(new MemFunNoInfoSubscriber<Follower>(&follower, &Follower::OnBlock), true);
    OnHost([&] { subscription.Subscribe(stream); });
    Store(L"CmdTilt", CVordalDouble(1.0));
    Store(L"CmdRotate", CVordalDouble(2.0));
    OnHost([&] { subscription.Unsubscribe(); });
    Store(L"CmdTilt", CVordalDouble(2.0));
    EXPECT_THAT(follower.tilts, ElementsAre(57.29577951308232, 57.29577951308232));
    EXPECT_THAT(follower.times, ElementsAre(standingTime, standingTime));
}

TEST_F(Notifications, NothingReachesADeviceThatHasGone)
{
    ASSERT_TRUE(near.Connect());
    MountOnUnit();
    Store(L"SyncDataRecording", CVordalBool(true));
    Store(L"PingOnlyDuringScan", CVordalBool(true));
    OnHost([this] {
        near.Host().ApplyDevice(near.Sonar(), true);
        near.Host().RemoveAllDevices();
        near.Host().Notify(Subscription::General, L"$VordalHostloggerStartLogging$", nullptr);
        unit->SetScanning(true);
    });
    EXPECT_THAT(far.Arrivals(), IsEmpty());
}

} // namespace
} // namespace qx5::test
