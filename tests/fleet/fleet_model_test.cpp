// What is known of a fleet and how old it is, by an edge node on a line without a broker.
#include "fleet/fleet_model.h"

#include "authority/shore_facts.h"
#include "reference_host/attributes/tree_merge.h"
#include "sparkplug/edge_node.h"
#include "tests/sparkplug/sparkplug_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::fleet {
namespace {

using namespace std::chrono_literals;
using test::TestClock;
namespace keys = protocol::keys;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Place const vega{"Vega", {}};
Place const modelledSonar{"Vega", "Bow"};

CAttributeMap ModelledTree(double range)
{
    CAttributeMap tree;
    tree.Add(AttributeKey(keys::x5Range.text), CVordalDouble(range));
    auto* const branch = tree.Add(AttributeKey(L"settings"));
    branch->Add(AttributeKey(keys::x5Power.text), CVordalDouble(200));
    return tree;
}

double RangeOf(SonarState const& sonar)
{
    double range = 0.0;
    sonar.tree.FindValue(AttributeKey(keys::x5Range.text)).Get(range);
    return range;
}

/// A vessel and the model, joined. What either says reaches the other when Pump is called.
class FleetModelLine : public ::testing::Test
{
protected:
    FleetModelLine()
    {
        node.NextWill();
        node.SetNode(authority::TreeOf(authority::VesselTime{9, 1000.0}));
        node.SetDevice("Bow", ModelledTree(50));
        node.Connected();
        model.Connected();
    }
    void Pump()
    {
        for (auto const& message : std::exchange(toShore.messages, {})) {
            model.Receive(message.topic, message.payload);
        }
        for (auto const& message : std::exchange(toVessel.messages, {})) {
            node.Receive(message.topic, message.payload);
        }
        model.Tick();
    }
    /// A second passes, in which the vessel tells its time.
    void Second(bool isHeard = true)
    {
        clock.Pass(1s);
        node.SetNode(authority::TreeOf(authority::VesselTime{9, ++vesselTime}));
        node.Tick();
        if (!isHeard) {
            toShore.messages.clear();
        }
        Pump();
    }

    TestClock clock;
    test::Published toShore;
    test::Published toVessel;
    double vesselTime = 1000.0;
    sparkplug::EdgeNode node{{.group = "north", .node = "Vega", .primaryHost = {}},
                             {.publish = [this](auto const& message) { return toShore.Take(message); },
                              .command = {},
                              .startAgain = {},
                              .tell = {}},
                             clock.Read()};
    FleetModel model{{.group = "north", .host = {}, .sender = 4},
                     {.publish = [this](auto const& message) { return toVessel.Take(message); }, .tell = {}},
                     clock.Read()};
};

TEST_F(FleetModelLine, ShowsWhatVesselsAndSonarsTold)
{
    Pump();
    auto const vessels = model.Vessels();
    ASSERT_EQ(vessels.size(), 1U);
    EXPECT_EQ(vessels[0].name, "Vega");
    EXPECT_EQ(vessels[0].freshness, Freshness::Current);
    EXPECT_THAT(vessels[0].sonars, ElementsAre("Bow"));
    EXPECT_THAT(model.Vessel("Vega")->sonars, ElementsAre("Bow"));
    EXPECT_EQ(model.Sonars(), std::vector{modelledSonar});
    auto const sonar = model.Sonar(modelledSonar);
    ASSERT_TRUE(sonar);
    EXPECT_EQ(sonar->freshness, Freshness::Current);
    EXPECT_EQ(sonar->reason, "");
    EXPECT_EQ(sonar->age, 0.0);
    EXPECT_EQ(RangeOf(*sonar), 50);
    EXPECT_FALSE(model.Sonar({"Vega", "Stern"}));
    EXPECT_THAT(model.TakeChanged(), ElementsAre(vega, modelledSonar));
    EXPECT_THAT(model.TakeChanged(), IsEmpty());

    auto changed = ModelledTree(75);
    node.SetDevice("Bow", changed);
    Pump();
    EXPECT_EQ(RangeOf(*model.Sonar(modelledSonar)), 75);
    EXPECT_EQ(RangeOf(*sonar), 50) << "who has it keeps it";
    EXPECT_THAT(model.TakeChanged(), ElementsAre(modelledSonar));
}

TEST_F(FleetModelLine, SharesItsTreesWithWhoReadsThem)
{
    Pump();
    auto const one = model.Sonar(modelledSonar);
    auto const other = model.Sonar(modelledSonar);
    EXPECT_TRUE(vordal::ShareOneNode(one->tree, other->tree));
    node.SetDevice("Bow", ModelledTree(75));
    Pump();
    auto const later = model.Sonar(modelledSonar);
    EXPECT_FALSE(vordal::ShareOneNode(one->tree, later->tree));
    EXPECT_TRUE(
        vordal::ShareOneNode(one->tree.Find(AttributeKey(L"settings")), later->tree.Find(AttributeKey(L"settings"))))
        << "what has not changed";
}

TEST_F(FleetModelLine, IsNoOlderThanTheVesselsLastWord)
{
    Pump();
    for (int i = 0; i < 20; ++i) {
        Second();
    }
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Current) << "nothing of it has changed for 20 s";
    EXPECT_DOUBLE_EQ(*model.Sonar(modelledSonar)->age, 0.0);
    clock.Pass(400ms);
    EXPECT_NEAR(*model.Sonar(modelledSonar)->age, 0.4, 1e-9);
}

