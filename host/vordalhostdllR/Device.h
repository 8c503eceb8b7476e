// A device that the host creates from its project: definition, configuration, requests.
#pragma once

#include <VordalDataBlocksR/BaseDevice.h>

class FileObject;

/// A device with a life on the host: Create, LoadAttribs, ApplyAttribs, then HandlePortConnected whenever its port
/// connects. All of these arrive on the host thread.
class VORDAL_API Device : public BaseDevice
{
public:
    Device();
    ~Device() override;

    /// What the project says of devices of this class; of no account here. Null is allowed.
    virtual void SetDeviceDef(DeviceDefinition const* definition);
    /// Makes what the device needs on the host (its buffer); false when it has no id yet.
    virtual bool Create();
    /// The same with that id. The buffer is the host's own for the id; the argument is for hosts that hand out others.
    virtual bool Create(CDataId const& dataId, BaseDataSource* buffer);
    /// The device is about to be taken away.
    virtual void StopDevice();
    /// Fills the attribute tree from the section `name` of the configuration; false leaves it as it was.
    virtual bool LoadAttribs(CString name, FileObject* file);
    /// For hosts that load attributes in two steps, before Create and after it; not called here.
    virtual void LoadAttribsPostCreate();
    /// The tree was set or changed as a whole.
    virtual void ApplyAttribs(bool changed);
    /// Stores the block in the device's buffer, makes it the current one, and tells the stream's subscribers. Any
    /// thread.
    virtual void DispatchDataBlock(CDataBlock const& block);
    /// Ends what watches over inputs; there is none here.
    virtual void StopInputTimer();
    /// A time of the instrument's as host time; here the same.
    virtual double AdjustTimeStamp(double seconds) const;

    /// Switches the supervision of the device's time-out off or on.
    void DisableTimeOut(bool disable);
    /// Tells the host that the device drops what was asked of it, because a value that it needs is found nowhere:
    /// neither in the request nor in the device's tree, or not as the kind that it has to be. `asked` is the key of the
    /// request that asked for it, `missing` the first key that is not found; they are the same when the request's own
    /// value is of another kind. Nothing comes of it but that whoever watches the host is told. The keys are read
    /// during the call alone. Any thread, holding no lock but the own device's; requests run on the host thread.
    void ReportDroppedRequest(AttributeKey const& asked, AttributeKey const& missing);

    /// The host's way into HandleRequestMap. Host thread; an exception passes out.
    void DeliverRequest(CAttributeMap* request) { HandleRequestMap(request); }

private:
    /// A request for this device: a tree of keys, owned by the caller, which the device may write into. Null is
    /// allowed. Host thread.
    virtual void HandleRequestMap(CAttributeMap* request);
};
