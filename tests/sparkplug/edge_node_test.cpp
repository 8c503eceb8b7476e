// The life of an edge node, message by message.
#include "sparkplug_line.h"

#include "sparkplug/host_state.h"

#include <reference_host/attributes/tree_merge.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

namespace qx5::test {
namespace {

using namespace sparkplug;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class EdgeNodeTest : public ::testing::Test
{
protected:
    EdgeNode MakeNode(std::string primaryHost = {})
    {
        EdgeNodeOptions options;
        options.group = "g";
        options.node = "v";
        options.primaryHost = std::move(primaryHost);
        return EdgeNode(options,
                        {[this](Message const& message) { return out.Take(message); },
                         [this](std::string_view device, std::vector<CommandedValue> const& values) {
                             for (auto const& value : values) {
                                 commands.push_back(std::string(device) + " " + value.name);
                                 commanded.push_back(value.value);
                             }
                         },
                         [this] { ++startedAgain; }, [this](std::string const& line) { lines.push_back(line); }},
                        clock.Read());
    }
    static CAttributeMap Tree(double range)
    {
        CAttributeMap tree;
        tree.Add(keys::x5Range.text, CVordalDouble(range));
        tree.Add(L"mode", CVordalInt(1));
        vordal::ForgetReferences(tree);
        return tree;
    }
    /// Has it born with one sonar; that has been heard.
    void Bear(EdgeNode& node)
    {
        node.NextWill();
        node.Connected();
        node.SetDevice("s", Tree(50));
        out.messages.clear();
    }
    static std::string Encoded(std::vector<Metric> metrics)
    {
        Payload payload;
        payload.metrics = std::move(metrics);
        std::string error;
        return EncodePayload(payload, error).value();
    }
    static std::string Rebirth() { return MakeRebirth({"g", "v", {}}, 0).payload; }

    TestClock clock;
    Published out;
    std::vector<std::string> lines;
    std::vector<std::string> commands;
    std::vector<protocol::Value> commanded;
    int startedAgain = 0;
};

TEST_F(EdgeNodeTest, IsBornWithItsSonars)
{
    auto node = MakeNode();
    auto const will = TakeApart(node.NextWill());
    EXPECT_EQ(will.topic, "spBv1.0/g/NDEATH/v");
    EXPECT_EQ(will.qos, 1);
    EXPECT_FALSE(will.isRetained);
    EXPECT_EQ(will.payload.seq, std::nullopt);
    ASSERT_EQ(will.payload.metrics.size(), 1U);
    EXPECT_EQ(will.payload.metrics[0].name, "bdSeq");
    EXPECT_EQ(will.payload.metrics[0].type, DataType::Int64);
    EXPECT_EQ(will.payload.metrics[0].value, WireValue(std::uint64_t{0}));

    CAttributeMap about;
    about.Add(L"program", CVordalText(L"qx5 0.1"));
    node.SetNode(about);
    node.SetDevice("s", Tree(50));
    EXPECT_THAT(out.Topics(), IsEmpty()) << "it is not connected";
    node.Connected();
    EXPECT_TRUE(node.IsBorn());
    auto const told = out.All();
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].topic, "spBv1.0/g/NBIRTH/v");
    EXPECT_EQ(told[0].qos, 0);
    EXPECT_FALSE(told[0].isRetained);
    EXPECT_EQ(told[0].payload.seq, 0U);
    EXPECT_EQ(told[0].payload.timestamp, clock.now.utc);
    ASSERT_NE(FindMetric(told[0].payload, "bdSeq"), nullptr);
    EXPECT_EQ(FindMetric(told[0].payload, "bdSeq")->value, WireValue(std::uint64_t{0}));
    auto const* const rebirth = FindMetric(told[0].payload, "Node Control/Rebirth");
    ASSERT_NE(rebirth, nullptr);
    EXPECT_EQ(rebirth->value, WireValue(false));
    EXPECT_EQ(rebirth->alias, std::nullopt) << "it goes by its name alone";
    EXPECT_EQ(FindMetric(told[0].payload, "program")->value, WireValue(std::string("qx5 0.1")));

