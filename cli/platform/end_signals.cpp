// The signals by which a terminal or the system asks a program to end, turned into something that an event loop can
// watch.
#include "end_signals.h"

#include <array>
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
/// The one that came; 0 for none.
volatile std::sig_atomic_t received = 0;

void OnSignal(int number)
{
    int const before = errno;
    received = number;
    char const told = 1;
    static_cast<void>(!write(ends[1], &told, 1));
    // The next one is the system's again.
    std::signal(number, SIG_DFL);
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

int EndSignals::Descriptor() const
{
    return ends[0];
}

} // namespace qx5::cli
