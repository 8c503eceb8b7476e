// Puts one file in the place of another, on Windows.
#include "reference_host/platform/replace_file.h"

#include <windows.h>

#include <string>

namespace vordal::platform {

std::error_code PutInPlace(std::filesystem::path const& file, std::filesystem::path const& target)
{
    auto const move = [](std::filesystem::path const& from, std::filesystem::path const& to, DWORD how) {
        return MoveFileExW(from.c_str(), to.c_str(), how | MOVEFILE_WRITE_THROUGH) != 0;
    };
    if (move(file, target, MOVEFILE_REPLACE_EXISTING)) {
        return {};
    }
    DWORD const problem = GetLastError();
    // One that somebody reads, who shares it, is not replaced but can be moved: it goes aside, and away once it is
    // closed.
    auto aside = target;
    aside += L".replaced-" + std::to_wstring(GetCurrentProcessId());
    if ((problem == ERROR_ACCESS_DENIED || problem == ERROR_SHARING_VIOLATION) && move(target, aside, 0)) {
        if (move(file, target, 0)) {
            DeleteFileW(aside.c_str());
            return {};
        }
        move(aside, target, 0);
    }
    return {static_cast<int>(problem), std::system_category()};
}

} // namespace vordal::platform
