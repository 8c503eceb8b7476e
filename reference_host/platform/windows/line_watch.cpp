// How Windows finds out that the far end of a connection is gone.
#include "reference_host/platform/line_watch.h"

#include <winsock2.h>
// After it.
#include <mstcpip.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <chrono>
#include <limits>

namespace vordal::platform {
namespace {

/// A value that the system does not take leaves the connection working as it is.
void SetOption(SOCKET socket, int level, int option, long long value)
{
    if (value > 0) {
        auto const number = static_cast<DWORD>(std::min<long long>(value, std::numeric_limits<int>::max()));
        static_cast<void>(::setsockopt(socket, level, option, reinterpret_cast<char const*>(&number), sizeof(number)));
    }
}

// Options of Windows 10 that the compiler's headers do not have all.
constexpr int maximalRetransmissionSeconds = 5; // TCP_MAXRT
constexpr int keepaliveCount = 16;              // TCP_KEEPCNT
constexpr int keepaliveIdle = 3;                // TCP_KEEPIDLE
constexpr int keepaliveInterval = 17;           // TCP_KEEPINTVL

} // namespace

void WatchLine(int socket, LineWatch const& watch)
{
    auto const handle = static_cast<SOCKET>(socket);
    SetOption(handle, SOL_SOCKET, SO_KEEPALIVE, 1);
    // Whole seconds alone.
    SetOption(handle, IPPROTO_TCP, maximalRetransmissionSeconds,
              std::chrono::ceil<std::chrono::seconds>(watch.unacknowledged).count());
    SetOption(handle, IPPROTO_TCP, keepaliveIdle, watch.keepaliveIdle.count());
    SetOption(handle, IPPROTO_TCP, keepaliveInterval, watch.keepaliveInterval.count());
    SetOption(handle, IPPROTO_TCP, keepaliveCount, watch.keepaliveCount);
}

std::size_t UnacknowledgedBytes(int)
{
    // The system does not tell.
    return 0;
}

} // namespace vordal::platform
