// A recording whose program is killed: it opens without repair, has lost a second at most, and tells nothing false.
#include "recording/mcap_reader.h"

#include "tests/support/killed_program.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include <protocol/bytes.h>

namespace qx5::test {
namespace {

TEST(KilledRecording, OpensAndHasLostASecondAtMost)
{
    // QX5_KILLS=200 for as many.
    char const* const wanted = std::getenv("QX5_KILLS");
    int const rounds = wanted != nullptr ? std::atoi(wanted) : 8;
    std::mt19937 random(std::random_device{}());
    std::uint64_t mostLost = 0;
    for (int round = 0; round < rounds; ++round) {
        TemporaryFolder const folder;
        auto const file = (folder / "killed.mcap").string();
        auto const pageFile = (folder / "page").string();
        SharedNumber const page(pageFile, SharedNumber::File::Make);
        // At any moment: what it has written by then is what is looked at.
        auto const until = 1 + random() % 5'000;
        int const status = KillAt({ENDLESS_RECORDING, file, pageFile}, page, until);
        ASSERT_TRUE(WIFSIGNALED(status)) << "it has ended by itself, with " << WEXITSTATUS(status);
        ASSERT_GE(page.Number().load(), until);

        recording::McapReader reader(file);
        EXPECT_FALSE(reader.IsComplete());
        std::uint64_t last = 0;
        reader.ForEach([&](recording::McapChannel const& channel, recording::McapMessage const& message) {
            EXPECT_EQ(channel.topic, "/sonar/1.78.1.1/sent");
            EXPECT_EQ(message.data.size(), 100U);
            EXPECT_EQ(protocol::GetU64LE(message.data, 0), ++last) << "none is missing before another";
            return true;
        });
        // A frame each 200 us at the most often: 5,000 of them are a second.
        ASSERT_LE(page.Number().load() - last, 5'000U);
        mostLost = std::max(mostLost, page.Number().load() - last);
        EXPECT_EQ(reader.DamagedChunks(), 0U);
    }
    RecordProperty("most_lost", static_cast<int>(mostLost));
    std::printf("of %d programs that were killed the recording lacked %llu frames at most, of some 3,000 a second\n",
                rounds, static_cast<unsigned long long>(mostLost));
}

} // namespace
} // namespace qx5::test
