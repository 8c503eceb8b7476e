// What the open project says about itself: its display units and where its files are.
#include "reference_host/project/project_definition.h"

#include "reference_host/host/host_state.h"

#include <string>
#include <utility>

struct DataSearchAccess
{
    static DataSearch instance;
};
DataSearch DataSearchAccess::instance;

CVordalUnitCnv::~CVordalUnitCnv() = default;
CProjectDefinition::~CProjectDefinition() = default;

namespace vordal {

double ProjectUnits::ConvertFromUnit(int unitGroup, double value) const
{
    std::lock_guard const lock(m_mutex);
    auto const found = m_factors.find(unitGroup);
    return found != m_factors.end() ? value * found->second : value;
}

void ProjectUnits::SetFactor(int unitGroup, double factor)
{
    std::lock_guard const lock(m_mutex);
    m_factors[unitGroup] = factor;
}

void ProjectDefinition::SetFolder(unsigned kind, std::optional<CString> folder)
{
    std::lock_guard const lock(m_mutex);
    m_folders[kind] = std::move(folder);
}

bool ProjectDefinition::Complete(unsigned kind, CString& name) const
{
    std::lock_guard const lock(m_mutex);
    auto const found = m_folders.find(kind);
    if (found == m_folders.end()) {
        return true;
    }
    if (!found->second.has_value()) {
        return false;
    }
    name = CString(std::wstring(found->second->View()) + std::wstring(name.View()));
    return true;
}

} // namespace vordal

DataSearch& DataSearch::GetDataSearch()
{
    return DataSearchAccess::instance;
}

CProjectDefinition& DataSearch::GetProjectDefinition()
{
    // What asks without a host finds a project that says nothing.
    static vordal::ProjectDefinition none;
    auto* const host = vordal::CurrentState();
    return host != nullptr ? host->project : none;
}

bool DataSearch::GetFullPath(unsigned kind, CString& name) const
{
    auto const* const host = vordal::CurrentState();
    return host != nullptr && host->project.Complete(kind, name);
}
