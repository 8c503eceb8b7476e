// The reader ashore: births and data in order, and what it does where they are not.
#include "sparkplug_line.h"

#include "sparkplug/metric_value.h"

#include <reference_host/attributes/tree_merge.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::test {
namespace {

using namespace sparkplug;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HostApplicationTest : public ::testing::Test
{
protected:
    HostApplicationTest() : node(MakeNode()), host(MakeHost({})) {}

    EdgeNode MakeNode()
    {
        EdgeNodeOptions options;
        options.group = "g";
        options.node = "v";
        return EdgeNode(options, {[this](Message const& message) { return line.Take(message); }, {}, {}, {}},
                        clock.Read());
    }
    HostApplication MakeHost(HostOptions const& options)
    {
        return HostApplication(options,
                               {[this](Message const& message) {
                                    if (hasRoom) {
                                        asked.push_back(message);
                                    }
                                    return hasRoom;
                                },
                                [this](SeenName const& name) { states.push_back(name); },
                                [this](SeenName const&, std::vector<SeenValue> const& values) {
                                    for (auto const& value : values) {
                                        told.push_back(std::string(value.name) + (value.isHistorical ? " old" : ""));
                                    }
                                },
                                [this](std::string const& text) { lines.push_back(text); }},
                               clock.Read());
    }
    static CAttributeMap Tree(double range)
    {
        CAttributeMap tree;
        tree.Add(keys::x5Range.text, CVordalDouble(range));
        vordal::ForgetReferences(tree);
        return tree;
    }
    void Connect()
    {
        will = node.NextWill();
        node.Connected();
        node.SetDevice("s", Tree(50));
    }
    /// All that the line holds arrives.
    void Arrive()
    {
        for (auto const& message : std::exchange(line.messages, {})) {
            host.Receive(message.topic, message.payload);
        }
    }
    SeenState State(std::string const& device = "s") const
    {
        auto const* const thing = host.Find({"g", "v", device});
        return thing != nullptr ? thing->state : SeenState::Unborn;
    }
    double Range() const
    {
        double range = 0;
        host.Find({"g", "v", "s"})->tree.FindValue(AttributeKey(keys::x5Range.text)).Get(range);
        return range;
    }
    void Change(double range)
    {
        clock.Pass(100ms);
        node.SetDevice("s", Tree(range));
    }
    void Send(std::string const& topic, std::optional<std::uint64_t> seq, std::vector<Metric> metrics)
    {
        Payload payload;
        payload.timestamp = clock.now.utc;
        payload.seq = seq;
        payload.metrics = std::move(metrics);
        std::string error;
        host.Receive(topic, EncodePayload(payload, error).value());
    }
    /// Which births have been asked for since the last call.
    std::vector<std::string> Asked()
    {
        std::vector<std::string> topics;
        for (auto const& message : std::exchange(asked, {})) {
            auto const request = TakeApart(message);
            EXPECT_EQ(request.payload.metrics.at(0).name, "Node Control/Rebirth");
            EXPECT_EQ(request.payload.metrics.at(0).value, WireValue(true));
            EXPECT_EQ(request.payload.seq, std::nullopt);
            topics.push_back(request.topic);
        }
        return topics;
    }

    TestClock clock;
    Published line;
    bool hasRoom = true;
    std::vector<Message> asked;
    std::vector<SeenName> states;
    std::vector<std::string> told;
    std::vector<std::string> lines;
    Message will;
    EdgeNode node;
    HostApplication host;
};

TEST_F(HostApplicationTest, ShowsWhatVesselsTell)
{
    CAttributeMap about;
    about.Add(L"program", CVordalText(L"qx5"));
    node.SetNode(about);
    Connect();
    Arrive();
    EXPECT_EQ(State(""), SeenState::Alive);
    EXPECT_EQ(State(), SeenState::Alive);
    EXPECT_EQ(Range(), 50.0);
    EXPECT_EQ(host.Facts({"g", "v", "s"}, "x5Range")->unit, "m");
    EXPECT_THAT(host.Names(), ElementsAre(SeenName{"g", "v", ""}, SeenName{"g", "v", "s"}));
    CString program;
    host.Find({"g", "v", ""})->reserved.FindValue(L"program").Get(program);
    EXPECT_EQ(program, L"qx5");
    Change(75);
    Arrive();
    EXPECT_EQ(Range(), 75.0);
    EXPECT_THAT(told, ElementsAre("x5Range"));
    EXPECT_EQ(host.Find({"g", "v", "s"})->heard, clock.now.steady);
    EXPECT_EQ(host.Find({"g", "v", "s"})->told, clock.now.utc);
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(Asked(), IsEmpty());
}

TEST_F(HostApplicationTest, AGapMakesStaleAndAsksForABirth)
{
    Connect();
    Arrive();
    Change(60);
    line.messages.clear(); // lost
    Change(70);
    Arrive();
    EXPECT_EQ(Range(), 50.0) << "nothing is applied behind a gap";
    EXPECT_EQ(State(), SeenState::Stale);
    EXPECT_EQ(State(""), SeenState::Stale);
    EXPECT_THAT(lines, ElementsAre("g/v sent message 3 where 2 was the next one; its birth is asked for"));
    EXPECT_THAT(Asked(), ElementsAre("spBv1.0/g/NCMD/v"));
    clock.Pass(1s);
    node.Receive("spBv1.0/g/NCMD/v", MakeRebirth({"g", "v", ""}, 0).payload);
    Arrive();
    EXPECT_EQ(State(), SeenState::Alive);
    EXPECT_EQ(Range(), 70.0);
    EXPECT_EQ(host.NextDue(), std::nullopt);
}

TEST_F(HostApplicationTest, EachMessageCanBeLost)
{
    // The birth of the node also when the session before was seen.
    for (int const lost : {0, 0, 1, 2, 3, 4, 5}) {
        node.Disconnected();
        Connect();
        Change(60);
        node.SetDevice("t", Tree(1));
        node.RemoveDevice("t");
        Change(61);
        Change(62);
        ASSERT_GT(line.messages.size(), static_cast<std::size_t>(lost));
        line.messages.erase(line.messages.begin() + lost);
        Arrive();
        clock.Pass(61s);
        host.Tick();
        EXPECT_NE(State(), SeenState::Alive) << lost;
        EXPECT_FALSE(Asked().empty()) << lost;
        node.Receive("spBv1.0/g/NCMD/v", MakeRebirth({"g", "v", ""}, 0).payload);
        Arrive();
        EXPECT_EQ(State(), SeenState::Alive) << lost;
        EXPECT_EQ(Range(), 62.0) << lost;
    }
}

TEST_F(HostApplicationTest, DataBeforeABirthIsNotAppliedAndAsksEverMoreSeldom)
{
    Connect();
    line.messages.clear();
    std::vector<std::int64_t> when;
    auto const begin = clock.now.steady;
    for (int i = 0; i < 3000; ++i) {
        Change(i);
        Arrive();
        if (!Asked().empty()) {
            when.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(clock.now.steady - begin).count());
        }
    }
    // At once, then after 1, 2, 4 ... 32 and then each 60 seconds.
    EXPECT_THAT(when, ElementsAre(100, 1100, 3100, 7100, 15100, 31100, 63100, 123100, 183100, 243100));
    EXPECT_EQ(host.Find({"g", "v", "s"}), nullptr);
    EXPECT_EQ(host.Counts().unborn, 3000U);
}

