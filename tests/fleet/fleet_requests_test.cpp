// Requests and leases on their way, with a clock that stands.
#include "fleet/fleet_requests.h"

#include <protocol/records/all.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::fleet {
namespace {

namespace keys = protocol::keys;
using authority::LeaseReplyKind;
using authority::ShoreSubject;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr std::uint64_t us = 77;
Place const requestedSonar{"Vega", "Bow"};

CAttributeMap RangeRequest(double metres)
{
    CAttributeMap request;
    request.Add(AttributeKey(keys::x5Range.text), CVordalDouble(metres));
    return request;
}

class FleetAsking : public ::testing::Test
{
protected:
    void Ask(double limit, double now)
    {
        auto const call =
            requests.Ask(requestedSonar, RangeRequest(50), limit, now, [this](authority::RequestReply const& reply) {
                outcomes.push_back(reply.outcome + ": " + reply.reason);
            });
        if (call) {
            (*call)();
        }
    }
    void AskLease(double now)
    {
        auto const call =
            requests.AskLease(requestedSonar, {authority::LeaseVerb::Take, 60.0, {}}, 10.0, now,
                              [this](authority::LeaseReply const& reply) {
                                  outcomes.push_back(std::string(ToText(reply.answer)) + ": " + reply.reason);
                              });
        ASSERT_FALSE(call);
    }
    std::vector<FleetRequests::Outgoing> Due(double now, bool again = false)
    {
        std::vector<FleetRequests::Call> calls;
        auto due = requests.TakeDue(
            now,
            [&](std::string const& vessel, double limit) -> std::optional<authority::RequestStamp> {
                EXPECT_EQ(vessel, "Vega");
                limits.push_back(limit);
                return hasTime ? std::optional(authority::RequestStamp{us, ++number, {5, now}, limit}) : std::nullopt;
            },
            again, calls);
        for (auto const& call : calls) {
            call();
        }
        return due;
    }
    void Over(double now)
    {
        for (auto const& call : requests.TakeOver(now)) {
            call();
        }
    }
    bool Take(authority::ShoreReply const& reply, double now, Place const& sonar = requestedSonar)
    {
        auto const call = requests.Take(sonar, reply, now);
        if (call) {
            (*call)();
        }
        return call.has_value();
    }

