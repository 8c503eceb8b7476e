// A plug-in for a single-beam echo sounder: how it joins the host.
#include "sounder_device.h"
#include "sounder_keys.h"
#include "sounder_view.h"

#include <VersionControlR/CheckDllVersion.h>
#include <VordalConfigureR/CViewList.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/EntryPoints.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

bool LibraryAttach()
{
    return CheckDllVersion(VORDAL_CONTRACT_VERSION, __FILE__, __DATE__);
}

void LibraryDetach() {}

void RegisterDevices()
{
    CDevList::GetDevList().RegisterDev(sounder::DeviceClass, new DevCreator<sounder::SounderDevice>);
}

bool UnRegisterDevices()
{
    return CDevList::GetDevList().UnRegisterDev(sounder::DeviceClass);
}

void RegisterViews()
{
    CViewList::GetViewList().RegisterView(sounder::ViewClass, sounder::SounderView::GetRuntimeClass());
}

void InitializeTemplates(CVordalBaseApp* application)
{
    if (application == nullptr) {
        return;
    }
    auto* const displayTemplate = new VORDALMultiDocTemplateAttr1(
        CDisplayDocAttr1::GetRuntimeClass(), CDisplayFrmAttr1::GetRuntimeClass(),
        sounder::SounderView::GetRuntimeClass(), CDisplayDockFrmAttr1::GetRuntimeClass());
    application->AddDocTemplate(displayTemplate);
    CDocTemplateList::GetDocTemplates().AddTemplate(sounder::DisplayTemplate, displayTemplate);
}

void UnInitializeTemplates()
{
    CDocTemplateList::GetDocTemplates().RemoveTemplate(sounder::DisplayTemplate);
}

void DeviceCtrlInit(unsigned short vessel, unsigned short group, unsigned short device, unsigned short type)
{
    if (auto* const found = DataManager::GetDataManager().FindDevice(CDataId(type, group, device, vessel))) {
        found->SetDeviceCtrlViewType(sounder::DisplayTemplate);
    }
}
