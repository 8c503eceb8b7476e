// The outbox: how fast entries are put into it.
#include "recording_folder.h"
#include "stage.h"

#include "outbox/outbox.h"

#include <string>
#include <vector>

namespace bench {

namespace {

using qx5::outbox::Kind;
using qx5::outbox::Outbox;

/// Nanoseconds for an entry of 100 bytes, all of them on the (memory's) disk, so many with one transaction.
Case PuttingOf(std::string name, std::string work, std::size_t inOne)
{
    return {std::move(name), std::move(work), 3, [inOne](std::size_t samples, std::vector<double>& nanoseconds) {
                for (std::size_t i = 0; i < samples; ++i) {
                    RecordingFolder const folder;
                    Outbox outbox(folder.File());
                    constexpr std::size_t entries = 4096;
                    std::size_t put = 0;
                    Time(1, entries, nanoseconds, [&] {
                        outbox.Put(Kind::Event, std::string(100, 'x'));
                        if (++put % inOne == 0) {
                            outbox.Commit();
                        }
                    });
                }
            }};
}

} // namespace

std::vector<Case> OutboxCases()
{
    std::vector<Case> cases;
    cases.push_back(
        PuttingOf("outbox-put", "an entry of 100 bytes into an outbox in memory, 512 in a transaction", 512));
    cases.push_back(PuttingOf("outbox-put-alone", "the same, each in a transaction of its own", 1));
    return cases;
}

} // namespace bench