    EXPECT_EQ(told[1].topic, "spBv1.0/g/DBIRTH/v/s");
    EXPECT_EQ(told[1].payload.seq, 1U);
    ASSERT_EQ(told[1].payload.metrics.size(), 2U);
    auto const& range = told[1].payload.metrics[0];
    EXPECT_EQ(range.name, "x5Range");
    EXPECT_EQ(range.type, DataType::Double);
    EXPECT_EQ(range.value, WireValue(50.0));
    EXPECT_EQ(range.timestamp, clock.now.utc);
    EXPECT_THAT(range.properties, ElementsAre(Property{"engUnit", DataType::String, std::string("m")}));
    EXPECT_THAT(told[1].payload.metrics[1].properties, IsEmpty());

    std::set<std::uint64_t> aliases;
    for (auto const& message : told) {
        for (auto const& metric : message.payload.metrics) {
            if (metric.alias) {
                EXPECT_TRUE(aliases.insert(*metric.alias).second) << metric.name;
            }
        }
    }
    EXPECT_EQ(aliases.size(), 3U);
}

TEST_F(EdgeNodeTest, TellsLimitsWhereTheyAreKnown)
{
    EdgeNodeOptions options;
    options.group = "g";
    options.node = "v";
    options.facts = [](std::wstring_view key) {
        return key == L"mode" ? MetricFacts{"", 0.0, 3.0} : MetricFacts{"kn", {}, 20.0};
    };
    EdgeNode node(options, {[this](Message const& message) { return out.Take(message); }, {}, {}, {}}, clock.Read());
    node.NextWill();
    node.Connected();
    node.SetDevice("s", Tree(50));
    auto const told = out.All();
    EXPECT_THAT(told.at(1).payload.metrics.at(0).properties,
                ElementsAre(Property{"engUnit", DataType::String, std::string("kn")},
                            Property{"engHigh", DataType::Double, 20.0}));
    EXPECT_THAT(told.at(1).payload.metrics.at(1).properties,
                ElementsAre(Property{"engLow", DataType::Double, 0.0}, Property{"engHigh", DataType::Double, 3.0}));
}

TEST_F(EdgeNodeTest, AChangeLeavesAtOnceByItsAlias)
{
    auto node = MakeNode();
    Bear(node);
    clock.Pass(3ms);
    node.SetDevice("s", Tree(75));
    auto const told = out.All();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].topic, "spBv1.0/g/DDATA/v/s");
    EXPECT_EQ(told[0].payload.seq, 2U);
    ASSERT_EQ(told[0].payload.metrics.size(), 1U);
    auto const& metric = told[0].payload.metrics[0];
    EXPECT_EQ(metric.name, "");
    EXPECT_TRUE(metric.alias);
    EXPECT_EQ(metric.value, WireValue(75.0));
    EXPECT_EQ(metric.timestamp, clock.now.utc);
    EXPECT_THAT(metric.properties, IsEmpty());
    node.SetDevice("s", Tree(75));
    EXPECT_THAT(out.Topics(), IsEmpty());
    EXPECT_EQ(node.NextDue(), std::nullopt);
}

TEST_F(EdgeNodeTest, AKeyThatChangesOftenIsToldEvery100msWithItsNewestValue)
{
    auto node = MakeNode();
    Bear(node);
    node.SetDevice("s", Tree(1)); // at once
    std::vector<double> seen;
    std::vector<std::chrono::milliseconds> when;
    auto const begin = clock.now.steady;
    for (int i = 2; i <= 50; ++i) {
        clock.Pass(7ms);
        node.SetDevice("s", Tree(i));
        node.Tick();
        for (auto const& told : out.All()) {
            seen.push_back(std::get<double>(told.payload.metrics.at(0).value));
            when.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(clock.now.steady - begin));
        }
    }
    // Born at 0 ms with 1; the changes come every 7 ms: 105 is the first that is not before 100, 210 not before 205.
    EXPECT_THAT(seen, ElementsAre(1.0, 16.0, 31.0, 46.0));
    EXPECT_THAT(when, ElementsAre(7ms, 105ms, 210ms, 315ms));
    ASSERT_TRUE(node.NextDue());
    EXPECT_EQ(*node.NextDue() - begin, 415ms);
    clock.Pass(100ms);
    node.Tick();
    EXPECT_EQ(out.All().at(0).payload.metrics.at(0).value, WireValue(50.0));
    EXPECT_EQ(node.NextDue(), std::nullopt);
}

