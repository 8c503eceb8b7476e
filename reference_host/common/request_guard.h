// Who may say that a request is not carried out.
#pragma once

#include "reference_host/common/request_origin.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>

#include <string>

class BaseDevice;

namespace vordal {

/// Asked before each request is handed to its device. On the host thread, with no lock held; must not wait.
class VORDAL_API RequestGuard
{
public:
    virtual ~RequestGuard();

    /// False: nothing of the request is carried out, sent or echoed, and `reason` says why in one line.
    virtual bool Admits(BaseDevice& device, CAttributeMap const& request, RequestOrigin who, std::string& reason) = 0;
};

} // namespace vordal
