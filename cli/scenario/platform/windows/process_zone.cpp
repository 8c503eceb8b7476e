// The time zone of the process, on Windows.
#include "cli/scenario/platform/process_zone.h"

#include <cstdlib>

namespace qx5::cli::platform {

void SetProcessZone(std::optional<std::string> const& name)
{
    // An empty value takes the variable away.
    static_cast<void>(_putenv_s("TZ", name.value_or("").c_str()));
}

} // namespace qx5::cli::platform
