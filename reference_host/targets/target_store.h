// The host's store of sonar contacts: which target file is active, and changes to contacts that everybody hears of.
#pragma once

#include "target_file.h"

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

namespace vordal {

class FollowedTargetFile;

/// What stands behind SonarTargetsManager; Host::Targets gives it. A target file's full name is its path, below the
/// host's file root, unless Place says where it is.
class VORDAL_API TargetStore
{
public:
    /// How the store runs something on the host thread and waits for it, and the host's time.
    using RunAndWait = std::function<void(std::function<void()> const& task)>;
    using Now = std::function<double()>;

    TargetStore(RunAndWait runAndWait, Now now) : m_runAndWait(std::move(runAndWait)), m_now(std::move(now)) {}
    TargetStore(TargetStore const&) = delete;
    TargetStore& operator=(TargetStore const&) = delete;

    // Any thread.
    void SetActive(CString const& name);
    CString Active() const;
    void SetOperatorName(CString const& name);
    CString OperatorName() const;
    /// The target file of that full name lies at `file`.
    void Place(CString const& fullName, std::filesystem::path const& file);
    std::filesystem::path PathOf(CString const& fullName) const;

    // Each changes the file and then tells STS_SELECTED_SONAR_TARGET_CHANGE with the host's time, on the host thread,
    // which it waits for. Throws TargetFileError when the file cannot be changed; nobody is told then.
    /// The file is made when it is not there.
    void Add(CString const& fullName, StoredTarget const& target);
    /// The first contact of that id; false, and nobody is told, when there is none.
    bool Change(CString const& fullName, StoredTarget const& target);
    bool Remove(CString const& fullName, std::uint32_t targetId);

    /// The file at `file`, shared with all who follow it already. Throws TargetFileError. Host thread.
    std::shared_ptr<FollowedTargetFile> Follow(std::filesystem::path const& file);

    /// Raises the notification alone, one for all whom it reaches. Host thread.
    void Tell(std::uint32_t targetId, std::uint32_t changeCode, double time);

private:
    /// Runs `change`, which says whether there was a change, on the host thread and tells of it.
    bool ChangeAndTell(CString const& fullName, TargetFile::Missing missing, std::uint32_t targetId,
                       std::uint32_t changeCode, std::function<bool(TargetFile&)> const& change);
    /// Null unless somebody follows the file and it can be changed by way of that.
    std::shared_ptr<FollowedTargetFile> Followed(std::filesystem::path const& file) const;

    RunAndWait m_runAndWait;
    Now m_now;
    /// Files that were whole when they were changed for the first time: checking all of a large one at each change
    /// would cost more than the change. Host thread alone.
    std::set<std::filesystem::path> m_checked;
    /// Files that somebody follows, and others that somebody has followed. Host thread alone.
    std::map<std::filesystem::path, std::weak_ptr<FollowedTargetFile>> m_followed;
    mutable std::mutex m_mutex; ///< guards what follows
    CString m_active;
    CString m_operatorName;
    std::map<CString, std::filesystem::path> m_places;
};

} // namespace vordal