TEST_F(EdgeNodeTest, FlagsThatChangeAreTold)
{
    auto node = MakeNode();
    Bear(node);
    auto tree = Tree(50);
    tree.GetAttrMap(L"mode")->SetFlags(3);
    node.SetDevice("s", tree);
    EXPECT_THAT(out.All().at(0).payload.metrics.at(0).properties,
                ElementsAre(Property{"flags", DataType::UInt32, std::uint64_t{3}}));
    clock.Pass(1s);
    node.SetDevice("s", Tree(50));
    EXPECT_THAT(out.All().at(0).payload.metrics.at(0).properties,
                ElementsAre(Property{"flags", DataType::UInt32, std::uint64_t{0}}));
}

TEST_F(EdgeNodeTest, AnAttributeThatComesTakesABirth)
{
    auto node = MakeNode();
    Bear(node);
    clock.Pass(1s);
    auto tree = Tree(50);
    tree.Add(L"new", CVordalBool(true));
    node.SetDevice("s", tree);
    EXPECT_THAT(out.Topics(), ElementsAre("spBv1.0/g/DBIRTH/v/s 2"));
    clock.Pass(10ms);
    node.SetDevice("s", Tree(60));
    EXPECT_THAT(out.Topics(), IsEmpty()) << "births take turns";
    ASSERT_TRUE(node.NextDue());
    EXPECT_EQ(*node.NextDue() - clock.now.steady, 90ms + 300us);
    clock.Pass(91ms);
    node.Tick();
    auto const told = out.All();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].payload.metrics.at(0).value, WireValue(60.0));
}

TEST_F(EdgeNodeTest, AValueOfAnotherKindTakesABirthAndNoneDoesNot)
{
    auto node = MakeNode();
    Bear(node);
    clock.Pass(1s);
    CAttributeMap tree = Tree(50);
    tree.GetAttrMap(L"mode")->ReplaceValue(nullptr);
    node.SetDevice("s", tree);
    auto told = out.All();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].topic, "spBv1.0/g/DDATA/v/s");
    EXPECT_EQ(told[0].payload.metrics.at(0).value, WireValue(std::monostate()));
    EXPECT_EQ(told[0].payload.metrics.at(0).type, DataType::Int32);
    clock.Pass(1s);
    node.SetDevice("s", Tree(50));
    EXPECT_THAT(out.Topics(), ElementsAre(StartsWith("spBv1.0/g/DDATA/v/s")));
    clock.Pass(1s);
    tree.GetAttrMap(L"mode")->SetValue(CVordalText(L"auto"));
    node.SetDevice("s", tree);
    EXPECT_THAT(out.Topics(), ElementsAre(StartsWith("spBv1.0/g/DBIRTH/v/s")));
}

TEST_F(EdgeNodeTest, NumbersGoAround)
{
    auto node = MakeNode();
    Bear(node);
    std::vector<std::uint64_t> numbers;
    for (int i = 0; i < 300; ++i) {
        clock.Pass(100ms);
        node.SetDevice("s", Tree(100 + i));
        numbers.push_back(out.All().at(0).payload.seq.value());
    }
    EXPECT_EQ(numbers[0], 2U);
    EXPECT_EQ(numbers[253], 255U);
    EXPECT_EQ(numbers[254], 0U);
    EXPECT_EQ(numbers[299], 45U);
}

TEST_F(EdgeNodeTest, SonarsComeAndGo)
{
    auto node = MakeNode();
    Bear(node);
    node.SetDevice("t", Tree(1));
    node.RemoveDevice("s");
    node.RemoveDevice("nobody");
    auto const told = out.All();
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].topic, "spBv1.0/g/DBIRTH/v/t");
    EXPECT_EQ(told[1].topic, "spBv1.0/g/DDEATH/v/s");
    EXPECT_EQ(told[1].payload.seq, 3U);
    EXPECT_THAT(told[1].payload.metrics, IsEmpty());
    EXPECT_THROW(node.SetDevice("a/b", Tree(1)), std::invalid_argument);
}

