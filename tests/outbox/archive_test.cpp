// The archive ashore: each once, in order, whatever the line does to it; and what it says that it has.
#include "outbox/archive.h"
#include "outbox/sending.h"
#include "tests/support/temporary_folder.h"

#include <atomic>
#include <fstream>
#include <random>

#include <gmock/gmock.h>

namespace qx5::outbox {
namespace {

using ::testing::ElementsAre;

constexpr char const* box = "0123456789abcdef0123456789abcdef";

class ArchiveTest : public ::testing::Test
{
protected:
    std::uint64_t Take(std::vector<Item> const& items, std::string const& outbox = box)
    {
        std::vector<Received> received;
        for (Item const& item : items) {
            received.push_back({"Vega", outbox, item});
        }
        auto const standing = archive.Take(received);
        return standing.size() == 1 ? standing[0].upTo : 999;
    }
    static Item Entry(std::uint64_t number, Kind kind = Kind::Event)
    {
        return {number, number, kind, "n" + std::to_string(number)};
    }
    static Item Gap(std::uint64_t first, std::uint64_t last) { return {first, last, std::nullopt, {}}; }
    std::vector<std::string> Kept(std::string const& vessel = "Vega")
    {
        std::vector<std::string> lines;
        archive.Read(vessel, [&](Received const& each) {
            lines.push_back(each.item.kind ? each.item.payload
                                           : std::to_string(each.item.number) + "-" + std::to_string(each.item.last));
            return true;
        });
        return lines;
    }

