// Linux filters what arrives for a socket; elsewhere there is no such thing.
#include <simulator/socket_filter.h>

#ifdef __linux__
#include <linux/filter.h>
#include <sys/socket.h>
#endif

namespace qx5::simulator {

bool DropWhatArrives(int socket, bool drop)
{
#ifdef __linux__
    if (!drop) {
        int const unused = 0;
        return ::setsockopt(socket, SOL_SOCKET, SO_DETACH_FILTER, &unused, sizeof unused) == 0;
    }
    sock_filter nothing = BPF_STMT(BPF_RET | BPF_K, 0);
    sock_fprog const program{1, &nothing};
    return ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
#else
    static_cast<void>(socket);
    return !drop;
#endif
}

} // namespace qx5::simulator
