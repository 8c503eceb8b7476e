// A vessel and its shore that are killed again and again while a bad line lies between them: nothing is lost, nothing
// is there twice.
#include "outbox/archive.h"
#include "tests/support/killed_program.h"
#include "tests/support/temporary_folder.h"

#include <cstdio>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

namespace qx5::outbox {
namespace {

TEST(KilledOutbox, HasBroughtAllOfItAshoreOnceAndInOrder)
{
    // An hour of 20 events a second.
    constexpr std::uint64_t events = 72'000;
    constexpr int kills = 200;
    test::TemporaryFolder const folder;
    auto const outbox = (folder / "survey.qx5.outbox").string();
    auto const archive = (folder / "fleet.archive").string();
    auto const pageFile = (folder / "page").string();
    test::SharedNumber const page(pageFile, test::SharedNumber::File::Make);
    std::vector<std::string> const command{ENDLESS_OUTBOX, outbox, archive, pageFile, std::to_string(events)};
    std::mt19937 random(std::random_device{}());
    for (int i = 0; i < kills; ++i) {
        page.Number() = 0;
        // Also while it opens its files, before it has done anything.
        int const status = test::KillAt(command, page, random() % 500);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
            << "it has ended by itself after " << i << " kills, with " << WEXITSTATUS(status);
    }
    int const status = test::KillAt(command, page, UINT64_MAX);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), 0);

    Archive shore(archive);
    std::uint64_t next = 1;
    std::string identity;
    shore.Read("Vega", [&](Received const& each) {
        EXPECT_TRUE(identity.empty() || identity == each.outbox);
        identity = each.outbox;
        EXPECT_TRUE(each.item.kind.has_value()) << "there was room for all";
        EXPECT_EQ(each.item.number, next);
        EXPECT_EQ(each.item.payload, "event " + std::to_string(next));
        ++next;
        return !::testing::Test::HasFailure();
    });
    EXPECT_EQ(next - 1, events);
    EXPECT_EQ(shore.Acknowledged("Vega", identity), events);
    std::printf("killed %d times: %llu of %llu events ashore, none twice, in order\n", kills,
                static_cast<unsigned long long>(next - 1), static_cast<unsigned long long>(events));
}

} // namespace
} // namespace qx5::outbox
