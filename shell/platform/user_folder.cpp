// The folder in which programs of one user find one another, and who is at the other end of a socket there.
#include "shell/platform/user_folder.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fmt/format.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qx5::shell::platform {

std::filesystem::path UserFolder()
{
    char const* const runtime = std::getenv("XDG_RUNTIME_DIR");
    // A path that is not whole is to be passed over, says who invented the variable.
    if (runtime != nullptr && runtime[0] == '/') {
        return std::filesystem::path(runtime) / "qx5";
    }
    std::error_code ignored;
    auto const temporary = std::filesystem::temp_directory_path(ignored);
    return (ignored ? std::filesystem::path("/tmp") : temporary) / fmt::format("qx5-{}", geteuid());
}

bool IsPrivate(std::filesystem::path const& folder, std::string& error)
{
    struct stat found
    {
    };
    error.clear();
    if (lstat(folder.c_str(), &found) != 0) {
        if (errno != ENOENT) {
            error = fmt::format("{}: {}", folder.string(), std::generic_category().message(errno));
        }
        return false;
    }
    if (!S_ISDIR(found.st_mode) || found.st_uid != geteuid() || (found.st_mode & 0077) != 0) {
        error = fmt::format("{} is not a folder of this user alone (mode 0700)", folder.string());
        return false;
    }
    return true;
}

bool MakePrivate(std::filesystem::path const& folder, std::string& error)
{
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        error = fmt::format("{} cannot be made: {}", folder.string(), std::generic_category().message(errno));
        return false;
    }
    if (IsPrivate(folder, error)) {
        return true;
    }
    if (error.empty()) {
        error = fmt::format("{} is gone again", folder.string());
    }
    return false;
}

bool IsOfSameUser(int socket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

std::uint64_t ProcessNumber()
{
    return static_cast<std::uint64_t>(getpid());
}

} // namespace qx5::shell::platform
