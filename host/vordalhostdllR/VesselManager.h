// The vessels of the project.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

class CPrsConfiguration;

/// One vessel. Owned by the host.
class VORDAL_API CBaseVessel
{
public:
    virtual ~CBaseVessel();
    /// The fourth field of the ids of its devices.
    virtual unsigned short GetVesselNumber() const = 0;
    /// What the project says of the vessel, in sections; null when it says nothing. Owned by the vessel.
    virtual CPrsConfiguration const* GetConfiguration() const = 0;
};

/// The vessels, in the project's order. Any thread; vessels stay while the project is open.
class VORDAL_API VesselManager
{
public:
    /// The open project's.
    static VesselManager& GetVesselManager();

    /// How many vessels the project has.
    int GetNumVessels() const;
    /// Null beyond the end.
    CBaseVessel* GetVessel(int index);
    /// Null when the project has no vessel.
    CBaseVessel* GetActiveVesselPtr();
    /// Empty for a vessel that is not there.
    CString GetVesselName(unsigned short number) const;

private:
    VesselManager() = default;
    friend struct VesselManagerAccess;
};
