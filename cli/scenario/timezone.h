// The time zone in which local time texts are made.
#pragma once

#include <optional>
#include <string>

namespace qx5::cli {

/// Sets the time zone of the process for its own lifetime and puts the former one back. Texts of local time that other
/// threads make meanwhile are undefined, so no other thread may run while one is made or destroyed.
class TimezoneSetting
{
public:
    explicit TimezoneSetting(std::string const& name);
    TimezoneSetting(TimezoneSetting const&) = delete;
    TimezoneSetting& operator=(TimezoneSetting const&) = delete;
    ~TimezoneSetting();

private:
    std::optional<std::string> m_former;
};

} // namespace qx5::cli
