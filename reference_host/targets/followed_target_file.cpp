// A target file that is shared and followed: what has changed is taken over at the first look within each turn.
#include "followed_target_file.h"

#include "reference_host/common/host_turn.h"
#include "reference_host/common/log.h"

#include <string>
#include <system_error>
#include <utility>

namespace vordal {

FollowedTargetFile::FollowedTargetFile(std::filesystem::path file) : m_path(std::move(file))
{
    BringUpToDate();
}

std::vector<SonarTarget> const& FollowedTargetFile::Targets()
{
    Refresh();
    return m_targets.InOrder();
}

SonarTarget const* FollowedTargetFile::FirstOfId(std::uint32_t targetId)
{
    Refresh();
    return m_targets.FirstOfId(targetId);
}

SonarTarget const* FollowedTargetFile::FirstOfGuid(std::wstring_view targetGuid)
{
    Refresh();
    return m_targets.FirstOfGuid(targetGuid);
}

void FollowedTargetFile::Refresh()
{
    auto const turn = HostTurn::Current();
    if (turn == m_turn) {
        return;
    }
    m_turn = turn;
    try {
        BringUpToDate();
        m_hasFailed = false;
    } catch (TargetFileError const& error) {
        if (!std::exchange(m_hasFailed, true)) {
            Log(LogLevel::Warning, std::string(error.what()) + "; its contacts stay as they were read last");
        }
    }
}

void FollowedTargetFile::BringUpToDate()
{
    std::error_code error;
    if (m_file != nullptr && m_file->HasMoved() && std::filesystem::exists(m_path, error)) {
        m_file.reset();
    }
    if (m_file == nullptr) {
        m_file = std::make_unique<TargetFile>(m_path); // which tells all first
    }
    auto changes = m_file->Changes();
    m_file->Accept(m_targets.SizeWith(changes));
    if (changes.IsEmpty()) {
        return;
    }
    try {
        m_targets.Apply(std::move(changes));
    } catch (...) {
        // No memory, and what is there of them is of no use.
        m_targets = {};
        m_file.reset();
        m_hasFailed = true;
        throw;
    }
}

} // namespace vordal
