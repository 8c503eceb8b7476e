// The host's log: one line at a time, to standard error or to whoever has taken it over.
#pragma once

#include <VordalBaseR/Export.h>

#include <functional>
#include <string_view>

namespace vordal {

enum class LogLevel
{
    Debug,
    Info,
    Warning,
    Error
};

using LogSink = std::function<void(LogLevel level, std::string_view line)>;

/// Writes one UTF-8 line without its line end. Any thread; never throws. What is kept is told by log_settings.h: unless
/// told otherwise, debug lines go nowhere but to a sink.
VORDAL_API void Log(LogLevel level, std::string_view line) noexcept;

/// Takes the log over until it is given back with an empty function. The sink is called from any thread, one call at a
/// time, and must not log itself. Belongs to the process, not to a host.
VORDAL_API void SetLogSink(LogSink sink);

} // namespace vordal