TEST_F(FleetModelLine, IsStaleWhenTheVesselIsSilent)
{
    Pump();
    model.TakeChanged();
    for (int i = 0; i < 5; ++i) {
        Second(false);
    }
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Current);
    clock.Pass(100ms);
    Pump();
    auto const sonar = model.Sonar(modelledSonar);
    EXPECT_EQ(sonar->freshness, Freshness::Stale);
    EXPECT_EQ(sonar->reason, "nothing is heard of Vega");
    EXPECT_NEAR(*sonar->age, 5.1, 1e-9);
    EXPECT_EQ(RangeOf(*sonar), 50) << "as it was";
    EXPECT_EQ(model.Vessel("Vega")->freshness, Freshness::Stale);
    EXPECT_THAT(model.TakeChanged(), ElementsAre(vega, modelledSonar)) << "told by time alone";
}

TEST_F(FleetModelLine, GoesOnWithTheBirthThatItAsksForWhereSomethingIsMissing)
{
    Pump();
    node.SetDevice("Bow", ModelledTree(60));
    toShore.messages.clear();
    clock.Pass(200ms);
    node.SetDevice("Bow", ModelledTree(70));
    for (auto const& message : std::exchange(toShore.messages, {})) {
        model.Receive(message.topic, message.payload);
    }
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Stale);
    EXPECT_EQ(model.Sonar(modelledSonar)->reason, "Vega is asked to tell everything anew");
    EXPECT_NEAR(*model.Sonar(modelledSonar)->age, 0.2, 1e-9);
    EXPECT_EQ(RangeOf(*model.Sonar(modelledSonar)), 50);
    Pump();
    clock.Pass(1s); // it tells all not more often
    node.Tick();
    Pump();
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Current);
    EXPECT_EQ(RangeOf(*model.Sonar(modelledSonar)), 70);
    EXPECT_EQ(*model.Sonar(modelledSonar)->age, 0.0);
}

TEST_F(FleetModelLine, IsNotStaleBetweenTheBirthsOfAVesselAndItsSonars)
{
    Pump();
    Second();
    clock.Pass(1s);
    model.TakeChanged();
    auto const ask = sparkplug::MakeRebirth({"north", "Vega", {}}, clock.now.utc);
    node.Receive(ask.topic, ask.payload);
    auto messages = std::exchange(toShore.messages, {});
    ASSERT_EQ(messages.size(), 2U);
    model.Receive(messages[0].topic, messages[0].payload);
    model.Tick();
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Current);
    // But if its own does not come, it is.
    clock.Pass(2s);
    model.Tick();
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Stale);
    EXPECT_NEAR(*model.Sonar(modelledSonar)->age, 3.0, 1e-9) << "since the vessel spoke before";
    model.Receive(messages[1].topic, messages[1].payload);
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Current);
}

TEST_F(FleetModelLine, KnowsWhoIsGone)
{
    Pump();
    node.RemoveDevice("Bow");
    Pump();
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Gone);
    EXPECT_EQ(model.Sonar(modelledSonar)->reason, "Bow is not aboard Vega any more");
    EXPECT_EQ(model.Vessel("Vega")->freshness, Freshness::Current);
    node.Die();
    Pump();
    EXPECT_EQ(model.Vessel("Vega")->freshness, Freshness::Gone);
    EXPECT_EQ(model.Sonar(modelledSonar)->reason, "Vega is not at the broker any more");
}

TEST_F(FleetModelLine, IsStaleWhileTheLineIsDown)
{
    Pump();
    model.Disconnected();
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Stale);
    EXPECT_EQ(model.Sonar(modelledSonar)->reason, "the line to the broker is down");
    model.Connected();
    Second();
    clock.Pass(1s);
    node.Tick();
    Pump();
    EXPECT_EQ(model.Sonar(modelledSonar)->freshness, Freshness::Current);
}

TEST_F(FleetModelLine, HasLeaseLinkAndClockAsTheVesselTellsThem)
{
    CAttributeMap reserved;
    authority::LeaseNews lease;
    lease.holder = "otto";
    lease.since = 1000.5;
    lease.until = 1060.5;
    lease.asker = "ada";
    lease.answerBy = 1030.0;
    authority::AddLease(reserved, lease);
    authority::AddLink(reserved, authority::SonarLink::Lost, "nobody listens");
    node.SetReserved("Bow", reserved);
    clock.Pass(1s); // what comes to a sonar is told by another birth, after a pause
    node.Tick();
    Pump();
    auto const sonar = model.Sonar(modelledSonar);
    ASSERT_TRUE(sonar);
    EXPECT_EQ(sonar->lease, lease);
    EXPECT_EQ(sonar->link, authority::SonarLink::Lost);
    EXPECT_EQ(sonar->linkReason, "nobody listens");
    EXPECT_EQ(model.Vessel("Vega")->clockAhead, 0.0);
}

TEST_F(FleetModelLine, StampsRequestsByTheVesselsTime)
{
    EXPECT_FALSE(model.Stamp("Vega", 10.0)) << "it has told none";
    Pump();
    clock.Pass(500ms);
    auto const stamp = model.Stamp("Vega", 10.0);
    ASSERT_TRUE(stamp);
    EXPECT_EQ(stamp->sender, 4U);
    EXPECT_EQ(stamp->number, 1U);
    EXPECT_EQ(stamp->sent.run, 9U);
    EXPECT_NEAR(stamp->sent.seconds, 1000.5, 1e-6);
    EXPECT_EQ(model.Stamp("Vega", 10.0)->number, 2U);
}

} // namespace
} // namespace qx5::fleet
