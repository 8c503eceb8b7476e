// Reading of files that may be larger than 4 GB.
#include <VordalBaseR/HugeFileStream.h>

#include "reference_host/common/file_root.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/core/host_state.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <system_error>

struct HugeFileStream::State
{
    std::fstream stream;
};

HugeFileStream::HugeFileStream() = default;
HugeFileStream::~HugeFileStream() = default;

bool HugeFileStream::Open(CString const& fileName, bool write, bool create)
{
    Close();
    auto const path = vordal::PathOfNamedFile(fileName, vordal::FileUse::Read);
    if (path.empty()) {
        return false;
    }
    // Opening a pipe would wait for its other end, and a folder opens as if it were a file.
    std::error_code error;
    auto const status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) ? !std::filesystem::is_regular_file(status) : !create) {
        return false;
    }
    auto mode = std::ios::in | std::ios::binary;
    if (write || create) {
        mode |= std::ios::out;
    }
    if (create) {
        mode |= std::ios::trunc;
    }
    auto state = std::make_unique<State>();
    state->stream.open(path, mode);
    if (!state->stream.is_open()) {
        return false;
    }
    m_state = std::move(state);
    return true;
}

std::uint64_t HugeFileStream::GetSize() const
{
    if (m_state == nullptr) {
        return 0;
    }
    auto& buffer = *m_state->stream.rdbuf();
    auto const here = buffer.pubseekoff(0, std::ios::cur, std::ios::in);
    auto const end = buffer.pubseekoff(0, std::ios::end, std::ios::in);
    buffer.pubseekpos(here, std::ios::in);
    return end < 0 ? 0 : static_cast<std::uint64_t>(static_cast<std::streamoff>(end));
}

std::uint64_t HugeFileStream::Read(void* buffer, std::uint64_t size)
{
    if (m_state == nullptr) {
        return 0;
    }
    constexpr std::uint64_t greatest = std::numeric_limits<std::streamsize>::max();
    auto const wanted = static_cast<std::streamsize>(std::min(size, greatest));
    try {
        // The buffer throws when the disk fails; what was read until then is not told.
        return static_cast<std::uint64_t>(m_state->stream.rdbuf()->sgetn(static_cast<char*>(buffer), wanted));
    } catch (std::ios_base::failure const&) {
        return 0;
    }
}

void HugeFileStream::Close()
{
    m_state.reset();
}

bool HugeFileStream::Remove(CString const& fileName)
{
    if (auto* const observer = vordal::CurrentObserver()) {
        observer->OnRemoveFile(fileName);
    }
    auto const path = vordal::PathOfNamedFile(fileName, vordal::FileUse::Remove);
    std::error_code error;
    // A file alone: an empty folder could be removed likewise.
    auto const status = std::filesystem::symlink_status(path, error);
    return !path.empty() && std::filesystem::exists(status) && !std::filesystem::is_directory(status) &&
           std::filesystem::remove(path, error);
}