TEST_F(EdgeNodeTest, WhatIsToldBesideAttributesKeepsItsName)
{
    auto node = MakeNode();
    Bear(node);
    clock.Pass(1s);
    CAttributeMap lease;
    lease.FindCreate(L"Lease").Add(L"Holder", CVordalText(L"aboard"));
    node.SetReserved("s", lease);
    auto told = out.All();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].topic, "spBv1.0/g/DBIRTH/v/s");
    EXPECT_EQ(told[0].payload.metrics.size(), 3U);
    ASSERT_NE(FindMetric(told[0].payload, "Lease/Holder"), nullptr);
    lease.FindCreate(L"Lease").FindCreate(L"Holder").SetValue(CVordalText(L"ashore"));
    node.SetReserved("s", lease);
    told = out.All();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].topic, "spBv1.0/g/DDATA/v/s");
    EXPECT_EQ(told[0].payload.metrics.at(0).value, WireValue(std::string("ashore")));

    clock.Pass(1s);
    node.TellReservedAgain("s");
    told = out.All();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].topic, "spBv1.0/g/DDATA/v/s");
    ASSERT_EQ(told[0].payload.metrics.size(), 1U) << "attributes are not told again";
    EXPECT_EQ(told[0].payload.metrics.at(0).value, WireValue(std::string("ashore")));
    node.TellReservedAgain("nobody");
    EXPECT_THAT(out.Topics(), IsEmpty());
}

TEST_F(EdgeNodeTest, IsBornAgainWhenAsked)
{
    auto node = MakeNode();
    Bear(node);
    clock.Pass(2s);
    node.Receive("spBv1.0/g/NCMD/v", Rebirth());
    EXPECT_THAT(out.Topics(), ElementsAre("spBv1.0/g/NBIRTH/v 0", "spBv1.0/g/DBIRTH/v/s 1"));
    for (int i = 0; i < 1000; ++i) {
        node.Receive("spBv1.0/g/NCMD/v", Rebirth());
    }
    EXPECT_THAT(out.Topics(), IsEmpty());
    ASSERT_TRUE(node.NextDue());
    EXPECT_EQ(*node.NextDue() - clock.now.steady, 1s);
    clock.Pass(1s);
    node.Tick();
    EXPECT_THAT(out.Topics(), ElementsAre("spBv1.0/g/NBIRTH/v 0", "spBv1.0/g/DBIRTH/v/s 1"));
    EXPECT_EQ(node.NextDue(), std::nullopt);
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(commands, IsEmpty());
}

TEST_F(EdgeNodeTest, ARebirthKeepsAliasesAndTheNumberOfTheConnection)
{
    auto node = MakeNode();
    node.NextWill();
    node.NextWill();
    node.Connected();
    node.SetDevice("s", Tree(50));
    auto const first = out.All();
    clock.Pass(2s);
    node.Receive("spBv1.0/g/NCMD/v", Rebirth());
    auto const second = out.All();
    ASSERT_EQ(second.size(), 2U);
    EXPECT_EQ(second[1].payload.metrics[0].alias, first[1].payload.metrics[0].alias);
    EXPECT_EQ(FindMetric(second[0].payload, "bdSeq")->value, WireValue(std::uint64_t{1}));
}

TEST_F(EdgeNodeTest, EachConnectionHasItsNumber)
{
    auto node = MakeNode();
    for (std::uint64_t i = 0; i < 300; ++i) {
        EXPECT_EQ(TakeApart(node.NextWill()).payload.metrics.at(0).value, WireValue(i % 256));
        if (i % 3 == 0) {
            node.Connected();
            EXPECT_EQ(FindMetric(out.All().at(0).payload, "bdSeq")->value, WireValue(i % 256));
            node.Disconnected();
            EXPECT_FALSE(node.IsBorn());
        }
    }
}

TEST_F(EdgeNodeTest, DiesInOrder)
{
    auto node = MakeNode();
    Bear(node);
    node.Die();
    auto const told = out.All();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].topic, "spBv1.0/g/NDEATH/v");
    EXPECT_EQ(told[0].payload.seq, std::nullopt);
    EXPECT_EQ(told[0].payload.metrics.at(0).value, WireValue(std::uint64_t{0}));
    node.SetDevice("s", Tree(1));
    node.Tick();
    EXPECT_THAT(out.Topics(), IsEmpty());
}

