// Waiting for the first of several things that a command goes on for.
#include "waiting.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <system_error>

#include <poll.h>
#include <unistd.h>

namespace qx5::cli {

Awaited WaitForAny(int descriptor, int end, std::optional<std::chrono::milliseconds> limit)
{
    using Clock = std::chrono::steady_clock;
    auto const deadline = limit ? Clock::now() + *limit : Clock::time_point::max();
    // Of standard output nothing is waited for but that it ends.
    std::array<pollfd, 3> sources{{{end, POLLIN, 0}, {descriptor, POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
    for (;;) {
        int milliseconds = -1;
        if (limit) {
            auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            milliseconds = static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
        }
        int const ready = poll(sources.data(), sources.size(), milliseconds);
        if (ready < 0) {
            if (errno != EINTR) {
                throw std::system_error(errno, std::generic_category(), "it cannot be waited");
            }
            continue;
        }
        if (sources[0].revents != 0) {
            return Awaited::EndWanted;
        }
        if (sources[1].revents != 0) {
            return Awaited::Ready;
        }
        if ((sources[2].revents & (POLLERR | POLLHUP)) != 0) {
            return Awaited::ReaderGone;
        }
        if (limit && Clock::now() >= deadline) {
            return Awaited::TimeOver;
        }
    }
}

} // namespace qx5::cli
