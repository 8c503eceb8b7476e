// A port that was listened on a moment ago, on POSIX systems.
#include <simulator/platform/port_reuse.h>

#include <sys/socket.h>

namespace qx5::simulator {

void ReusePort(int socket)
{
    int const yes = 1;
    static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes));
}

} // namespace qx5::simulator
