// Nothing is lost while programs and broker are killed: a short run of what `./dev bench --outage` does at length.
#include "outage.h"

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

TEST(Outage, BringsEachEventAshoreOnceAndInOrder)
{
    OutageOptions options;
    options.program = QX5_PROGRAM;
    options.events = 400;
    options.seed = 5;
    options.sonars = 4;
    options.incidentEvery = 40;
    auto const result = RunOutage(options);
    SCOPED_TRACE(JsonOf(result, options));
    EXPECT_EQ(result.problem, "");
    EXPECT_GE(result.events, 400U);
    EXPECT_EQ(result.lost, 0U);
    EXPECT_EQ(result.twice, 0U);
    EXPECT_EQ(result.outOfOrder, 0U);
    EXPECT_EQ(result.gaps, 0U);
    EXPECT_EQ(result.outboxes, 1U);
    // The seed is one with some of each.
    EXPECT_GE(result.vesselKills, 2U);
    EXPECT_GE(result.brokerKills + result.brokerStops, 1U);
    EXPECT_GE(result.archiveKills, 1U);
}

} // namespace
} // namespace qx5::test
