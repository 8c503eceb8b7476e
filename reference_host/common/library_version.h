// Which release of the project the host library is of: that of the programs built with it, or the system has found
// another.
#pragma once

#include <VordalBaseR/Export.h>

#include <string>
#include <string_view>

namespace vordal {

/// "0.1.0": the release that the library which is loaded belongs to. Any thread.
VORDAL_API std::string_view LibraryVersion() noexcept;

/// For what was built with the library and calls more of it than the contract: one line on a library of another release
/// than `own`, which an older installation leaves where the system looks first; empty where they fit.
inline std::string UnfitLibrary(std::string_view own)
{
    if (LibraryVersion() == own) {
        return {};
    }
    return "libvordalhost is of release " + std::string(LibraryVersion()) + ", this program of " + std::string(own) +
           ": an older installation comes first where the system looks for libraries (`ldconfig -p`); remove it";
}

} // namespace vordal
