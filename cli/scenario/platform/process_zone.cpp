// The time zone of the process, on POSIX systems.
#include "cli/scenario/platform/process_zone.h"

#include <cstdlib>
#include <ctime>

namespace qx5::cli::platform {

void SetProcessZone(std::optional<std::string> const& name)
{
    if (name.has_value()) {
        setenv("TZ", name->c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

} // namespace qx5::cli::platform
