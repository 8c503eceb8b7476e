// What becomes of requests, as they are followed: sonars that answer at once, later, with less, otherwise or not at
// all.
#include "tests/plugin/one_sonar.h"

#include <operation/action_values.h>
#include <operation/request_follower.h>
#include <reference_host/common/request_guard.h>

#include <tvcoreR/Utf8.h>

#include <fmt/format.h>

#include <gtest/gtest.h>

namespace qx5::operation {
namespace {

using vordal::OriginScope;
using vordal::RequestOrigin;

class FollowedActions : public OneSonar, protected ActionListener
{
protected:
    FollowedActions()
    {
        follower.AddListener(*this);
        m_host.SetRequestObserver(&follower);
    }
    ~FollowedActions() override { m_host.SetRequestObserver(nullptr); }

    void OnActionBegins(Action const& action) override
    {
        EXPECT_EQ(action.result, Result::Pending);
        begun.push_back(action.number);
    }
    void OnActionStands(Action const& action) override
    {
        std::string line = fmt::format("{} {}", action.number, ToText(action.who));
        for (ActionValue const& value : ValuesOf(action)) {
            line += fmt::format(", {} from {} to {} has {}", value.path, ValueText(value.key, value.before),
                                ValueText(value.key, value.asked), ValueText(value.key, value.got));
        }
        stood.push_back(line + fmt::format(": {}", ToText(action.result)) +
                        (action.reason.empty() ? "" : " (" + action.reason + ")"));
    }

    void Ask(AttributeKey const& key, CVordalType const& value) { Request(One(key, value)); }
    void AskRange(double range) { Ask(L"x5Range", CVordalDouble(range)); }
    void Told(CAttributeMap const& tree) { m_host.MergeDecoded(*device, tree); }
    void ToldRange(double range) { Told(One(L"x5Range", CVordalDouble(range))); }
    void ToldRangeByPing(double range)
    {
        CAttributeMap tree = One(L"x5PingNumber", CVordalInt(++ping));
        tree.Add(L"x5Range", CVordalDouble(range));
        Told(tree);
    }
    void Pass(double seconds)
    {
        now += seconds;
        follower.Tick();
    }
    Lines TakeStood() { return std::exchange(stood, {}); }

    double now = 1000.0;
    int ping = 0;
    std::vector<std::uint64_t> begun;
    Lines stood;
    RequestFollower follower{{.steadyClock = [this] { return now; }}};
};

TEST_F(FollowedActions, AgreeWhenTheSonarTellsWhatWasAskedForAsFarAsTheWireCarriesIt)
{
    ToldRange(100.0);
    {
        OriginScope const scope(RequestOrigin::View);
        AskRange(50.1);
    }
    EXPECT_EQ(begun, std::vector<std::uint64_t>{1});
    EXPECT_EQ(TakeStood(), Lines());
    EXPECT_EQ(follower.Pending(), 1U);
    ToldRange(50.099998474121094);
    EXPECT_EQ(TakeStood(), Lines{"1 view, x5Range from 100 m to 50.1 m has 50.099998474121094 m: agrees"});
    EXPECT_EQ(follower.Pending(), 0U);
}

TEST_F(FollowedActions, DifferAtOnceWhenTheSonarClips)
{
    ToldRange(100.0);
    AskRange(99999.0);
    ToldRange(500.0);
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5Range from 100 m to 99999 m has 500 m: differs (x5Range: asked 99999 m, "
                                 "the sonar has 500 m)"});
    // It has that already, and tells it again: or that was on its way.
    AskRange(99999.0);
    ToldRange(500.0);
    Pass(0.03);
    EXPECT_EQ(TakeStood(), Lines());
    Pass(0.02);
    EXPECT_EQ(TakeStood(), Lines{"2 program, x5Range from 500 m to 99999 m has 500 m: differs (x5Range: asked 99999 m, "
                                 "the sonar has 500 m)"});
}

TEST_F(FollowedActions, OfSeveralValuesTheOthersAreWaitedForAMoment)
{
    CAttributeMap asked = One(L"x5Range", CVordalDouble(99999.0));
    asked.Add(L"x5Gain", CVordalDouble(12.0));
    Request(asked);
    ToldRange(500.0);
    EXPECT_EQ(TakeStood(), Lines());
    Told(One(L"x5Gain", CVordalDouble(12.0)));
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5Range from none to 99999 m has 500 m, x5Gain from none to 12 dB has 12 "
                                 "dB: differs (x5Range: asked 99999 m, the sonar has 500 m)"});
    Told(One(L"x5Gain", CVordalDouble(13.0)));
    Request(asked);
    ToldRange(400.0);
    Pass(0.039);
    EXPECT_EQ(TakeStood(), Lines());
    Pass(0.002);
    EXPECT_EQ(TakeStood().size(), 1U);
}

