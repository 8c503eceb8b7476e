// A fleet at a real broker, with TLS and certificates on both sides: seen, asked, commanded, lost and back.
#include "fleet/fleet.h"
#include "small_vessel.h"

#include "test_broker.h"
#include "tests/support/temporary_folder.h"

#include <protocol/records/all.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

namespace qx5::fleet {
namespace {

using namespace std::chrono_literals;
namespace keys = protocol::keys;
using test::SmallVessel;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

Place const bow{"vessel", "Bow"};

CAttributeMap Tree(double range)
{
    CAttributeMap tree;
    tree.Add(AttributeKey(keys::x5Range.text), CVordalDouble(range));
    tree.Add(AttributeKey(keys::x5Power.text), CVordalDouble(200));
    return tree;
}

double NumberOf(CAttributeMap const& tree, protocol::Key const& key)
{
    double number = -1.0;
    tree.FindValue(AttributeKey(key.text)).Get(number);
    return number;
}

broker::ConnectionOptions LineOf(test::TestBroker& server, std::string const& who)
{
    broker::ConnectionOptions options;
    options.address = server.Secure();
    options.files = server.Files(who);
    options.leastPause = 20ms;
    options.greatestPause = 200ms;
    return options;
}

/// Somebody ashore, and what he was told.
class Shore
{
public:
    Shore(test::TestBroker& server, std::string const& person, FleetOptions options = {})
        : fleet(Complete(server, person, std::move(options)), Hooks())
    {
        fleet.Start();
    }

    /// Waits until the condition holds, looking again at each thing that is told.
    template <typename Condition>
    bool Wait(Condition const& condition)
    {
        auto const end = std::chrono::steady_clock::now() + test::generousLimit;
        std::unique_lock lock(m_mutex);
        for (;;) {
            auto const seen = m_told;
            lock.unlock();
            if (condition()) {
                return true;
            }
            lock.lock();
            // What comes by time alone is not told.
            m_wake.wait_for(lock, 50ms, [&] { return m_told != seen; });
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
        }
    }
    bool Sees(Place const& sonar, double range)
    {
        return Wait([&] {
            auto const state = fleet.Sonar(sonar);
            return state && state->freshness == Freshness::Current && NumberOf(state->tree, keys::x5Range) == range;
        });
    }
    authority::RequestReply Request(Place const& sonar, CAttributeMap const& request, double limit = 30.0)
    {
        std::optional<authority::RequestReply> told;
        std::mutex mutex;
        fleet.Request(sonar, request, limit, [&](authority::RequestReply const& reply) {
            {
                std::lock_guard const lock(mutex);
                EXPECT_FALSE(told) << "once";
                told = reply;
            }
            Note();
        });
        EXPECT_TRUE(Wait([&] {
            std::lock_guard const lock(mutex);
            return told.has_value();
        }));
        return told.value_or(authority::RequestReply{});
    }
    void AskLease(Place const& sonar, LeaseAsk const& ask)
    {
        fleet.AskLease(sonar, ask, 30.0, [this](authority::LeaseReply const& reply) {
            {
                std::lock_guard const lock(m_mutex);
                m_leases.push_back(std::string(ToText(reply.answer)));
            }
            Note();
        });
    }
    std::vector<std::string> Leases()
    {
        std::lock_guard const lock(m_mutex);
        return m_leases;
    }
    std::string HolderOf(Place const& sonar)
    {
        auto const state = fleet.Sonar(sonar);
        return state ? state->lease.holder : std::string("unknown");
    }

private:
    static FleetOptions Complete(test::TestBroker& server, std::string const& person, FleetOptions options)
    {
        options.line = LineOf(server, person);
        options.group = "north";
        options.person = person;
        return options;
    }
    FleetHooks Hooks()
    {
        FleetHooks hooks;
        hooks.line = [this](auto const&) { Note(); };
        hooks.changed = [this](auto const&) { Note(); };
        hooks.persons = [this] { Note(); };
        hooks.detections = [this](Place const&, authority::DetectionsMessage const& message) {
            {
                std::lock_guard const lock(m_mutex);
                detections.push_back(message);
            }
            Note();
        };
        hooks.history = [this](std::vector<outbox::Received> const& items) {
            {
                std::lock_guard const lock(m_mutex);
                for (auto const& each : items) {
                    history.push_back(each.item.number);
                }
            }
            Note();
        };
        return hooks;
    }
    void Note()
    {
        {
            std::lock_guard const lock(m_mutex);
            ++m_told;
        }
        m_wake.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::uint64_t m_told = 0;
    std::vector<std::string> m_leases;

public:
    std::vector<authority::DetectionsMessage> detections; ///< once something has been waited for
    std::vector<std::uint64_t> history;
    Fleet fleet; // the last: its hooks use all the others
};

class FleetAtBroker : public ::testing::Test
{
protected:
    FleetAtBroker() { vessel.SetSonar("Bow", Tree(50)); }

