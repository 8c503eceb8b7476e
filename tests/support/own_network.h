// A network of the test's own, for tests in which a peer takes away what arrives before its system sees it.
#pragma once

#include <string>

#include <linux/filter.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace qx5::test {

/// Whether this process may put a filter before a socket; root may, and on many systems everybody.
inline bool MayFilterSockets()
{
    int const probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sock_filter everything = BPF_STMT(BPF_RET | BPF_K, 0xFFFFFFFFU);
    sock_fprog const program{1, &everything};
    bool const may = setsockopt(probe, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
    close(probe);
    return may;
}

/// Moves a process that may not filter sockets into namespaces of its own, where it may, with a loopback device and
/// nothing else; its children come along. To be called while the process has one thread. An empty text when segments
/// can be taken away from now on, otherwise why not.
inline std::string PrepareToDropSegments()
{
    if (MayFilterSockets()) {
        return {};
    }
    constexpr char const* refused = "this system lets a user neither filter sockets nor have a network of his own; "
                                    "run this test as root";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        return refused;
    }
    int const any = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq loopback{};
    loopback.ifr_name[0] = 'l';
    loopback.ifr_name[1] = 'o';
    bool isUp = ioctl(any, SIOCGIFFLAGS, &loopback) == 0;
    loopback.ifr_flags = static_cast<short>(loopback.ifr_flags | IFF_UP);
    isUp = isUp && ioctl(any, SIOCSIFFLAGS, &loopback) == 0;
    close(any);
    return isUp && MayFilterSockets() ? std::string() : refused;
}

} // namespace qx5::test
