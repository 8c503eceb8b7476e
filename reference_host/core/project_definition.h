// What the open project says about itself: its display units, where its files are, what its data are called.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/CVordalUnitCnv.h>
#include <VordalConfigureR/DataSearch.h>

#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace vordal {

/// The units: one factor for each group, 1 where none was set. Any thread.
class ProjectUnits final : public CVordalUnitCnv
{
public:
    double ConvertFromUnit(int unitGroup, double value) const override;
    /// From now on `value` of that group means `value` x `factor` inside the host.
    void SetFactor(int unitGroup, double factor);

private:
    mutable std::mutex m_mutex;
    std::map<int, double> m_factors;
};

/// Any thread.
class ProjectDefinition final : public CProjectDefinition
{
public:
    CVordalUnitCnv& GetUnitCnv() override { return units; }

    /// What stands before the names of files of that kind, as it stands, a separator at its end included; no text: the
    /// project has no place for them. A kind that was never set has the empty text.
    void SetFolder(unsigned kind, std::optional<CString> folder);
    bool Complete(unsigned kind, CString& name) const;
    /// All of them that have a text.
    std::vector<CString> Folders() const;

    void SetRoutes(std::vector<CString> routes);
    std::vector<CString> Routes() const;
    /// The names of the item's values, from 0.
    void SetItemTexts(unsigned short group, unsigned short item, std::vector<CString> texts);
    bool GetItemText(unsigned short group, unsigned short item, int index, CString& text) const;

    ProjectUnits units;

private:
    mutable std::mutex m_mutex;
    std::map<unsigned, std::optional<CString>> m_folders;
    std::vector<CString> m_routes;
    std::map<std::pair<unsigned short, unsigned short>, std::vector<CString>> m_itemTexts;
};

} // namespace vordal
