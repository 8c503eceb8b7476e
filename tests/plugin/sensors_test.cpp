// Installation, recorder and recording at sizes and moments that no scenario file would hold.
#include "one_sonar.h"
#include "platform/local_time.h"

#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Sensors = OneSonar;

TEST_F(Sensors, AFilterListOfMoreEntriesThanItsCountHolds)
{
    constexpr int entries = 65537;
    CAttributeMap request;
    request.Add(L"x5RDRFilterList", CVordalIntList(std::vector<int>(entries, -2)), 0);
    m_host.DeliverRequest(*device, &request);

    ASSERT_EQ(traffic.lines.size(), 1U);
    std::string const& line = traffic.lines[0];
    // The constant, then the low 16 bits of the count: 1.
    std::string const head = "remote 1209 000001000100feffffff";
    EXPECT_EQ(line.substr(0, head.size()), head);
    std::string const end = "feffffff to 7000,0";
    EXPECT_EQ(line.substr(line.size() - end.size()), end);
    EXPECT_EQ(line.size(),
              std::string("remote 1209 ").size() + 2U * (6U + 4U * entries) + std::string(" to 7000,0").size());
}

TEST_F(Sensors, TenThousandBracketsOfOneHeadFollowTheLastChange)
{
    constexpr int brackets = 10000;
    CAttributeMap stored;
    CAttributeMap request;
    for (int i = 0; i < brackets; ++i) {
        stored.Add(L"x5Bracket");
        request.Add(L"x5Bracket")->Add(L"x5BracketX", CVordalDouble(i + 1.0), 0);
    }
    m_host.ReplaceAttributes(*device, stored);
    m_host.DeliverRequest(*device, &request);

    ASSERT_EQ(traffic.lines.size(), 10000U);
    // X of the last bracket, 10000, at byte 36; the negated Y at byte 80 and the negated pitch at byte 92.
    std::string const expected = "record 1020 " + std::string(72, '0') + "00401c46" + std::string(80, '0') +
                                 "00000080" + std::string(16, '0') + "00000080" + std::string(136, '0') + " to 0,-1";
    EXPECT_EQ(traffic.lines.front(), expected);
    EXPECT_EQ(traffic.lines.back(), expected);
}

TEST_F(Sensors, ADeviceThatIsGoneHearsNoLogger)
{
    CAttributeMap stored;
    stored.Add(L"SyncDataRecording", CVordalBool(true), 0);
    m_host.ReplaceAttributes(*device, stored);
    m_host.Notify(Subscription::General, L"$VordalHostloggerStopLogging$", nullptr);
    EXPECT_EQ(traffic.lines, std::vector<std::string>({"remote 1201 to 0,-1"}));
    m_host.RemoveDevice(device);
    m_host.Notify(Subscription::General, L"$VordalHostloggerStartLogging$", nullptr);
    m_host.Notify(Subscription::General, L"$VordalHostloggerStopLogging$", nullptr);
    EXPECT_EQ(traffic.lines.size(), 1U);
}

TEST_F(Sensors, TheLoggersOtherBusesAndEventsAreNotHeard)
{
    CAttributeMap stored;
    stored.Add(L"SyncDataRecording", CVordalBool(true), 0);
    m_host.ReplaceAttributes(*device, stored);
    m_host.Notify(Subscription::ActiveVessel, L"$VordalHostloggerStartLogging$", nullptr);
    m_host.Notify(Subscription::General, L"$VordalHostloggerStartLogging", nullptr);
    EXPECT_TRUE(traffic.lines.empty());
}

TEST(LocalTime, ATimeBeyondTheCalendarIsNoArgument)
{
    EXPECT_THROW(qx5::platform::LocalTime(std::numeric_limits<std::time_t>::max()), std::invalid_argument);
    EXPECT_THROW(qx5::platform::LocalTime(std::numeric_limits<std::time_t>::min()), std::invalid_argument);
}

} // namespace
