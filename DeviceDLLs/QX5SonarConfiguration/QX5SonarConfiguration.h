// The entry points by which the plug-in joins a host.
#pragma once

#include <VordalBaseR/Export.h>

class CVordalBaseApp;

// All on the host thread. LibraryAttach comes first and LibraryDetach last.
extern "C" {

/// Checks that the plug-in fits the host's version; false refuses the load.
VORDAL_PLUGIN_EXPORT bool LibraryAttach();
/// Ends what runs in the background before the code goes away.
VORDAL_PLUGIN_EXPORT void LibraryDetach();

/// Makes the device class known to the host under its name.
VORDAL_PLUGIN_EXPORT void RegisterDevices();
/// Takes it back; the answer is the host's: false when it has no class of that name.
VORDAL_PLUGIN_EXPORT bool UnRegisterDevices();
/// Makes the view class known to the host.
VORDAL_PLUGIN_EXPORT void RegisterViews();
/// Makes the view's document template known to the host; the devices exist by then.
VORDAL_PLUGIN_EXPORT void InitializeTemplates(CVordalBaseApp* application);
VORDAL_PLUGIN_EXPORT void UnInitializeTemplates();
/// Names the control view's template for the device (d, b, c, a); no such device, nothing.
VORDAL_PLUGIN_EXPORT void DeviceCtrlInit(unsigned short a, unsigned short b, unsigned short c, unsigned short d);
}
