// The entry points by which the picture joins a host: views and their templates, no devices.
#include "view/X5SonarPictureView.h"

#include <VersionControlR/CheckDllVersion.h>
#include <VordalConfigureR/CViewList.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/EntryPoints.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

bool LibraryAttach()
{
    return CheckDllVersion(VORDAL_CONTRACT_VERSION, __FILE__, __DATE__ " " __TIME__);
}

void LibraryDetach() {}

void RegisterDevices() {}

bool UnRegisterDevices()
{
    return true;
}

void RegisterViews()
{
    for (picture::PaneKind const kind : picture::allPanes) {
        CViewList::GetViewList().RegisterView(X5SonarPictureView::DisplayName(kind),
                                              X5SonarPictureView::GetRuntimeClass(kind));
    }
}

void InitializeTemplates(CVordalBaseApp* application)
{
    // A host without an application has nobody to own a template, nor displays to make by it.
    if (application == nullptr) {
        return;
    }
    for (picture::PaneKind const kind : picture::allPanes) {
        auto* const displayTemplate = new VORDALMultiDocTemplateAttr1(
            CDisplayDocAttr1::GetRuntimeClass(), CDisplayFrmAttr1::GetRuntimeClass(),
            X5SonarPictureView::GetRuntimeClass(kind), CDisplayDockFrmAttr1::GetRuntimeClass());
        application->AddDocTemplate(displayTemplate);
        CDocTemplateList::GetDocTemplates().AddTemplate(X5SonarPictureView::DisplayName(kind), displayTemplate);
    }
}

void UnInitializeTemplates()
{
    for (picture::PaneKind const kind : picture::allPanes) {
        CDocTemplateList::GetDocTemplates().RemoveTemplate(X5SonarPictureView::DisplayName(kind));
    }
}

/// It has no devices, so no device's control view is one of its displays.
void DeviceCtrlInit(unsigned short, unsigned short, unsigned short, unsigned short) {}
