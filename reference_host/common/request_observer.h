// What whoever follows requests is told: each with who asked, what left for it, what was echoed, what the sonar told.
#pragma once

#include "reference_host/common/request_origin.h"
#include "reference_host/common/request_sends.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/Export.h>

#include <span>
#include <string>

class BaseDevice;

namespace vordal {

/// Between OnRequest and OnRequestEnd of a request, on the same thread, comes what belongs to it; a request within a
/// request is told in between. Calls arrive on the host thread (OnEcho, OnSend and OnDropped on any thread when they
/// are of no request), with no lock of the host held, must not wait and must not throw.
class VORDAL_API RequestObserver
{
public:
    virtual ~RequestObserver();

    /// The request is about to be handed to the device, whose tree is as it was. Valid during the call.
    virtual void OnRequest(BaseDevice& device, CAttributeMap const& request, RequestOrigin who) = 0;
    /// It was carried out; with `failure` an exception has broken it off, which says so in one line.
    virtual void OnRequestEnd(BaseDevice& device, std::string const* failure) = 0;
    /// A guard has refused it, in place of the two above.
    virtual void OnRequestRefused(BaseDevice& device, CAttributeMap const& request, RequestOrigin who,
                                  std::string const& reason) = 0;
    /// A device or its port has sent something; `taken` is false when it did not leave: no connection, or no room in
    /// its queue. The payload is valid during the call, and empty of a raw frame.
    virtual void OnSend(SendMark const& mark, std::span<unsigned char const> payload, bool taken) = 0;
    /// As HostObserver::OnEcho.
    virtual void OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags) = 0;
    /// As HostObserver::OnRequestDropped.
    virtual void OnDropped(BaseDevice& device, AttributeKey const& asked, AttributeKey const& missing) = 0;
    /// What the sonar has told of its attributes, before it is merged into the device's tree.
    virtual void OnTold(BaseDevice& device, CAttributeMap const& tree) = 0;
    /// What somebody else than the device puts into its tree (DataManager::SetAttributeMap, requests aside), before it
    /// is merged.
    virtual void OnWritten(BaseDevice&, CAttributeMap const&) {}
    /// The device's tree was written to, by whomever; before its subscribers are told. On any thread.
    virtual void OnChanged(CDataId const&) {}
};

/// Tells of a send, if anybody follows; gives `taken`. Any thread.
VORDAL_API bool TellSend(SendMark const& mark, std::span<unsigned char const> payload, bool taken);

} // namespace vordal
