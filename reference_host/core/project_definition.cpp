// What the open project says about itself: its display units, where its files are, what its data are called.
#include "reference_host/core/project_definition.h"

#include "reference_host/core/host_state.h"

#include <VordalConfigureR/DataDefinition.h>

#include <string>
#include <utility>

struct DataSearchAccess
{
    static DataSearch instance;
};
DataSearch DataSearchAccess::instance;

struct DataDefinitionAccess
{
    static DataDefinition instance;
};
DataDefinition DataDefinitionAccess::instance;

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

std::vector<CString> ProjectDefinition::Folders() const
{
    std::lock_guard const lock(m_mutex);
    std::vector<CString> folders;
    for (auto const& [kind, folder] : m_folders) {
        if (folder.has_value() && !folder->IsEmpty()) {
            folders.push_back(*folder);
        }
    }
    return folders;
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

void ProjectDefinition::SetRoutes(std::vector<CString> routes)
{
    std::lock_guard const lock(m_mutex);
    m_routes = std::move(routes);
}

std::vector<CString> ProjectDefinition::Routes() const
{
    std::lock_guard const lock(m_mutex);
    return m_routes;
}

void ProjectDefinition::SetItemTexts(unsigned short group, unsigned short item, std::vector<CString> texts)
{
    std::lock_guard const lock(m_mutex);
    m_itemTexts[{group, item}] = std::move(texts);
}

bool ProjectDefinition::GetItemText(unsigned short group, unsigned short item, int index, CString& text) const
{
    std::lock_guard const lock(m_mutex);
    auto const found = m_itemTexts.find({group, item});
    if (found == m_itemTexts.end() || index < 0 || static_cast<std::size_t>(index) >= found->second.size()) {
        return false;
    }
    text = found->second[static_cast<std::size_t>(index)];
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

DataDefinition& DataDefinition::GetDataDefinition()
{
    return DataDefinitionAccess::instance;
}

bool DataDefinition::GetGroupItemMapTxt(unsigned short group, unsigned short item, int index, CString& text) const
{
    auto const* const host = vordal::CurrentState();
    return host != nullptr && host->project.GetItemText(group, item, index, text);
}
