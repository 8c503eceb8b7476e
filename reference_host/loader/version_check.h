// What the loader wants to know of a module's version handshake.
#pragma once

#include <string>

namespace vordal {

/// Why this thread's last CheckDllVersion said no; empty when it said yes or was not asked. Asking clears it.
std::string TakeVersionRefusal();

} // namespace vordal
