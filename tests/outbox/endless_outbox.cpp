// A vessel and its shore until they are killed: twenty events a second of compressed time into an outbox, over a line
// that loses, repeats and turns around, into an archive. Ends by itself when all is there.
#include "outbox/archive.h"
#include "outbox/outbox.h"
#include "outbox/sending.h"
#include "tests/support/killed_program.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace qx5::outbox {
namespace {

constexpr int eventsPerSecond = 20;

int Run(char const* outboxFile, char const* archiveFile, char const* pageFile, std::uint64_t events)
{
    test::SharedNumber const page(pageFile, test::SharedNumber::File::Open);
    std::mt19937 random(std::random_device{}());
    double steady = 0.0;
    OutboxOptions options;
    Outbox outbox(outboxFile, options);
    Archive archive(archiveFile);
    SendingOptions pieces;
    pieces.bytesPerSecond = 20'000.0;
    pieces.resendAfter = 2.0;
    pieces.steady = [&steady] { return steady; };
    Sending sending(outbox, pieces);
    std::vector<Received> line;
    int lineChangesIn = 0;
    while (outbox.State().acknowledged < events) {
        steady += 1.0;
        for (int i = 0; i < eventsPerSecond; ++i) {
            if (auto const last = outbox.State().last; last < events) {
                if (outbox.Put(Kind::Event, "event " + std::to_string(last + 1)) != last + 1) {
                    return 3;
                }
                ++page.Number();
            }
        }
        outbox.Commit();
        ++page.Number();
        if (--lineChangesIn <= 0) {
            lineChangesIn = 1 + static_cast<int>(random() % 30);
            random() % 3 == 0 ? sending.OffLine() : sending.OnLine();
        }
        for (auto items = sending.Next(); !items.empty(); items = sending.Next()) {
            for (Item const& item : items) {
                // Lost, there, or there twice.
                auto const fate = random() % 8;
                for (int copies = fate == 0 ? 0 : fate == 1 ? 2 : 1; copies > 0; --copies) {
                    line.push_back({"Vega", outbox.Identity(), item});
                }
            }
        }
        std::shuffle(line.begin(), line.end(), random);
        auto const arrives = line.begin() + static_cast<std::ptrdiff_t>(line.size() - line.size() / 8);
        std::vector<Received> const arrived(line.begin(), arrives);
        line.erase(line.begin(), arrives);
        for (Acknowledgement const& each : archive.Take(arrived)) {
            ++page.Number();
            if (random() % 3 != 0 && !sending.Acknowledge(each.outbox, each.upTo)) {
                return 4;
            }
        }
        ++page.Number();
    }
    return 0;
}

} // namespace
} // namespace qx5::outbox

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fputs("endless_outbox OUTBOX ARCHIVE PAGE EVENTS\n", stderr);
        return 2;
    }
    try {
        return qx5::outbox::Run(argv[1], argv[2], argv[3], std::strtoull(argv[4], nullptr, 10));
    } catch (qx5::outbox::OutboxError const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
