// Where this program lies on disk, on Linux.
#include "executable_path.h"

namespace qx5::cli {

std::filesystem::path ExecutablePath()
{
    std::error_code problem;
    return std::filesystem::read_symlink("/proc/self/exe", problem);
}

} // namespace qx5::cli
