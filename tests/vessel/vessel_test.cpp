// A vessel on a real broker: what is told ashore, what is done for those ashore, what survives a line that drops.
#include "tests/support/fault_relay.h"
#include "vessel_stage.h"

#include <protocol/records/all.h>
#include <protocol/utf8.h>
#include <sparkplug/metric_name.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

namespace keys = protocol::keys;
using authority::LeaseReplyKind;
using authority::LeaseVerb;
using authority::ShoreSubject;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::wstring_view const range = keys::x5Range.text;

class VesselTest : public ::testing::Test
{
protected:
    /// Somebody ashore, once the sonar is alive there and connected aboard.
    std::unique_ptr<Shore> Arrive(std::string const& person = "operator")
    {
        auto shore = std::make_unique<Shore>(broker.Secure(), broker.Files(person), person);
        EXPECT_TRUE(shore->WaitForLine());
        shore->Line().Publish({"spBv1.0/north/NCMD/Vega", Rebirth(), 0, false});
        EXPECT_TRUE(shore->Wait([&] {
            auto const* const seen = Alive(*shore, "Bow");
            return seen != nullptr && authority::LinkIn(seen->reserved) == authority::SonarLink::Connected &&
                   seen->tree.Has(AttributeKey(range));
        }));
        return shore;
    }
    static std::string Rebirth() { return sparkplug::MakeRebirth({"north", "Vega", {}}, 1).payload; }
    /// The reply to a stamp, once it came.
    static authority::RequestReply ReplyTo(Shore& shore, authority::RequestStamp const& stamp)
    {
        authority::RequestReply reply;
        EXPECT_TRUE(shore.Wait([&] {
            auto const found = std::find_if(shore.replies.begin(), shore.replies.end(), [&](auto const& each) {
                return each.sender == stamp.sender && each.number == stamp.number;
            });
            if (found != shore.replies.end()) {
                reply = *found;
            }
            return found != shore.replies.end();
        }));
        return reply;
    }
    static double DoubleIn(CAttributeMap const& tree, std::wstring_view key)
    {
        double value = -1.0;
        tree.FindValue(AttributeKey(key)).Get(value);
        return value;
    }

    TestBroker broker;
    /// A line that is far once it is told to be.
    vordal::FaultRelay relay{broker.Secure().port};
    VesselStage stage{broker};

    /// A vessel behind the relay, once its second connection stands.
    vessel::Vessel& BeginFar(Shore& shore)
    {
        relay.SetDelay(std::chrono::milliseconds(150));
        auto& vega = stage.Begin([&](vessel::VesselOptions& options) { options.address.port = relay.Port(); });
        EXPECT_TRUE(shore.Wait([&] { return Alive(shore, "Bow") != nullptr; }));
        // Each answer to a look has an acknowledgement, which says how far the line is.
        std::string error;
        for (std::uint64_t number = 1; vega.Counts().second.attempts == 0; ++number) {
            shore.Say(ShoreSubject::Look, "Bow", *authority::Encode(authority::LookMessage{5, number, false}, error));
            EXPECT_TRUE(shore.Wait([&] { return shore.looks.size() >= number; }));
        }
        EXPECT_TRUE(Eventually([&] { return vega.Counts().second.connections == 1; }));
        return vega;
    }
};

TEST_F(VesselTest, IsBornWithAllThatItsSonarsTell)
{
    stage.Begin();
    auto const shore = Arrive();
    ASSERT_TRUE(shore->Wait([&] {
        auto const facts = shore->host.Facts({"north", "Vega", "Bow"}, protocol::EncodeUtf8(range));
        return facts && facts->high;
    }));
    shore->Look([&] {
        auto const* const node = shore->host.Find({"north", "Vega", {}});
        EXPECT_EQ(node->state, sparkplug::SeenState::Alive);
        EXPECT_TRUE(authority::VesselTimeIn(node->reserved));
        auto const* const bow = Alive(*shore, "Bow");
        EXPECT_EQ(authority::LeaseIn(bow->reserved).holder, "");
        EXPECT_EQ(DoubleIn(bow->tree, range), DoubleIn(stage.Tree(), range));
        auto const facts = shore->host.Facts({"north", "Vega", "Bow"}, protocol::EncodeUtf8(range));
        EXPECT_TRUE(facts && facts->unit == "m");
        // As the simulated sonar tells them.
        EXPECT_EQ(facts->high, 500.0);
        return 0;
    });
}

