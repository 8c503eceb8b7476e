// What of the host's log is kept, and where.
#pragma once

#include "reference_host/common/log.h"

#include <cstddef>
#include <filesystem>

namespace vordal {

struct LogSettings
{
    LogLevel least = LogLevel::Info; ///< lines below it go to a sink alone
    std::filesystem::path file;      ///< appended to, each line at once; empty: standard error
    /// A file that a line would make larger is put aside first, under its name with .1 before the extension; those
    /// aside move on by one, and the last one goes.
    std::size_t fileBytes = std::size_t{8} << 20U;
    std::size_t filesAside = 3;
};

/// From now on the log goes as told. Throws std::runtime_error, one line that names the file, when that cannot be
/// opened; the log then goes on as before. Any thread; belongs to the process.
VORDAL_API void BeginLog(LogSettings const& settings);

} // namespace vordal