TEST_F(FollowedActions, AreUnansweredAfterASecond)
{
    ToldRange(100.0);
    AskRange(50.0);
    Pass(0.999);
    EXPECT_EQ(TakeStood(), Lines());
    Pass(0.002);
    EXPECT_EQ(TakeStood(),
              Lines{"1 program, x5Range from 100 m to 50 m has 100 m: unanswered (the sonar did not answer "
                    "within 1 s)"});
    ToldRange(50.0); // too late
    EXPECT_EQ(TakeStood(), Lines());
}

TEST_F(FollowedActions, WhatIsAsItWasNeedNotBeToldAgain)
{
    ToldRange(50.0);
    AskRange(50.0);
    Pass(1.0);
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5Range from 50 m to 50 m has 50 m: agrees"});
}

TEST_F(FollowedActions, AnIntroductionThatComesLateIsNoAnswer)
{
    AskRange(50.0);
    CAttributeMap introduction = One(L"DeviceId", CVordalInt(7125));
    introduction.Add(L"x5Range", CVordalDouble(100.0));
    Told(introduction);
    EXPECT_EQ(TakeStood(), Lines());
    ToldRange(50.0);
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5Range from none to 50 m has 50 m: agrees"});
    // And another on the next connection.
    AskRange(60.0);
    follower.SetConnected(device->GetDataId(), false);
    EXPECT_EQ(TakeStood(), Lines{"2 program, x5Range from 50 m to 60 m has 50 m: unanswered (the connection was lost "
                                 "before the sonar had answered)"});
    follower.SetConnected(device->GetDataId(), true);
    AskRange(70.0);
    Told(introduction);
    EXPECT_EQ(TakeStood(), Lines());
    ToldRange(70.0);
    EXPECT_EQ(TakeStood(), Lines{"3 program, x5Range from 60 m to 70 m has 70 m: agrees"});
}

TEST_F(FollowedActions, WhatAPingRepeatsMayHaveBeenOnItsWay)
{
    ToldRange(100.0);
    AskRange(50.0);
    ToldRangeByPing(100.0);
    EXPECT_EQ(TakeStood(), Lines());
    ToldRangeByPing(50.0);
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5Range from 100 m to 50 m has 50 m: agrees"});
    // One that goes on pinging with what it had does not take it.
    AskRange(60.0);
    ToldRangeByPing(50.0);
    Pass(1.0);
    EXPECT_EQ(TakeStood(), Lines{"2 program, x5Range from 50 m to 60 m has 50 m: differs (x5Range: asked 60 m, the "
                                 "sonar has 50 m)"});
}

TEST_F(FollowedActions, AnswersComeInTheOrderOfTheRequests)
{
    ToldRange(100.0);
    AskRange(99999.0);
    AskRange(60.0);
    ToldRange(500.0); // of the first
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5Range from 100 m to 99999 m has 500 m: differs (x5Range: asked 99999 m, "
                                 "the sonar has 500 m)"});
    ToldRange(60.0);
    EXPECT_EQ(TakeStood(), Lines{"2 program, x5Range from 99999 m to 60 m has 60 m: agrees"});
    // There and back: it has that already, but will not when it has read the first.
    AskRange(70.0);
    AskRange(60.0);
    Told(One(L"x5Gain", CVordalDouble(1.0)));
    EXPECT_EQ(TakeStood(), Lines());
    ToldRange(70.0);
    ToldRange(60.0);
    EXPECT_EQ(TakeStood(), (Lines{"3 program, x5Range from 60 m to 70 m has 70 m: agrees",
                                  "4 program, x5Range from 70 m to 60 m has 60 m: agrees"}));
}

TEST_F(FollowedActions, ALaterRequestTakesTheirPlace)
{
    AskRange(50.0);
    AskRange(60.0);
    ToldRange(60.0);
    EXPECT_EQ(
        TakeStood(),
        (Lines{"1 program, x5Range from none to 50 m has 60 m: replaced (x5Range: asked 50 m, the sonar has 60 m)",
               "2 program, x5Range from 50 m to 60 m has 60 m: agrees"}));
}

TEST_F(FollowedActions, WhatIsReplacedDoesNotDifferBecauseAReportWasOnItsWay)
{
    ToldRange(100.0);
    AskRange(50.0);
    ToldRange(100.0);
    AskRange(60.0);
    ToldRange(60.0);
    EXPECT_EQ(
        TakeStood(),
        (Lines{"1 program, x5Range from 100 m to 50 m has 60 m: replaced (x5Range: asked 50 m, the sonar has 60 m)",
               "2 program, x5Range from 100 m to 60 m has 60 m: agrees"}));
}

