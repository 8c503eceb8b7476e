// The plain functions that a plug-in exports and the host calls by name: what each does, in which order, on which
// thread.
#pragma once

#include <VordalBaseR/Export.h>

class CVordalBaseApp;

// A plug-in includes this and defines the functions; their names leave the module as they stand here. All but the two
// that are marked as optional must be there, otherwise the host refuses the module and names the first that is missing.
//
// Thread: all of them on the host thread, the one on which requests, attribute notifications and a device's life
// arrive; never two at once. None may wait for a connection or an operator. An exception must not leave them, nor may
// one leave a device's constructor.
//
// Order, for each module:
//   LibraryAttach
//   RegisterDevices           the host then makes the devices of its project by their classes and loads their
//                             attributes (Device::LoadAttribs)
//   RegisterViews
//   InitializeTemplates       the devices are there
//   DeviceCtrlInit            once for each device of a class that this plug-in has registered; then the device's
//                             ApplyAttribs, and from here on connections, requests and displays
//   DiscoverDevices           whenever the list of devices has changed after that
//   displays of the plug-in's views are closed
//   ReleaseDevices            then its devices are destroyed
//   UnInitializeTemplates, UnRegisterDevices, LibraryDetach
//
// How a view learns which device it shows (see CView): what an earlier display stored as ATTR_DATAID, if anything, is
// among the attributes that CVordalBaseView gives in OnInitialUpdate. Otherwise the host calls OnUpdate with
// HINT_SELECT_DEVICE right after OnInitialUpdate, and again whenever the operator chooses another device that the view
// shows. For sonars the host tells the choice on the general bus instead, as
// GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE.
extern "C" {

/// First of all: the version handshake, `CheckDllVersion(VORDAL_CONTRACT_VERSION, __FILE__, __DATE__)`. False refuses
/// the load; the host tells why from the handshake, and calls nothing else.
VORDAL_PLUGIN_EXPORT bool LibraryAttach();
/// Last of all, unless LibraryAttach refused: ends what runs in the background. The code is gone once it returns.
VORDAL_PLUGIN_EXPORT void LibraryDetach();

/// Makes the device classes known (CDevList::RegisterDev). The name of a class is what a project and
/// `BaseDevice::GetDeviceDriverName` call it by.
VORDAL_PLUGIN_EXPORT void RegisterDevices();
/// Takes them back (CDevList::UnRegisterDev); no device of theirs is left. The list's answer is passed through.
VORDAL_PLUGIN_EXPORT bool UnRegisterDevices();

/// Makes the view classes known (CViewList::RegisterView).
VORDAL_PLUGIN_EXPORT void RegisterViews();
/// Makes the templates of displays: each is handed to the application (CVordalBaseApp::AddDocTemplate), which owns it,
/// and named (CDocTemplateList::AddTemplate). `application` is null in a host that has no displays. May be called again
/// without UnInitializeTemplates in between.
VORDAL_PLUGIN_EXPORT void InitializeTemplates(CVordalBaseApp* application);
/// Takes the names of the templates back (CDocTemplateList::RemoveTemplate).
VORDAL_PLUGIN_EXPORT void UnInitializeTemplates();

/// Names the template of the device's control view (BaseDevice::SetDeviceCtrlViewType). The four numbers are the fields
/// of the device's id, vessel and type the other way round than the id has them: the device is
/// DataManager::FindDevice(CDataId(type, group, device, vessel)). No such device, nothing happens.
VORDAL_PLUGIN_EXPORT void DeviceCtrlInit(unsigned short vessel, unsigned short group, unsigned short device,
                                         unsigned short type);

/// Optional: the host's list of devices has changed; what follows devices of its own accord looks anew.
VORDAL_PLUGIN_EXPORT void DiscoverDevices();
/// Optional: devices are about to be destroyed; what follows them of its own accord lets go of them.
VORDAL_PLUGIN_EXPORT void ReleaseDevices();
}