TEST_F(VesselTest, TellsAChangeAboardAndWhoMadeIt)
{
    stage.Begin();
    auto const shore = Arrive();
    stage.AskAboard(RequestOf(range, 42.0));
    EXPECT_TRUE(shore->Wait([&] { return ValueOf(*shore, "Bow", range) == 42.0; }));
    EXPECT_TRUE(shore->Wait([&] { return authority::LeaseIn(Alive(*shore, "Bow")->reserved).holder == "aboard"; }))
        << "whoever asks aboard holds the lease for a while";
}

TEST_F(VesselTest, DoesWhatTheHolderAshoreAsksForAndSaysWhatTheSonarThenHas)
{
    stage.Begin();
    auto const shore = Arrive();
    EXPECT_EQ(shore->TakeLease("Bow").answer, LeaseReplyKind::Granted);
    auto const stamp = shore->Stamp();
    ASSERT_TRUE(shore->Ask("Bow", stamp, RequestOf(range, 60.0)));
    auto const reply = ReplyTo(*shore, stamp);
    EXPECT_EQ(reply.outcome, "agrees") << reply.reason;
    EXPECT_EQ(DoubleIn(reply.asked, range), 60.0);
    EXPECT_EQ(DoubleIn(reply.echoed, range), 60.0);
    EXPECT_EQ(DoubleIn(reply.has, range), 60.0);
    EXPECT_TRUE(shore->Wait([&] { return ValueOf(*shore, "Bow", range) == 60.0; }));

    // What the sonar clips is told.
    auto const wide = shore->Stamp();
    ASSERT_TRUE(shore->Ask("Bow", wide, RequestOf(range, 99999.0)));
    auto const clipped = ReplyTo(*shore, wide);
    EXPECT_EQ(clipped.outcome, "differs");
    EXPECT_EQ(DoubleIn(clipped.has, range), 500.0);

    // The same once more is not done again, and told again.
    stage.AskAboard({});
    auto const before = shore->Look([&] { return shore->replies.size(); });
    ASSERT_TRUE(shore->Ask("Bow", stamp, RequestOf(range, 60.0)));
    ASSERT_TRUE(shore->Wait([&] { return shore->replies.size() > before; }));
    shore->Look([&] {
        EXPECT_EQ(shore->replies.back().number, stamp.number);
        EXPECT_EQ(shore->replies.back().outcome, "agrees");
        return 0;
    });
    stage.Settle();
    EXPECT_EQ(DoubleIn(stage.Tree(), range), 500.0) << "it would be 60 again";
}

TEST_F(VesselTest, HasAResultOnTheDiskBeforeItTellsIt)
{
    stage.Begin([](vessel::VesselOptions& options) { options.outbox.longestDelay = 3600.0; });
    auto const shore = Arrive();
    ASSERT_EQ(shore->TakeLease("Bow").answer, LeaseReplyKind::Granted);
    auto const stamp = shore->Stamp();
    ASSERT_TRUE(shore->Ask("Bow", stamp, RequestOf(range, 73.0)));
    EXPECT_EQ(ReplyTo(*shore, stamp).outcome, "agrees");
    // What a vessel that is killed now finds when it is there again.
    auto const killed = stage.folder / "killed";
    for (std::string const suffix : {"", "-wal"}) {
        std::filesystem::copy_file((stage.folder / "outbox").string() + suffix, killed.string() + suffix);
    }
    auto const items = outbox::Outbox(killed).Take(1, 1000, std::size_t{1} << 30);
    EXPECT_EQ(std::count_if(items.begin(), items.end(),
                            [](outbox::Item const& item) { return item.kind == outbox::Kind::Result; }),
              1);
}

