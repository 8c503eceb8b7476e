// Replaces a file by moving another one into its place, on Windows.
#include "operation/platform/whole_file.h"

#include "reference_host/platform/replace_file.h"

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
    auto const fail = [&](std::error_code const& reason) {
        error = "cannot be written: " + reason.message();
        return false;
    };
    auto const last = [] { return std::error_code(static_cast<int>(GetLastError()), std::system_category()); };
    static std::atomic<unsigned> number = 0;
    auto beside = file;
    beside += "." + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number);
    HANDLE const handle =
        CreateFileW(beside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return fail(last());
    }
    auto reason = WriteAll(handle, text) ? std::error_code() : last();
    if (CloseHandle(handle) == 0 && !reason) {
        reason = last();
    }
    if (!reason) {
        reason = vordal::platform::PutInPlace(beside, file);
    }
    if (!reason) {
        return true;
    }
    DeleteFileW(beside.c_str());
    return fail(reason);
}

} // namespace qx5::operation
