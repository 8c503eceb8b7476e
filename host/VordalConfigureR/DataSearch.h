// The open project: its definition and where its files are.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

class CVordalUnitCnv;

/// What the project says about itself as a whole. Owned by the host; there, at one address, while the host runs.
class VORDAL_API CProjectDefinition
{
public:
    virtual ~CProjectDefinition();

    /// The project's display units; a plug-in may keep the pointer to it. Any thread.
    virtual CVordalUnitCnv& GetUnitCnv() = 0;
};

/// Kinds of project files, each with a folder of its own.
enum ProjectFileKind : unsigned
{
    FILE_SONAR_TARGETS = 101, ///< files of sonar contacts
};

/// The way to the project. Any thread.
class VORDAL_API DataSearch
{
public:
    /// The host's own.
    static DataSearch& GetDataSearch();

    /// The open project's; there also when none is open.
    CProjectDefinition& GetProjectDefinition();
    /// Completes the name of a file of a ProjectFileKind to its full name. False, and `name` untouched, when the
    /// project has no folder for that kind.
    bool GetFullPath(unsigned kind, CString& name) const;

private:
    DataSearch() = default;
    friend struct DataSearchAccess;
};
