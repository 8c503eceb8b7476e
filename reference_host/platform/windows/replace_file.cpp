// Puts one file in the place of another, on Windows.
#include "reference_host/platform/replace_file.h"

#include <windows.h>

namespace vordal::platform {

std::error_code PutInPlace(std::filesystem::path const& file, std::filesystem::path const& target)
{
    if (MoveFileExW(file.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
        return {static_cast<int>(GetLastError()), std::system_category()};
    }
    return {};
}

} // namespace vordal::platform