TEST_F(VesselTest, RefusesWhoHasNotTheLeaseAndNamesWhoHas)
{
    stage.Begin();
    auto const otto = Arrive();
    auto const wanda = Arrive("watcher");
    auto const before = otto->Stamp();
    ASSERT_TRUE(otto->Ask("Bow", before, RequestOf(range, 60.0)));
    auto const nobody = ReplyTo(*otto, before);
    EXPECT_EQ(nobody.outcome, "refused");
    EXPECT_EQ(nobody.reason, "nobody has the lease of Bow: ask for it first");

    EXPECT_EQ(otto->TakeLease("Bow").answer, LeaseReplyKind::Granted);
    auto const stamp = wanda->Stamp();
    ASSERT_TRUE(wanda->Ask("Bow", stamp, RequestOf(range, 70.0)));
    auto const reply = ReplyTo(*wanda, stamp);
    EXPECT_EQ(reply.outcome, "refused");
    EXPECT_THAT(reply.reason, HasSubstr("operator has the lease of Bow until "));
    // Aboard, too: nobody asks in between.
    stage.AskAboard(RequestOf(range, 80.0));
    EXPECT_NE(DoubleIn(stage.Tree(), range), 80.0);

    // It is in the log, with the person's name.
    ASSERT_TRUE(otto->Wait([&] {
        return std::any_of(otto->kept.begin(), otto->kept.end(), [](auto const& entry) {
            auto const* const text = std::get_if<authority::HistoryText>(&entry.second);
            return text != nullptr && text->person == "watcher" &&
                   text->text.find("ashore: watcher") != std::string::npos;
        });
    }));
}

TEST_F(VesselTest, HandsTheLeaseOnAsItsHolderSays)
{
    stage.Begin();
    auto const otto = Arrive();
    auto const wanda = Arrive("watcher");
    EXPECT_EQ(otto->TakeLease("Bow").answer, LeaseReplyKind::Granted);
    auto const stamp = wanda->Stamp();
    ASSERT_TRUE(wanda->AskLease("Bow", {stamp, LeaseVerb::Take, 60.0, {}}));
    ASSERT_TRUE(wanda->Wait([&] { return !wanda->leaseReplies.empty(); }));
    EXPECT_EQ(wanda->Look([&] { return wanda->leaseReplies.back().answer; }), LeaseReplyKind::Waits);
    ASSERT_TRUE(otto->Wait([&] { return authority::LeaseIn(Alive(*otto, "Bow")->reserved).asker == "watcher"; }));
    // Asked once more, it still waits.
    ASSERT_TRUE(wanda->AskLease("Bow", {stamp, LeaseVerb::Take, 60.0, {}}));
    ASSERT_TRUE(wanda->Wait([&] { return wanda->leaseReplies.size() == 2; }));

    ASSERT_TRUE(otto->AskLease("Bow", {otto->Stamp(), LeaseVerb::Refuse, 0.0, "watcher"}));
    ASSERT_TRUE(wanda->Wait([&] { return wanda->leaseReplies.size() == 3; }));
    EXPECT_EQ(wanda->Look([&] { return wanda->leaseReplies.back(); }),
              (authority::LeaseReply{stamp.sender, stamp.number, LeaseReplyKind::Refused, "operator keeps the lease"}));

    ASSERT_TRUE(wanda->AskLease("Bow", {wanda->Stamp(), LeaseVerb::Take, 60.0, {}}));
    ASSERT_TRUE(wanda->Wait([&] { return wanda->leaseReplies.size() == 4; }));
    ASSERT_TRUE(otto->AskLease("Bow", {otto->Stamp(), LeaseVerb::Grant, 0.0, "watcher"}));
    ASSERT_TRUE(wanda->Wait([&] { return wanda->leaseReplies.size() == 5; }));
    EXPECT_EQ(wanda->Look([&] { return wanda->leaseReplies.back().answer; }), LeaseReplyKind::Granted);
    ASSERT_TRUE(otto->Wait([&] { return authority::LeaseIn(Alive(*otto, "Bow")->reserved).holder == "watcher"; }));
    // The window aboard may always take it back.
    stage.Settle();
}

