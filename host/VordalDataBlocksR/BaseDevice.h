// The base of all devices of the host: identity, attributes, port, timers, messages.
#pragma once

#include <VordalAttributesR/AttributeKey.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CCompOffset.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/CriticalSection.h>
#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <memory>
#include <string>

class BaseDataSource;
class BaseIOHandler;
class CForm;
class DeviceDefinition;
class SubscriptionMap;

namespace vordal {
struct DeviceInternals;
}

/// A device of the host. The host owns it, whoever made it. Operations may be called from any thread unless said
/// otherwise, also while the host thread holds the device's lock; who follows the device is told as Subscriber says.
class VORDAL_API BaseDevice
{
public:
    BaseDevice();
    BaseDevice(BaseDevice const&) = delete;
    BaseDevice& operator=(BaseDevice const&) = delete;
    virtual ~BaseDevice();

    // Identity. It is set on the host thread, before others know the device or while they rest; any thread may read it.
    virtual void SetDataId(CDataId const& dataId);
    /// Sets the third field of the id.
    virtual void SetDeviceNum(unsigned short number);
    /// The buffer of the device's own stream; every device has one.
    virtual BaseDataSource* GetBuffer();
    virtual CDataId const& GetDataId() const;
    virtual CDataId& GetDataId();
    virtual CDataId* GetDataIdPtr();
    virtual unsigned short GetGroupId() const;
    /// The device's current data block, in place. Host thread; others use GetDataBlock and CopyDataBlock.
    virtual CDataBlock& DataBlock();
    virtual void SetDeviceName(CString const& name);
    virtual void SetDeviceDriverName(CString const& name);
    virtual CString const& GetDeviceName() const;
    virtual CString& GetDeviceName();
    /// The name that the device's class is registered under (CDevList); the host sets it when it has made the device.
    virtual CString const& GetDeviceDriverName() const;
    virtual CString& GetDeviceDriverName();
    /// Where the device sits on the vessel (the attribute ATTR_DEVICEOFFSET; zeros when it has none).
    virtual CCompOffset GetOffset() const;

    // Attributes.
    /// The subscriptions to this device's attributes; null is possible. Stays until the host goes.
    virtual SubscriptionMap* GetAttributeSubscriptionMap();
    /// Merges the tree into the device's attribute tree and notifies, once, the subscribers of any of the tree's
    /// top-level keys, after the merge. Locks on its own. False when nothing was given. `flags` 0, 4 and 15 merge
    /// alike here. The merge is done on return; from another thread than the host's, subscribers are told later, and
    /// read what the tree holds by then.
    virtual bool SetAttributeMap(CAttributeMap const& map, unsigned flags);
    /// Appends the tree's top-level nodes as they are, without matching keys, and notifies likewise.
    virtual bool AppendAttributeMap(CAttributeMap const& map, unsigned flags);
    /// A copy of the device's tree; it shares structure and costs next to nothing. Always true here.
    virtual bool GetAttributeMap(CAttributeMap& map) const;
    /// The value and the flag word of the key's first occurrence. False when the key is absent or its value is of
    /// another kind; nothing is written then. Locks on its own.
    virtual bool GetAttribValue(AttributeKey const& key, CString& value, unsigned& flags) const;
    virtual bool GetAttribValue(AttributeKey const& key, CCompOffset& value, unsigned& flags) const;
    virtual bool GetAttribValue(AttributeKey const& key, CDataInfo& value, unsigned& flags) const;
    virtual bool GetAttribValue(AttributeKey const& key, double& first, double& second, unsigned& flags) const;
    virtual bool GetAttribValue(AttributeKey const& key, double& value, unsigned& flags) const;
    virtual bool GetAttribValue(AttributeKey const& key, bool& value, unsigned& flags) const;
    virtual bool GetAttribValue(AttributeKey const& key, int& value, unsigned& flags) const;

    // Timers, inputs and outputs. The reference host has devices without inputs and outputs of their own; the
    // operations answer for such a device.
    virtual bool GetEnableT0() const;
    virtual bool GetEnableCTS() const;
    virtual unsigned short GetDeviceNum() const;
    /// Seconds after which a silent device counts as lost.
    virtual double GetTimeOut() const;
    virtual bool HasInputs() const;
    virtual bool HasManualInputs() const;
    virtual bool HasTimerFormula() const;
    virtual bool HasManualCtrlDll() const;
    virtual bool HasOutputs(int kind) const;
    virtual bool HasOutputs() const;
    virtual bool HasTimerOutputs() const;
    virtual void StartOutputTimer();
    virtual void StopOutputTimer();
    virtual void StartManualInputTimer();
    virtual void StopManualInputTimer();
    virtual void NotifyShutDown();
    virtual void InitOutputMessages();
    virtual int GetOutputStat() const;
    /// The state of the device's output since `time` (seconds, see CExTime).
    virtual void SetOutputStat(double time, int status);
    virtual int GetIndexNumber() const;
    virtual bool DoOutput(long output, CDataId const& dataId);
    virtual bool DoOutput(long output);

