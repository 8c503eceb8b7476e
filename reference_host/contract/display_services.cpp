// The services around displays that are there without a window: the manager, the light mode.
#include "reference_host/common/host_observer.h"
#include "reference_host/core/application.h"
#include "reference_host/core/host_state.h"
#include "reference_host/displays/display.h"

#include <VordalMfc0R/ColorControl.h>
#include <vordalhostdllR/DisplayManager.h>

using vordal::CurrentApplication;

struct DisplayManagerAccess
{
    static DisplayManager instance;
};
DisplayManager DisplayManagerAccess::instance;

DisplayManager& DisplayManager::GetDisplayManager()
{
    return DisplayManagerAccess::instance;
}

bool DisplayManager::EnableDisplay(CString const& name)
{
    if (auto* observer = vordal::CurrentObserver()) {
        observer->OnEnableDisplay(name);
    }
    auto* const application = CurrentApplication();
    return application != nullptr && application->EnableDisplay(name);
}

bool DisplayManager::RemoveDisplay(CString const& title)
{
    if (auto* observer = vordal::CurrentObserver()) {
        observer->OnRemoveDisplay(title);
    }
    auto* const host = vordal::CurrentState();
    if (host == nullptr) {
        return false;
    }
    auto* const display = host->openDisplays.Remove(title);
    if (display != nullptr && host->window->IsWindowThread()) {
        display->Holder().OnRemoved();
    } else if (display != nullptr) {
        host->window->Post({vordal::WindowTaskKind::RemoveDisplay, reinterpret_cast<std::uintptr_t>(display), {}},
                           [host, display] {
                               if (host->openDisplays.Has(display)) {
                                   display->Holder().OnRemoved();
                               }
                           });
    }
    auto* const application = CurrentApplication();
    // A display that was never renamed has no title, which is nobody's name.
    bool const wasSetUp = application != nullptr && !title.IsEmpty() && application->ForgetDisplay(title);
    return display != nullptr || wasSetUp;
}

int ColorControl::GetLightMode()
{
    auto const* const application = CurrentApplication();
    return application != nullptr ? application->LightMode() : vordal::ApplicationSetup().lightMode;
}

void ColorControl::SetLightMode(int mode, bool redraw)
{
    if (auto* observer = vordal::CurrentObserver()) {
        observer->OnSetLightMode(mode, redraw);
    }
    if (auto* const application = CurrentApplication()) {
        application->SetLightMode(mode);
    }
}