TEST_F(VesselTest, GivesTheLeaseBackToWhoeverStandsAboard)
{
    auto& vega = stage.Begin();
    auto const otto = Arrive();
    EXPECT_EQ(otto->TakeLease("Bow").answer, LeaseReplyKind::Granted);
    vega.Leases().TakeAboard(BowId);
    ASSERT_TRUE(otto->Wait([&] { return authority::LeaseIn(Alive(*otto, "Bow")->reserved).holder == "aboard"; }));
    auto const stamp = otto->Stamp();
    ASSERT_TRUE(otto->Ask("Bow", stamp, RequestOf(range, 60.0)));
    EXPECT_EQ(ReplyTo(*otto, stamp).reason, "aboard has the lease of Bow");
    stage.AskAboard(RequestOf(range, 80.0));
    EXPECT_EQ(DoubleIn(stage.Tree(), range), 80.0);
}

TEST_F(VesselTest, LocksWhatCanDoHarmUnlessTheProjectAllowsIt)
{
    auto& vega = stage.Begin();
    auto const otto = Arrive();
    EXPECT_EQ(otto->TakeLease("Bow").answer, LeaseReplyKind::Granted);
    CAttributeMap on;
    AddValue(on, AttributeKey(keys::x5PingOnOffState.text), std::int32_t{1});
    auto const first = otto->Stamp();
    ASSERT_TRUE(otto->Ask("Bow", first, on));
    auto const refused = ReplyTo(*otto, first);
    EXPECT_EQ(refused.outcome, "refused");
    EXPECT_THAT(refused.reason, HasSubstr("locked for those ashore (transmit)"));
    authority::Permissions permissions;
    EXPECT_TRUE(permissions.Allow("transmit"));
    vega.SetPermissions(permissions);
    auto const second = otto->Stamp();
    ASSERT_TRUE(otto->Ask("Bow", second, on));
    EXPECT_EQ(ReplyTo(*otto, second).outcome, "agrees");
}

TEST_F(VesselTest, GoesByTheRolesOfTheProject)
{
    stage.Begin([](vessel::VesselOptions& options) {
        options.permissions.roles = {{"operator", authority::Role::Operate}};
    });
    auto const wanda = Arrive("watcher");
    auto const answer = wanda->TakeLease("Bow");
    EXPECT_EQ(answer.answer, LeaseReplyKind::Refused);
    EXPECT_EQ(answer.reason, "watcher may watch, and ask for nothing");
    auto const otto = Arrive();
    EXPECT_EQ(otto->TakeLease("Bow").answer, LeaseReplyKind::Granted);
}

TEST_F(VesselTest, AnswersWhoLooksAndShowsDetectionsAsLongAsSomebodyDoes)
{
    stage.Begin();
    auto const shore = Arrive("watcher");
    std::string error;
    ASSERT_TRUE(shore->Say(ShoreSubject::Look, "Bow", *authority::Encode(authority::LookMessage{5, 1, true}, error)));
    ASSERT_TRUE(shore->Wait([&] { return !shore->looks.empty(); }));
    EXPECT_EQ(shore->Look([&] { return shore->looks.front(); }), (authority::LookMessage{5, 1, true}));
    CAttributeMap on;
    AddValue(on, AttributeKey(keys::x5PingOnOffState.text), std::int32_t{1});
    stage.AskAboard(on);
    ASSERT_TRUE(shore->Wait([&] { return shore->pings.size() >= 3; }));
    shore->Look([&] {
        for (authority::DetectionsMessage const& ping : shore->pings) {
            EXPECT_GT(ping.beams, 0U);
            EXPECT_GT(ping.beam.size(), 10U);
        }
        EXPECT_GT(shore->pings.back().ping, shore->pings.front().ping);
        return 0;
    });
}

TEST_F(VesselTest, TakesCommandsOfProgramsThatTellNoName)
{
    stage.Begin();
    auto const shore = Arrive();
    std::string error;
    auto const command =
        sparkplug::MakeCommand({"north", "Vega", "Bow"},
                               {{protocol::EncodeUtf8(range), 61.0}, {"Lease/Holder", std::wstring(L"me")}}, 5, error);
    ASSERT_TRUE(command) << error;
    shore->Line().Publish({command->topic, command->payload, 0, false});
    ASSERT_TRUE(shore->Wait([&] { return ValueOf(*shore, "Bow", range) == 61.0; }));
    ASSERT_TRUE(shore->Wait([&] { return authority::LeaseIn(Alive(*shore, "Bow")->reserved).holder == "Sparkplug"; }));
}