TEST_F(EdgeNodeTest, WhatTheLineDoesNotTakeWaitsAndUsesNoNumber)
{
    auto node = MakeNode();
    Bear(node);
    out.hasRoom = false;
    node.SetDevice("s", Tree(60));
    node.SetDevice("s", Tree(70));
    EXPECT_EQ(node.Counts().refused, 1U) << "the line is not asked again at once";
    ASSERT_TRUE(node.NextDue());
    EXPECT_EQ(*node.NextDue() - clock.now.steady, 100ms);
    out.hasRoom = true;
    clock.Pass(100ms);
    node.Tick();
    auto const told = out.All();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].payload.seq, 2U);
    EXPECT_EQ(told[0].payload.metrics.at(0).value, WireValue(70.0));
}

TEST_F(EdgeNodeTest, ABirthThatTheLineDoesNotTakeIsToldLater)
{
    auto node = MakeNode();
    node.NextWill();
    out.hasRoom = false;
    node.SetDevice("s", Tree(60));
    node.Connected();
    EXPECT_FALSE(node.IsBorn());
    clock.Pass(100ms);
    out.hasRoom = true;
    node.Tick();
    EXPECT_THAT(out.Topics(), ElementsAre("spBv1.0/g/NBIRTH/v 0", "spBv1.0/g/DBIRTH/v/s 1"));
}

