// Where the full names of files lead to.
#include "reference_host/host/file_root.h"

#include "reference_host/base/path_text.h"
#include "reference_host/host/host_state.h"

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

} // namespace vordal
