// The vessels of the project.
#include <vordalhostdllR/VesselManager.h>

#include "reference_host/host/host_state.h"

using vordal::CurrentState;

struct VesselManagerAccess
{
    static VesselManager instance;
};
VesselManager VesselManagerAccess::instance;

CBaseVessel::~CBaseVessel() = default;

VesselManager& VesselManager::GetVesselManager()
{
    return VesselManagerAccess::instance;
}

int VesselManager::GetNumVessels() const
{
    auto const* const host = CurrentState();
    if (host == nullptr) {
        return 0;
    }
    std::lock_guard const lock(host->mutex);
    return static_cast<int>(host->vessels.size());
}

CBaseVessel* VesselManager::GetVessel(int index)
{
    auto const* const host = CurrentState();
    if (host == nullptr || index < 0) {
        return nullptr;
    }
    std::lock_guard const lock(host->mutex);
    auto const at = static_cast<std::size_t>(index);
    return at < host->vessels.size() ? host->vessels[at].get() : nullptr;
}

CBaseVessel* VesselManager::GetActiveVesselPtr()
{
    auto const* const host = CurrentState();
    if (host == nullptr) {
        return nullptr;
    }
    std::lock_guard const lock(host->mutex);
    return host->activeVessel < host->vessels.size() ? host->vessels[host->activeVessel].get() : nullptr;
}

CString VesselManager::GetVesselName(unsigned short number) const
{
    auto const* const host = CurrentState();
    if (host == nullptr) {
        return {};
    }
    std::lock_guard const lock(host->mutex);
    for (auto const& vessel : host->vessels) {
        if (vessel->GetVesselNumber() == number) {
            return vessel->Setup().name;
        }
    }
    return {};
}
