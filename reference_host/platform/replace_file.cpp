// Puts one file in the place of another, on POSIX systems.
#include "replace_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace vordal::platform {

std::error_code PutInPlace(std::filesystem::path const& file, std::filesystem::path const& target)
{
    std::error_code error;
    std::filesystem::rename(file, target, error);
    if (error) {
        return error;
    }
    // The name is a part of the folder. A file system that cannot put folders on the disk has done what it can.
    auto const folder = target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
    if (int const descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); descriptor >= 0) {
        static_cast<void>(::fsync(descriptor));
        ::close(descriptor);
    }
    return {};
}

} // namespace vordal::platform
