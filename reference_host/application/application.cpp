// The application as a host without displays has it.
#include "reference_host/application/application.h"

#include "reference_host/host/host_state.h"

CVordalBaseApp::CVordalBaseApp() = default;
CVordalBaseApp::~CVordalBaseApp() = default;

CVordalBaseApp* CVordalBaseApp::Instance()
{
    auto* const host = vordal::CurrentState();
    return host != nullptr && host->hasMainWindow ? host->application.get() : nullptr;
}

CDisplayMap::~CDisplayMap() = default;
CPrsConfiguration::~CPrsConfiguration() = default;

VORDALMultiDocTemplate::VORDALMultiDocTemplate(CRuntimeClass* documentClass, CRuntimeClass* frameClass,
                                               CRuntimeClass* viewClass, CRuntimeClass* dockFrameClass)
    : m_documentClass(documentClass), m_frameClass(frameClass), m_viewClass(viewClass), m_dockFrameClass(dockFrameClass)
{
}
VORDALMultiDocTemplate::~VORDALMultiDocTemplate() = default;

namespace vordal {

Application::Application() = default;
Application::~Application() = default;

void Application::AddDocTemplate(VORDALMultiDocTemplate* displayTemplate)
{
    if (displayTemplate != nullptr) {
        m_templates.emplace_back(displayTemplate);
    }
}

bool Application::AddDisplay(unsigned, CString const&, CString const&, FileObject const&, CString const&, bool,
                             BaseDevice*, unsigned short)
{
    return false;
}

bool Application::SelectDisplay(CString const&)
{
    return false;
}

void Application::NotifyAttributesChanged(CDataId const&, int) {}

} // namespace vordal
