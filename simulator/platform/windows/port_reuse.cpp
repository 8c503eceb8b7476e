// A port that was listened on a moment ago, on Windows.
#include <simulator/platform/port_reuse.h>

namespace qx5::simulator {

void ReusePort(int)
{
    // It may be listened on anyway; the option of that name would let two programs do so.
}

} // namespace qx5::simulator
