// The device class of the plug-in: it turns requests into records for the sonar and echoes what was asked for.
#pragma once

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/Subscription.h>

#include "handlers/contacts.h"
#include "sequencing/TerminalCommandsToQX5Conv.h"
#include <commands/chain.h>
#include <commands/command.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

class BaseDataSource;
class CVordalUnitCnv;
class QX5SocketIoHandler;
class SonarTargetsControl;

namespace qx5 {
class CommandValues;
}

/// The kind of scalar that RequestValue handles.
enum PARMTYPE : int
{
    PARM_INT = 0,        ///< integer getter; one signed 32-bit integer
    PARM_FLOAT = 1,      ///< double getter; narrowed to a 32-bit float
    PARM_ANGLE_PAIR = 2, ///< pair getter, degrees; two 32-bit floats in radians, first member first
};

/// The sonar as the host's device. Requests and notifications arrive on the host thread.
///
/// The state of the sonar lives in the device's attribute tree (the stored tree below), fed by the echoes of the
/// handlers and by the host's decoding of what the sonar sends. The members hold only what the plug-in needs for
/// itself. Handlers take no lock: they read the stored tree on the thread that alone writes it while a request runs,
/// and the echo locks on its own. Nothing is reported to anybody: a key that is absent or of another kind ends a
/// handler silently, a send that fails does not stop the echo.
class VORDAL_PLUGIN_EXPORT QX5SonarConfigurationControlDevice : public QX5Device
{
public:
    QX5SonarConfigurationControlDevice();
    ~QX5SonarConfigurationControlDevice() override;

    // Brings both overloads of QX5Device into view beside the override.
    using QX5Device::DoOutput;
    bool DoOutput(long output) override;

    // The device's life; host thread.
    /// Follows the stream of the pan-and-tilt unit, if there is one, and the hoist's attributes anew. What the port
    /// asks the sonar for is the base's.
    void HandlePortConnected() override;
    /// Takes up the attributes of the configuration, but no request and no sonar settings that were stored with them:
    /// those must not come back to life. False when the host has no such configuration.
    bool LoadAttribs(CString name, FileObject* file) override;
    /// The tree was set or changed as a whole: takes up what the device keeps a mirror of, and finds out from the
    /// vessel's multibeam computation on the same port whether the head hangs on a pan-and-tilt unit. Runs under the
    /// device's lock from end to end, notifications that it raises included.
    void ApplyAttribs(bool changed) override;

private:
    friend struct ControlDeviceAccess; // tests reach the handlers through it

    void HandleRequestMap(CAttributeMap* request) override;

    /// Reads the key from the request, sends it as the whole payload of record `recordId` and echoes it. Records 7600
    /// to 7699 of kind PARM_FLOAT go by Send76xxRecord. Any other `kind` than the three does nothing.
    void RequestValue(CAttributeMap* request, int recordId, AttributeKey const& key, PARMTYPE kind);
    /// Frames the record by itself and writes it to the port: device and enumerator from the stored tree, time now.
    /// False, and nothing sent, while the sonar's "DeviceId" is unknown (0); otherwise true, whatever became of it.
    bool Send76xxRecord(unsigned long recordId, float value);

    // What handlers are made of; see handlers/command.h.
    /// Runs a command that its table tells completely: trigger, completion, record, echo, follow-ups.
    void Run(CAttributeMap const& request, qx5::Command const& command)
    {
        // By far most commands have nothing to do with a request; this tells so at the least cost.
        if (qx5::MayConcern(request.KeyFilter(), command)) {
            RunIfTriggered(request, command);
        }
    }
    void RunIfTriggered(CAttributeMap const& request, qx5::Command const& command);
    /// The same once the command is known to start.
    void CarryOut(CAttributeMap const& request, qx5::Command const& command);
    /// Reads and completes the operands as the command's form says; false when it does not start or a value
    /// is missing. The host is told of one that not even the stored tree has.
    bool ReadOperands(CAttributeMap const& request, CAttributeMap const& stored, qx5::Command const& command,
                      qx5::CommandValues& values);
    /// Sends the record the way that its table says. A data record goes without a time (0.0); a passed-through one
    /// goes nowhere when the port is no sonar's.
    void Send(qx5::protocol::RecordLayout const& record, std::span<unsigned char const> payload, qx5::Target target);
    void SendRemote(std::uint32_t recordId, std::span<unsigned char const> payload, qx5::Target target);
    /// The same for the sonar processor to pass on to unit `target`; nothing happens unless the port is a sonar's.
    void SendThrough(std::uint32_t recordId, std::span<unsigned char const> payload, qx5::Target target);
    void AskFor(std::span<qx5::FollowUp const> followUps);
    /// Merges the echo into the stored tree and tells its subscribers.
    void Report(CAttributeMap const& echo, int flags);
    /// Device and enumerator that a frame made here bears: "DeviceId" and "DeviceEnum" of the tree, enumerator 0 where
    /// "x5SystemIDH" is true. Nothing while the sonar's "DeviceId" is unknown (0).
    std::optional<qx5::Target> SonarIdentity() const;
    /// Time of the last block in the device's buffer, seconds; 0.0 when there is none.
    double TimeOfLastData() const;
    /// The port as that of a sonar; null when there is none or it is of another class. The host's.
    QX5SocketIoHandler* SonarPort() const;
    CAttributeMap const& Stored() const { return *m_attributes; }

