// Switching displays on and off, and taking them away.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

/// The manager; there also when the application has no window. Any thread: from another than the window thread the work
/// is posted, and the answer says whether there is such a display.
class VORDAL_API DisplayManager
{
public:
    /// The host's one manager.
    static DisplayManager& GetDisplayManager();

    /// Opens a display that is set up but switched off, by its item "name" in the presentation configuration. False
    /// when there is none; true also when it is open already.
    bool EnableDisplay(CString const& name);
    /// Closes a display and removes it from the set-up, by its title. The view is not deleted within the call: it stays
    /// until the caller has returned to the host. False when there is no such display.
    bool RemoveDisplay(CString const& title);

private:
    DisplayManager() = default;
    friend struct DisplayManagerAccess;
};
