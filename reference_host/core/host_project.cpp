// What the reference host knows of the project: computations, vessels, units, names, folders.
#include "reference_host/core/host_project.h"

#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/core/host_state.h"
#include "reference_host/streams/stream_buffer.h"

#include <VordalSubscriberR/GeneralSubKeys.h>

#include <algorithm>
#include <utility>

namespace vordal {

bool Computation::GetAttribValue(AttributeKey const& key, CDataInfo& value, unsigned& flags) const
{
    std::lock_guard const lock(m_mutex);
    auto const* node = m_setup.attributes.GetAttrMap(key, 0);
    if (node == nullptr || !node->Value().Get(value)) {
        return false;
    }
    flags = node->GetFlags();
    return true;
}

void Computation::GetDataSource(CDataId& dataId) const
{
    dataId = m_setup.stream.IsUndefined() ? m_setup.dataId : m_setup.stream;
}

void Computation::GetAttributeMap(CAttributeMap& map) const
{
    CAttributeMap copy;
    {
        std::lock_guard const lock(m_mutex);
        copy = m_setup.attributes;
    }
    map = std::move(copy);
}

void Computation::ResetDataSource()
{
    CDataId stream;
    GetDataSource(stream);
    if (auto* const observer = CurrentObserver()) {
        observer->OnResetBuffer(stream, m_setup.dataId);
    }
    auto* const state = CurrentState();
    if (auto* const buffer = state != nullptr ? state->FindBuffer(stream, false) : nullptr) {
        buffer->Empty();
    }
}

void Computation::MergeIn(CAttributeMap const& tree)
{
    std::lock_guard const lock(m_mutex);
    Merge(m_setup.attributes, tree);
}

Computation* ComputationRegister::Add(std::unique_ptr<Computation> computation)
{
    auto* const added = m_all.emplace_back(std::move(computation)).get();
    m_byId.emplace(PackedId(added->GetDataId()), added);
    m_ofVessel[added->GetDataId().GetVessel()].push_back(added);
    for (CDataId const& device : added->LinkedDevices()) {
        // Named twice it is linked once.
        if (auto& linked = m_byDevice[PackedId(device)]; linked.empty() || linked.back() != added) {
            linked.push_back(added);
        }
    }
    return added;
}

namespace {

/// Of what a map has for the key; null where there is none.
template <typename Map>
Computation* AtOf(Map const& map, typename Map::key_type const& key, int index)
{
    auto const at = map.find(key);
    return at != map.end() && index >= 0 && index < static_cast<int>(at->second.size())
               ? at->second[static_cast<std::size_t>(index)]
               : nullptr;
}

} // namespace

Computation* ComputationRegister::Find(std::uint64_t packedId) const
{
    auto const at = m_byId.find(packedId);
    return at != m_byId.end() ? at->second : nullptr;
}

int ComputationRegister::CountOf(unsigned short vessel) const
{
    auto const at = m_ofVessel.find(vessel);
    return at != m_ofVessel.end() ? static_cast<int>(at->second.size()) : 0;
}

Computation* ComputationRegister::At(int index, unsigned short vessel) const
{
    return AtOf(m_ofVessel, vessel, index);
}

Computation* ComputationRegister::LinkedTo(CDataId const& device, int index) const
{
    return AtOf(m_byDevice, PackedId(device), index);
}

Compform* HostProject::AddComputation(ComputationSetup setup)
{
    auto computation = std::make_unique<Computation>(std::move(setup));
    std::lock_guard const lock(m_state.mutex);
    return m_state.computations.Add(std::move(computation));
}

bool HostProject::MergeIntoComputation(CDataId const& dataId, CAttributeMap const& tree)
{
    auto* const computation = m_state.FindComputation(dataId);
    if (computation != nullptr) {
        computation->MergeIn(tree);
    }
    return computation != nullptr;
}

CBaseVessel* HostProject::AddVessel(VesselSetup setup)
{
    auto vessel = std::make_unique<Vessel>(std::move(setup));
    std::lock_guard const lock(m_state.mutex);
    auto* const added = m_state.vessels.emplace_back(std::move(vessel)).get();
    m_state.vesselsByNumber.emplace(added->GetVesselNumber(), added);
    return added;
}

bool HostProject::GetVesselItem(unsigned short number, CString const& section, CString const& item, CString& text) const
{
    std::lock_guard const lock(m_state.mutex);
    auto const vessel = m_state.vesselsByNumber.find(number);
    return vessel != m_state.vesselsByNumber.end() && vessel->second->GetConfiguration()->GetItem(section, item, text);
}

void HostProject::SelectVessel(unsigned short number)
{
    {
        std::lock_guard const lock(m_state.mutex);
        for (std::size_t i = 0; i < m_state.vessels.size(); ++i) {
            if (m_state.vessels[i]->GetVesselNumber() == number) {
                m_state.activeVessel = i;
                break;
            }
        }
    }
    RunOnHostThread([number] {
        NFDataT<unsigned short> const info(number);
        NotifyBus(Subscription::ActiveVessel, sel_change::ACTIVE_VESSEL, &info);
    });
}

void HostProject::SelectSonar(CDataId const& dataId)
{
    RunOnHostThread([packed = PackedId(dataId)] {
        DataId_NI const info(UnpackedId(packed));
        NotifyBus(Subscription::General, GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE, &info);
    });
}

void HostProject::SetUnitFactor(int unitGroup, double factor)
{
    m_state.project.units.SetFactor(unitGroup, factor);
}

void HostProject::SetProjectFolder(unsigned kind, std::optional<CString> folder)
{
    m_state.project.SetFolder(kind, std::move(folder));
}

void HostProject::SetRoutes(std::vector<CString> routes)
{
    m_state.project.SetRoutes(std::move(routes));
}

void HostProject::SetItemTexts(unsigned short group, unsigned short item, std::vector<CString> texts)
{
    m_state.project.SetItemTexts(group, item, std::move(texts));
}

void HostProject::SetFileRoot(std::filesystem::path const& folder)
{
    std::lock_guard const lock(m_state.mutex);
    m_state.fileRoot = folder;
}

void HostProject::SetFileFolders(std::vector<std::filesystem::path> folders)
{
    std::lock_guard const lock(m_state.mutex);
    m_state.fileFolders = std::move(folders);
}

} // namespace vordal
