// A target file that all who have it open in this process share: read once, and followed whoever changes it.
#pragma once

#include "target_file.h"
#include "target_list.h"

#include <VordalBaseR/Export.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

namespace vordal {

/// Within one request or notification (HostTurn) its contacts stay as they were at the first look, and what is given
/// stays valid; from the next on they are as the file has them. One that cannot be read any more keeps the contacts
/// that were read last, and a line in the log says so once. Another file that is put in its place is followed in its
/// stead. Host thread.
class VORDAL_API FollowedTargetFile
{
public:
    /// Reads all contacts. Throws TargetFileError.
    explicit FollowedTargetFile(std::filesystem::path file);
    FollowedTargetFile(FollowedTargetFile const&) = delete;
    FollowedTargetFile& operator=(FollowedTargetFile const&) = delete;

    /// In the file's order.
    std::vector<SonarTarget> const& Targets();
    /// The first that bears the id; null without one.
    SonarTarget const* FirstOfId(std::uint32_t targetId);
    /// The first that bears the GUID and is not lost; null without one.
    SonarTarget const* FirstOfGuid(std::wstring_view targetGuid);

    /// Whether it still lies where it was opened and can be read.
    bool IsSound() const { return !m_hasFailed && !m_file->HasMoved(); }
    /// To change a file by that is sound; its contacts follow.
    TargetFile& File() { return *m_file; }

private:
    void Refresh();
    void BringUpToDate();

    std::filesystem::path const m_path;
    std::unique_ptr<TargetFile> m_file; ///< null after a failure, until it is opened anew
    TargetList m_targets;
    std::uint64_t m_turn = 0; ///< of the last look
    bool m_hasFailed = false;
};

} // namespace vordal
