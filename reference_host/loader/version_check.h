// What the loader wants to know of a module's version handshake.
#pragma once

#include <string>

namespace vordal {

struct VersionCheck
{
    std::string refusal;   ///< empty when it said yes or was not asked
    unsigned version = 0;  ///< of the contract, as the module told it; 0 when it was not asked
    std::string buildTime; ///< as the module told it
};

/// This thread's last CheckDllVersion. Asking forgets it.
VersionCheck TakeVersionCheck();

} // namespace vordal
