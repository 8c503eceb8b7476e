// The time zone of the process, as each platform sets it.
#include "cli/scenario/timezone.h"

#include <cstdlib>
#include <ctime>

namespace qx5::cli {

namespace {

void Set(std::optional<std::string> const& name)
{
#if defined(_WIN32)
    _putenv_s("TZ", name.value_or("").c_str());
    _tzset();
#else
    if (name.has_value()) {
        setenv("TZ", name->c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
#endif
}

} // namespace

TimezoneSetting::TimezoneSetting(std::string const& name)
{
    if (char const* former = std::getenv("TZ"); former != nullptr) {
        m_former = former;
    }
    Set(name);
}

TimezoneSetting::~TimezoneSetting()
{
    Set(m_former);
}

} // namespace qx5::cli
