// The signals by which a terminal or the system asks a program to end, turned into something that an event loop can
// watch.
#include "end_signals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace qx5::cli {

namespace {

constexpr std::array endSignals{SIGINT, SIGTERM, SIGHUP};
/// Read end and write end; used within a signal's handler, which may still run on another thread when the object has
/// gone: made once, they stay for the life of the process.
int ends[2]{-1, -1};
/// The one that came last; 0 for none.
volatile std::sig_atomic_t received = 0;
/// All that came, and those of them from the keyboard.
std::atomic<int> count = 0;
std::atomic<int> interrupts = 0;
static_assert(std::atomic<int>::is_always_lock_free);

constexpr int enoughInterrupts = 3;

void OnSignal(int number)
{
    int const before = errno;
    received = number;
    char const told = 1;
    static_cast<void>(!write(ends[1], &told, 1));
    count.fetch_add(1);
    if (number == SIGINT && interrupts.fetch_add(1) + 1 == enoughInterrupts - 1) {
        // The next one is the system's again.
        std::signal(number, SIG_DFL);
    }
    errno = before;
}

} // namespace

EndSignals::EndSignals()
{
    if (ends[0] < 0 && pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category(), "no descriptor is left for the signals to end");
    }
    // What came for an earlier one is not for this.
    std::array<char, 16> earlier;
    while (read(ends[0], earlier.data(), earlier.size()) > 0) {
    }
    received = 0;
    count = 0;
    interrupts = 0;
    for (int const number : endSignals) {
        std::signal(number, OnSignal);
    }
}

EndSignals::~EndSignals()
{
    for (int const number : endSignals) {
        std::signal(number, SIG_DFL);
    }
}

void EndSignals::PassOn()
{
    if (int const number = received; number != 0) {
        std::signal(number, SIG_DFL);
        std::raise(number);
    }
}

int EndSignals::Count()
{
    return count.load();
}

int EndSignals::Descriptor() const
{
    return ends[0];
}

} // namespace qx5::cli