TEST_F(EdgeNodeTest, ManyChangesAreSeveralMessages)
{
    auto node = MakeNode();
    node.NextWill();
    node.Connected();
    CAttributeMap tree;
    for (int i = 0; i < 40; ++i) {
        tree.Add(L"k" + std::to_wstring(i), CVordalText(L""));
    }
    node.SetDevice("s", tree);
    out.messages.clear();
    for (int i = 0; i < 40; ++i) {
        tree.GetAttrMap(L"k" + std::to_wstring(i))->SetValue(CVordalText(std::wstring(50'000, L'x')));
    }
    node.SetDevice("s", tree);
    std::size_t metrics = 0;
    for (auto const& message : out.messages) {
        EXPECT_LT(message.payload.size(), 310'000U);
    }
    for (auto const& told : out.All()) {
        metrics += told.payload.metrics.size();
    }
    EXPECT_EQ(metrics, 40U);
}

TEST_F(EdgeNodeTest, IsToldWhatToDo)
{
    auto node = MakeNode();
    Bear(node);
    std::string error;
    auto const message =
        MakeCommand({"g", "v", "s"}, {{"x5Range", 75.0}, {"a/b", std::pair(1.0, 2.0)}, {"Lease/Take", true}}, 5, error);
    ASSERT_TRUE(message) << error;
    EXPECT_EQ(message->topic, "spBv1.0/g/DCMD/v/s");
    node.Receive(message->topic, message->payload);
    EXPECT_THAT(commands, ElementsAre("s x5Range", "s a/b", "s Lease/Take"));
    EXPECT_EQ(commanded, (std::vector<protocol::Value>{75.0, std::pair(1.0, 2.0), true}));
}

TEST_F(EdgeNodeTest, IsToldByAliasAndWithoutATypeToo)
{
    auto node = MakeNode();
    node.NextWill();
    node.Connected();
    CAttributeMap tree;
    tree.Add(L"pair", CVordalDouble2D(1, 2));
    node.SetDevice("s", tree);
    Metric metric;
    metric.alias = out.All().at(1).payload.metrics.at(0).alias;
    metric.value = std::vector<unsigned char>(16, 0);
    node.Receive("spBv1.0/g/DCMD/v/s", Encoded({metric}));
    EXPECT_THAT(commands, ElementsAre("s pair"));
    EXPECT_EQ(commanded, (std::vector<protocol::Value>{std::pair(0.0, 0.0)}));
}

TEST_F(EdgeNodeTest, WhatIsNoGoodIsOneLine)
{
    auto node = MakeNode();
    Bear(node);
    Metric nameless;
    Metric unknown;
    unknown.alias = 99;
    Metric wrong;
    wrong.name = "x5Range";
    wrong.type = DataType::DataSet;
    wrong.value = std::uint32_t{1};
    node.Receive("spBv1.0/g/DCMD/v/s", Encoded({nameless, unknown, wrong}));
    node.Receive("spBv1.0/g/DCMD/v/t", Encoded({wrong}));
    node.Receive("spBv1.0/g/NCMD/v", "no payload");
    node.Receive("spBv1.0/g/NCMD/w", Rebirth());
    node.Receive("spBv1.0/g/NDATA/v", "");
    node.Receive("elsewhere", "");
    EXPECT_THAT(lines,
                ElementsAre("spBv1.0/g/DCMD/v/s has a metric without a name",
                            "spBv1.0/g/DCMD/v/s names a metric by the alias 99, which none has",
                            "spBv1.0/g/DCMD/v/s has a value of x5Range that no attribute can have",
                            "spBv1.0/g/DCMD/v/t is for a sonar that is not aboard",
                            "spBv1.0/g/NCMD/v: 10 bytes are no Sparkplug payload",
                            "spBv1.0/g/NCMD/w is nothing that v takes", "spBv1.0/g/NDATA/v is nothing that v takes",
                            "elsewhere is no topic of Sparkplug B: it does not begin with spBv1.0"));
    EXPECT_EQ(node.Counts().complaints, 8U);
    EXPECT_THAT(commands, IsEmpty());
    EXPECT_THAT(out.Topics(), IsEmpty());
}

TEST_F(EdgeNodeTest, WaitsForItsPrimaryHost)
{
    auto node = MakeNode("office");
    EXPECT_THAT(node.Filters(), ElementsAre("spBv1.0/g/NCMD/v", "spBv1.0/g/DCMD/v/+", "spBv1.0/STATE/office"));
    node.SetDevice("s", Tree(50));
    node.NextWill();
    node.Connected();
    EXPECT_THAT(out.Topics(), IsEmpty());
    auto const say = [&](bool isOnline, std::uint64_t when) {
        auto const state = MakeHostState("office", {isOnline, when});
        node.Receive(state.topic, state.payload);
    };
    say(true, 1000);
    EXPECT_THAT(out.Topics(), ElementsAre("spBv1.0/g/NBIRTH/v 0", "spBv1.0/g/DBIRTH/v/s 1"));
    say(false, 900);
    EXPECT_TRUE(node.IsBorn()) << "a will of an earlier connection";
    say(false, 1000);
    EXPECT_THAT(out.Topics(), ElementsAre("spBv1.0/g/NDEATH/v"));
    EXPECT_EQ(startedAgain, 1);
    EXPECT_FALSE(node.IsBorn());
    node.Disconnected();
    node.NextWill();
    say(true, 1200); // retained, it may come first
    EXPECT_THAT(out.Topics(), IsEmpty());
    node.Connected();
    EXPECT_THAT(out.Topics(), ElementsAre("spBv1.0/g/NBIRTH/v 0", "spBv1.0/g/DBIRTH/v/s 1"));
    node.Receive("spBv1.0/STATE/office", "OFFLINE");
    node.Receive("spBv1.0/STATE/another", R"({"online":false,"timestamp":9999})");
    EXPECT_TRUE(node.IsBorn());
    EXPECT_THAT(lines, ElementsAre(StartsWith("the state of a host is none: ")));
}

TEST(HostState, IsWrittenAndRead)
{
    auto const message = MakeHostState("office", {true, 1'700'000'000'123});
    EXPECT_EQ(message.topic, "spBv1.0/STATE/office");
    EXPECT_EQ(message.payload, R"({"online":true,"timestamp":1700000000123})");
    EXPECT_EQ(message.qos, 1);
    EXPECT_TRUE(message.isRetained);
    std::string error;
    EXPECT_EQ(ReadHostState(message.payload, error), (HostState{true, 1'700'000'000'123}));
    EXPECT_EQ(ReadHostState(R"({"timestamp": 5, "online": false, "more": []})", error), (HostState{false, 5}));
    for (std::string const& bad : {std::string(), std::string("{}"), std::string(R"({"online":1,"timestamp":1})"),
                                   std::string(R"({"online":true,"timestamp":-1})"),
                                   std::string(R"({"online":true,"timestamp":1.5})"), std::string(5000, '[')}) {
        error.clear();
        EXPECT_EQ(ReadHostState(bad, error), std::nullopt) << bad;
        EXPECT_FALSE(error.empty());
    }
}

TEST(EdgeNodeNames, ThatAreNoneAreRefused)
{
    EdgeNodeOptions options;
    options.group = "g";
    options.node = "a+b";
    try {
        EdgeNode const node(options, {});
        ADD_FAILURE() << "it was taken";
    } catch (std::invalid_argument const& problem) {
        EXPECT_STREQ(problem.what(), "the name of the vessel, a+b, has a + in it, which topics keep for themselves");
    }
}

} // namespace
} // namespace qx5::test
