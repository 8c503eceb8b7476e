// The brightness of the host's displays.
#pragma once

#include <VordalBaseR/Export.h>

/// The light mode of all displays: 1 to 4, from the darkest to full daylight. It belongs to the application and is of
/// use only while there is one (CVordalBaseApp::Instance is not null). Any thread: a change is posted to the window
/// thread where needed, and GetLightMode tells the new mode at once.
class VORDAL_API ColorControl
{
public:
    /// The mode as it was last set.
    static int GetLightMode();
    /// `redraw`: the displays take the mode on now instead of when they are next drawn. The range is the caller's care;
    /// another number is kept as it is and shown as the nearest mode.
    static void SetLightMode(int mode, bool redraw);
};