TEST_F(HostApplicationTest, ARequestForWhichThereIsNoRoomIsMadeLater)
{
    Connect();
    line.messages.clear();
    Change(1);
    hasRoom = false;
    Arrive();
    EXPECT_EQ(host.Counts().asked, 0U);
    hasRoom = true;
    ASSERT_TRUE(host.NextDue());
    EXPECT_EQ(*host.NextDue() - clock.now.steady, 1s);
    clock.Pass(1s);
    host.Tick();
    EXPECT_THAT(Asked(), ElementsAre("spBv1.0/g/NCMD/v"));
}

TEST_F(HostApplicationTest, TheWillOfThisConnectionIsADeathAndThatOfAnEarlierOneIsNot)
{
    Connect();
    Arrive();
    auto const first = will;
    node.Disconnected();
    Connect();
    Arrive();
    host.Receive(first.topic, first.payload);
    EXPECT_EQ(State(), SeenState::Alive);
    host.Receive(will.topic, will.payload);
    EXPECT_EQ(State(), SeenState::Dead);
    EXPECT_EQ(State(""), SeenState::Dead);
    EXPECT_EQ(Range(), 50.0) << "what was seen last is kept";
    Change(80);
    Arrive();
    EXPECT_EQ(Range(), 50.0);
    EXPECT_THAT(Asked(), ElementsAre("spBv1.0/g/NCMD/v"));
}