TEST_F(VesselTest, KeepsWhatMustNotBeLostWhileTheBrokerIsGone)
{
    auto& vega = stage.Begin([](vessel::VesselOptions& options) { options.history = {protocol::EncodeUtf8(range)}; });
    auto const shore = Arrive();
    broker.Kill();
    ASSERT_TRUE(shore->Wait([&] { return Alive(*shore, "Bow") == nullptr; }));
    for (int i = 1; i <= 20; ++i) {
        stage.AskAboard(RequestOf(range, 100.0 + i));
    }
    broker.Start();
    ASSERT_TRUE(shore->Wait([&] {
        std::set<double> values; // a sonar's report of the one before may come in between
        int actions = 0;
        for (auto const& [number, content] : shore->kept) {
            if (auto const* const value = std::get_if<authority::HistoryValues>(&content)) {
                for (auto const& each : value->values) {
                    if (auto const* const held = std::get_if<double>(&each.value); held != nullptr && *held > 100.0) {
                        values.insert(*held);
                    }
                }
            }
            actions += shore->kinds[number] == outbox::Kind::Action ? 1 : 0;
        }
        return values.size() == 20 && *values.rbegin() == 120.0 && actions == 20;
    }));
    shore->Look([&] {
        EXPECT_TRUE(std::is_sorted(shore->order.begin(), shore->order.end()));
        return 0;
    });
    // A shore that was back later than the vessel has missed the birth, and asks for it.
    EXPECT_TRUE(shore->Wait([&] { return ValueOf(*shore, "Bow", range) == 120.0; }));
    // What is ashore leaves the outbox, and not before.
    auto const last = shore->Look([&] { return shore->order.back(); });
    EXPECT_EQ(vega.Counts().outbox.acknowledged, 0U);
    ASSERT_TRUE(shore->Acknowledge(shore->Look([&] { return shore->outbox; }), last));
    EXPECT_TRUE(Eventually([&] { return vega.Counts().outbox.acknowledged >= last; }));
}

TEST_F(VesselTest, TellsTheNewestValuesBeforeHistory)
{
    stage.Begin();
    auto const shore = Arrive();
    broker.Kill();
    ASSERT_TRUE(shore->Wait([&] { return Alive(*shore, "Bow") == nullptr; }));
    stage.AskAboard(RequestOf(range, 77.0));
    shore->Look([&] {
        shore->messages.clear();
        return 0;
    });
    broker.Start();
    ASSERT_TRUE(shore->Wait([&] {
        return std::any_of(shore->messages.begin(), shore->messages.end(), [](auto const& message) {
            std::string error;
            auto const history = authority::DecodeHistory(message.second, error);
            return message.first == "qx5/north/Vega/history" && history && !history->items.empty();
        });
    }));
    shore->Look([&] {
        auto const first = std::find_if(shore->messages.begin(), shore->messages.end(), [](auto const& message) {
            std::string error;
            auto const history = authority::DecodeHistory(message.second, error);
            return message.first == "qx5/north/Vega/history" && history && !history->items.empty();
        });
        auto const birth = std::find_if(shore->messages.begin(), shore->messages.end(), [](auto const& message) {
            return message.first == "spBv1.0/north/DBIRTH/Vega/Bow";
        });
        // Where the shore was back later than the vessel, it has missed the birth and asks for it.
        if (birth != shore->messages.end()) {
            EXPECT_LT(birth - shore->messages.begin(), first - shore->messages.begin());
        }
        return 0;
    });
}

