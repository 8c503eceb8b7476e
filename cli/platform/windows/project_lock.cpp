// A project file that this process works on, on Windows: the lock file is held open, and goes with who holds it.
#include "cli/platform/project_lock.h"

#include "cli/platform/executable_path.h"
#include "reference_host/common/path_text.h"

#include <protocol/utf8.h>

#include <windows.h>

#include <fmt/format.h>

#include <system_error>

namespace qx5::cli {

namespace {

std::string NameOfMachine()
{
    wchar_t name[256];
    DWORD length = 256;
    return GetComputerNameExW(ComputerNameDnsHostname, name, &length) != 0 ? protocol::EncodeUtf8({name, length})
                                                                           : std::string();
}

} // namespace

std::unique_ptr<ProjectLock> ProjectLock::Take(std::filesystem::path const& project, std::string& error)
{
    std::error_code failure;
    auto whole = std::filesystem::weakly_canonical(std::filesystem::absolute(project, failure), failure);
    if (failure) {
        whole = project;
    }
    auto const file = std::filesystem::path(whole.native() + L".lock");
    std::string const name = vordal::Utf8Of(whole);
    HANDLE const handle = CreateFileW(file.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        if (GetLastError() == ERROR_SHARING_VIOLATION) {
            error = fmt::format("\"{}\" is open in another program", name);
        } else {
            error = fmt::format("\"{}\" cannot be written: the file or its folder does not allow it", name);
        }
        return nullptr;
    }
    std::unique_ptr<ProjectLock> lock(new ProjectLock([handle] { CloseHandle(handle); }));
    auto const text = fmt::format("{}\n{}\n{}\n", GetCurrentProcessId(), vordal::Utf8Of(ExecutablePath().filename()),
                                  NameOfMachine());
    DWORD written = 0;
    if (WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0 ||
        written != text.size()) {
        error = fmt::format("\"{}\" cannot be written: the disk has no room for its lock", name);
        return nullptr;
    }
    return lock;
}

ProjectLock::~ProjectLock()
{
    m_release();
}

} // namespace qx5::cli