TEST_F(FollowedActions, SomebodyElsesChangeIsToldOfWhatWasAgreedHere)
{
    ToldRange(100.0);
    Told(One(L"x5Gain", CVordalDouble(10.0)));
    ToldRange(90.0); // nobody here has asked for it
    EXPECT_EQ(TakeStood(), Lines());
    AskRange(50.0);
    ToldRange(50.0);
    TakeStood();
    now += 2.0;
    ToldRangeByPing(50.0);
    Told(One(L"x5Gain", CVordalDouble(11.0)));
    EXPECT_EQ(TakeStood(), Lines());
    ToldRange(70.0);
    EXPECT_EQ(TakeStood(), Lines{"2 another host, x5Range from 50 m to 70 m has 70 m: agrees"});
    ToldRange(80.0); // that is theirs now
    EXPECT_EQ(TakeStood(), Lines());
    AskRange(50.0);
    ToldRange(50.0);
    EXPECT_EQ(TakeStood().size(), 1U);
    AskRange(60.0);
    ToldRange(60.0);
    EXPECT_EQ(TakeStood().size(), 1U) << "our own change is nobody else's";
}

TEST_F(FollowedActions, WithoutConnectionAreNotSent)
{
    traffic.connected = false;
    AskRange(50.0);
    EXPECT_EQ(TakeStood(),
              Lines{"1 program, x5Range from none to 50 m has none: not sent (no connection, or no room in "
                    "its queue)"});
    follower.SetConnected(device->GetDataId(), false);
    AskRange(60.0);
    EXPECT_EQ(TakeStood(),
              Lines{"2 program, x5Range from 50 m to 60 m has none: not sent (the sonar is not connected)"});
    follower.SetConnected(device->GetDataId(), true);
    AskRange(70.0);
    EXPECT_EQ(TakeStood(), Lines{"3 program, x5Range from 60 m to 70 m has none: not sent (there is no room in its "
                                 "queue, the sonar does not read)"});
}

TEST_F(FollowedActions, ThatComeToNothingAreDroppedAndSaySo)
{
    Ask(L"x5CoverageAngle", CVordalDouble(120.0));
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5CoverageAngle from none to 120 deg has none: dropped (x5CoverageAngle "
                                 "needs x5RxSteeringAngle, which is neither in the request nor in the sonar's tree)"});
    Ask(L"x5Range", CVordalInt(50));
    EXPECT_EQ(
        TakeStood(),
        Lines{"2 program, x5Range from none to 50 m has none: dropped (nothing was sent and nothing echoed: nobody "
              "takes it, a value is of another kind or too long, or another one must be given with it)"});
}

TEST_F(FollowedActions, WithoutAnAnswerAreJudgedByTheEcho)
{
    Ask(L"x5SSR7503CMD", CVordalBool(true));
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5SSR7503CMD from none to true has none: agrees"});
}

TEST_F(FollowedActions, ThatAreRefusedSayWhy)
{
    class Guard final : public vordal::RequestGuard
    {
        bool Admits(BaseDevice&, CAttributeMap const&, RequestOrigin, std::string& reason) override
        {
            reason = "it is locked";
            return false;
        }
    } guard;
    m_host.SetRequestGuard(&guard);
    ToldRange(100.0);
    AskRange(50.0);
    EXPECT_EQ(TakeStood(), Lines{"1 program, x5Range from 100 m to 50 m has 100 m: refused (it is locked)"});
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(begun.size(), 1U);
}

TEST_F(FollowedActions, ThatFailSayWhy)
{
    CAttributeMap port = One(L"UdpAddress", CVordalText(CString(L"")));
    port.Add(L"UdpPort", CVordalText(CString(L"1")));
    for (wchar_t const* const key : {L"UdpPortIndex", L"UdpDataFormatIndex", L"UdpPortEnabled", L"UdpPortConfigured"}) {
        port.Add(key, CVordalInt(1));
    }
    Request(port);
    ASSERT_EQ(stood.size(), 1U);
    EXPECT_NE(stood[0].find(": failed (invalid stoul argument)"), std::string::npos) << stood[0];
}

TEST_F(FollowedActions, AreBoundedInNumber)
{
    for (int i = 0; i < 100; ++i) {
        AskRange(10.0 + i);
    }
    EXPECT_EQ(follower.Pending(), RequestFollower::GreatestPending);
    ASSERT_EQ(stood.size(), 36U);
    EXPECT_EQ(stood[0], "1 program, x5Range from none to 10 m has none: unanswered (too many later requests wait for "
                        "answers)");
    follower.Finish();
    EXPECT_EQ(follower.Pending(), 0U);
    EXPECT_EQ(stood.size(), 100U);
}

TEST_F(FollowedActions, AreBoundedInWhatTheyAskForAndWhatIsTold)
{
    // Texts of 300,000 characters count 1.2 MB.
    CAttributeMap large = One(L"x5Range", CVordalDouble(50.0));
    large.Add(L"unknown", CVordalText(CString(std::wstring(300'000, L'x'))));
    Request(large);
    EXPECT_EQ(follower.Pending(), 0U);
    ASSERT_EQ(stood.size(), 1U);
    EXPECT_NE(stood[0].find("agrees"), std::string::npos);
    Told(large); // is beyond what is remembered, and must not be told by the next ones
    ToldRange(50.0);
    AskRange(50.0);
    Pass(1.0);
    EXPECT_EQ(stood.size(), 2U);
    EXPECT_NE(stood[1].find(": agrees"), std::string::npos) << stood[1];
}

} // namespace
} // namespace qx5::operation
