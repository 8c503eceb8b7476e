// The host's store of sonar contacts: the files that hold them and the manager that opens them.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <vordalhostdllR/SonarTarget.h>

#include <cstdint>
#include <vector>

/// What a target file knows about the exchange of its contacts with other applications. Owned by its
/// SonarTargetsControl. Host thread.
class VORDAL_API SynchronizeTargetManagerInfo
{
public:
    virtual ~SynchronizeTargetManagerInfo();

    /// Remembers the present host time as that at which the other side's list was asked for.
    virtual void SetRequestTimeStamp() = 0;
    /// That time, in seconds; 0.0 when the list was never asked for.
    virtual double GetRequestTimeStamp() const = 0;
};

/// An open target file, opened by SonarTargetsManager::OpenSTSFile and in the hands of who opened it until Close. The
/// host changes contacts on the host thread alone, where all of this is to be called; there a reference that it gives
/// holds until the present request or notification has ended.
class VORDAL_API SonarTargetsControl
{
public:
    /// All contacts, in the file's order.
    virtual std::vector<SonarTarget> const& GetSonarTargets() const = 0;
    /// The contact that bears the GUID, the first if several do; null when none does, which may also be so for one that
    /// GetSonarTargets still gives.
    virtual SonarTarget const* GetSonarTargetByTargetGuid(CString const& targetGuid) const = 0;
    /// The full name that the file was opened under.
    virtual CString const& FileName() const = 0;
    /// Of this file; valid until Close.
    virtual SynchronizeTargetManagerInfo& GetSynchronizeTargetManagerInfo() = 0;
    /// Ends the use of the file and deletes this object.
    virtual void Close() = 0;

protected:
    virtual ~SonarTargetsControl();

public:
    /// The first contact, in the file's order, that bears the id; null when none does. As fast among many contacts as
    /// among few.
    virtual SonarTarget const* GetSonarTargetByTargetId(std::uint32_t targetId) const = 0;
};

/// The store. Host thread.
class VORDAL_API SonarTargetsManager
{
public:
    /// The host's one store.
    static SonarTargetsManager& Instance();

    /// The file in which contacts are marked at present, by its name within the project or by its full name; empty
    /// when there is none.
    CString GetActiveSonarTargetsName() const;
    /// Opens a target file by its full name. The caller owns the result and ends it with Close; two who open one file
    /// each have an object of their own. Null when there is no such file, for the empty name, or when it cannot be
    /// read.
    SonarTargetsControl* OpenSTSFile(CString const& fileName);
    /// The operator who marks contacts; may be empty.
    CString GetOperatorName() const;

    /// Whether the images of contacts go out with them. Set by the host.
    bool geoTiffOutputEnabled = false;

private:
    SonarTargetsManager() = default;
    friend struct SonarTargetsManagerAccess;
};