    qx5::test::TemporaryFolder const folder;
    std::filesystem::path const file = folder / "fleet.archive";
    Archive archive{file};
};

TEST_F(ArchiveTest, KeepsEachOnceAndSaysHowFarItHasAll)
{
    EXPECT_EQ(archive.Acknowledged("Vega", box), 0U);
    EXPECT_EQ(Take({Entry(3)}), 0U);
    EXPECT_EQ(Take({Entry(1), Entry(3), Entry(1)}), 1U);
    EXPECT_EQ(Take({Entry(2)}), 3U);
    EXPECT_EQ(Take({Entry(2), Entry(5)}), 3U);
    EXPECT_THAT(Kept(), ElementsAre("n1", "n2", "n3", "n5"));
    EXPECT_EQ(Take({{2, 2, Kind::Action, "another"}}), 3U);
    EXPECT_EQ(Take({Entry(4)}), 5U);
    EXPECT_THAT(Kept(), ElementsAre("n1", "n2", "n3", "n4", "n5")) << "what came first stays";
    EXPECT_EQ(archive.Acknowledged("Vega", box), 5U);
    EXPECT_EQ(archive.Acknowledged("Altair", box), 0U);
    Archive const again(file);
    EXPECT_EQ(Archive(file).Acknowledged("Vega", box), 5U) << "on the disk";
}

TEST_F(ArchiveTest, DoesNotWaitForWhatIsAGap)
{
    EXPECT_EQ(Take({Entry(6), Entry(1)}), 1U);
    EXPECT_EQ(Take({Gap(2, 3)}), 3U);
    EXPECT_EQ(Take({Gap(5, 5)}), 3U);
    EXPECT_EQ(Take({Gap(4, 4)}), 6U);
    EXPECT_THAT(Kept(), ElementsAre("n1", "2-5", "n6"));
    EXPECT_EQ(Take({Entry(3)}), 6U) << "it came after all";
    EXPECT_THAT(Kept(), ElementsAre("n1", "2-2", "n3", "4-5", "n6"));
    EXPECT_EQ(Take({Gap(1, 6)}), 6U) << "what an archive that begins now is told";
    EXPECT_THAT(Kept(), ElementsAre("n1", "2-2", "n3", "4-5", "n6"));
    EXPECT_EQ(Take({Gap(9, 20), Gap(30, 40), Gap(15, 32)}), 6U);
    EXPECT_EQ(Take({Entry(7), Entry(8), Entry(41)}), 41U);
    EXPECT_THAT(Kept(), ElementsAre("n1", "2-2", "n3", "4-5", "n6", "n7", "n8", "9-40", "n41"));
    EXPECT_EQ(Take({Gap(1, 100)}, "another"), 100U);
    EXPECT_THAT(Kept(), ElementsAre("n1", "2-2", "n3", "4-5", "n6", "n7", "n8", "9-40", "n41", "1-100"));
}

TEST_F(ArchiveTest, KeepsVesselsAndOutboxesApart)
{
    std::vector<Received> const received{{"Vega", box, Entry(1)}, {"Altair", box, Entry(2)}, {"Vega", "new", Entry(1)}};
    EXPECT_EQ(archive.Take(received),
              (std::vector<Acknowledgement>{{"Vega", box, 1}, {"Altair", box, 0}, {"Vega", "new", 1}}));
    EXPECT_THAT(Kept("Altair"), ElementsAre("n2"));
    EXPECT_THAT(Kept("Deneb"), ElementsAre());
    int seen = 0;
    archive.Read("Vega", [&](Received const&) { return ++seen < 1; });
    EXPECT_EQ(seen, 1) << "it ends when it is told to";
}

TEST_F(ArchiveTest, PassesOverWhatNoOutboxSends)
{
    std::vector<Received> const wrong{{"", box, Entry(1)},
                                      {"Vega", "", Entry(1)},
                                      {"Vega", box, Entry(0)},
                                      {"Vega", box, Gap(5, 4)},
                                      {"Vega", box, Gap(1, std::uint64_t{1} << 62U)},
                                      {"Vega", box, {1, 2, Kind::Event, "x"}},
                                      {"Vega", box, {1, 1, static_cast<Kind>(9), "x"}}};
    EXPECT_TRUE(archive.Take(wrong).empty());
    EXPECT_EQ(archive.PassedOver(), 7U);
    EXPECT_TRUE(Kept().empty());
    EXPECT_EQ(Take({Gap(1, (std::uint64_t{1} << 62U) - 1)}), (std::uint64_t{1} << 62U) - 1);
    EXPECT_EQ(Take({Entry(7)}), (std::uint64_t{1} << 62U) - 1);
    auto const text = folder / "text";
    std::ofstream(text) << "what somebody wrote, and long enough to be looked at as if it were a database";
    EXPECT_THROW(Archive{text}, OutboxError);
}

TEST_F(ArchiveTest, HasAllThatAFullOutboxStillHadAndItsGapsOverABadLine)
{
    std::mt19937 random(3);
    std::atomic<double> steady = 0.0;
    OutboxOptions options;
    options.greatestBytes = 20'000;
    options.steady = [&] { return steady.load(); };
    Outbox outbox(folder / "o", options);
    SendingOptions pieces;
    pieces.bytesPerSecond = 20'000.0;
    pieces.pieceBytes = 1000;
    pieces.greatestBytes = 5000;
    pieces.resendAfter = 2.0;
    pieces.steady = options.steady;
    Sending sending(outbox, pieces);
    sending.OnLine();
    std::vector<Received> line;
    std::uint64_t put = 0;
    for (int i = 0; outbox.State().acknowledged < 5000; ++i) {
        ASSERT_LT(i, 1'000'000);
        steady += 0.01;
        if (put < 5000) {
            for (int j = 0; j < 5; ++j) {
                put = outbox.Put(static_cast<Kind>(random() % 4), std::to_string(put + 1));
            }
            outbox.Commit();
        }
        for (Item const& item : sending.Next()) {
            for (auto copies = random() % 3; copies > 0; --copies) {
                line.push_back({"Vega", outbox.Identity(), item});
            }
        }
        // Anything that is on the line may arrive next.
        if (line.size() > 20 || put >= 5000) {
            std::shuffle(line.begin(), line.end(), random);
            std::vector<Received> const arrives(line.begin(),
                                                line.begin() + static_cast<std::ptrdiff_t>((line.size() + 1) / 2));
            line.erase(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(arrives.size()));
            auto const standing = archive.Take(arrives);
            if (!standing.empty() && random() % 2 == 0) {
                ASSERT_TRUE(sending.Acknowledge(standing[0].outbox, standing[0].upTo));
            }
        }
    }
    std::uint64_t next = 1;
    std::uint64_t gone = 0;
    archive.Read("Vega", [&](Received const& each) {
        EXPECT_EQ(each.item.number, next);
        next = each.item.last + 1;
        gone += each.item.kind ? 0 : each.item.last - each.item.number + 1;
        EXPECT_TRUE(!each.item.kind || each.item.payload == std::to_string(each.item.number));
        return true;
    });
    EXPECT_EQ(next, 5001U);
    auto const shed = outbox.State().shed;
    EXPECT_GT(gone, 100U) << "it was full, and what gave way on the way may have come all the same";
    EXPECT_LE(gone, shed[0] + shed[1] + shed[2] + shed[3]);
}

} // namespace
} // namespace qx5::outbox
