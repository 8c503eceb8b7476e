// The span of one request or notification, for what must stay as it is until that has ended.
#include "reference_host/common/host_turn.h"

#include <atomic>

namespace vordal {
namespace {

std::atomic<std::uint64_t> lastTurn{0};

struct ThreadTurn
{
    std::uint64_t number;
    int depth;
};
// Trivial, so that reaching it costs no check of whether it was made.
thread_local ThreadTurn threadTurn{0, 0};

} // namespace

// A turn's number is taken when it is first asked for: hardly any turn needs one.
HostTurn::HostTurn()
{
    if (threadTurn.depth++ == 0) {
        threadTurn.number = 0;
    }
}

HostTurn::~HostTurn()
{
    --threadTurn.depth;
}

std::uint64_t HostTurn::Current()
{
    if (threadTurn.depth == 0) {
        return ++lastTurn;
    }
    if (threadTurn.number == 0) {
        threadTurn.number = ++lastTurn;
    }
    return threadTurn.number;
}

} // namespace vordal
