// The time zone of the process.
#pragma once

#include <optional>
#include <string>

namespace qx5::cli::platform {

/// Sets the variable TZ to a zone as POSIX writes it, such as "CET-1CEST,M3.5.0,M10.5.0/3"; nothing: the system's own.
/// While no other thread reads the environment.
void SetProcessZone(std::optional<std::string> const& name);

} // namespace qx5::cli::platform
