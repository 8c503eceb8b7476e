// A plug-in in ten lines: it adds one device class to a host, built against the host's headers alone.
#include <VersionControlR/CheckDllVersion.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/Device.h>
// clang-format off
#define ENTRY_POINT extern "C" VORDAL_PLUGIN_EXPORT

class EchoSounder : public Device {};
ENTRY_POINT bool LibraryAttach() { return CheckDllVersion(VORDAL_CONTRACT_VERSION, __FILE__, __DATE__); }
ENTRY_POINT void LibraryDetach() {}
ENTRY_POINT void RegisterDevices() { CDevList::GetDevList().RegisterDev(L"EchoSounder", new DevCreator<EchoSounder>); }
ENTRY_POINT bool UnRegisterDevices() { return CDevList::GetDevList().UnRegisterDev(L"EchoSounder"); }
ENTRY_POINT void RegisterViews() {}
ENTRY_POINT void InitializeTemplates(class CVordalBaseApp*) {}
ENTRY_POINT void UnInitializeTemplates() {}
ENTRY_POINT void DeviceCtrlInit(unsigned short, unsigned short, unsigned short, unsigned short) {}
