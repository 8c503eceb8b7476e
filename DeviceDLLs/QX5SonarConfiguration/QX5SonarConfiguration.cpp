// The entry points by which the plug-in joins a host.
#include "QX5SonarConfiguration.h"

#include "QX5SonarConfigurationControlDevice.h"
#include "platform/this_module.h"
#include "sequencing/QX5SonarConfigurationInfo.h"
#ifdef QX5_VIEW
#include "view/QX5SonarConfigurationView.h"
#endif
#include <VersionControlR/CheckDllVersion.h>
#include <VordalConfigureR/CViewList.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <VordalMfc0R/CRuntimeClass.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>
#include <vordalhostdllR/VordalHost.h>

namespace {

constexpr wchar_t const* deviceClass = L"QX5SonarConfigurationControlDevice";
constexpr wchar_t const* viewName = L"QX5SonarConfigurationView";
constexpr wchar_t const* documentTemplate = L"QX5SONARCONFIGURATION";

#ifdef QX5_VIEW
CRuntimeClass* ViewClass()
{
    return QX5SonarConfigurationView::GetRuntimeClass();
}
#else
/// Built without its view: the class has its name in the host's registries, and whoever asks for a view gets null.
CRuntimeClass* ViewClass()
{
    static CRuntimeClass none{"QX5SonarConfigurationView", []() -> CObject* { return nullptr; }};
    return &none;
}
#endif

} // namespace

bool LibraryAttach()
{
    if (!CheckDllVersion(VORDAL_CONTRACT_VERSION, __FILE__, __DATE__ " " __TIME__)) {
        return false;
    }
    // Without a resource library the texts that are built in serve.
    HINSTANCE const itself = qx5::platform::ThisModule();
    VordalHost::LoadDLLResourceDLL(itself, itself);
    return true;
}

void LibraryDetach()
{
    // The code that the sequencing threads run goes away with the library.
    QX5SonarConfigurationInfo::Instance().ClearList();
}

void RegisterDevices()
{
    CDevList::GetDevList().RegisterDev(deviceClass, new DevCreator<QX5SonarConfigurationControlDevice>);
}

bool UnRegisterDevices()
{
    return CDevList::GetDevList().UnRegisterDev(deviceClass);
}

void RegisterViews()
{
    CViewList::GetViewList().RegisterView(viewName, ViewClass());
}

void InitializeTemplates(CVordalBaseApp* application)
{
    // A host without an application has nobody to own a template, nor displays to make by it.
    if (application != nullptr) {
        auto* const displayTemplate =
            new VORDALMultiDocTemplateAttr1(CDisplayDocAttr1::GetRuntimeClass(), CDisplayFrmAttr1::GetRuntimeClass(),
                                            ViewClass(), CDisplayDockFrmAttr1::GetRuntimeClass());
        application->AddDocTemplate(displayTemplate);
        CDocTemplateList::GetDocTemplates().AddTemplate(documentTemplate, displayTemplate);
    }
    // The devices exist by now.
    auto& sonars = QX5SonarConfigurationInfo::Instance();
    sonars.ClearList();
    sonars.GetAttributes();
}

void UnInitializeTemplates()
{
    CDocTemplateList::GetDocTemplates().RemoveTemplate(documentTemplate);
}

void DeviceCtrlInit(unsigned short a, unsigned short b, unsigned short c, unsigned short d)
{
    BaseDevice* device = DataManager::GetDataManager().FindDevice(CDataId(d, b, c, a));
    if (device != nullptr) {
        device->SetDeviceCtrlViewType(documentTemplate);
    }
}

void DiscoverDevices()
{
    auto& sonars = QX5SonarConfigurationInfo::Instance();
    sonars.ClearList();
    sonars.GetAttributes();
}

void ReleaseDevices()
{
    QX5SonarConfigurationInfo::Instance().ClearList();
}
