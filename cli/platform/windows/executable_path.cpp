// Where this program lies on disk, on Windows.
#include "cli/platform/executable_path.h"

#include <windows.h>

namespace qx5::cli {

std::filesystem::path ExecutablePath()
{
    static wchar_t name[32768];
    DWORD const length = GetModuleFileNameW(nullptr, name, 32768);
    return length == 0 || length == 32768 ? std::filesystem::path() : std::filesystem::path(name, name + length);
}

} // namespace qx5::cli