TEST_F(HostApplicationTest, SonarsComeAndGo)
{
    Connect();
    node.SetDevice("t", Tree(9));
    Arrive();
    node.RemoveDevice("s");
    Arrive();
    EXPECT_EQ(State("s"), SeenState::Dead);
    EXPECT_EQ(State("t"), SeenState::Alive);
    node.Disconnected();
    will = node.NextWill();
    node.Connected();
    Arrive();
    EXPECT_EQ(State("s"), SeenState::Dead);
    EXPECT_EQ(State("t"), SeenState::Alive);
}

TEST_F(HostApplicationTest, ANodesBirthMakesSonarsStaleUntilTheyAreBorn)
{
    Connect();
    Arrive();
    Send("spBv1.0/g/NBIRTH/v", 0, {});
    EXPECT_EQ(State(), SeenState::Stale);
    Metric change;
    change.alias = 2;
    change.type = DataType::Double;
    change.value = 1.0;
    Send("spBv1.0/g/DDATA/v/s", 1, {change});
    EXPECT_EQ(Range(), 50.0);
    EXPECT_THAT(Asked(), ElementsAre("spBv1.0/g/NCMD/v"));
}

TEST_F(HostApplicationTest, AnAliasThatNoBirthToldAsksForOne)
{
    Connect();
    Arrive();
    Metric unknown;
    unknown.alias = 99;
    unknown.type = DataType::Double;
    unknown.value = 1.0;
    Metric range;
    range.name = "x5Range";
    range.value = 5.0;
    Send("spBv1.0/g/DDATA/v/s", 2, {unknown, range});
    EXPECT_EQ(Range(), 5.0) << "what is known is applied, by its name and without a type, too";
    EXPECT_EQ(host.Counts().unknown, 1U);
    EXPECT_THAT(Asked(), ElementsAre("spBv1.0/g/NCMD/v"));
}

TEST_F(HostApplicationTest, AnAliasOfAnotherSonarIsUnknown)
{
    Connect();
    node.SetDevice("t", Tree(9));
    auto const births = line.messages;
    Arrive();
    Metric foreign;
    foreign.alias = TakeApart(births.at(2)).payload.metrics.at(0).alias;
    foreign.value = 1.0;
    Send("spBv1.0/g/DDATA/v/s", 3, {foreign});
    EXPECT_EQ(Range(), 50.0);
    EXPECT_EQ(host.Counts().unknown, 1U);
}

TEST_F(HostApplicationTest, ValuesOfThePastAreToldAndNotApplied)
{
    Connect();
    Arrive();
    Metric range;
    range.name = "x5Range";
    range.timestamp = clock.now.utc - 3'600'000;
    range.value = 5.0;
    range.isHistorical = true;
    Send("spBv1.0/g/DDATA/v/s", 2, {range});
    EXPECT_EQ(Range(), 50.0);
    EXPECT_THAT(told, ElementsAre("x5Range old"));
    EXPECT_EQ(host.Counts().fromPast, 0U);
    // One that claims to be new but is not is applied: order is that of the numbers. It is counted.
    range.isHistorical = false;
    Send("spBv1.0/g/DDATA/v/s", 3, {range});
    EXPECT_EQ(Range(), 5.0);
    EXPECT_EQ(host.Counts().fromPast, 1U);
    range.timestamp = clock.now.utc + 3'600'000;
    Send("spBv1.0/g/DDATA/v/s", 4, {range});
    EXPECT_EQ(host.Counts().fromFuture, 1U);
}

TEST_F(HostApplicationTest, AClockThatDiffersIsToldOnce)
{
    Connect();
    auto births = line.messages;
    line.messages.clear();
    clock.now.utc -= 7'200'000;
    for (auto const& message : births) {
        host.Receive(message.topic, message.payload);
    }
    EXPECT_EQ(State(), SeenState::Alive);
    EXPECT_THAT(lines, ElementsAre("the clock of g/v is 7200 s ahead of ours"));
    EXPECT_EQ(host.ClockAhead({"g", "v", ""}), 7'200'000ms);
    clock.now.utc += 2 * 7'200'000;
    Send("spBv1.0/g/NBIRTH/w", 0, {});
    host.Receive("spBv1.0/g/NBIRTH/w", births[0].payload);
    EXPECT_EQ(lines.back(), "the clock of g/w is 7200 s behind ours");
}

