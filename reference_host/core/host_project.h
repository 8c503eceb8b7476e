// What the reference host knows of the project: computations, vessels, units, names, folders.
#pragma once

#include "reference_host/common/setups.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <vordalhostdllR/DataManager.h>

#include <filesystem>
#include <map>
#include <optional>
#include <vector>

class CBaseVessel;

namespace vordal {

struct HostState;

/// The project, a part of the host.
class VORDAL_API HostProject
{
public:
    HostProject(HostProject const&) = delete;
    HostProject& operator=(HostProject const&) = delete;

    // Computations, vessels.
    Compform* AddComputation(ComputationSetup setup);
    /// Merges into a computation's attributes and tells nobody. False when it is not there.
    bool MergeIntoComputation(CDataId const& dataId, CAttributeMap const& tree);
    /// The first vessel becomes the active one.
    CBaseVessel* AddVessel(VesselSetup setup);
    /// A text of a vessel's configuration; false and untouched when it is not there.
    bool GetVesselItem(unsigned short number, CString const& section, CString const& item, CString& text) const;
    /// Makes the vessel active, if there is such a one, and tells sel_change::ACTIVE_VESSEL in either case, on the host
    /// thread. Any thread.
    void SelectVessel(unsigned short number);
    /// Tells GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE that the operator chose this sonar, on the host thread. Any
    /// thread.
    void SelectSonar(CDataId const& dataId);

    // What the project says of itself. Any thread.
    /// From now on `value` in the display unit of that group (see UnitGroup) means `value` x `factor` in the host's.
    void SetUnitFactor(int unitGroup, double factor);
    /// What stands before the names of files of that ProjectFileKind, as it stands, a separator at its end included;
    /// no text: the project has no place for them. A kind that was never set has the empty text.
    void SetProjectFolder(unsigned kind, std::optional<CString> folder);
    /// The project's route files, as lists of them show them. They are read when such a list is filled.
    void SetRoutes(std::vector<CString> routes);
    /// The names of a data item's values, from 0, for blocks of the group (DataDefinition::GetGroupItemMapTxt).
    void SetItemTexts(unsigned short group, unsigned short item, std::vector<CString> texts);

    // Files. Any thread.
    /// Full names of files mean files below this folder from now on, and none leads out of it; empty: as they stand.
    void SetFileRoot(std::filesystem::path const& folder);
    /// Without a file root a contact can name only files below these folders, to be read or removed; links that lead
    /// out of them do. None: those below the project's folders (SetProjectFolder).
    void SetFileFolders(std::vector<std::filesystem::path> folders);

protected:
    explicit HostProject(HostState& state) : m_state(state) {}
    ~HostProject() = default;

private:
    HostState& m_state;
};

} // namespace vordal
