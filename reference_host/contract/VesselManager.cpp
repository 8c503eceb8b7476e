// The vessels of the project.
#include <vordalhostdllR/VesselManager.h>

#include "reference_host/core/host_state.h"

using vordal::CurrentState;

struct VesselManagerAccess
{
    static VesselManager instance;
};
VesselManager VesselManagerAccess::instance;

CBaseVessel::~CBaseVessel() = default;

namespace vordal {

bool Vessel::GetItem(CString const& section, CString const& key, CString& value) const
{
    auto const items = m_setup.configuration.find(section);
    if (items == m_setup.configuration.end()) {
        return false;
    }
    auto const found = items->second.find(key);
    if (found == items->second.end()) {
        return false;
    }
    value = found->second;
    return true;
}

bool Vessel::GetItem(CString const& section, CString const& key, bool& value) const
{
    CString text;
    if (!GetItem(section, key, text) || !(text == L"1" || text == L"0")) {
        return false;
    }
    value = text == L"1";
    return true;
}

} // namespace vordal

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
    auto const vessel = host->vesselsByNumber.find(number);
    return vessel != host->vesselsByNumber.end() ? vessel->second->Setup().name : CString();
}