    test::TestBroker server;
    SmallVessel vessel{LineOf(server, "vessel"), "north", "vessel"};
};

TEST_F(FleetAtBroker, SeesVesselsAndSonarsAndWhatChanges)
{
    Shore shore(server, "watcher");
    ASSERT_TRUE(shore.Sees(bow, 50)) << server.Log();
    vessel.SetSonar("Bow", Tree(75));
    EXPECT_TRUE(shore.Sees(bow, 75));
    vessel.SetLink("Bow", authority::SonarLink::NoAnswer, "it says nothing");
    EXPECT_TRUE(shore.Wait([&] { return shore.fleet.Sonar(bow)->link == authority::SonarLink::NoAnswer; }));
    vessel.SetSonar("Stern", Tree(20));
    EXPECT_TRUE(shore.Sees({"vessel", "Stern"}, 20));
    vessel.RemoveSonar("Stern");
    EXPECT_TRUE(shore.Wait([&] { return shore.fleet.Sonar({"vessel", "Stern"})->freshness == Freshness::Gone; }));
    EXPECT_EQ(shore.fleet.Vessels().size(), 1U);
}

TEST_F(FleetAtBroker, SeesOneVesselAloneWhereThatIsAskedFor)
{
    SmallVessel other(LineOf(server, "operator"), "north", "other");
    other.SetSonar("Bow", Tree(30));
    Shore all(server, "watcher");
    ASSERT_TRUE(all.Sees(bow, 50));
    ASSERT_TRUE(all.Sees({"other", "Bow"}, 30));
    FleetOptions options;
    options.vessel = "other";
    Shore one(server, "watcher", options);
    ASSERT_TRUE(one.Sees({"other", "Bow"}, 30));
    other.SetSonar("Bow", Tree(31));
    ASSERT_TRUE(one.Sees({"other", "Bow"}, 31));
    EXPECT_THAT(one.fleet.Sonars(), ElementsAre(Place{"other", "Bow"}));
}

TEST_F(FleetAtBroker, HasARequestDoneOnceThoughItsResultIsLost)
{
    Shore shore(server, "operator");
    ASSERT_TRUE(shore.Sees(bow, 50));
    shore.AskLease(bow, {authority::LeaseVerb::Take, 60.0, {}});
    ASSERT_TRUE(shore.Wait([&] { return shore.HolderOf(bow) == "operator"; }));
    vessel.LoseResults(1);
    CAttributeMap request;
    request.Add(AttributeKey(keys::x5Range.text), CVordalDouble(80));
    auto const reply = shore.Request(bow, request);
    EXPECT_EQ(reply.outcome, "agrees");
    EXPECT_EQ(NumberOf(reply.has, keys::x5Range), 80);
    EXPECT_EQ(vessel.Done(), 1);
    EXPECT_EQ(vessel.Arrived(), 2) << "the same again";
    EXPECT_TRUE(shore.Sees(bow, 80));
}

TEST_F(FleetAtBroker, IsRefusedWithTheHoldersNameWithoutTheLease)
{
    Shore shore(server, "operator");
    Shore other(server, "watcher");
    ASSERT_TRUE(shore.Sees(bow, 50));
    ASSERT_TRUE(other.Sees(bow, 50));
    shore.AskLease(bow, {authority::LeaseVerb::Take, 60.0, {}});
    ASSERT_TRUE(other.Wait([&] { return other.HolderOf(bow) == "operator"; }));
    auto const reply = other.Request(bow, Tree(10));
    EXPECT_EQ(reply.outcome, "refused");
    EXPECT_THAT(reply.reason, HasSubstr("operator"));
    EXPECT_EQ(vessel.Done(), 0);

    other.AskLease(bow, {authority::LeaseVerb::Take, 60.0, {}});
    ASSERT_TRUE(shore.Wait([&] { return shore.fleet.Sonar(bow)->lease.asker == "watcher"; }));
    EXPECT_TRUE(other.Wait([&] { return other.Leases().size() == 1; }));
    shore.AskLease(bow, {authority::LeaseVerb::Grant, 0.0, "watcher"});
    ASSERT_TRUE(other.Wait([&] { return other.Leases().size() == 2; }));
    EXPECT_THAT(other.Leases(), ElementsAre("waits", "granted"));
    EXPECT_TRUE(other.Wait([&] { return other.HolderOf(bow) == "watcher"; }));
    EXPECT_EQ(other.Request(bow, Tree(10)).outcome, "agrees");
    shore.AskLease(bow, {authority::LeaseVerb::GiveBack, 0.0, {}});
    ASSERT_TRUE(shore.Wait([&] { return shore.Leases().size() == 3; }));
    EXPECT_THAT(shore.Leases(), ElementsAre("granted", "granted", "refused")) << "it is not his any more";
    vessel.TakeAboard("Bow");
    EXPECT_TRUE(other.Wait([&] { return other.HolderOf(bow) == "aboard"; }));
}

TEST_F(FleetAtBroker, MeasuresRoundTripsAndHearsDetectionsWhileItLooks)
{
    FleetOptions options;
    options.wantsDetections = true;
    Shore shore(server, "watcher", options);
    ASSERT_TRUE(shore.Sees(bow, 50));
    EXPECT_FALSE(shore.fleet.LookOf(bow));
    shore.fleet.Look(bow, true);
    ASSERT_TRUE(shore.Wait([&] { return shore.fleet.LookOf(bow).has_value(); }));
    EXPECT_GT(shore.fleet.LookOf(bow)->roundTrip, 0.0);
    EXPECT_LT(shore.fleet.LookOf(bow)->roundTrip, 60.0);
    EXPECT_TRUE(vessel.AreDetectionsWanted("Bow"));
    authority::DetectionsMessage ping;
    ping.utc = 1.7e9;
    ping.ping = 12;
    ping.beams = 2;
    ping.beam = {0, 1};
    ping.angle = {-10.0F, 10.0F};
    ping.travelTime = {0.25F, 0.5F};
    ping.level = {100.0F, 90.0F};
    ping.quality = {1.0F, 0.0F};
    vessel.PublishDetections("Bow", ping);
    ASSERT_TRUE(shore.Wait([&] { return !shore.detections.empty(); }));
    EXPECT_EQ(shore.detections.front().ping, 12);
    EXPECT_THAT(shore.detections.front().travelTime, ElementsAre(0.25F, 0.5F));
}

TEST_F(FleetAtBroker, AcknowledgesHistoryThatItHasOnDisk)
{
    test::TemporaryFolder const folder{"qx5-fleet"};
    FleetOptions options;
    options.wantsHistory = true;
    options.archive = folder / "archive";
    Shore shore(server, "operator", options);
    ASSERT_TRUE(shore.Sees(bow, 50));
    vessel.PublishHistory({"0123", {{1, 1, outbox::Kind::Event, "a"}, {2, 2, outbox::Kind::Event, "b"}}});
    vessel.PublishHistory({"0123", {{2, 2, outbox::Kind::Event, "b"}, {3, 5, std::nullopt, {}}}});
    ASSERT_TRUE(shore.Wait([&] {
        auto const had = vessel.Acknowledged();
        return had.contains("0123") && had.at("0123").second == 5;
    }));
    EXPECT_EQ(vessel.Acknowledged().at("0123").first, "operator");
    EXPECT_TRUE(shore.Wait([&] { return shore.history.size() == 3; }));
    EXPECT_THAT(shore.history, ElementsAre(1, 2, 3));
}

TEST_F(FleetAtBroker, TellsWhoIsThere)
{
    FleetOptions options;
    options.isPresent = true;
    Shore watcher(server, "watcher");
    {
        Shore shore(server, "operator", options);
        EXPECT_TRUE(watcher.Wait([&] { return watcher.fleet.Persons() == std::vector<std::string>{"operator"}; }));
        {
            Shore second(server, "operator", options);
            ASSERT_TRUE(second.Sees(bow, 50));
        }
        Shore late(server, "watcher");
        EXPECT_TRUE(late.Wait([&] { return late.fleet.Persons() == std::vector<std::string>{"operator"}; }))
            << "one of two programs is still there";
    }
    EXPECT_TRUE(watcher.Wait([&] { return watcher.fleet.Persons().empty(); }));
}

TEST_F(FleetAtBroker, IsStaleWithoutTheBrokerAndGoesOnWithIt)
{
    Shore shore(server, "operator");
    ASSERT_TRUE(shore.Sees(bow, 50));
    server.Kill();
    ASSERT_TRUE(shore.Wait([&] { return shore.fleet.Sonar(bow)->freshness == Freshness::Stale; }));
    EXPECT_EQ(shore.fleet.Sonar(bow)->reason, "the line to the broker is down");
    EXPECT_EQ(NumberOf(shore.fleet.Sonar(bow)->tree, keys::x5Range), 50) << "as it was";
    vessel.SetSonar("Bow", Tree(55));
    server.Start();
    EXPECT_TRUE(shore.Sees(bow, 55));
    shore.AskLease(bow, {authority::LeaseVerb::Take, 60.0, {}});
    ASSERT_TRUE(shore.Wait([&] { return shore.HolderOf(bow) == "operator"; }));
    EXPECT_EQ(shore.Request(bow, Tree(56)).outcome, "agrees");
}

TEST_F(FleetAtBroker, NoticesThatAVesselIsSilentAndThatItSpeaksAgain)
{
    FleetOptions options;
    options.model.silence = 300ms;
    Shore shore(server, "operator", options);
    ASSERT_TRUE(shore.Sees(bow, 50));
    vessel.Hush(true);
    EXPECT_TRUE(shore.Wait([&] { return shore.fleet.Sonar(bow)->freshness == Freshness::Stale; }));
    EXPECT_EQ(shore.fleet.Sonar(bow)->reason, "nothing is heard of vessel");
    vessel.Hush(false);
    EXPECT_TRUE(shore.Sees(bow, 50));
}

TEST_F(FleetAtBroker, SaysOfWhatItAsksThatItEnds)
{
    auto shore = std::make_unique<Shore>(server, "operator");
    std::vector<std::string> outcomes;
    shore->fleet.Request({"nobody", "Bow"}, Tree(1), 30.0,
                         [&](authority::RequestReply const& reply) { outcomes.push_back(reply.outcome); });
    shore.reset();
    EXPECT_THAT(outcomes, ElementsAre("not sent"));
}

TEST(FleetOptionsCheck, RefusesNamesThatCannotBe)
{
    FleetOptions options;
    options.group = "nor/th";
    options.person = "otto";
    EXPECT_THROW(Fleet(options, {}), std::invalid_argument);
    options.group = "north";
    options.person = "";
    EXPECT_THROW(Fleet(options, {}), std::invalid_argument);
}

} // namespace
} // namespace qx5::fleet
