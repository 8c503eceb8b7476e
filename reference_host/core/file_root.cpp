// Where the full names of files lead to.
#include "reference_host/common/file_root.h"

#include "reference_host/common/log.h"
#include "reference_host/common/path_text.h"
#include "reference_host/core/host_state.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

namespace vordal {

std::filesystem::path PathOfFile(CString const& fullName)
{
    if (fullName.IsEmpty() || fullName.Find(L'\0') >= 0) {
        return {};
    }
    std::filesystem::path root;
    if (auto const* const host = CurrentState()) {
        std::lock_guard const lock(host->mutex);
        root = host->fileRoot;
    }
    auto named = PathOf(fullName);
    if (root.empty()) {
        return named;
    }
    // "/.." is "/": taken as an absolute name first, ".." cannot lead out.
    auto const absolute = (std::filesystem::path("/") / named.relative_path()).lexically_normal();
    return root / absolute.relative_path();
}

namespace {

bool IsBelow(std::filesystem::path const& file, std::filesystem::path const& folder)
{
    std::error_code error;
    auto top = std::filesystem::weakly_canonical(folder, error);
    if (error) {
        return false;
    }
    if (!top.has_filename()) {
        top = top.parent_path(); // "folder/" is "folder"
    }
    auto const [ofFolder, ofFile] = std::mismatch(top.begin(), top.end(), file.begin(), file.end());
    return ofFolder == top.end() && ofFile != file.end();
}

} // namespace

std::filesystem::path PathOfNamedFile(CString const& fullName, FileUse use)
{
    auto path = PathOfFile(fullName);
    auto const* const host = CurrentState();
    if (path.empty() || host == nullptr) {
        return path;
    }
    std::vector<std::filesystem::path> folders;
    {
        std::lock_guard const lock(host->mutex);
        if (!host->fileRoot.empty()) {
            return path;
        }
        folders = host->fileFolders;
    }
    if (folders.empty()) {
        for (CString const& folder : host->project.Folders()) {
            folders.push_back(PathOf(folder));
        }
    }
    std::error_code error;
    auto const real = use == FileUse::Read
                          ? std::filesystem::weakly_canonical(path, error)
                          : std::filesystem::weakly_canonical(path.parent_path(), error) / path.filename();
    auto const isBelow = [&real](std::filesystem::path const& folder) { return IsBelow(real, folder); };
    if (!error && std::any_of(folders.begin(), folders.end(), isBelow)) {
        return path;
    }
    Log(LogLevel::Warning, "a contact names the file \"" + Utf8Of(path) +
                               "\", which is not below the project's folders; it is not " +
                               (use == FileUse::Read ? "read" : "removed"));
    return {};
}

} // namespace vordal
