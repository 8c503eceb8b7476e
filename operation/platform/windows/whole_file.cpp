// Replaces a file by moving another one into its place, on Windows.
#include "operation/platform/whole_file.h"

#include <windows.h>

#include <atomic>
#include <system_error>

namespace qx5::operation {

namespace {

bool WriteAll(HANDLE file, std::string_view text)
{
    while (!text.empty()) {
        DWORD written = 0;
        auto const part = static_cast<DWORD>(text.size() < 0x4000'0000 ? text.size() : 0x4000'0000);
        if (WriteFile(file, text.data(), part, &written, nullptr) == 0) {
            return false;
        }
        text.remove_prefix(written);
    }
    return FlushFileBuffers(file) != 0;
}

} // namespace

bool WriteWholeFile(std::filesystem::path const& file, std::string_view text, std::string& error)
{
    auto const fail = [&](DWORD reason) {
        error = "cannot be written: " + std::system_category().message(static_cast<int>(reason));
        return false;
    };
    static std::atomic<unsigned> number = 0;
    auto beside = file;
    beside += "." + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number);
    HANDLE const handle =
        CreateFileW(beside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return fail(GetLastError());
    }
    DWORD reason = WriteAll(handle, text) ? 0 : GetLastError();
    if (CloseHandle(handle) == 0 && reason == 0) {
        reason = GetLastError();
    }
    if (reason == 0 &&
        MoveFileExW(beside.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
        reason = GetLastError();
    }
    if (reason == 0) {
        return true;
    }
    DeleteFileW(beside.c_str());
    return fail(reason);
}

} // namespace qx5::operation
