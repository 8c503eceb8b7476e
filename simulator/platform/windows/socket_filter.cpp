// What arrives for a socket is not filtered on Windows.
#include <simulator/platform/socket_filter.h>

namespace qx5::simulator {

bool DropWhatArrives(int, bool drop)
{
    return !drop;
}

} // namespace qx5::simulator
