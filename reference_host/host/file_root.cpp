// Where the full names of files lead to.
#include "reference_host/host/file_root.h"

#include "reference_host/host/host_state.h"

#include <tvcoreR/Utf8.h>

#include <string>

namespace vordal {

std::filesystem::path PathOfFile(CString const& fullName)
{
    auto const utf8 = tvcore::ToUtf8(fullName);
    if (utf8.empty() || utf8.find('\0') != std::string::npos) {
        return {};
    }
    std::filesystem::path root;
    if (auto const* const host = CurrentState()) {
        std::lock_guard const lock(host->mutex);
        root = host->fileRoot;
    }
    std::filesystem::path named(std::u8string(utf8.begin(), utf8.end()));
    if (root.empty()) {
        return named;
    }
    // "/.." is "/": taken as an absolute name first, ".." cannot lead out.
    auto const absolute = (std::filesystem::path("/") / named.relative_path()).lexically_normal();
    return root / absolute.relative_path();
}

} // namespace vordal
