// What whoever follows or guards requests has in common.
#include "reference_host/common/request_observer.h"

#include "reference_host/common/current_host.h"
#include "reference_host/common/request_guard.h"

namespace vordal {

RequestObserver::~RequestObserver() = default;
RequestGuard::~RequestGuard() = default;

bool TellSend(SendMark const& mark, std::span<unsigned char const> payload, bool taken)
{
    if (auto* const observer = CurrentRequestObserver()) {
        observer->OnSend(mark, payload, taken);
    }
    return taken;
}

} // namespace vordal
