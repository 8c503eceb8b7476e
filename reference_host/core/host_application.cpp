// The application that the reference host runs in, and what it shows.
#include "reference_host/core/host_application.h"

#include "reference_host/core/application.h"
#include "reference_host/core/host_state.h"

#include <utility>

namespace vordal {

std::vector<CString> HostApplication::ViewClasses() const
{
    return m_state.displays.ViewNames();
}

std::vector<CString> HostApplication::DisplayTemplates() const
{
    return m_state.displays.TemplateNames();
}

void HostApplication::SetApplication(ApplicationSetup setup)
{
    m_state.application = std::make_unique<vordal::Application>(std::move(setup));
}

void HostApplication::SetMainWindow(bool open)
{
    if (m_state.application != nullptr) {
        m_state.application->SetMainWindow(open);
    } else if (open) {
        SetApplication({});
    }
}

CVordalBaseApp* HostApplication::Application() const
{
    return m_state.application.get();
}

std::vector<Message> HostApplication::Messages() const
{
    return m_state.messages.All();
}

void HostApplication::SetAppInstanceGuid(CString const& guid)
{
    std::lock_guard const lock(m_state.mutex);
    m_state.appInstanceGuid = guid;
}

void HostApplication::SetUserIsOperator(bool isOperator)
{
    m_state.userIsOperator = isOperator;
}

void HostApplication::SetAScanStatus(bool on)
{
    m_state.aScanOn = on;
}

} // namespace vordal
