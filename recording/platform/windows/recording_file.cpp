// Recordings on the disk, on Windows.
#include "recording/platform/recording_file.h"

#include "recording/recording_error.h"

#include <windows.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <utility>

namespace qx5::recording {

namespace {

[[noreturn]] void Refuse(std::filesystem::path const& file, std::string_view what, DWORD problem)
{
    throw RecordingError(
        fmt::format("{}: {}: {}", file.string(), what, std::system_category().message(static_cast<int>(problem))));
}

/// Handles have 32 bits that count, whatever the system's width.
int NumberOf(HANDLE handle)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

HANDLE HandleOf(int number)
{
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(number));
}

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// -1 when it cannot be opened.
int Open(std::filesystem::path const& file, DWORD access, DWORD how)
{
    return NumberOf(CreateFileW(file.c_str(), access, shareAll, nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// Who records holds one byte far beyond the end of any recording; a lock on what is written would keep readers out.
bool Lock(HANDLE file)
{
    OVERLAPPED place{};
    place.OffsetHigh = 0x7FFF'FFFF;
    return LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != 0;
}

} // namespace

RecordingFile::RecordingFile(std::filesystem::path file)
    : m_path(std::move(file)), m_descriptor(Open(m_path, GENERIC_WRITE, CREATE_NEW))
{
    if (m_descriptor == -1) {
        DWORD const problem = GetLastError();
        Refuse(m_path,
               problem == ERROR_FILE_EXISTS ? "nothing is written over a file that is there" : "cannot be written",
               problem);
    }
    Lock(HandleOf(m_descriptor));
}

RecordingFile::~RecordingFile()
{
    CloseHandle(HandleOf(m_descriptor));
}

void RecordingFile::Append(std::span<unsigned char const> first, std::span<unsigned char const> second)
{
    constexpr std::size_t most = std::size_t{1} << 30;
    for (auto rest : {first, second}) {
        while (!rest.empty()) {
            DWORD count = 0;
            auto const part = static_cast<DWORD>(std::min(rest.size(), most));
            if (WriteFile(HandleOf(m_descriptor), rest.data(), part, &count, nullptr) == 0) {
                DWORD const problem = GetLastError();
                LARGE_INTEGER end;
                end.QuadPart = static_cast<LONGLONG>(m_size);
                if (SetFilePointerEx(HandleOf(m_descriptor), end, nullptr, FILE_BEGIN) != 0) {
                    SetEndOfFile(HandleOf(m_descriptor));
                }
                Refuse(m_path, "cannot be written any further", problem);
            }
            rest = rest.subspan(count);
        }
    }
    m_size += first.size() + second.size();
}

void RecordingFile::Sync()
{
    if (FlushFileBuffers(HandleOf(m_descriptor)) == 0 && GetLastError() != ERROR_INVALID_FUNCTION) {
        Refuse(m_path, "is not safe on the disk", GetLastError());
    }
}

RecordingLock::RecordingLock(std::filesystem::path const& file)
    : m_descriptor(Open(file, GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING))
{
    if (m_descriptor == -1) {
        Refuse(file, "cannot be read", GetLastError());
    }
    // A file system without locks has nobody who is known to record.
    if (!Lock(HandleOf(m_descriptor)) && GetLastError() == ERROR_LOCK_VIOLATION) {
        CloseHandle(HandleOf(m_descriptor));
        throw RecordingError(fmt::format("{}: is being recorded", file.string()));
    }
}

RecordingLock::~RecordingLock()
{
    CloseHandle(HandleOf(m_descriptor));
}

RecordedFile::RecordedFile(std::filesystem::path file)
    : m_path(std::move(file)), m_descriptor(Open(m_path, GENERIC_READ, OPEN_EXISTING))
{
    LARGE_INTEGER size{};
    std::error_code ignored;
    if (m_descriptor == -1) {
        DWORD const problem = GetLastError();
        if (std::filesystem::is_directory(m_path, ignored)) {
            throw RecordingError(fmt::format("{}: is no file", m_path.string()));
        }
        Refuse(m_path, "cannot be read", problem);
    }
    if (GetFileSizeEx(HandleOf(m_descriptor), &size) == 0) {
        CloseHandle(HandleOf(m_descriptor));
        throw RecordingError(fmt::format("{}: is no file", m_path.string()));
    }
    m_size = static_cast<std::uint64_t>(size.QuadPart);
}

RecordedFile::~RecordedFile()
{
    CloseHandle(HandleOf(m_descriptor));
}

bool RecordedFile::Read(std::uint64_t offset, std::span<unsigned char> bytes) const
{
    if (offset > m_size || bytes.size() > m_size - offset) {
        return false;
    }
    constexpr std::size_t most = std::size_t{1} << 30;
    for (std::size_t done = 0; done < bytes.size();) {
        auto const at = offset + done;
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(at);
        place.OffsetHigh = static_cast<DWORD>(at >> 32);
        DWORD count = 0;
        auto const part = static_cast<DWORD>(std::min(bytes.size() - done, most));
        if (ReadFile(HandleOf(m_descriptor), bytes.data() + done, part, &count, &place) == 0 || count == 0) {
            return false;
        }
        done += count;
    }
    return true;
}

} // namespace qx5::recording
