// The lists of view classes and display templates, as plug-ins fill them.
#include "reference_host/core/host_state.h"

#include <VordalConfigureR/CViewList.h>
#include <algorithm>
#include <iterator>
#include <utility>
#include <vordalhostdllR/CDocTemplateList.h>

using vordal::CurrentState;

VORDALMultiDocTemplate::VORDALMultiDocTemplate(CRuntimeClass* documentClass, CRuntimeClass* frameClass,
                                               CRuntimeClass* viewClass, CRuntimeClass* dockFrameClass)
    : m_documentClass(documentClass), m_frameClass(frameClass), m_viewClass(viewClass), m_dockFrameClass(dockFrameClass)
{
}
VORDALMultiDocTemplate::~VORDALMultiDocTemplate() = default;

VORDALMultiDocTemplateAttr1::VORDALMultiDocTemplateAttr1(CRuntimeClass* documentClass, CRuntimeClass* frameClass,
                                                         CRuntimeClass* viewClass, CRuntimeClass* dockFrameClass)
    : VORDALMultiDocTemplate(documentClass, frameClass, viewClass, dockFrameClass)
{
}
VORDALMultiDocTemplateAttr1::~VORDALMultiDocTemplateAttr1() = default;

struct CDocTemplateListAccess
{
    static CDocTemplateList instance;
};
CDocTemplateList CDocTemplateListAccess::instance;

CDocTemplateList& CDocTemplateList::GetDocTemplates()
{
    return CDocTemplateListAccess::instance;
}

bool CDocTemplateList::AddTemplate(CString const& name, VORDALMultiDocTemplate* displayTemplate)
{
    auto* const host = CurrentState();
    return host != nullptr && host->displays.NameTemplate(name, displayTemplate);
}

bool CDocTemplateList::RemoveTemplate(CString const& name)
{
    auto* const host = CurrentState();
    return host != nullptr && host->displays.RemoveTemplateName(name);
}

VORDALMultiDocTemplate* CDocTemplateList::FindTemplate(CString const& name) const
{
    auto const* const host = CurrentState();
    return host != nullptr ? host->displays.FindTemplate(name) : nullptr;
}

struct CViewListAccess
{
    static CViewList instance;
};
CViewList CViewListAccess::instance;

CViewList& CViewList::GetViewList()
{
    return CViewListAccess::instance;
}

bool CViewList::RegisterView(CString const& name, CRuntimeClass* viewClass)
{
    auto* const host = CurrentState();
    return host != nullptr && host->displays.AddView(name, viewClass);
}

CRuntimeClass* CViewList::FindView(CString const& name) const
{
    auto const* const host = CurrentState();
    return host != nullptr ? host->displays.FindView(name) : nullptr;
}
