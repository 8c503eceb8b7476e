// What is made of actions and of what sonars tell: events, requests that wait, the log, how each sonar is, the lock.
#include "tests/plugin/one_sonar.h"

#include <operation/action_values.h>
#include <operation/operator_desk.h>
#include <operation/same_value.h>

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>
#include <vordalhostdllR/DataManager.h>

#include <limits>

#include <gtest/gtest.h>

namespace qx5::operation {
namespace {

using vordal::LinkState;
using vordal::OriginScope;
using vordal::RequestOrigin;

vordal::LinkStatus Status(LinkState state, std::string reason = {})
{
    return {.state = state, .reason = std::move(reason), .retryIn = {}};
}

TEST(SameValue, IsNearAsFarAsTheWireCarriesIt)
{
    constexpr double endless = std::numeric_limits<double>::infinity();
    constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
    auto const same = [](double a, double b) { return IsSameValue(CVordalDouble(a), CVordalDouble(b)); };
    EXPECT_TRUE(same(0.1, 0.10000000149));
    EXPECT_FALSE(same(0.1, 0.1001));
    EXPECT_TRUE(same(endless, endless));
    EXPECT_FALSE(same(endless, 500.0));
    EXPECT_FALSE(same(500.0, -endless));
    EXPECT_TRUE(same(nothing, nothing));
    EXPECT_FALSE(same(nothing, 1.0));
    EXPECT_FALSE(IsSameValue(CVordalInt(1), CVordalDouble(1.0)));
}

class Desk : public OneSonar
{
protected:
    Desk()
    {
        desk.SetName(device->GetDataId(), "Bow");
        desk.Events().SetWake([this] { ++wakes; });
        desk.Join(m_host);
    }
    ~Desk() override { OperatorDesk::Leave(m_host); }

    void Link(LinkState state, std::string reason = {})
    {
        desk.OnLinkStatus(device->GetDataId(), Status(state, std::move(reason)));
    }
    void Told(CAttributeMap const& tree) { m_host.MergeDecoded(*device, tree); }
    void Told(AttributeKey const& key, double value) { Told(One(key, CVordalDouble(value))); }
    void Ask(AttributeKey const& key, double value) { Request(One(key, CVordalDouble(value))); }
    void Pass(double seconds)
    {
        now += seconds;
        desk.Tick();
    }
    Lines Lately()
    {
        Lines lines;
        for (Event const& event : desk.Events().Take().events) {
            lines.push_back(StatusLine(event));
        }
        return lines;
    }
    SonarState State() { return desk.Watch().StateOf(device->GetDataId()); }

