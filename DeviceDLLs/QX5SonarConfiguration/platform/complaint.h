// Lines for whoever runs the process, on every platform.
#pragma once

#include <string_view>

namespace qx5::platform {

/// Says in one line what the plug-in refuses to do and why: UTF-8, without a line end. It goes to standard error, as
/// the host has no log for plug-ins. For what would otherwise be lost without anybody's knowledge. Any thread; never
/// throws.
void Complain(std::string_view line) noexcept;

} // namespace qx5::platform