    // The handlers, one for each row of the chain: what each does, its command of the same name tells.
#define QX5_HANDLER(name) void name(CAttributeMap* request);
#define QX5_KEYED(name, key) void name(CAttributeMap* request, AttributeKey const& key);
#define QX5_NO_HANDLER(...)
    QX5_REQUEST_CHAIN(QX5_HANDLER, QX5_HANDLER, QX5_KEYED, QX5_NO_HANDLER)
#undef QX5_HANDLER
#undef QX5_KEYED
#undef QX5_NO_HANDLER
    /// Not in the chain: no request reaches it.
    void RequestHeadingSensorConfiguration(CAttributeMap* request);

    // The satellite positioning and inertial unit.
    /// One of the unit's three serial ports; what the request leaves out of the two keys comes from the unit's tree.
    void SendDgnssSerialPortConfig(CAttributeMap* request, AttributeKey const& baudKey, AttributeKey const& rs485Key,
                                   unsigned char portId);
    /// Bits per second of the unit's baud code, 0 for a code that it does not have.
    static unsigned ConvertDGNSSEnumToBaudRate(int code);

    // Recording by the sonar processor.
    /// The host's logger has started or stopped; the recording follows it when it is to be in step. Host thread.
    void StartLogging();
    void StopLogging();
    /// A recording's name made from the host's time as the local clock shows it, such as 20231213_162237_VORDAL.
    /// Throws std::invalid_argument when the time has no place in the calendar.
    CString CreateX5RecordFilename();
    /// Starts a recording of that name; with an empty one the sonar chooses.
    void StartRecording(CString const& fileName, qx5::Target target);

    // Targets and contacts.
    /// One item for each GUID that the open target file still finds; without one the head alone goes out.
    void Send3004Record(std::vector<CString> const& targetGuids);
    /// The selected contact was made, changed or deleted; `info` is a SONAR_TARGET_SEL_INFO, anything else and null
    /// do nothing. Host thread.
    void OnSelectedSonarTargetChange(NotificationInfo const* info);
    void SendSonarx5ContactOutputRecord(SONAR_TARGET_SEL_INFO const* info);
    /// Fills the payload, zero before. False when the contact is not in the open target file: nothing is to be sent.
    /// `time`, in seconds, is that of the change.
    bool Build3001Record(qx5::R3001 record, SONAR_TARGET_SEL_INFO const* info, double time) const;
    std::int32_t GetInformationFlags3001Record(SonarTarget const& contact) const;
    /// Sends the contact's image, bearing the time of sending, and removes the image file from disk.
    void SendSonarContactGeoTiffx5(SONAR_TARGET_SEL_INFO const* info);
    /// Brings the open target file into line with the one that is active in the host.
    void OnSonarTargetsVisualizationChange();

    // Pan, tilt and hoist.
    /// A block of the pan-and-tilt unit has come: pings run while the unit scans, if that is what the operator wants.
    /// Host thread, as the one below.
    void OnPanAndTiltUpdate();
    /// One of the commanded values has changed: publishes all four as a data block of the host.
    void OnHoistDataChange();

    // In the order in which they are constructed; they go in reverse.
    Subscription startLoggingSubscription{Subscription::General};   ///< the host logger starts
    Subscription stopLoggingSubscription{Subscription::General};    ///< the host logger stops
    Subscription selectedTargetSubscription{Subscription::General}; ///< the selected sonar contact changes
    CDataId panTiltDataId;                                          ///< stream of the pan and tilt unit
    BaseDataSource* panTiltBuffer = nullptr;                        ///< buffer of that stream; the host's
    CDataBlock panTiltBlock;                                        ///< last block of that stream
    std::int32_t mountedOnPanAndTilt = 0;                           ///< mirror of "MountedOnPanAndTilt"
    DataSubscription panTiltSubscription;
    Subscription hoistSubscription;
    bool panTiltScanning = false;    ///< scanning flag taken from the pan and tilt block
    bool pingOnlyDuringScan = false; ///< mirror of "PingOnlyDuringScan"
    bool loggerRunning = false;      ///< true between the host's logger start and stop
    std::array<std::int32_t, 7> contactInformationFlags{1, 2, 4, 8, 16, 32, 64}; ///< bits of the contact record
    TerminalCommandsToQX5Conv terminalCommands;
    SonarTargetsControl* sonarTargetsControl = nullptr; ///< open target file, closed with the device
    CString sonarTargetsName;                           ///< name of that file
    CVordalUnitCnv* unitConverter;                      ///< the project's, never null; stays while the host runs
};
