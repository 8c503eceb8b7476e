// How the reference host hands requests to devices, and what it does when one fails.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>
#include <vordalhostdllR/Device.h>

namespace vordal {

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

    /// Hands `request` to the device's HandleRequestMap at once. What an exception does SetRequestFailures says; when
    /// it is contained the answer is false. Host thread.
    ///
    /// Handlers write into the request. With `given`, what it was before, a request in which memory runs out is carried
    /// out once more with what the host keeps in reserve: what has left does not leave again, and its echo follows.
    /// While the reserve cannot be had back, requests are refused before anything of them is sent.
    bool DeliverRequest(Device& device, CAttributeMap* request, CAttributeMap const* given = nullptr);

protected:
    explicit HostRequests(HostState& state) : m_state(state) {}
    ~HostRequests() = default;

private:
    /// False when there is no memory in reserve any more.
    bool HasReserve();
    void CarryOut(Device& device, CAttributeMap* request, CAttributeMap const* given);

    HostState& m_state;
};

} // namespace vordal
