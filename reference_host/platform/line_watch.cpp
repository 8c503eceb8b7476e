// How the system finds out that the far end of a connection is gone, on every platform.
#include "reference_host/platform/line_watch.h"

#include <algorithm>
#include <limits>

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace vordal::platform {
namespace {

/// A value that the system does not take leaves the connection working as it is.
void SetOption(int socket, int level, int option, long long value)
{
    if (value > 0) {
        auto const number = static_cast<int>(std::min<long long>(value, std::numeric_limits<int>::max()));
        static_cast<void>(::setsockopt(socket, level, option, &number, sizeof(number)));
    }
}

} // namespace

void WatchLine(int socket, LineWatch const& watch)
{
    SetOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
    SetOption(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, watch.unacknowledged.count());
    SetOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, watch.keepaliveIdle.count());
    SetOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, watch.keepaliveInterval.count());
    SetOption(socket, IPPROTO_TCP, TCP_KEEPCNT, watch.keepaliveCount);
}

std::size_t UnacknowledgedBytes(int socket)
{
    int bytes = 0;
    return ::ioctl(socket, SIOCOUTQ, &bytes) == 0 && bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

} // namespace vordal::platform