TEST_F(VesselTest, RefusesRubbishInOneLineAndGoesOn)
{
    auto& vega = stage.Begin();
    auto const shore = Arrive();
    EXPECT_EQ(shore->TakeLease("Bow").answer, LeaseReplyKind::Granted);
    shore->Say(ShoreSubject::Request, "Bow", "no protobuf");
    shore->Say(ShoreSubject::Lease, "Bow", "\xFF");
    shore->Say(ShoreSubject::Look, "Bow", "");
    shore->Say(ShoreSubject::Acknowledgement, {}, "x");
    shore->Acknowledge("another", 5);
    shore->Say(ShoreSubject::Request, "Bow", std::string(std::size_t{5} << 20, 'x'));
    shore->Line().Publish({"spBv1.0/north/DCMD/Vega/Bow", "rubbish", 0, false});
    shore->Line().Publish({"spBv1.0/north/DCMD/Vega/Stern", "", 0, false});
    // An alias that no metric has.
    shore->Line().Publish(
        {"spBv1.0/north/DCMD/Vega/Bow", std::string("\x12\x08\x10\xE7\x07\x20\x0A\x68\x01", 10), 0, false});
    EXPECT_TRUE(shore->Ask("Stern", shore->Stamp(), RequestOf(range, 1.0)));
    auto past = shore->Stamp(1.0);
    past.sent.seconds -= 3600.0;
    EXPECT_TRUE(shore->Ask("Bow", past, RequestOf(range, 1.0)));
    EXPECT_THAT(ReplyTo(*shore, past).reason, HasSubstr("it came 36"));
    auto future = shore->Stamp();
    future.sent.seconds += 3600.0;
    EXPECT_TRUE(shore->Ask("Bow", future, RequestOf(range, 1.0)));
    EXPECT_THAT(ReplyTo(*shore, future).reason, HasSubstr("ahead of the vessel's"));
    auto other = shore->Stamp();
    other.sent.run ^= 1U;
    EXPECT_TRUE(shore->Ask("Bow", other, RequestOf(range, 1.0)));
    EXPECT_THAT(ReplyTo(*shore, other).reason, HasSubstr("before the vessel's program started anew"));

    auto const stamp = shore->Stamp();
    EXPECT_TRUE(shore->Ask("Bow", stamp, RequestOf(range, 90.0)));
    EXPECT_EQ(ReplyTo(*shore, stamp).outcome, "agrees");
    EXPECT_GE(vega.Counts().refused, 8U);
    for (std::string const& line : stage.Lines()) {
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    }
    EXPECT_LT(stage.Lines().size(), 20U);
}

