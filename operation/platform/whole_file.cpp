// Replaces a file by renaming another one, on POSIX systems.
#include "whole_file.h"

#include <atomic>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qx5::operation {

namespace {

bool WriteAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        auto const written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return ::fsync(descriptor) == 0;
}

} // namespace

bool WriteWholeFile(std::filesystem::path const& file, std::string_view text, std::string& error)
{
    auto const fail = [&](int reason) {
        error = "cannot be written: " + std::generic_category().message(reason);
        return false;
    };
    static std::atomic<unsigned> number = 0;
    std::string const beside = file.string() + "." + std::to_string(::getpid()) + "-" + std::to_string(++number);
    int const descriptor = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return fail(errno);
    }
    struct stat old = {};
    bool const isThere = ::stat(file.c_str(), &old) == 0;
    bool const isWritten = (!isThere || ::fchmod(descriptor, old.st_mode & 07777U) == 0) && WriteAll(descriptor, text);
    int reason = isWritten ? 0 : errno;
    if (::close(descriptor) != 0 && reason == 0) {
        reason = errno;
    }
    if (reason == 0 && ::rename(beside.c_str(), file.c_str()) != 0) {
        reason = errno;
    }
    if (reason == 0) {
        return true;
    }
    ::unlink(beside.c_str());
    return fail(reason);
}

} // namespace qx5::operation
