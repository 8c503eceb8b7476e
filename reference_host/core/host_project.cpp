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

bool Computation::IsLinkedTo(CDataId const& device) const
{
    return std::find(m_setup.linkedDevices.begin(), m_setup.linkedDevices.end(), device) != m_setup.linkedDevices.end();
}

void Computation::MergeIn(CAttributeMap const& tree)
{
    std::lock_guard const lock(m_mutex);
    Merge(m_setup.attributes, tree);
}

Compform* HostProject::AddComputation(ComputationSetup setup)
{
    auto computation = std::make_unique<Computation>(std::move(setup));
    std::lock_guard const lock(m_state.mutex);
    return m_state.computations.emplace_back(std::move(computation)).get();
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
    return m_state.vessels.emplace_back(std::move(vessel)).get();
}

bool HostProject::GetVesselItem(unsigned short number, CString const& section, CString const& item, CString& text) const
{
    std::lock_guard const lock(m_state.mutex);
    for (auto const& vessel : m_state.vessels) {
        if (vessel->GetVesselNumber() != number) {
            continue;
        }
        auto const* const configuration = vessel->GetConfiguration();
        return configuration->GetItem(section, item, text);
    }
    return false;
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
