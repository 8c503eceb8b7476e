// Looks that are due, and the round trips that their answers tell.
#include "fleet/looks.h"

#include <gtest/gtest.h>

namespace qx5::fleet {
namespace {

using namespace std::chrono_literals;

Place const lookedAt{"Vega", "Bow"};
Place const other{"Vega", "Stern"};

TEST(FleetLooks, AreToldAtOnceAndEveryFiveSeconds)
{
    Looks looks;
    Looks::Time const now{1h};
    EXPECT_TRUE(looks.TakeDue(now).empty());
    looks.Begin(lookedAt, false);
    looks.Begin(other, true);
    auto const first = looks.TakeDue(now);
    ASSERT_EQ(first.size(), 2U);
    EXPECT_EQ(first[0].sonar, lookedAt);
    EXPECT_FALSE(first[0].wantsDetections);
    EXPECT_EQ(first[1].sonar, other);
    EXPECT_TRUE(first[1].wantsDetections);
    EXPECT_NE(first[0].number, first[1].number);
    EXPECT_TRUE(looks.TakeDue(now + 4999ms).empty());
    EXPECT_EQ(looks.TakeDue(now + 5s).size(), 2U);
    looks.End(other);
    EXPECT_EQ(looks.TakeDue(now + 10s).size(), 1U);
    EXPECT_EQ(looks.TakeDue(now + 10s, true).size(), 1U) << "a new connection";
    looks.Begin(lookedAt, true);
    EXPECT_EQ(looks.TakeDue(now + 10s).size(), 1U) << "something else is wanted";
}

TEST(FleetLooks, TellTheRoundTripOfTheNewestAnswer)
{
    Looks looks;
    Looks::Time const now{1h};
    looks.Begin(lookedAt, false);
    auto const first = looks.TakeDue(now).front().number;
    auto const second = looks.TakeDue(now + 5s).front().number;
    EXPECT_FALSE(looks.Of(lookedAt));
    EXPECT_FALSE(looks.Answer(other, second, now + 6s)) << "nobody looks at it";
    EXPECT_TRUE(looks.Answer(lookedAt, second, now + 5800ms));
    ASSERT_TRUE(looks.Of(lookedAt));
    EXPECT_EQ(looks.Of(lookedAt)->took, 800ms);
    EXPECT_EQ(looks.Of(lookedAt)->at, now + 5800ms);
    EXPECT_FALSE(looks.Answer(lookedAt, first, now + 7s)) << "an older one";
    EXPECT_FALSE(looks.Answer(lookedAt, second, now + 7s)) << "once more";
    EXPECT_EQ(looks.Of(lookedAt)->took, 800ms);
}

TEST(FleetLooks, TellHowManyPingsArriveAndThatTheyHaveEnded)
{
    Looks looks;
    Looks::Time const now{1h};
    looks.NotePing(lookedAt, now);
    EXPECT_FALSE(looks.PingsOf(lookedAt, now)) << "nobody looks";
    looks.Begin(lookedAt, true);
    EXPECT_FALSE(looks.PingsOf(lookedAt, now));
    looks.NotePing(lookedAt, now);
    EXPECT_EQ(looks.PingsOf(lookedAt, now).value().rate, 0.0) << "one is no rate";
    looks.NotePing(lookedAt, now + 250ms);
    looks.NotePing(lookedAt, now + 500ms);
    EXPECT_EQ(looks.PingsOf(lookedAt, now + 600ms).value().rate, 4.0);
    EXPECT_EQ(looks.PingsOf(lookedAt, now + 600ms).value().newest, now + 500ms);
    EXPECT_EQ(looks.PingsOf(lookedAt, now + 5100ms).value().rate, 4.0);
    EXPECT_EQ(looks.PingsOf(lookedAt, now + 5600ms).value().rate, 0.0) << "they have ended";
    EXPECT_EQ(looks.PingsOf(lookedAt, now + 5600ms).value().newest, now + 500ms);
    // A slower line: those of before count no longer.
    for (int i = 0; i <= 10; ++i) {
        looks.NotePing(lookedAt, now + 10s + i * 1s);
    }
    EXPECT_EQ(looks.PingsOf(lookedAt, now + 20s).value().rate, 1.0);
    looks.Begin(lookedAt, false);
    EXPECT_FALSE(looks.PingsOf(lookedAt, now + 20s)) << "they are not wanted any more";
}

} // namespace
} // namespace qx5::fleet