TEST_F(VesselTest, ShedsWhatItsOutboxHasNoRoomForAndServesOn)
{
    auto& vega = stage.Begin([](vessel::VesselOptions& options) {
        options.history = {protocol::EncodeUtf8(range)};
        options.outbox.greatestBytes = 20'000;
    });
    auto const shore = Arrive();
    broker.Kill();
    ASSERT_TRUE(shore->Wait([&] { return Alive(*shore, "Bow") == nullptr; }));
    for (int i = 1; i <= 300; ++i) {
        stage.AskAboard(RequestOf(range, 100.0 + i % 100));
    }
    broker.Start();
    ASSERT_TRUE(shore->Wait([&] { return Alive(*shore, "Bow") != nullptr; }));
    stage.AskAboard(RequestOf(range, 50.0));
    ASSERT_TRUE(shore->Wait([&] { return ValueOf(*shore, "Bow", range) == 50.0; }));
    auto const state = vega.Counts().outbox;
    EXPECT_LE(state.bytes, 20'000U);
    EXPECT_GT(state.shed[0], 0U);
    EXPECT_EQ(stage.Tree().Has(AttributeKey(range)), true);
}

TEST_F(VesselTest, TellsItsDeathWhenItEndsAndAfterThatIsBornAgain)
{
    stage.Begin();
    auto const shore = Arrive();
    stage.EndVessel();
    ASSERT_TRUE(shore->Wait([&] {
        return shore->host.Find({"north", "Vega", {}})->state == sparkplug::SeenState::Dead;
    }));
    // Whoever stands aboard needs no lease then.
    stage.AskAboard(RequestOf(range, 33.0));
    EXPECT_EQ(DoubleIn(stage.Tree(), range), 33.0);
    stage.Begin();
    ASSERT_TRUE(shore->Wait([&] { return ValueOf(*shore, "Bow", range) == 33.0; }));
}

TEST_F(VesselTest, HasOneConnectionWhereTheLineIsNear)
{
    auto& vega = stage.Begin();
    auto const shore = Arrive();
    EXPECT_EQ(shore->TakeLease("Bow").answer, LeaseReplyKind::Granted);
    for (int i = 0; i < 10; ++i) {
        auto const stamp = shore->Stamp();
        ASSERT_TRUE(shore->Ask("Bow", stamp, RequestOf(range, 60.0 + i)));
        EXPECT_EQ(ReplyTo(*shore, stamp).outcome, "agrees");
    }
    EXPECT_EQ(vega.Counts().second.attempts, 0U);
    shore->Look([&] {
        EXPECT_EQ(shore->replies.size(), 10U) << "each once";
        return 0;
    });
}

TEST_F(VesselTest, DoesARequestOnAFarLineThoughEitherConnectionIsHeldUp)
{
    Shore shore(broker.Secure(), broker.Files("operator"), "operator");
    ASSERT_TRUE(shore.WaitForLine());
    BeginFar(shore);
    EXPECT_EQ(shore.TakeLease("Bow").answer, LeaseReplyKind::Granted);
    ASSERT_EQ(relay.Connections(), 2U);
    double value = 60.0;
    for (std::uint64_t const held : {0U, 1U}) {
        auto const stamp = shore.Stamp();
        relay.SetHeld(held, true);
        ASSERT_TRUE(shore.Ask("Bow", stamp, RequestOf(range, ++value)));
        EXPECT_EQ(ReplyTo(shore, stamp).outcome, "agrees") << "with connection " << held << " held up";
        EXPECT_EQ(DoubleIn(stage.Tree(), range), value);
        relay.SetHeld(held, false);
    }
    // What was held up comes, and is known by its number: it is not done again.
    stage.AskAboard({});
    auto const actions = [&] {
        return std::count_if(shore.kinds.begin(), shore.kinds.end(),
                             [](auto const& each) { return each.second == outbox::Kind::Action; });
    };
    auto const stamp = shore.Stamp();
    ASSERT_TRUE(shore.Ask("Bow", stamp, RequestOf(range, 70.0)));
    ReplyTo(shore, stamp);
    ASSERT_TRUE(shore.Wait([&] { return actions() >= 3; }));
    shore.Look([&] {
        EXPECT_EQ(actions(), 3);
        return 0;
    });
}

TEST_F(VesselTest, ShowsDetectionsOnAFarLineWithoutHoldingUpWhatIsTold)
{
    Shore shore(broker.Secure(), broker.Files("operator"), "operator");
    ASSERT_TRUE(shore.WaitForLine());
    auto& vega = BeginFar(shore);
    std::string error;
    ASSERT_TRUE(shore.Say(ShoreSubject::Look, "Bow", *authority::Encode(authority::LookMessage{5, 2, true}, error)));
    CAttributeMap on;
    AddValue(on, AttributeKey(keys::x5PingOnOffState.text), std::int32_t{1});
    stage.AskAboard(on);
    ASSERT_TRUE(shore.Wait([&] { return shore.pings.size() >= 3; }));
    EXPECT_GE(vega.Counts().second.published, 6U) << "each with what tells how it went";
    relay.SetHeld(1, true);
    stage.AskAboard(RequestOf(range, 42.0));
    EXPECT_TRUE(shore.Wait([&] { return ValueOf(shore, "Bow", range) == 42.0; }));
    relay.SetHeld(1, false);
    auto const seen = shore.Look([&] { return shore.pings.size(); });
    EXPECT_TRUE(shore.Wait([&] { return shore.pings.size() > seen; }));
}

TEST_F(VesselTest, WaitsForItsPrimaryHost)
{
    stage.Begin([](vessel::VesselOptions& options) { options.primaryHost = "office"; });
    Shore shore(broker.Secure(), broker.Files("operator"), "operator");
    ASSERT_TRUE(shore.WaitForLine());
    auto const say = [&](char const* payload) { shore.Line().Publish({"spBv1.0/STATE/office", payload, 1, true}); };
    say("{\"online\":true,\"timestamp\":1000}");
    ASSERT_TRUE(shore.Wait([&] { return Alive(shore, "Bow") != nullptr; }));
    say("{\"online\":false,\"timestamp\":1000}");
    ASSERT_TRUE(shore.Wait([&] {
        return shore.host.Find({"north", "Vega", {}})->state == sparkplug::SeenState::Dead;
    }));
    say("{\"online\":true,\"timestamp\":2000}");
    ASSERT_TRUE(shore.Wait([&] { return Alive(shore, "Bow") != nullptr; }));
}

} // namespace
} // namespace qx5::test
