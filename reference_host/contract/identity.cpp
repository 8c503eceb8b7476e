// Who the application and its user are: the application's GUID, the user's role, the A-scan monitor.
#include "reference_host/core/application.h"
#include "reference_host/core/host_state.h"

#include <vordalhostdllR/AScanStatusUtils.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/UserRoleUtils.h>

CString CVordalBaseApp::GetAppInstanceGuid()
{
    auto const* const host = vordal::CurrentState();
    if (host == nullptr) {
        return {};
    }
    if (auto const* const application = vordal::CurrentApplication()) {
        return application->Guid();
    }
    std::lock_guard const lock(host->mutex);
    return host->appInstanceGuid;
}

bool UserRoleUtils::IsOperator()
{
    auto const* const host = vordal::CurrentState();
    return host != nullptr && host->userIsOperator;
}

bool AScanStatusUtils::GetAScanStatus()
{
    auto const* const host = vordal::CurrentState();
    return host != nullptr && host->aScanOn;
}
