// The time zone of the process, for as long as a scenario runs.
#include "cli/scenario/timezone.h"

#include "cli/scenario/platform/process_zone.h"

#include <cstdlib>

namespace qx5::cli {

TimezoneSetting::TimezoneSetting(std::string const& name)
{
    if (char const* former = std::getenv("TZ"); former != nullptr) {
        m_former = former;
    }
    platform::SetProcessZone(name);
}

TimezoneSetting::~TimezoneSetting()
{
    platform::SetProcessZone(m_former);
}

} // namespace qx5::cli
