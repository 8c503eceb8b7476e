// The process's own descriptors, searched for lines to a port.
#include "broker/prompt_lines.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <charconv>
#include <filesystem>
#include <string>
#include <system_error>

namespace qx5::broker {

namespace {

/// 0 of what is no connected socket.
std::uint16_t PeerPort(int descriptor)
{
    sockaddr_storage peer{};
    socklen_t size = sizeof peer;
    if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0) {
        return 0;
    }
    if (peer.ss_family == AF_INET) {
        return ntohs(reinterpret_cast<sockaddr_in const&>(peer).sin_port);
    }
    return peer.ss_family == AF_INET6 ? ntohs(reinterpret_cast<sockaddr_in6 const&>(peer).sin6_port) : std::uint16_t{0};
}

} // namespace

void HoldNothingBack(std::uint16_t port)
{
    std::error_code failed;
    for (std::filesystem::directory_iterator entry("/proc/self/fd", failed), end; !failed && entry != end;
         entry.increment(failed)) {
        auto const name = entry->path().filename().string();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        // One that another thread has closed meanwhile is none, or another: that is asked here.
        if (descriptor >= 0 && PeerPort(descriptor) == port) {
            int const yes = 1;
            ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
            ::setsockopt(descriptor, IPPROTO_TCP, TCP_THIN_LINEAR_TIMEOUTS, &yes, sizeof yes);
        }
    }
}

} // namespace qx5::broker
