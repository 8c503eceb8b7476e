// The system's clocks as one moment.
#include "sparkplug/message.h"

namespace qx5::sparkplug {

Moment SystemMoment()
{
    auto const utc = std::chrono::system_clock::now().time_since_epoch();
    return {std::chrono::steady_clock::now(),
            static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(utc).count())};
}

} // namespace qx5::sparkplug
