// The host's store of sonar contacts: which target file is active, and changes to contacts that everybody hears of.
#include "target_store.h"

#include "followed_target_file.h"
#include "reference_host/common/current_host.h"
#include "reference_host/common/file_root.h"
#include "reference_host/common/host_turn.h"

#include <VordalSubscriberR/GeneralSubKeys.h>

namespace vordal {

void TargetStore::SetActive(CString const& name)
{
    std::lock_guard const lock(m_mutex);
    m_active = name;
}

CString TargetStore::Active() const
{
    std::lock_guard const lock(m_mutex);
    return m_active;
}

void TargetStore::SetOperatorName(CString const& name)
{
    std::lock_guard const lock(m_mutex);
    m_operatorName = name;
}

CString TargetStore::OperatorName() const
{
    std::lock_guard const lock(m_mutex);
    return m_operatorName;
}

void TargetStore::Place(CString const& fullName, std::filesystem::path const& file)
{
    std::lock_guard const lock(m_mutex);
    m_places[fullName] = file;
}

std::filesystem::path TargetStore::PathOf(CString const& fullName) const
{
    {
        std::lock_guard const lock(m_mutex);
        if (auto const found = m_places.find(fullName); found != m_places.end()) {
            return found->second;
        }
    }
    return PathOfFile(fullName);
}

void TargetStore::Add(CString const& fullName, StoredTarget const& target)
{
    ChangeAndTell(fullName, TargetFile::Missing::Create, target.target.targetId, SONAR_TARGET_SEL_INFO::Created,
                  [&](TargetFile& file) {
                      file.Append(target);
                      return true;
                  });
}

bool TargetStore::Change(CString const& fullName, StoredTarget const& target)
{
    return ChangeAndTell(fullName, TargetFile::Missing::Refuse, target.target.targetId, SONAR_TARGET_SEL_INFO::Changed,
                         [&](TargetFile& file) { return file.Change(target); });
}

bool TargetStore::Remove(CString const& fullName, std::uint32_t targetId)
{
    return ChangeAndTell(fullName, TargetFile::Missing::Refuse, targetId, SONAR_TARGET_SEL_INFO::Deleted,
                         [&](TargetFile& file) { return file.Remove(targetId); });
}

bool TargetStore::ChangeAndTell(CString const& fullName, TargetFile::Missing missing, std::uint32_t targetId,
                                std::uint32_t changeCode, std::function<bool(TargetFile&)> const& change)
{
    bool changed = false;
    m_runAndWait([&] {
        auto const path = PathOf(fullName);
        if (auto const followed = Followed(path)) {
            changed = change(followed->File());
        } else {
            // Opened anew each time, as somebody may have put another file in its place.
            auto const checking = m_checked.contains(path) ? TargetFile::Checking::Header : TargetFile::Checking::Whole;
            TargetFile file(path, missing, TargetFile::Keeping::OnDisk, checking);
            m_checked.insert(path);
            changed = change(file);
        }
        if (changed) {
            Tell(targetId, changeCode, m_now());
        }
    });
    return changed;
}

std::shared_ptr<FollowedTargetFile> TargetStore::Followed(std::filesystem::path const& file) const
{
    auto const found = m_followed.find(file);
    auto followed = found != m_followed.end() ? found->second.lock() : nullptr;
    return followed != nullptr && followed->IsSound() ? followed : nullptr;
}

std::shared_ptr<FollowedTargetFile> TargetStore::Follow(std::filesystem::path const& file)
{
    auto followed = Followed(file);
    if (followed == nullptr) {
        followed = std::make_shared<FollowedTargetFile>(file);
        std::erase_if(m_followed, [](auto const& each) { return each.second.expired(); });
        m_followed[file] = followed;
    }
    return followed;
}

void TargetStore::Tell(std::uint32_t targetId, std::uint32_t changeCode, double time)
{
    // One turn for all who hear of it, so that the contacts are looked at once.
    HostTurn const turn;
    SONAR_TARGET_SEL_INFO const info(targetId, changeCode, time);
    NotifyBus(Subscription::General, GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE, &info);
}

} // namespace vordal
