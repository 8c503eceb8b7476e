// Recordings on the disk.
#include "recording_file.h"

#include "recording/recording_error.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace qx5::recording {

namespace {

[[noreturn]] void Refuse(std::filesystem::path const& file, std::string_view what, int problem)
{
    throw RecordingError(fmt::format("{}: {}: {}", file.string(), what, std::generic_category().message(problem)));
}

} // namespace

RecordingFile::RecordingFile(std::filesystem::path file)
    : m_path(std::move(file)), m_descriptor(::open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644))
{
    if (m_descriptor < 0) {
        Refuse(m_path, errno == EEXIST ? "nothing is written over a file that is there" : "cannot be written", errno);
    }
    ::flock(m_descriptor, LOCK_EX | LOCK_NB);
}

RecordingFile::~RecordingFile()
{
    ::close(m_descriptor);
}

void RecordingFile::Append(std::span<unsigned char const> first, std::span<unsigned char const> second)
{
    auto const all = first.size() + second.size();
    for (std::size_t done = 0; done < all;) {
        auto const rest = first.subspan(std::min(done, first.size()));
        auto const restOfSecond = second.subspan(done > first.size() ? done - first.size() : 0);
        // The system only reads what these point to.
        std::array<iovec, 2> parts{{{const_cast<unsigned char*>(rest.data()), rest.size()},
                                    {const_cast<unsigned char*>(restOfSecond.data()), restOfSecond.size()}}};
        auto const count = ::writev(m_descriptor, parts.data(), static_cast<int>(parts.size()));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            int const problem = errno;
            if (::ftruncate(m_descriptor, static_cast<off_t>(m_size)) == 0) {
                ::lseek(m_descriptor, 0, SEEK_END);
            }
            Refuse(m_path, "cannot be written any further", problem);
        }
        done += static_cast<std::size_t>(count);
    }
    m_size += all;
}

void RecordingFile::Sync()
{
    if (::fdatasync(m_descriptor) != 0 && errno != EINVAL && errno != EROFS) {
        Refuse(m_path, "is not safe on the disk", errno);
    }
}

RecordingLock::RecordingLock(std::filesystem::path const& file)
    : m_descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC))
{
    if (m_descriptor < 0) {
        Refuse(file, "cannot be read", errno);
    }
    // A file system without locks has nobody who is known to record.
    if (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        ::close(m_descriptor);
        throw RecordingError(fmt::format("{}: is being recorded", file.string()));
    }
}

RecordingLock::~RecordingLock()
{
    ::close(m_descriptor);
}

RecordedFile::RecordedFile(std::filesystem::path file)
    : m_path(std::move(file)), m_descriptor(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC))
{
    struct stat state = {};
    if (m_descriptor < 0 || ::fstat(m_descriptor, &state) != 0) {
        int const problem = errno;
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
        Refuse(m_path, "cannot be read", problem);
    }
    if (!S_ISREG(state.st_mode)) {
        ::close(m_descriptor);
        throw RecordingError(fmt::format("{}: is no file", m_path.string()));
    }
    m_size = static_cast<std::uint64_t>(state.st_size);
}

RecordedFile::~RecordedFile()
{
    ::close(m_descriptor);
}

bool RecordedFile::Read(std::uint64_t offset, std::span<unsigned char> bytes) const
{
    if (offset > m_size || bytes.size() > m_size - offset) {
        return false;
    }
    for (std::size_t done = 0; done < bytes.size();) {
        auto const count =
            ::pread(m_descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace qx5::recording
