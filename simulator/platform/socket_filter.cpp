// Linux filters what arrives for a socket.
#include <simulator/platform/socket_filter.h>

#include <linux/filter.h>
#include <sys/socket.h>

namespace qx5::simulator {

bool DropWhatArrives(int socket, bool drop)
{
    if (!drop) {
        int const unused = 0;
        return ::setsockopt(socket, SOL_SOCKET, SO_DETACH_FILTER, &unused, sizeof unused) == 0;
    }
    sock_filter nothing = BPF_STMT(BPF_RET | BPF_K, 0);
    sock_fprog const program{1, &nothing};
    return ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

} // namespace qx5::simulator
