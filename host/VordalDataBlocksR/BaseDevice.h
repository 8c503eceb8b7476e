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
    /// Gives the device its id.
    virtual void SetDataId(CDataId const& dataId);
    /// Sets the third field of the id.
    virtual void SetDeviceNum(unsigned short number);
    /// The buffer of the device's own stream; every device has one.
    virtual BaseDataSource* GetBuffer();
    /// The id; undefined until it was set.
    virtual CDataId const& GetDataId() const;
    virtual CDataId& GetDataId();
    /// The same; never null.
    virtual CDataId* GetDataIdPtr();
    /// The second field of the id.
    virtual unsigned short GetGroupId() const;
    /// The device's current data block, in place. Host thread; others use GetDataBlock and CopyDataBlock.
    virtual CDataBlock& DataBlock();
    /// What the operator calls it.
    virtual void SetDeviceName(CString const& name);
    /// The host sets it; see GetDeviceDriverName.
    virtual void SetDeviceDriverName(CString const& name);
    /// What the operator calls it; empty until it was set.
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
    /// Whether the device's T0 input is in use; never here.
    virtual bool GetEnableT0() const;
    /// Whether the port's CTS line is in use; never here.
    virtual bool GetEnableCTS() const;
    /// The third field of the id.
    virtual unsigned short GetDeviceNum() const;
    /// Seconds after which a silent device counts as lost.
    virtual double GetTimeOut() const;
    /// Whether it has inputs of its own.
    virtual bool HasInputs() const;
    /// Whether an operator enters its data.
    virtual bool HasManualInputs() const;
    /// Whether a formula makes its data at intervals.
    virtual bool HasTimerFormula() const;
    /// Whether a module of its own enters its data.
    virtual bool HasManualCtrlDll() const;
    /// Whether it has outputs of that kind.
    virtual bool HasOutputs(int kind) const;
    /// Whether it has outputs of any kind.
    virtual bool HasOutputs() const;
    /// Whether it has outputs at intervals.
    virtual bool HasTimerOutputs() const;
    /// Begins outputs at intervals.
    virtual void StartOutputTimer();
    /// Ends them.
    virtual void StopOutputTimer();
    /// Begins to send what was entered at intervals.
    virtual void StartManualInputTimer();
    /// Ends that.
    virtual void StopManualInputTimer();
    /// The host is about to end.
    virtual void NotifyShutDown();
    /// Makes the messages of its outputs anew.
    virtual void InitOutputMessages();
    /// The state that SetOutputStat told last; 0 when none was told.
    virtual int GetOutputStat() const;
    /// The state of the device's output since `time` (seconds, see CExTime).
    virtual void SetOutputStat(double time, int status);
    /// The device's place among those of its class; here the third field of the id.
    virtual int GetIndexNumber() const;
    /// Writes an output with the data of that stream; false when there is no such output.
    virtual bool DoOutput(long output, CDataId const& dataId);
    /// Writes an output; false when there is none of that number.
    virtual bool DoOutput(long output);

    // Messages and blocks.
    /// Bytes that arrived on the port of a device whose frames are its own. A port hands over what it received, in
    /// order and as it came: a message may lie in several calls, several messages in one; a lost connection shows by
    /// HandlePortDisConnected, and what was begun before does not go on. `message` is the host's, holds `size` bytes (1
    /// to 65,536) without a 0 behind them, is valid during the call, and may be written into. Each device of a port
    /// gets all bytes of its own. False: the device had no use for the bytes; the host counts them and says so once.
    /// Host thread. A port of the record protocol decodes its frames itself and hands over nothing.
    virtual bool ProcessMessage(char* message, int size);
    /// Writes a text to the port of commands; false when there is none.
    virtual bool SendCommandPort(CString const& command);
    /// A text from the port of commands; false when the device had no use for it.
    virtual bool ProcessCommandPort(CString const& command);
    /// The project's units have changed.
    virtual void ApplyUnits();
    /// The device's current data block, shared with it. Any thread.
    virtual CDataBlock GetDataBlock() const;
    /// Blocks a second, as the device is set up; 0.0 when that is not known.
    virtual double GetDataRate() const;
    /// Which of the host's input drivers it uses; 0 for none.
    virtual int GetHandlerType() const;
    /// Host time of the device's last block in seconds (see CExTime); 0.0 when it has none.
    virtual double GetDeviceTime() const;
    /// See GetTimeOut.
    virtual void SetTimeOut(double seconds);
    /// The port that the device is attached to; null when there is none.
    virtual BaseIOHandler* GetPortPtr() const;
    /// Prepares the current block for a message of that number.
    virtual void initDataBlockForMessage(int message);
    /// The number by which the device's next message can be followed; 0 when it counts none.
    virtual unsigned long long GetTrackingNumber();
    /// See GetPortName.
    virtual void SetPortName(CString const& name);
    /// The name of the device's port; tells which devices share one sonar connection. Kept without a port, too.
    virtual CString GetPortName() const;
    /// Leap seconds between the device's clock and UTC; of no account here.
    virtual void SetLeapSecondsOffset(double seconds);
    /// Whether the host's clock goes by this device; of no account here.
    virtual void SetClockSyncDevice(bool enable);
    /// Makes a copy of the block the current one; it shares the block's data. Any thread.
    virtual void CopyDataBlock(CDataBlock const& block);
    /// Writes a form to the device's port; false where the host has no forms, as here.
    virtual bool SendMessageW(CForm* form, bool flag);
    /// The same.
    virtual bool SendMessageW(CForm& form, bool flag);
    /// Writes the bytes of the narrow string, as they stand, to the device's port. False when there is no connection
    /// or its queue is full; nothing is sent then.
    virtual bool SendMessageW(std::string const& bytes, bool flag);
    /// The same by that operation, with bytes that the caller gives away: the host need not copy an image, and does
    /// not hold the caller until the system has taken it. What is left in `bytes` is not told, unless the result is
    /// false: then they are as they were.
    bool SendMessageW(std::string&& bytes, bool flag);
    /// Writes the bytes to the device's port, as SendMessageW does.
    virtual bool SendMessageToPort(std::string const& bytes);
    /// Begins all intervals of the device anew.
    virtual void ResetDeviceTimers();
    /// The attributes of that device have changed.
    virtual void HandleAttribsChange(CDataId const& dataId);
    /// How many blocks the device's buffer is to hold.
    virtual void ResizeBuffer(unsigned size);
    /// The module of the device's control view; empty when it is the host's own or the class's.
    virtual CString GetDeviceCtrlDllName() const;
    /// Names the document template of the device's control view.
    virtual void SetDeviceCtrlViewType(CString name);
    /// The name that SetDeviceCtrlViewType was given; empty when there was none.
    virtual CString GetDeviceCtrlViewType() const;
    /// Whether subscribers are to be told also of values that are as before.
    virtual void SetAlwaysNotifyFlag(bool flag);
    /// What SetAlwaysNotifyFlag was given last; false before.
    virtual bool GetAlwaysnotifyFlag() const;
    /// Sends what an operator has entered.
    virtual void SendManualData();
    /// How the device's data get their time; 0: as they arrive.
    virtual int GetTimeStampMode() const;
    /// Whether the age of updates of UTC is looked at; of no account here.
    virtual void SetUtcUpdateAgeCheck(bool enable);
    /// Whether the device's clock takes part in what SetClockSyncDevice says; of no account here.
    virtual void SetClockSyncEnabled(bool enable);
    /// The first field of the id.
    virtual int GetDeviceType() const;
    /// A switch of the host's import of positions; of no account here.
    virtual void EnableDsoPositionImport(bool enable);

    // The port's life. Host thread.
    /// Called when the port starts to connect.
    virtual void HandlePortConnect();
    /// Called when the port has connected.
    virtual void HandlePortConnected();
    /// Called when the port begins to close the connection.
    virtual void HandlePortDisConnect();
    /// Called when the connection is gone, for whatever reason.
    virtual void HandlePortDisConnected();
    /// For a host whose ports are driven by their devices; never called here.
    virtual void ProtocolHandler();
    /// What the project says of it as designed: the model's name; empty when it says nothing.
    virtual CString GetDesignModelName() const;
    /// The same of the model's type.
    virtual CString GetDesignModelType() const;
    /// What the survey says of it: the model's name; empty when it says nothing.
    virtual CString GetSurveyModelName() const;
    /// The GUID of its vessel; empty when the project gives none.
    virtual CString GetVesselGuid() const;
    /// Seconds by which its data are late; 0.0 when that is not known.
    virtual double GetTimeDelay() const;
    /// The port is the host's; null takes the device off it.
    virtual void SetPortPtr(BaseIOHandler* port);

    /// Whether the operator has the device switched on.
    bool GetEnable() const;
    /// See GetEnable.
    void SetEnable(bool enable);

    /// What the host keeps about the device; for the host alone.
    vordal::DeviceInternals& Internals() const { return *m_internals; }

protected:
    /// See GetDataId.
    CDataId m_dataId;
    /// The device's persistent state, never null. Guarded by m_criticalSection; derived classes that run on the
    /// request path read it without.
    CAttributeMap* m_attributes;
    /// Guards the tree.
    mutable CriticalSection m_criticalSection;
    /// Null when no port is attached.
    BaseIOHandler* m_port = nullptr;

private:
    std::unique_ptr<vordal::DeviceInternals> m_internals;
};