    FleetRequests requests{us};
    bool hasTime = true;
    std::uint64_t number = 0;
    std::vector<double> limits;
    std::vector<std::string> outcomes;
};

TEST_F(FleetAsking, IsRepeatedWithTheSameStampUntilTheResultComes)
{
    Ask(10.0, 100.0);
    auto const first = Due(100.0);
    ASSERT_EQ(first.size(), 1U);
    EXPECT_EQ(first[0].sonar, requestedSonar);
    EXPECT_EQ(first[0].subject, ShoreSubject::Request);
    std::string error;
    auto const message = authority::DecodeRequest(first[0].payload, error);
    ASSERT_TRUE(message) << error;
    EXPECT_EQ(message->stamp, (authority::RequestStamp{us, 1, {5, 100.0}, 10.0}));
    EXPECT_TRUE(Due(102.9).empty());
    auto const second = Due(103.0);
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(second[0].payload, first[0].payload);
    EXPECT_EQ(Due(103.1, true).size(), 1U) << "a new connection";
    EXPECT_TRUE(Take(authority::RequestReply{us, 1, "agrees", {}, {}, {}, {}}, 104.0));
    EXPECT_FALSE(Take(authority::RequestReply{us, 1, "differs", {}, {}, {}, {}}, 104.5)) << "once";
    EXPECT_TRUE(Due(106.0).empty());
    Over(1000.0);
    EXPECT_THAT(outcomes, ElementsAre("agrees: "));
    EXPECT_EQ(number, 1U);
}

TEST_F(FleetAsking, TakesNoAnswersToOthers)
{
    Ask(10.0, 100.0);
    Due(100.0);
    EXPECT_FALSE(Take(authority::RequestReply{us + 1, 1, "agrees", {}, {}, {}, {}}, 101.0)) << "another program's";
    EXPECT_FALSE(Take(authority::RequestReply{us, 2, "agrees", {}, {}, {}, {}}, 101.0)) << "another number";
    EXPECT_FALSE(Take(authority::RequestReply{us, 1, "agrees", {}, {}, {}, {}}, 101.0, {"Vega", "Stern"}));
    EXPECT_FALSE(Take(authority::LeaseReply{us, 1, LeaseReplyKind::Granted, {}}, 101.0)) << "of another kind";
    EXPECT_FALSE(Take(authority::LookMessage{us, 1, false}, 101.0));
    EXPECT_TRUE(outcomes.empty());
}

TEST_F(FleetAsking, SaysThatItIsNotKnownWhatBecameOfIt)
{
    Ask(10.0, 100.0);
    EXPECT_EQ(Due(100.0).size(), 1U);
    EXPECT_EQ(Due(109.9).size(), 1U);
    EXPECT_TRUE(Due(113.0).empty()) << "it would be too late";
    Over(112.9);
    EXPECT_TRUE(outcomes.empty()) << "a result may be on its way";
    Over(113.0);
    EXPECT_THAT(outcomes, ElementsAre("unanswered: Vega has told no result in time; whether it was done is not known"));
    EXPECT_EQ(requests.Count(), 0U);
}

TEST_F(FleetAsking, WaitsForTheVesselsTimeWithinItsLimit)
{
    hasTime = false;
    Ask(10.0, 100.0);
    Ask(2.0, 100.0);
    EXPECT_TRUE(Due(100.0).empty());
    EXPECT_TRUE(requests.Waits());
    Over(102.0);
    EXPECT_THAT(outcomes, ElementsAre("not sent: Vega could not be asked in time"));
    hasTime = true;
    EXPECT_EQ(Due(104.0).size(), 1U);
    EXPECT_FALSE(requests.Waits());
    EXPECT_DOUBLE_EQ(limits.back(), 6.0) << "what is left of it";
}

TEST_F(FleetAsking, OfALeaseIsAnsweredTwiceWhereTheHolderIsAsked)
{
    AskLease(100.0);
    auto const due = Due(100.0);
    ASSERT_EQ(due.size(), 1U);
    EXPECT_EQ(due[0].subject, ShoreSubject::Lease);
    std::string error;
    auto const message = authority::DecodeLease(due[0].payload, error);
    ASSERT_TRUE(message) << error;
    EXPECT_EQ(message->ask, authority::LeaseVerb::Take);
    EXPECT_DOUBLE_EQ(message->seconds, 60.0);
    EXPECT_TRUE(Take(authority::LeaseReply{us, 1, LeaseReplyKind::Waits, {}}, 101.0));
    EXPECT_FALSE(Take(authority::LeaseReply{us, 1, LeaseReplyKind::Waits, {}}, 102.0)) << "the same once more";
    EXPECT_TRUE(Due(110.0).empty()) << "it has been heard";
    Over(131.0);
    EXPECT_TRUE(Take(authority::LeaseReply{us, 1, LeaseReplyKind::Refused, "aboard keeps it"}, 131.0));
    EXPECT_THAT(outcomes, ElementsAre("waits: ", "refused: aboard keeps it"));
}

TEST_F(FleetAsking, OfALeaseEndsWhereNoAnswerOfTheHolderComes)
{
    AskLease(100.0);
    Due(100.0);
    Take(authority::LeaseReply{us, 1, LeaseReplyKind::Waits, {}}, 101.0);
    EXPECT_EQ(Due(120.0, true).size(), 1U) << "a new connection: the answer may have been lost";
    Over(101.0 + FleetRequests::LongestWait);
    EXPECT_THAT(outcomes, ElementsAre("waits: ", "refused: Vega has told no answer of the holder"));
}

TEST_F(FleetAsking, IsBoundedAndEndsWithTheProgram)
{
    for (std::size_t i = 0; i < FleetRequests::GreatestPending; ++i) {
        Ask(10.0, 100.0);
    }
    EXPECT_TRUE(outcomes.empty());
    Ask(10.0, 100.0);
    EXPECT_THAT(outcomes, ElementsAre("not sent: 1024 requests wait for answers already"));
    outcomes.clear();
    Due(100.0);
    for (auto const& call : requests.TakeAll()) {
        call();
    }
    ASSERT_EQ(outcomes.size(), FleetRequests::GreatestPending);
    EXPECT_EQ(outcomes.front(), "unanswered: this program ends; whether it was done is not known");
}

} // namespace
} // namespace qx5::fleet
