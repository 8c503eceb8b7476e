// What surrounds requests, on real connections: plug-in, host, link, simulated sonar.
#include "tests/end_to_end/stage.h"

#include <operation/operator_desk.h>

#include <VordalAttributesR/CVordalType.h>

#include <mutex>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

using operation::EventKind;
using operation::OperatorDesk;
using operation::SonarCondition;
using vordal::OriginScope;
using vordal::RequestOrigin;

CDataId const Sonar(1, 78, 1, 1);

/// The desk ticks on the host thread whenever the test looks.
class LiveOperation : public ::testing::Test
{
protected:
    explicit LiveOperation()
    {
        desk.SetName(Sonar, "Bow");
        near.Host().RunAndWait([this] { desk.Join(near.Host()); });
        near.Port().SetStatusListener([this](vordal::LinkStatus const& status) { desk.OnLinkStatus(Sonar, status); });
    }
    ~LiveOperation() override
    {
        near.Host().RunAndWait([this] { OperatorDesk::Leave(near.Host()); });
    }

    static simulator::ServerOptions Options()
    {
        simulator::ServerOptions options;
        options.announcePings = true;
        return options;
    }
    void Ask(AttributeKey const& key, CVordalType const& value)
    {
        CAttributeMap request;
        request.Add(key, value);
        near.Post(request);
    }
    /// Waits until such a line stands among the events.
    bool WaitForEvent(std::string const& line)
    {
        return Eventually([&] {
            near.Host().RunAndWait([this] { desk.Tick(); });
            for (auto const& event : desk.Events().Take().events) {
                lines.push_back(operation::StatusLine(event));
            }
            return std::find(lines.begin(), lines.end(), line) != lines.end();
        });
    }
    bool WaitForNothingPending()
    {
        return Eventually([&] {
            std::size_t pending = 0;
            near.Host().RunAndWait([&] {
                desk.Tick();
                pending = desk.Follower().Pending();
            });
            return pending == 0;
        });
    }
    std::string Lines() const
    {
        std::string text;
        for (std::string const& line : lines) {
            text += line + "\n";
        }
        return text;
    }

    std::vector<std::string> lines;
    FarEnd far{Options()};
    // A sonar's answer may come late where much else runs.
    OperatorDesk desk{{.settleLimit = 0.5, .steadyClock = {}}};
    NearEnd near{far.Port(),
                 [](vordal::LinkOptions& options) { options.backOff.first = std::chrono::milliseconds(5); }};
};

TEST_F(LiveOperation, AClippedValueIsTold)
{
    ASSERT_TRUE(near.Connect());
    Ask(L"x5Range", CVordalDouble(99999.0));
    EXPECT_TRUE(WaitForEvent("Bow: x5Range: asked 99999 m, the sonar has 500 m")) << Lines();
    // Again, when it has that already.
    lines.clear();
    Ask(L"x5Range", CVordalDouble(88888.0));
    EXPECT_TRUE(WaitForEvent("Bow: x5Range: asked 88888 m, the sonar has 500 m")) << Lines();
    lines.clear();
    Ask(L"x5Range", CVordalDouble(75.0));
    EXPECT_TRUE(WaitForNothingPending());
    EXPECT_TRUE(desk.Events().Take().events.empty());
}

TEST_F(LiveOperation, WhileTheSonarPingsNothingIsToldThatIsAsItWasAskedFor)
{
    ASSERT_TRUE(near.Connect());
    Ask(L"x5PingOnOffState", CVordalInt(1));
    ASSERT_TRUE(Eventually([&] { return desk.Watch().StateOf(Sonar).pings > 3; }));
    for (int i = 1; i <= 40; ++i) {
        Ask(L"x5Range", CVordalDouble(10.0 + i));
        if (i % 4 == 0) {
            EXPECT_TRUE(WaitForNothingPending());
        }
    }
    EXPECT_TRUE(WaitForNothingPending());
    for (auto const& event : desk.Events().Take().events) {
        ADD_FAILURE() << operation::StatusLine(event);
    }
    EXPECT_GT(desk.Watch().StateOf(Sonar).pingRate.value_or(0.0), 0.0);
}

TEST_F(LiveOperation, ASilentSonarIsTold)
{
    ASSERT_TRUE(near.Connect());
    Ask(L"x5PingOnOffState", CVordalInt(1));
    ASSERT_TRUE(Eventually([&] { return desk.Watch().StateOf(Sonar).pings > 2; }));
    far.Command("misbehave silent");
    auto const begun = std::chrono::steady_clock::now();
    ASSERT_TRUE(Eventually([&] { return desk.Watch().StateOf(Sonar).condition == SonarCondition::Silent; }));
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::seconds(1));
    far.Command("behave");
    EXPECT_TRUE(WaitForEvent("Bow: it tells again") || desk.Watch().StateOf(Sonar).condition == SonarCondition::Well);
}

TEST_F(LiveOperation, WhatNobodyCouldHearIsOfferedAndSentByHandAlone)
{
    ASSERT_TRUE(near.Connect());
    far.Command("misbehave refuse not-listening");
    far.Command("misbehave drop-link");
    ASSERT_TRUE(near.WaitForLoss());
    {
        OriginScope const scope(RequestOrigin::View);
        Ask(L"x5Range", CVordalDouble(70.0));
        Ask(L"x5Range", CVordalDouble(80.0));
    }
    ASSERT_TRUE(Eventually([&] { return desk.Held().Count(Sonar) == 1; }));
    far.Command("behave");
    ASSERT_TRUE(near.WaitForConnection());
    EXPECT_TRUE(WaitForEvent("Bow: connected again")) << Lines();
    EXPECT_EQ(far.Ranges(), std::vector<float>());
    EXPECT_TRUE(desk.Held().Send(Sonar));
    EXPECT_TRUE(far.WaitForRange(80.0F));
    EXPECT_EQ(far.Ranges(), std::vector<float>{80.0F});
}

} // namespace
} // namespace qx5::test
