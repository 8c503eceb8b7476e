// History that arrives twice, in pieces, with and without an archive.
#include "fleet/history_keeper.h"

#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>

namespace qx5::fleet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

outbox::Received Entry(std::uint64_t number, std::string const& vessel = "Vega")
{
    return {vessel, "0123", {number, number, outbox::Kind::Event, "entry " + std::to_string(number)}};
}

/// What a keeper told, until it has gone.
struct Told
{
    HistoryHooks Hooks()
    {
        HistoryHooks hooks;
        hooks.acknowledge = [this](outbox::Acknowledgement const& had) {
            acknowledged.push_back(had.vessel + " " + std::to_string(had.upTo));
        };
        hooks.items = [this](std::vector<outbox::Received> const& items) {
            for (auto const& each : items) {
                numbers.push_back(each.vessel + " " + std::to_string(each.item.number));
            }
        };
        hooks.tell = [this](std::string const& line) { lines.push_back(line); };
        return hooks;
    }
    std::vector<std::string> acknowledged;
    std::vector<std::string> numbers;
    std::vector<std::string> lines;
};

TEST(FleetHistory, IsAcknowledgedOnceItIsOnTheDiskAndHandedOnOnce)
{
    test::TemporaryFolder const folder{"qx5-history"};
    Told told;
    {
        HistoryKeeper keeper(folder / "archive", told.Hooks());
        keeper.Put({Entry(1), Entry(2), Entry(2), Entry(1, "Altair")});
    }
    EXPECT_THAT(told.numbers, ElementsAre("Vega 1", "Vega 2", "Altair 1"));
    EXPECT_THAT(told.acknowledged, ElementsAre("Vega 2", "Altair 1"));
    Told later;
    {
        HistoryKeeper keeper(folder / "archive", later.Hooks());
        keeper.Put({Entry(2), Entry(3)});
    }
    EXPECT_THAT(later.numbers, ElementsAre("Vega 3")) << "the archive has the others from before";
    EXPECT_THAT(later.acknowledged, ElementsAre("Vega 3"));
    EXPECT_THAT(later.lines, IsEmpty());
}

TEST(FleetHistory, IsNotAcknowledgedByWhoOnlyListens)
{
    Told told;
    {
        HistoryKeeper keeper({}, told.Hooks());
        keeper.Put({Entry(7)});
        keeper.Put({Entry(7), Entry(8)});
    }
    EXPECT_THAT(told.numbers, ElementsAre("Vega 7", "Vega 8"));
    EXPECT_THAT(told.acknowledged, IsEmpty());
}

TEST(FleetHistory, NeedsAnArchiveThatIsOne)
{
    test::TemporaryFolder const folder{"qx5-history"};
    EXPECT_THROW(HistoryKeeper(folder / "nowhere" / "archive", {}), outbox::OutboxError);
}

} // namespace
} // namespace qx5::fleet
