// The host's central register: devices, computations, streams, and the way into a device from a view.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalBaseR/Export.h>

class BaseDataSource;
class BaseDevice;
class SubscriptionMap;
class VesselManager;

/// A computation of the host. Owned by the host.
class VORDAL_API Compform
{
public:
    virtual ~Compform();

    /// The computation's id.
    virtual CDataId const& GetDataId() const = 0;
    /// The computation's type number, such as 1011 for a multibeam computation.
    virtual int GetType() const = 0;
    /// An attribute and its flag word; false, and nothing written, when it is absent or of another kind.
    virtual bool GetAttribValue(AttributeKey const& key, CDataInfo& value, unsigned& flags) const = 0;
    /// Overwrites `dataId` with the id of the stream behind the computation.
    virtual void GetDataSource(CDataId& dataId) const = 0;
    /// Copies the computation's attributes.
    virtual void GetAttributeMap(CAttributeMap& map) const = 0;
    /// Empties the buffer of the stream behind the computation (see BaseDataSource::Reset), if there is one.
    virtual void ResetDataSource() = 0;
};

/// The register. Look-ups may be called from any thread; what they give is the host's and stays while the project is
/// open. Vessels are named by their number (the fourth field of an id).
class VORDAL_API DataManager
{
public:
    /// The host's one register.
    static DataManager& GetDataManager();

    /// Null when there is no such device.
    BaseDevice* FindDevice(CDataId const& dataId);
    /// How many devices a vessel has; 0 for one that is not there.
    int GetDeviceCount(unsigned short vessel);
    /// The `index`-th device of a vessel, from 0, in the project's order; null beyond the last.
    BaseDevice* GetDevice(int index, unsigned short vessel);
    /// Walks a vessel's devices: each call gives the next one, null after the last, then from the first again.
    BaseDevice* GetNextDevice(unsigned short vessel);

    /// How many computations a vessel has.
    int GetCompsCount(unsigned short vessel);
    /// The `index`-th computation of a vessel, from 0; null beyond the last.
    Compform* GetComputation(int index, unsigned short vessel);
    /// Null when there is no such computation.
    Compform* FindComputation(CDataId const& dataId);
    /// The `index`-th computation that is linked to the device, in the project's order; null beyond the last.
    Compform* GetLinkedComputation(CDataId const& dataId, int index);

    /// The way into a device from a view. A copy of each "Request" child of the tree goes to the device's
    /// HandleRequestMap; what else the tree holds is merged into its attributes. On the host thread this happens at
    /// once, nested, so that what follows sees the echo; from any other thread it is posted and the call returns.
    /// `dataId` may also be a computation, whose attributes the tree is merged into. The bool is always false.
    /// False when there is no such device or computation.
    bool SetAttributeMap(CDataId const& dataId, CAttributeMap const& map, unsigned flags, bool unused);
    /// Copies a device's (or computation's) tree. False, and an empty tree, when it is not there.
    bool GetAttributeMap(CDataId const& dataId, CAttributeMap& map);
    /// Null when there is no such device or computation.
    SubscriptionMap* GetAttributeSubscriptionMap(CDataId const& dataId);

    /// The buffer of a stream; null when there is none. `create` makes one where it is missing.
    BaseDataSource* FindDatablockBuffer(CDataId const& dataId, bool create);

    /// The project's vessels.
    VesselManager& GetVesselManager();

private:
    DataManager() = default;
    friend struct DataManagerAccess;
};
