// How the reference host hands requests to devices, and what it does when one fails.
#include "reference_host/core/host_requests.h"

#include "reference_host/common/host_observer.h"
#include "reference_host/common/host_turn.h"
#include "reference_host/common/log.h"
#include "reference_host/common/request_guard.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/common/request_sends.h"
#include "reference_host/core/host_state.h"

#include <tvcoreR/Utf8.h>

#include <cstddef>
#include <exception>
#include <new>
#include <string>

namespace vordal {
namespace {

/// More than any request of the chain takes at a time, images aside.
constexpr std::size_t ReserveBytes = std::size_t{512} << 10;

/// "request x5Range, x5Power to device 1.78.1.1": enough to find a failure's origin, however large the request is.
std::string DescribeRequest(BaseDevice const& device, CAttributeMap const* request)
{
    std::string text = "request";
    int named = 0;
    if (request != nullptr) {
        for (CAttributeMap const& child : *request) {
            if (named == 4) {
                text += ", ...";
                break;
            }
            text += named++ == 0 ? " " : ", ";
            text += tvcore::ToUtf8(CString(child.KeyText().substr(0, 64)));
        }
    }
    return text + " to device " + tvcore::ToUtf8(device.GetDataId().GetKey());
}

} // namespace

void HostRequests::SetRequestFailures(RequestFailures failures)
{
    m_state.failures = failures;
}

void HostRequests::SetRequestGuard(RequestGuard* guard)
{
    m_state.requestGuard.store(guard, std::memory_order_release);
}

void HostRequests::SetRequestObserver(RequestObserver* observer)
{
    m_state.requestObserver.store(observer, std::memory_order_release);
}

bool HostRequests::HasReserve()
{
    if (m_state.reserve == nullptr) {
        m_state.reserve.reset(new (std::nothrow) std::byte[ReserveBytes]);
    }
    return m_state.reserve != nullptr;
}

void HostRequests::CarryOut(Device& device, CAttributeMap* request, CAttributeMap const* given)
{
    if (!HasReserve()) {
        throw std::bad_alloc();
    }
    RequestSends sends;
    try {
        device.DeliverRequest(request);
        return;
    } catch (std::bad_alloc const&) {
        if (given == nullptr || !sends.BeginAgain()) {
            throw;
        }
    }
    m_state.reserve.reset();
    CAttributeMap again(*given);
    device.DeliverRequest(&again);
}

bool HostRequests::IsRefused(Device& device, CAttributeMap const& asked, RequestOrigin who)
{
    auto* const guard = m_state.requestGuard.load(std::memory_order_acquire);
    if (guard == nullptr) {
        return false;
    }
    std::string reason;
    if (guard->Admits(device, asked, who, reason)) {
        return false;
    }
    if (auto* const observer = CurrentObserver()) {
        observer->OnRequestRefused(device, asked, who, reason);
    }
    if (auto* const observer = m_state.requestObserver.load(std::memory_order_acquire)) {
        observer->OnRequestRefused(device, asked, who, reason);
    }
    return true;
}

bool HostRequests::DeliverRequest(Device& device, CAttributeMap* request, CAttributeMap const* given, RequestOrigin who)
{
    HostTurn const turn;
    CAttributeMap const& asked = given != nullptr ? *given : request != nullptr ? *request : CAttributeMap::EmptyNode();
    if (IsRefused(device, asked, who)) {
        return false;
    }
    auto* const observer = m_state.requestObserver.load(std::memory_order_acquire);
    if (observer != nullptr) {
        observer->OnRequest(device, asked, who);
    }
    // What the device asks others for meanwhile is its own.
    OriginScope const own(RequestOrigin::Program);
    std::exception_ptr failure;
    std::string reason;
    try {
        CarryOut(device, request, given);
    } catch (std::exception const& thrown) {
        failure = std::current_exception();
        reason = thrown.what();
    } catch (...) {
        failure = std::current_exception();
        reason = "an exception of an unknown kind";
    }
    if (observer != nullptr) {
        observer->OnRequestEnd(device, failure != nullptr ? &reason : nullptr);
    }
    if (failure == nullptr) {
        return true;
    }
    if (m_state.failures == RequestFailures::Pass) {
        std::rethrow_exception(failure);
    }
    Log(LogLevel::Error, DescribeRequest(device, request) + " failed: " + reason);
    if (auto* const told = CurrentObserver()) {
        told->OnRequestFailed(device, request != nullptr ? *request : CAttributeMap::EmptyNode(), failure);
    }
    return false;
}

} // namespace vordal