TEST_F(HostApplicationTest, AfterADisconnectionAllIsStaleUntilItIsBorn)
{
    Connect();
    Arrive();
    host.Disconnected();
    EXPECT_EQ(State(), SeenState::Stale);
    Change(60);
    Arrive();
    EXPECT_EQ(Range(), 50.0);
    EXPECT_THAT(Asked(), ElementsAre("spBv1.0/g/NCMD/v"));
}

TEST_F(HostApplicationTest, WhatIsNoGoodIsOneLineAndTouchesNobody)
{
    Connect();
    Arrive();
    host.Receive("nonsense", "");
    host.Receive("spBv1.0/g/DDATA/v/s", "no payload at all");
    host.Receive("spBv1.0/g/DDATA/v/s", std::string(100'000'000, 'x'));
    Send("spBv1.0/g/NBIRTH/w", std::nullopt, {});
    Send("spBv1.0/g/NBIRTH/w", 256, {});
    host.Receive("spBv1.0/g/NCMD/v", "to somebody else");
    host.Receive("spBv1.0/STATE/office", "OFFLINE");
    EXPECT_THAT(lines, ElementsAre("nonsense is no topic of Sparkplug B: it does not begin with spBv1.0",
                                   "spBv1.0/g/DDATA/v/s: 17 bytes are no Sparkplug payload",
                                   "spBv1.0/g/DDATA/v/s: a payload of 100000000 bytes is refused; it may have 4194304",
                                   "the birth of g/w has no number from 0 to 255",
                                   "the birth of g/w has no number from 0 to 255"));
    EXPECT_EQ(State(), SeenState::Alive);
    Change(60);
    Arrive();
    EXPECT_EQ(Range(), 60.0);
}

TEST_F(HostApplicationTest, ReadsMetricsOfOthers)
{
    Metric metric;
    metric.name = "Inputs[2]/Temp [%]";
    metric.type = DataType::Float;
    metric.value = 0.5F;
    Metric set;
    set.name = "table";
    set.type = DataType::DataSet;
    set.value = std::uint32_t{1};
    Send("spBv1.0/g/NBIRTH/plc", 17, {});
    Send("spBv1.0/g/DBIRTH/plc/d", 18, {metric, set});
    auto const* const seen = host.Find({"g", "plc", "d"});
    ASSERT_NE(seen, nullptr);
    EXPECT_EQ(vordal::TreeText(seen->tree), "Inputs[2]\n  Temp [%] = 0.5\ntable\n");
    EXPECT_EQ(host.Counts().unreadable, 1U);
}

TEST_F(HostApplicationTest, AnAliasGivenTwiceIsTold)
{
    Metric a;
    a.name = "a";
    a.alias = 1;
    Metric b;
    b.name = "b\n";
    b.alias = 1;
    Send("spBv1.0/g/NBIRTH/w", 0, {});
    Send("spBv1.0/g/DBIRTH/w/s", 1, {a, b});
    EXPECT_THAT(lines, ElementsAre("the birth of g/w/s gives the alias 1 to b?, which another metric has"));
}

TEST_F(HostApplicationTest, KeepsNoMoreThanItMay)
{
    HostOptions options;
    options.mostNodes = 2;
    options.mostDevices = 1;
    options.mostMetrics = 3;
    auto small = MakeHost(options);
    auto const send = [&](std::string const& topic, std::uint64_t seq, std::size_t metrics) {
        Payload payload;
        payload.seq = seq;
        for (std::size_t i = 0; i < metrics; ++i) {
            payload.metrics.emplace_back().name = "m" + std::to_string(i);
        }
        std::string error;
        small.Receive(topic, EncodePayload(payload, error).value());
    };
    send("spBv1.0/g/NBIRTH/a", 0, 1);
    send("spBv1.0/g/DBIRTH/a/s", 1, 2);
    send("spBv1.0/g/DBIRTH/a/t", 2, 0);
    send("spBv1.0/g/DBIRTH/a/s", 3, 3);
    send("spBv1.0/g/NBIRTH/b", 0, 0);
    send("spBv1.0/g/NBIRTH/c", 0, 0);
    EXPECT_THAT(lines, ElementsAre("g/a/t is left out: there are 1 sonars aboard already",
                                   "the birth of g/a/s is left out: with its 3 metrics there would be more than 3",
                                   "g/c is left out: there are 2 vessels already"));
    EXPECT_EQ(small.Names().size(), 3U);
}

} // namespace
} // namespace qx5::test
