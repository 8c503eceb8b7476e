// Where this program lies on disk, on each platform.
#include "executable_path.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace qx5::cli {

std::filesystem::path ExecutablePath()
{
#if defined(_WIN32)
    wchar_t name[32768];
    DWORD const length = GetModuleFileNameW(nullptr, name, 32768);
    return length == 0 || length == 32768 ? std::filesystem::path() : std::filesystem::path(name, name + length);
#else
    std::error_code problem;
    return std::filesystem::read_symlink("/proc/self/exe", problem);
#endif
}

} // namespace qx5::cli
