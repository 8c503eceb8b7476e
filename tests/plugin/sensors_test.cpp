// Installation, recorder and recording at sizes and moments that no scenario file would hold.
#include "handlers/sonar_head.h"
#include "one_sonar.h"
#include "platform/local_time.h"

#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
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

TEST_F(Sensors, ManyHeadsInTurnShareWhatIsSaidOfOneOfThem)
{
    // Brackets 0 to 2999 of the heads 0, 1, 2, 0, 1, 2 and so on; the request speaks of the first four alone.
    constexpr int brackets = 3000;
    CAttributeMap stored;
    for (int i = 0; i < brackets; ++i) {
        stored.Add(L"x5Bracket");
        stored.Add(L"x5SonarSettings")->Add(L"x5RxNumber", CVordalInt(i % 3), 0);
    }
    CAttributeMap request;
    for (int i = 0; i < 4; ++i) {
        request.Add(L"x5Bracket")->Add(L"x5BracketX", CVordalDouble(i + 1.0), 0);
    }
    m_host.ReplaceAttributes(*device, stored);
    m_host.DeliverRequest(*device, &request);

    ASSERT_EQ(traffic.lines.size(), 3000U);
    // X at byte 36: 4 for head 0, told last by bracket 3; 2 for head 1; 3 for head 2.
    char const* const x[] = {"00008040", "00000040", "00004040"};
    for (std::size_t i = 0; i < traffic.lines.size(); ++i) {
        ASSERT_EQ(traffic.lines[i].substr(12 + 72, 8), x[i % 3]) << i;
    }
}

TEST_F(Sensors, WhatALaterBracketOfAHeadDoesNotSayStaysAsTheEarlierSaid)
{
    CAttributeMap stored;
    stored.Add(L"x5Bracket");
    stored.Add(L"x5Bracket");
    Store(stored);
    CAttributeMap request;
    auto* const earlier = request.Add(L"x5Bracket");
    earlier->Add(L"x5BracketSelected", CVordalInt(2), 0);
    earlier->Add(L"x5BracketX", CVordalDouble(1.0), 0);
    earlier->Add(L"x5BracketY", CVordalDouble(2.0), 0);
    earlier->Add(L"x5BracketZ", CVordalDouble(3.0), 0);
    request.Add(L"x5Bracket");
    Request(request);
    CAttributeMap const told = Stored();
    ASSERT_EQ(told.Count(L"x5Bracket"), 2);
    for (int i = 0; i < 2; ++i) {
        CAttributeMap const& bracket = told.Find(L"x5Bracket", i);
        int selected = 0;
        EXPECT_TRUE(bracket.FindValue(L"x5BracketSelected").Get(selected));
        EXPECT_EQ(selected, 2) << i;
        double place = 0.0;
        for (auto const& [key, value] : {std::pair{L"x5BracketX", 1.0}, {L"x5BracketY", 2.0}, {L"x5BracketZ", 3.0}}) {
            EXPECT_TRUE(bracket.FindValue(key).Get(place));
            EXPECT_EQ(place, value) << i;
        }
    }
}

TEST(SonarHead, IsTheSameByReceiverAndTransmitter)
{
    CAttributeMap stored;
    auto const add = [&](int rxNumber, wchar_t const* txName) {
        auto* const settings = stored.Add(L"x5SonarSettings");
        settings->Add(L"x5RxNumber", CVordalInt(rxNumber), 0);
        settings->Add(L"x5TxName", CVordalText(txName), 0);
    };
    add(1, L"TX-A");                                                           // 0
    add(1, L"TX-A");                                                           // 1
    add(2, L"TX-A");                                                           // 2
    add(1, L"tx-a");                                                           // 3
    stored.Add(L"x5SonarSettings");                                            // 4
    stored.Add(L"x5SonarSettings")->Add(L"x5RxNumber", CVordalDouble(1.0), 0); // 5, a number of the wrong kind
    add(0, L"");                                                               // 6

    EXPECT_TRUE(qx5::IsSameSonarHead(stored, 0, 1));
    EXPECT_TRUE(qx5::IsSameSonarHead(stored, 1, 0));
    EXPECT_FALSE(qx5::IsSameSonarHead(stored, 0, 2));
    EXPECT_FALSE(qx5::IsSameSonarHead(stored, 0, 3)) << "case counts";
    EXPECT_FALSE(qx5::IsSameSonarHead(stored, 0, 4));
    EXPECT_TRUE(qx5::IsSameSonarHead(stored, 4, 5));
    EXPECT_TRUE(qx5::IsSameSonarHead(stored, 4, 6));
    EXPECT_TRUE(qx5::IsSameSonarHead(stored, 6, 99)) << "one that is not there tells nothing";
    EXPECT_TRUE(qx5::IsSameSonarHead(stored, 99, 99));
    EXPECT_TRUE(qx5::IsSameSonarHead(stored, -1, -1));
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

TEST(LocalTime, FollowsAClockThatIsSetToAnotherZone)
{
    char const* const former = std::getenv("TZ");
    std::string const zone = former != nullptr ? former : "";
    auto const hourIn = [](char const* name) {
        setenv("TZ", name, 1);
        return qx5::platform::LocalTime(0).tm_hour;
    };
    EXPECT_EQ(hourIn("AAA0"), 0);
    EXPECT_EQ(hourIn("BBB-9"), 9);
    EXPECT_EQ(hourIn("CCC5"), 19);
    if (former != nullptr) {
        setenv("TZ", zone.c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

TEST(LocalTime, ATimeBeyondTheCalendarIsNoArgument)
{
    EXPECT_THROW(qx5::platform::LocalTime(std::numeric_limits<std::time_t>::max()), std::invalid_argument);
    EXPECT_THROW(qx5::platform::LocalTime(std::numeric_limits<std::time_t>::min()), std::invalid_argument);
}

} // namespace