    double now = 500.0;
    int wakes = 0;
    OperatorDesk desk{{.steadyClock = [this] { return now; }}};
};

class Events : public Desk
{
};

TEST_F(Events, SayWhatIsNotAsItWasAskedFor)
{
    Told(L"x5Range", 100.0);
    Ask(L"x5Range", 50.0);
    Told(L"x5Range", 50.0);
    EXPECT_EQ(Lately(), Lines()) << "that is as it should be";
    Ask(L"x5Range", 99999.0);
    Told(L"x5Range", 500.0);
    auto const content = desk.Events().Take();
    ASSERT_EQ(content.events.size(), 1U);
    Event const& event = content.events.front();
    EXPECT_EQ(StatusLine(event), "Bow: x5Range: asked 99999 m, the sonar has 500 m");
    EXPECT_EQ(event.kind, EventKind::Differs);
    EXPECT_EQ(event.number, 1U);
    EXPECT_EQ(event.time, 1700000000.0);
    EXPECT_EQ(event.asked, "99999 m");
    EXPECT_EQ(event.got, "500 m");
    EXPECT_EQ(wakes, 1);
    Ask(L"x5Range", 60.0);
    Pass(1.0);
    EXPECT_EQ(Lately(), Lines{"Bow: x5Range=60 m: unanswered: the sonar did not answer within 1 s"});
    Ask(L"x5CoverageAngle", 120.0);
    EXPECT_EQ(Lately(),
              Lines{"Bow: x5CoverageAngle=120 deg: dropped: x5CoverageAngle needs x5RxSteeringAngle, which is "
                    "neither in the request nor in the sonar's tree"});
    Ask(L"x5Gain", 3.0);
    Told(L"x5Gain", 3.0);
    Told(L"x5Gain", 4.0);
    EXPECT_EQ(Lately(), Lines{"Bow: x5Gain was 3 dB, somebody else has made it 4 dB"});
}

TEST_F(Events, LetAReportThatWasOnItsWayBeFollowedByTheAnswer)
{
    Ask(L"x5Range", 34.0);
    Told(L"x5Range", 34.0);
    Ask(L"x5Range", 35.0);
    Told(L"x5Range", 34.0);
    Pass(0.02);
    Told(L"x5Range", 35.0);
    EXPECT_EQ(Lately(), Lines());
    Ask(L"x5Range", 36.0);
    Told(L"x5Range", 35.0);
    EXPECT_EQ(Lately(), Lines());
    Pass(0.05);
    EXPECT_EQ(Lately(), Lines{"Bow: x5Range: asked 36 m, the sonar has 35 m"}) << "that was its answer";
}

TEST_F(Events, NameFourKeysAndTellTwentyDifferences)
{
    CAttributeMap asked;
    for (int i = 0; i < 30; ++i) {
        asked.Add(AttributeKey(CString(L"k" + std::to_wstring(i))), CVordalInt(1));
    }
    Request(asked);
    EXPECT_EQ(
        Lately(),
        Lines{"Bow: k0, k1, k2, k3, ...: dropped: nothing was sent and nothing echoed: nobody takes it, a value is "
              "of another kind or too long, or another one must be given with it"});
    Action action;
    action.sonar = device->GetDataId();
    action.asked = asked;
    for (int i = 0; i < 30; ++i) {
        action.got.Add(AttributeKey(CString(L"k" + std::to_wstring(i))), CVordalInt(2));
    }
    action.result = Result::Differs;
    desk.Events().OnActionStands(action);
    auto const lines = Lately();
    ASSERT_EQ(lines.size(), 21U);
    EXPECT_EQ(lines[0], "Bow: k0: asked 1, the sonar has 2");
    EXPECT_EQ(lines[20], "Bow: 10 more values of the same request are not as asked for");
}

TEST_F(Events, AreBoundedAndTheOldestGiveWay)
{
    for (std::size_t i = 0; i < EventList::GreatestCount + 5; ++i) {
        desk.Events().PutState(device->GetDataId(), EventKind::Note, Severity::Information,
                               "line\n" + std::to_string(i));
    }
    EXPECT_EQ(wakes, 1);
    auto const content = desk.Events().Take();
    EXPECT_EQ(content.lost, 5U);
    ASSERT_EQ(content.events.size(), EventList::GreatestCount);
    EXPECT_EQ(StatusLine(content.events.front()), "Bow: line 5");
    EXPECT_EQ(desk.Events().Take().lost, 0U);
}

TEST_F(Events, TellOfConnectionsThatWereThereBefore)
{
    Link(LinkState::Connecting);
    Link(LinkState::Connected);
    EXPECT_EQ(Lately(), Lines());
    Link(LinkState::Lost, "reset by the sonar");
    Link(LinkState::Waiting, "reset by the sonar");
    Link(LinkState::Connected);
    EXPECT_EQ(Lately(), (Lines{"Bow: the connection was lost: reset by the sonar", "Bow: connected again"}));
}

class Held : public Desk
{
};

TEST_F(Held, KeepTheNewestOfEachKeyUntilItIsSentOrDropped)
{
    CDataId const id = device->GetDataId();
    traffic.connected = false;
    {
        OriginScope const scope(RequestOrigin::View);
        Ask(L"x5Range", 50.0);
        Ask(L"x5Gain", 3.0);
        Ask(L"x5Range", 60.0);
    }
    auto const held = desk.Held().Of(id);
    ASSERT_EQ(held.size(), 2U);
    EXPECT_EQ(held[0].key, "x5Gain");
    EXPECT_EQ(held[0].value, "3 dB");
    EXPECT_EQ(held[1].key, "x5Range");
    EXPECT_EQ(held[1].value, "60 m");
    EXPECT_EQ(held[1].who, RequestOrigin::View);
    traffic.connected = true;
    traffic.lines.clear();
    Link(LinkState::Connected);
    EXPECT_EQ(traffic.lines, Lines()) << "never by itself";
    EXPECT_TRUE(desk.Held().Send(id));
    EXPECT_EQ(traffic.lines, (Lines{"remote 1003 00007042 to 0,-1", "remote 1008 00004040 to 0,-1"}));
    EXPECT_EQ(desk.Held().Count(id), 0U);
    EXPECT_FALSE(desk.Held().Send(id));
    desk.Tick();
    EXPECT_EQ(desk.Follower().Pending(), 1U) << "one request";
    traffic.connected = false;
    Ask(L"x5Range", 70.0);
    desk.Held().Drop(id);
    EXPECT_EQ(desk.Held().Count(id), 0U);
}

TEST_F(Held, WhatIsRefusedWhenItIsSentIsStillHeld)
{
    CDataId const id = device->GetDataId();
    traffic.connected = false;
    Ask(L"x5Gain", 3.0);
    Request(One(L"x5PingOnOffState", CVordalInt(1)));
    traffic.connected = true;
    traffic.lines.clear();
    desk.Lock().SetLocked(true);
    EXPECT_TRUE(desk.Held().Send(id));
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(desk.Held().Count(id), 2U);
    desk.Lock().SetLocked(false);
    EXPECT_TRUE(desk.Held().Send(id));
    EXPECT_FALSE(traffic.lines.empty());
    EXPECT_EQ(desk.Held().Count(id), 0U);
}

TEST_F(Held, WhatReachesTheSonarLaterNeedNotWait)
{
    traffic.connected = false;
    Ask(L"x5Range", 50.0);
    Ask(L"x5Gain", 3.0);
    traffic.connected = true;
    Ask(L"x5Range", 70.0);
    Told(L"x5Range", 70.0);
    auto const held = desk.Held().Of(device->GetDataId());
    ASSERT_EQ(held.size(), 1U);
    EXPECT_EQ(held[0].key, "x5Gain");
}

TEST_F(Held, AreBounded)
{
    Action action;
    action.sonar = device->GetDataId();
    action.result = Result::NotSent;
    for (std::size_t i = 0; i < HeldRequests::GreatestCount + 3; ++i) {
        action.asked = One(AttributeKey(CString(L"k" + std::to_wstring(i))), CVordalInt(1));
        desk.Held().OnActionStands(action);
    }
    EXPECT_EQ(desk.Held().Count(action.sonar), HeldRequests::GreatestCount);
    EXPECT_EQ(desk.Held().Lost(action.sonar), 3U);
    EXPECT_EQ(desk.Held().Of(action.sonar).front().key, "k3");
    action.asked = One(L"large", CVordalText(CString(std::wstring(260'000, L'x')))); // 1,040,020 bytes
    desk.Held().OnActionStands(action);
    EXPECT_LT(desk.Held().Count(action.sonar), HeldRequests::GreatestCount);
    EXPECT_EQ(desk.Held().Of(action.sonar).back().key, "large");
}

class Watch : public Desk
{
protected:
    void Ping(int number, double after)
    {
        Pass(after);
        CAttributeMap tree = One(L"x5PingNumber", CVordalInt(number));
        tree.Add(L"x5Range", CVordalDouble(50.0));
        Told(tree);
    }
};

TEST_F(Watch, MeasuresTheRateOfPings)
{
    EXPECT_FALSE(State().pingRate.has_value());
    Link(LinkState::Connected);
    for (int i = 1; i <= 21; ++i) {
        Ping(i, 0.125);
    }
    EXPECT_DOUBLE_EQ(State().pingRate.value_or(0.0), 8.0);
    EXPECT_EQ(State().pings, 21U);
    // Two of which one was not told.
    Ping(23, 0.25);
    EXPECT_DOUBLE_EQ(State().pingRate.value_or(0.0), 8.0);
    // It slows down, and stops.
    Pass(2.0);
    EXPECT_LT(State().pingRate.value_or(9.0), 5.0);
    EXPECT_GT(State().pingRate.value_or(0.0), 3.0);
    Pass(5.0);
    EXPECT_EQ(State().pingRate, 0.0);
    EXPECT_EQ(State().lastData, 1700000000.0);
    EXPECT_DOUBLE_EQ(State().sinceData, 7.0);
    // It counts anew, after its restart.
    Ping(1, 1.0);
    Ping(2, 0.5);
    EXPECT_DOUBLE_EQ(State().pingRate.value_or(0.0), 2.0);
}

TEST_F(Watch, ASonarThatShouldPingAndTellsNothingIsSilent)
{
    Link(LinkState::Connected);
    Told(One(L"x5PingOnOffState", CVordalInt(1)));
    Pass(10.0);
    EXPECT_EQ(State().condition, SonarCondition::Well) << "it may be one that does not tell of its pings";
    for (int i = 1; i <= 5; ++i) {
        Ping(i, 0.02);
    }
    Pass(1.4);
    EXPECT_EQ(State().condition, SonarCondition::Well);
    EXPECT_EQ(Lately(), Lines());
    Pass(0.1);
    EXPECT_EQ(State().condition, SonarCondition::Silent);
    EXPECT_EQ(Lately(), Lines{"Bow: its pings are on, and it has told nothing for 1.5 s"});
    Pass(1.0);
    EXPECT_EQ(Lately(), Lines()) << "once";
    Ping(6, 0.0);
    desk.Tick();
    EXPECT_EQ(State().condition, SonarCondition::Well);
    EXPECT_EQ(Lately(), Lines{"Bow: it tells again"});
    // Not one whose pings are off, nor one that is gone.
    Told(One(L"x5PingOnOffState", CVordalInt(0)));
    Pass(10.0);
    EXPECT_EQ(Lately(), Lines());
    Told(One(L"x5PingOnOffState", CVordalInt(1)));
    Link(LinkState::Lost, "cut");
    Pass(10.0);
    EXPECT_EQ(State().condition, SonarCondition::NotConnected);
    EXPECT_EQ(Lately(), Lines{"Bow: the connection was lost: cut"});
    // One that comes back and does not even introduce itself.
    Link(LinkState::Connected);
    Pass(1.6);
    EXPECT_EQ(State().condition, SonarCondition::Silent);
}

TEST_F(Watch, TellsSinceWhenALinkIsAsItIsAndWhyItWasLost)
{
    EXPECT_FALSE(State().wasConnected);
    Link(LinkState::Waiting, "refused");
    Pass(1.5);
    EXPECT_DOUBLE_EQ(State().sinceLink, 1.5);
    EXPECT_FALSE(State().wasConnected);
    // An attempt tells nothing of why the last one failed.
    Link(LinkState::Connecting);
    EXPECT_EQ(State().failure, "refused");
    Link(LinkState::Connected);
    Link(LinkState::Lost, "cut");
    EXPECT_TRUE(State().wasConnected);
    EXPECT_EQ(State().failure, "cut");
    EXPECT_DOUBLE_EQ(State().sinceLink, 0.0);
}

TEST_F(Watch, OneThatGoesToAnotherAddressBeginsAnew)
{
    Link(LinkState::Connected);
    Told(One(L"x5PingOnOffState", CVordalInt(1)));
    Ping(1, 0.0);
    static_cast<void>(Lately());
    desk.OnMoved(device->GetDataId());
    EXPECT_FALSE(State().wasConnected);
    EXPECT_EQ(State().pings, 0U);
    Link(LinkState::Connecting);
    Link(LinkState::Connected);
    Pass(60.0);
    EXPECT_EQ(State().condition, SonarCondition::Well) << "it has told nothing of pings yet";
    EXPECT_EQ(Lately(), Lines{}) << "no connection was lost";
}

TEST_F(Watch, ASonarThatPingsSlowlyHasMoreTime)
{
    Link(LinkState::Connected);
    Told(One(L"x5PingOnOffState", CVordalInt(1)));
    Ping(1, 0.0);
    Ping(2, 4.0);
    Ping(3, 4.0);
    Pass(11.9);
    EXPECT_EQ(State().condition, SonarCondition::Well);
    Pass(0.2);
    EXPECT_EQ(State().condition, SonarCondition::Silent);
    // One silence does not make it a slow one.
    Ping(4, 100.0);
    Pass(12.1);
    EXPECT_EQ(State().condition, SonarCondition::Silent);
}

TEST_F(Watch, ALongRangeOrALowRateMakesASonarSlow)
{
    Link(LinkState::Connected);
    Told(One(L"x5PingOnOffState", CVordalInt(1)));
    Ping(1, 0.0);
    Ping(2, 0.02);
    Told(L"x5Range", 1400.0); // there and back in 2 s
    Pass(5.9);
    EXPECT_EQ(State().condition, SonarCondition::Well);
    Pass(0.2);
    EXPECT_EQ(State().condition, SonarCondition::Silent);
    Told(L"x5Range", 10.0);
    Told(L"x5MaxPingRate", 0.25);
    Pass(11.9);
    EXPECT_EQ(State().condition, SonarCondition::Well);
    Pass(0.2);
    EXPECT_EQ(State().condition, SonarCondition::Silent);
}

class Lock : public Desk
{
protected:
    /// What is said of the request; empty when it goes through.
    std::string Refusal(CAttributeMap const& request)
    {
        traffic.lines.clear();
        Request(request);
        std::string reason;
        for (Event const& event : desk.Events().Take().events) {
            if (event.kind == EventKind::Refused) {
                reason = event.reason;
            }
        }
        EXPECT_TRUE(reason.empty() || traffic.lines.empty()) << traffic.lines.front();
        return reason;
    }
};

TEST_F(Lock, RefusesWhatCanDoHarmAndSaysSo)
{
    auto const pings = One(L"x5PingOnOffState", CVordalInt(1));
    EXPECT_EQ(Refusal(pings), "");
    EXPECT_EQ(traffic.lines.size(), 1U);
    desk.Lock().SetLocked(true);
    EXPECT_EQ(Refusal(pings), "the transmit lock is on: x5PingOnOffState=1 switches the pings on");
    EXPECT_EQ(Refusal(One(L"x5PingOnOffState", CVordalInt(0))), "") << "off is never harmful";
    EXPECT_EQ(Refusal(One(L"PingOnlyDuringScan", CVordalBool(false))),
              "the transmit lock is on: PingOnlyDuringScan=false switches the pings on");
    EXPECT_NE(Refusal(One(L"PingOnlyDuringScan", CVordalBool(true))), "");
    CAttributeMap bare;
    bare.Add(L"x5Shutdown");
    EXPECT_EQ(Refusal(bare), "the transmit lock is on: x5Shutdown shuts the sonar down");
    EXPECT_EQ(Refusal(One(L"x5Reboot", CVordalBool(false))),
              "the transmit lock is on: x5Reboot=false restarts the sonar");
    EXPECT_EQ(Refusal(One(L"x5LoadFactoryParameters", CVordalInt(1))),
              "the transmit lock is on: x5LoadFactoryParameters=1 loads the factory settings");
    // The whole request, with all that it asks for beside.
    CAttributeMap both = One(L"x5Range", CVordalDouble(50.0));
    both.Add(L"x5PingOnOffState", CVordalInt(1));
    EXPECT_NE(Refusal(both), "");
    EXPECT_EQ(Refusal(One(L"x5Range", CVordalDouble(50.0))), "");
    EXPECT_EQ(Refusal(One(L"unknown", CVordalDouble(50.0))), "");
}

TEST_F(Lock, RefusesFullPower)
{
    desk.Lock().SetLocked(true);
    auto const power = [](double value) { return One(L"x5Power", CVordalDouble(value)); };
    // Without limits any more than it has.
    Told(L"x5Power", 190.0);
    EXPECT_EQ(Refusal(power(190.0)), "");
    EXPECT_EQ(Refusal(power(190.5)),
              "the transmit lock is on: x5Power=190.5 dB is more power than it has, and the sonar "
              "does not tell what full power is");
    CAttributeMap settings;
    for (double const greatest : {220.0, 210.0}) {
        settings.Add(L"x5SonarSettings")->Add(L"x5Power")->Add(L"x5Max", CVordalDouble(greatest));
    }
    Told(settings);
    EXPECT_EQ(Refusal(power(209.5)), "");
    EXPECT_EQ(Refusal(power(210.0)), "the transmit lock is on: x5Power=210 dB is full power");
    EXPECT_NE(Refusal(power(std::numeric_limits<double>::quiet_NaN())), "");
    EXPECT_EQ(Refusal(power(0.0)), "");
}

TEST_F(Lock, PassesOverSimulatedSonars)
{
    desk.Lock().SetLocked(true);
    desk.Lock().Exempt(device->GetDataId());
    EXPECT_EQ(Refusal(One(L"x5PingOnOffState", CVordalInt(1))), "");
    // One that gets the address of a real sonar is none any more.
    desk.Lock().Exempt(device->GetDataId(), false);
    EXPECT_NE(Refusal(One(L"x5PingOnOffState", CVordalInt(1))), "");
}

class Leased : public Desk
{
protected:
    void AskAs(RequestOrigin who, double range)
    {
        CAttributeMap tree;
        tree.Add(L"Request")->Add(L"x5Range", CVordalDouble(range));
        OriginScope const scope(who);
        DataManager::GetDataManager().SetAttributeMap(id, tree, 4, false);
    }
    CDataId const id = device->GetDataId();
};

TEST_F(Leased, ASonarTakesWhatItsHolderAsksAndRefusesTheOthers)
{
    EXPECT_FALSE(desk.Lease().Of(id).has_value());
    AskAs(RequestOrigin::Program, 50.0);
    EXPECT_EQ(traffic.lines, (Lines{"remote 1003 00004842 to 0,-1"})) << "nobody has the lease";
    ASSERT_TRUE(desk.Lease().Take(id, Hand::Operator));
    desk.Events().Take();
    traffic.lines.clear();
    AskAs(RequestOrigin::Program, 60.0);
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(Lately(), Lines{"Bow: x5Range=60 m: refused: the operator has the lease of this sonar's actions"});
    AskAs(RequestOrigin::Shell, 60.0);
    EXPECT_EQ(traffic.lines, Lines()) << "another program is not the operator";
    AskAs(RequestOrigin::View, 60.0);
    AskAs(RequestOrigin::Undo, 50.0);
    AskAs(RequestOrigin::Preset, 60.0);
    AskAs(RequestOrigin::Terminal, 50.0);
    AskAs(RequestOrigin::CommandLine, 60.0);
    EXPECT_EQ(traffic.lines.size(), 5U);
    EXPECT_FALSE(desk.Lease().Take(id, Hand::Program)) << "the operator has it";
    EXPECT_FALSE(desk.Lease().GiveBack(id, Hand::Program));
    ASSERT_TRUE(desk.Lease().GiveBack(id, Hand::Operator));
    AskAs(RequestOrigin::Program, 50.0);
    EXPECT_EQ(traffic.lines.size(), 6U);
}

TEST_F(Leased, GoesWithItsSonar)
{
    ASSERT_TRUE(desk.Lease().Take(id, Hand::Operator));
    desk.OnRemoved(id);
    EXPECT_FALSE(desk.Lease().Of(id).has_value());
}

TEST_F(Leased, EndsInTimeAndTheOperatorTakesItBack)
{
    ASSERT_TRUE(desk.Lease().Take(id, Hand::Program, 30.0));
    now += 10.0;
    AskAs(RequestOrigin::View, 50.0);
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(Lately(),
              Lines{"Bow: x5Range=50 m: refused: a program has the lease of this sonar's actions for another 20 s"});
    ASSERT_TRUE(desk.Lease().Take(id, Hand::Program, 30.0));
    EXPECT_EQ(desk.Lease().Of(id)->since, 500.0) << "the same lease, longer";
    now += 30.0;
    EXPECT_FALSE(desk.Lease().Of(id).has_value());
    AskAs(RequestOrigin::View, 50.0);
    EXPECT_EQ(traffic.lines.size(), 1U);
    ASSERT_TRUE(desk.Lease().Take(id, Hand::Program, 30.0));
    ASSERT_TRUE(desk.Lease().Take(id, Hand::Operator));
    EXPECT_EQ(desk.Lease().Of(id)->hand, Hand::Operator);
    EXPECT_FALSE(desk.Lease().Of(CDataId(9, 9, 9, 9)).has_value());
}

} // namespace
} // namespace qx5::operation
