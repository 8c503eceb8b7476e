// The keys of notifications that the host raises for everybody.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

/// Keys of the general bus (Subscription::General).
struct VORDAL_API GeneralSubKeys
{
    /// The operator selected another sonar; carries a DataId_NI.
    static CString const ADT_SELECTED_SONAR_CHANGE;
    /// The selected sonar contact was made, changed or deleted; carries a SONAR_TARGET_SEL_INFO.
    static CString const STS_SELECTED_SONAR_TARGET_CHANGE;
};

/// Keys of selection changes.
struct VORDAL_API sel_change
{
    /// Another vessel is active; carries an NFDataT<unsigned short> with its number. Bus Subscription::ActiveVessel.
    static CString const ACTIVE_VESSEL;
};
