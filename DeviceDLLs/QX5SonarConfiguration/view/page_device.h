// What the pages of the view may do with the sonar that is shown: request, and read what it tells.
#pragma once

#include <VordalAttributesR/AttributeKey.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>

class CVordalType;

namespace qx5 {

/// The pages' only way to the device. Each request leaves at once. Window thread.
class PageDevice
{
public:
    /// A request of one key.
    virtual void SendRequestValue(CString const& key, CVordalType const& value) = 0;
    /// A request of whatever `values` has below its root.
    virtual void SendRequest(CAttributeMap const& values) = 0;
    /// `velocity` in metres per second.
    virtual void RequestSoundVelocity(double velocity, bool override) = 0;
    virtual void RequestGateEnables(bool depth, bool range, bool adaptive) = 0;
    /// 0 the active route, 1 a local one.
    virtual void SetSteeringRouteSource(int source) = 0;
    /// 0 horizontal, 1 flex.
    virtual void SetSteeringMode(int mode) = 0;
    /// Reads the computation's attributes anew, puts the value in place of the key's, and hands all of them back to the
    /// host. Takes ownership of `value`. Without a computation nothing is written.
    virtual void WriteSteeringAttribute(AttributeKey const& key, CVordalType* value) = 0;

    virtual CDataId const& DeviceId() const = 0;
    /// A copy of the device's tree, as it was when it was told last.
    virtual CAttributeMap const& DeviceAttributes() const = 0;

protected:
    ~PageDevice() = default;
};

} // namespace qx5
