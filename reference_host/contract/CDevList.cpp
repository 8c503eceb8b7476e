// The host's list of device classes by name.
#include <vordalhostdllR/CDevList.h>

#include "reference_host/core/host_state.h"

#include <memory>

using vordal::CurrentState;

struct CDevListAccess
{
    static CDevList instance;
};
CDevList CDevListAccess::instance;

DevICreator::~DevICreator() = default;

CDevList& CDevList::GetDevList()
{
    return CDevListAccess::instance;
}

bool CDevList::RegisterDev(CString const& name, DevICreator* creator)
{
    std::unique_ptr<DevICreator> owned(creator);
    auto* const host = CurrentState();
    if (host == nullptr || owned == nullptr) {
        return false;
    }
    std::lock_guard const lock(host->mutex);
    // try_emplace leaves `owned` as it is when the name is taken; it is then deleted after the lock is gone.
    return host->creators.try_emplace(name, std::move(owned)).second;
}

bool CDevList::UnRegisterDev(CString const& name)
{
    auto* const host = CurrentState();
    if (host == nullptr) {
        return false;
    }
    std::unique_ptr<DevICreator> removed;
    std::lock_guard const lock(host->mutex);
    auto const found = host->creators.find(name);
    if (found == host->creators.end()) {
        return false;
    }
    removed = std::move(found->second);
    host->creators.erase(found);
    return true;
}

BaseDevice* CDevList::MakeDevice(CString const& name)
{
    DevICreator* creator = nullptr;
    if (auto* const host = CurrentState()) {
        std::lock_guard const lock(host->mutex);
        auto const found = host->creators.find(name);
        creator = found != host->creators.end() ? found->second.get() : nullptr;
    }
    return creator != nullptr ? creator->MakeDevice() : nullptr;
}