    // Messages and blocks.
    /// Bytes that arrived on the port of a device whose frames are its own. A port hands over what it received, in
    /// order and as it came: a message may lie in several calls, several messages in one; a lost connection shows by
    /// HandlePortDisConnected, and what was begun before does not go on. `message` is the host's, holds `size` bytes (1
    /// to 65,536) without a 0 behind them, is valid during the call, and may be written into. Each device of a port
    /// gets all bytes of its own. False: the device had no use for the bytes; the host counts them and says so once.
    /// Host thread. A port of the record protocol decodes its frames itself and hands over nothing.
    virtual bool ProcessMessage(char* message, int size);
    virtual bool SendCommandPort(CString const& command);
    virtual bool ProcessCommandPort(CString const& command);
    virtual void ApplyUnits();
    virtual CDataBlock GetDataBlock() const;
    virtual double GetDataRate() const;
    virtual int GetHandlerType() const;
    virtual double GetDeviceTime() const;
    virtual void SetTimeOut(double seconds);
    /// The port that the device is attached to; null when there is none.
    virtual BaseIOHandler* GetPortPtr() const;
    virtual void initDataBlockForMessage(int message);
    virtual unsigned long long GetTrackingNumber();
    virtual void SetPortName(CString const& name);
    /// The name of the device's port; tells which devices share one sonar connection. Kept without a port, too.
    virtual CString GetPortName() const;
    virtual void SetLeapSecondsOffset(double seconds);
    virtual void SetClockSyncDevice(bool enable);
    virtual void CopyDataBlock(CDataBlock const& block);
    virtual bool SendMessageW(CForm* form, bool flag);
    virtual bool SendMessageW(CForm& form, bool flag);
    /// Writes the bytes of the narrow string, as they stand, to the device's port. False when there is no connection
    /// or its queue is full; nothing is sent then.
    virtual bool SendMessageW(std::string const& bytes, bool flag);
    /// The same by that operation, with bytes that the caller gives away: the host need not copy an image, and does
    /// not hold the caller until the system has taken it. What is left in `bytes` is not told, unless the result is
    /// false: then they are as they were.
    bool SendMessageW(std::string&& bytes, bool flag);
    virtual bool SendMessageToPort(std::string const& bytes);
    virtual void ResetDeviceTimers();
    virtual void HandleAttribsChange(CDataId const& dataId);
    virtual void ResizeBuffer(unsigned size);
    virtual CString GetDeviceCtrlDllName() const;
    /// Names the document template of the device's control view.
    virtual void SetDeviceCtrlViewType(CString name);
    virtual CString GetDeviceCtrlViewType() const;
    virtual void SetAlwaysNotifyFlag(bool flag);
    virtual bool GetAlwaysnotifyFlag() const;
    virtual void SendManualData();
    virtual int GetTimeStampMode() const;
    virtual void SetUtcUpdateAgeCheck(bool enable);
    virtual void SetClockSyncEnabled(bool enable);
    virtual int GetDeviceType() const;
    virtual void EnableDsoPositionImport(bool enable);

    // The port's life. Host thread.
    /// Called when the port starts to connect.
    virtual void HandlePortConnect();
    /// Called when the port has connected.
    virtual void HandlePortConnected();
    virtual void HandlePortDisConnect();
    virtual void HandlePortDisConnected();
    virtual void ProtocolHandler();
    virtual CString GetDesignModelName() const;
    virtual CString GetDesignModelType() const;
    virtual CString GetSurveyModelName() const;
    virtual CString GetVesselGuid() const;
    virtual double GetTimeDelay() const;
    /// The port is the host's; null takes the device off it.
    virtual void SetPortPtr(BaseIOHandler* port);

    /// Whether the operator has the device switched on.
    bool GetEnable() const;
    void SetEnable(bool enable);

    /// What the host keeps about the device; for the host alone.
    vordal::DeviceInternals& Internals() const { return *m_internals; }

protected:
    CDataId m_dataId;
    /// The device's persistent state, never null. Guarded by m_criticalSection; derived classes that run on the
    /// request path read it without.
    CAttributeMap* m_attributes;
    mutable CriticalSection m_criticalSection;
    /// Null when no port is attached.
    BaseIOHandler* m_port = nullptr;

private:
    std::unique_ptr<vordal::DeviceInternals> m_internals;
};
