// The acoustic commands at sizes that no scenario file would hold.
#include "one_sonar.h"

#include <protocol/records/all.h>

#include <cmath>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Acoustics = OneSonar;

TEST_F(Acoustics, ARouteOfTenThousandPointsIsOneRecord)
{
    constexpr int points = 10000;
    CAttributeMap request;
    CAttributeMap* group = request.Add(L"x5LorqGating");
    for (int p = 0; p < points; ++p) {
        group->Add(L"x5LorqPipeRoutePoint")->Add(L"x5LorqDetPingNumber", CVordalInt(p), 0);
    }
    m_host.DeliverRequest(*device, &request);

    ASSERT_EQ(traffic.lines.size(), 1U);
    std::string const& line = traffic.lines[0];
    // The count 10000 and the size of a point, 40, then what is reserved.
    std::string const head = "remote 1042 1027000028000000" + std::string(80, '0');
    EXPECT_EQ(line.substr(0, head.size()), head);
    // The last point: all 0 but the ping number 9999.
    std::string const end = std::string(72, '0') + "0f270000 to 0,-1";
    ASSERT_EQ(line.size(),
              std::string("remote 1042 ").size() + 2U * (48U + 40U * points) + std::string(" to 0,-1").size());
    EXPECT_EQ(line.substr(line.size() - end.size()), end);
}

TEST_F(Acoustics, AForwardingListOfTenThousandIdsIsOneRecord)
{
    std::vector<int> const ids(10000, 1003);
    CAttributeMap request;
    request.Add(L"x5SlavedRecords", CVordalIntList(ids), 0);
    m_host.DeliverRequest(*device, &request);

    std::string expected = "remote 1504 10270000";
    for (std::size_t i = 0; i < ids.size(); ++i) {
        expected += "eb030000";
    }
    ASSERT_EQ(traffic.lines.size(), 1U);
    EXPECT_EQ(traffic.lines[0], expected + " to 0,-1");
}

TEST_F(Acoustics, ASweepFindsAProjectorFarDownTheList)
{
    CAttributeMap stored;
    stored.Add(L"x5CenterFrequency", CVordalDouble(400000.0), 0);
    stored.Add(L"DeviceEnum", CVordalInt(9999), 0);
    for (int p = 0; p < 10000; ++p) {
        stored.Add(L"x5PingSettingsList")->Add(L"x5FMSweep", CVordalDouble(p == 9999 ? 10.0 : 1.0), 0);
    }
    m_host.ReplaceAttributes(*device, stored);
    CAttributeMap request;
    request.Add(L"x5FMSweepNegative", CVordalBool(false), 0);
    m_host.DeliverRequest(*device, &request);

    ASSERT_EQ(traffic.lines.size(), 1U);
    EXPECT_EQ(traffic.lines[0], "remote 1027 00dfc04800c1c548 to 0,-1");
    CAttributeMap merged;
    device->GetAttributeMap(merged);
    EXPECT_EQ(merged.Count(L"x5PingSettingsList"), 10000);
    bool negative = true;
    EXPECT_TRUE(merged.Find(L"x5PingSettingsList", 9999).FindValue(L"x5FMSweepNegative").Get(negative));
    EXPECT_FALSE(negative);
    EXPECT_FALSE(merged.Find(L"x5PingSettingsList", 0).Has(L"x5FMSweepNegative"));
}

TEST_F(Acoustics, ALeastNumberOfBeamsThatIsWantedGivesWayToTheGreatest)
{
    CAttributeMap stored = One(L"x5CustomBeams", CVordalDouble(100.0));
    stored.Add(L"x5MinBeams", CVordalDouble(100.0), 0);
    stored.Add(L"x5MaxBeams", CVordalDouble(50.0), 0);
    Store(stored);
    Request(One(L"x5CustomBeamsEnabled", CVordalBool(true)));
    double count = 0.0;
    EXPECT_TRUE(Stored().FindValue(L"x5CustomBeams").Get(count));
    EXPECT_EQ(count, 50.0) << "the least is not above what is wanted, so it wins nothing";
}

TEST_F(Acoustics, AStandardSectorOfASingleHeadLeavesTheRollOut)
{
    CAttributeMap stored = One(L"x5StdCoverage", CVordalDouble(120.0));
    stored.Add(L"GUIMinAngle", CVordalDouble(-70.0), 0);
    stored.Add(L"GUIMaxAngle", CVordalDouble(70.0), 0);
    stored.Add(AttributeKey(qx5::protocol::keys::ATTR_ROLLCOR.text), CVordalDouble(10.0), 0);
    Store(stored);
    auto const steering = [&] {
        Request(One(L"x5ResetCoverage", CVordalBool(true)));
        double degrees = -1.0;
        EXPECT_TRUE(Stored().FindValue(L"x5RxSteeringAngle").Get(degrees));
        return degrees;
    };
    EXPECT_EQ(steering(), 0.0);
    // Of two heads that limit nothing: -60 and 60, turned by 10.
    stored.Add(L"x5DualHeadMode", CVordalInt(3), 0);
    Store(stored);
    EXPECT_EQ(steering(), 10.0);
}

TEST_F(Acoustics, ALimitThatIsTheSectorsOwnEndLeavesTheEndAsItIs)
{
    // A coverage of -0: from 0 to -0. Limits of the other signs are neither greater nor smaller.
    CAttributeMap stored = One(L"x5StdCoverage", CVordalDouble(-0.0));
    stored.Add(L"GUIMinAngle", CVordalDouble(-0.0), 0);
    stored.Add(L"GUIMaxAngle", CVordalDouble(0.0), 0);
    Store(stored);
    Request(One(L"x5ResetCoverage", CVordalBool(true)));
    // -0 less 0 is -0, and half of their sum is 0.
    EXPECT_THAT(traffic.lines, ::testing::Contains("remote 1035 0000008000000000 to 0,-1"));
    double coverage = 1.0;
    EXPECT_TRUE(Stored().FindValue(L"x5CoverageAngle").Get(coverage));
    EXPECT_TRUE(std::signbit(coverage));
}

} // namespace
