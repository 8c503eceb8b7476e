// The entry points by which the plug-in joins a host.
#include "QX5SonarConfiguration.h"

#include "QX5SonarConfigurationControlDevice.h"
#include "sequencing/QX5SonarConfigurationInfo.h"

#include <VersionControlR/CheckDllVersion.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/DataManager.h>

namespace {

constexpr wchar_t const* deviceClass = L"QX5SonarConfigurationControlDevice";
constexpr wchar_t const* documentTemplate = L"QX5SONARCONFIGURATION";

} // namespace

bool LibraryAttach()
{
    return CheckDllVersion(VORDAL_CONTRACT_VERSION, __FILE__, __DATE__ " " __TIME__);
}

void LibraryDetach()
{
    // The code that the sequencing threads run goes away with the library.
    QX5SonarConfigurationInfo::Instance().Exit();
}

void RegisterDevices()
{
    CDevList::GetDevList().RegisterDev(deviceClass, new DevCreator<QX5SonarConfigurationControlDevice>);
}

void UnRegisterDevices()
{
    CDevList::GetDevList().UnRegisterDev(deviceClass);
}

void RegisterViews()
{
    // The plug-in has no view yet.
}

void InitializeTemplates(CVordalBaseApp*)
{
    // The plug-in has no view, and so no template, yet. The devices exist by now.
    QX5SonarConfigurationInfo::Instance().Init();
}

void UnInitializeTemplates() {}

void DeviceCtrlInit(unsigned short a, unsigned short b, unsigned short c, unsigned short d)
{
    BaseDevice* device = DataManager::GetDataManager().FindDevice(CDataId(d, b, c, a));
    if (device != nullptr) {
        device->SetDeviceCtrlViewType(documentTemplate);
    }
}

void DiscoverSonars()
{
    QX5SonarConfigurationInfo::Instance().Init();
}

void ReleaseSonars()
{
    QX5SonarConfigurationInfo::Instance().Exit();
}
