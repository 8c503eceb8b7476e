// How the reference host hands requests to devices, and what it does when one fails.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>
#include <vordalhostdllR/Device.h>

#include "reference_host/common/request_origin.h"

namespace vordal {

class RequestGuard;
class RequestObserver;
struct HostState;

/// What becomes of an exception that leaves a request.
enum class RequestFailures
{
    Contain, ///< logged in one line; the host lives on
    Pass,    ///< passed to whoever asked for the request, for a tool that reports it
};

/// Requests, a part of the host.
class VORDAL_API HostRequests
{
public:
    HostRequests(HostRequests const&) = delete;
    HostRequests& operator=(HostRequests const&) = delete;

    void SetRequestFailures(RequestFailures failures);

    /// Who is asked before each request is carried out, and who follows them; null for nobody. Both outlive the host
    /// or are taken away while no request runs.
    void SetRequestGuard(RequestGuard* guard);
    void SetRequestObserver(RequestObserver* observer);

    /// Hands `request` to the device's HandleRequestMap at once, unless the guard refuses it: then the answer is false.
    /// What an exception does SetRequestFailures says; when it is contained the answer is false. Host thread.
    ///
    /// Handlers write into the request. With `given`, what it was before, a request in which memory runs out is carried
    /// out once more with what the host keeps in reserve: what has left does not leave again, and its echo follows.
    /// While the reserve cannot be had back, requests are refused before anything of them is sent.
    bool DeliverRequest(Device& device, CAttributeMap* request, CAttributeMap const* given = nullptr,
                        RequestOrigin who = CurrentOrigin());

protected:
    explicit HostRequests(HostState& state) : m_state(state) {}
    ~HostRequests() = default;

private:
    /// False when there is no memory in reserve any more.
    bool HasReserve();
    void CarryOut(Device& device, CAttributeMap* request, CAttributeMap const* given);
    bool IsRefused(Device& device, CAttributeMap const& asked, RequestOrigin who);

    HostState& m_state;
};

} // namespace vordal
