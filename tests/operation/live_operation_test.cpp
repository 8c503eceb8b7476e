// What surrounds requests, on real connections: plug-in, host, link, simulated sonar.
#include "tests/end_to_end/stage.h"

#include <operation/operator_desk.h>

#include <VordalAttributesR/CVordalType.h>

#include <mutex>
#include <optional>

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

TEST_F(LiveOperation, APresetIsOneRequestAndTellsWhatTheSonarThenHas)
{
    ASSERT_TRUE(near.Connect());
    ASSERT_TRUE(Eventually([&] { return near.Value(L"x5Gain").has_value(); }));
    operation::Preset const preset{
        "Shallow", "", "", "", {{L"x5Range", 50.0, "m"}, {L"x5Gain", 30.0, "dB"}, {L"x5Power", 190.0, "dB"}}};
    std::optional<operation::PresetLoadOutcome> outcome;
    auto const load = [&](CDataId const& sonar, operation::PresetLoads::Keys const& keys) {
        outcome.reset();
        near.Host().RunAndWait([&] {
            desk.Presets().Load(sonar, preset, keys, [&](operation::PresetLoadOutcome const& told) { outcome = told; });
        });
    };
    auto const rangeOf = [](operation::Preset const& has) {
        for (auto const& setting : has.settings) {
            if (setting.key == L"x5Range") {
                return std::get<double>(setting.value);
            }
        }
        return 0.0;
    };
    load(Sonar, {L"x5Range", L"x5Gain", L"x5Power"});
    EXPECT_FALSE(outcome.has_value()) << "the sonar has not answered";
    ASSERT_TRUE(WaitForNothingPending());
    ASSERT_TRUE(Eventually([&] {
        near.Host().RunAndWait([this] { desk.Tick(); });
        return outcome.has_value();
    }));
    EXPECT_EQ(outcome->result, operation::Result::Agrees);
    EXPECT_EQ(outcome->asked.Count(), 2) << "what is equal is not asked for";
    EXPECT_EQ(rangeOf(outcome->has), 50.0);

    // Nothing is left to ask for, and that is told at once.
    load(Sonar, {L"x5Range", L"x5Gain", L"x5Power", L"later"});
    ASSERT_TRUE(outcome.has_value());
    EXPECT_EQ(outcome->asked.Count(), 0);
    EXPECT_EQ(outcome->reason, "");
    EXPECT_EQ(rangeOf(outcome->has), 50.0);
    load(CDataId(1, 78, 9, 1), {L"x5Range"});
    ASSERT_TRUE(outcome.has_value());
    EXPECT_EQ(outcome->result, operation::Result::NotSent);
    EXPECT_EQ(outcome->reason, "the sonar is not there any more");
}

} // namespace
} // namespace qx5::test
