// The reference host: one object that owns everything a plug-in finds behind the host contract.
#pragma once

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <VordalSubscriberR/NotificationInfo.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/Device.h>

#include "reference_host/attributes/tree_account.h"
#include "reference_host/host/host_task.h"
#include "reference_host/link/sonar_traffic.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

class BaseIOHandler;
class CBaseVessel;
class CVordalBaseApp;

namespace vordal {

class Clock;
class HostObserver;
class TargetStore;
struct HostState;

/// Where requests and notifications run.
enum class Threading
{
    Inline,   ///< on the thread that calls, at once; that thread counts as the host thread
    Threaded, ///< on one host thread, in the order in which they were posted or raised
};

/// What becomes of an exception that leaves a request.
enum class RequestFailures
{
    Contain, ///< logged in one line; the host lives on
    Pass,    ///< passed to whoever asked for the request, for a tool that reports it
};

/// What makes a computation of the project.
struct ComputationSetup
{
    CDataId dataId;
    int type = 0;
    CAttributeMap attributes;
    std::vector<CDataId> linkedDevices;
    /// The stream behind the computation; undefined: its own id.
    CDataId stream;
};

/// What makes a vessel of the project.
struct VesselSetup
{
    unsigned short number = 1;
    CString name;
    /// Section -> item -> text.
    std::map<CString, std::map<CString, CString>> configuration;
};

/// A display that the application has set up.
struct DisplaySetup
{
    CString section; ///< in the presentation configuration
    CString type;
    CString name;
    bool enabled = true;
};

/// A message to the operator.
struct Message
{
    double time = 0.0; ///< host time, seconds
    CString text;
    CString detail;
    unsigned flags = 0; ///< of CVordalMessage::Flag
};

/// What makes the application that the host runs in.
struct ApplicationSetup
{
    CString guid; ///< tells this application from others on the same sonar system
    bool mainWindow = true;
    int lightMode = 4; ///< 1 to 4, see ColorControl
    std::vector<DisplaySetup> displays;
};

/// The host. One lives at a time in a process; the singletons of the contract (DataManager, VesselManager, CDevList,
/// the buses) answer from it, and a new one begins empty. Without one they find nothing.
///
/// Set it up, then use it, on the thread that made it; operations are for that thread or the host thread unless they
/// say otherwise. Clock, traffic, observer and ports are the caller's and must outlive the host.
class VORDAL_API Host
{
public:
    using Task = std::function<void()>;

    /// Throws std::logic_error while another host lives.
    explicit Host(Threading threading = Threading::Inline);
    Host(Host const&) = delete;
    Host& operator=(Host const&) = delete;
    /// Stops the host thread, then destroys the devices in the order in which they were added. Plug-ins are unloaded
    /// after RemoveAllDevices and before this.
    ~Host();

    /// The host that lives. There must be one; CurrentOrNull asks.
    static Host& Current();
    static Host* CurrentOrNull();

    // Surroundings. Null puts back the default: the system's time, no connection, nobody watching.
    void SetClock(Clock const* clock);
    double Now() const;
    /// Null: not connected, every send gives false.
    void SetTraffic(SonarTraffic* traffic);
    SonarTraffic* Traffic() const;
    void SetObserver(HostObserver* observer);
    HostObserver* Observer() const;
    void SetRequestFailures(RequestFailures failures);

    // The host thread. Any thread.
    /// Inline: runs the task at once. Threaded: queues it and returns. False when the host is stopping; the task is
    /// then dropped. An exception that leaves a queued task is logged.
    bool Post(HostTask task);
    /// Runs the task on the host thread and waits for it; at once when this is that thread. An exception that leaves
    /// the task passes to the caller. False when the host is stopping and the task did not run.
    bool RunAndWait(Task const& task);
    bool IsHostThread() const;
    /// Takes no further tasks, runs those that are queued, ends the host thread. False when that took longer than
    /// `limit`: the queue is then dropped after the task that is running. Twice is fine. Not from the host thread.
    bool Stop(std::chrono::milliseconds limit = std::chrono::seconds(10));

    // What modules have registered, by name and in the order of names. Any thread.
    std::vector<CString> DeviceClasses() const;
    std::vector<CString> ViewClasses() const;
    std::vector<CString> DisplayTemplates() const;

    // The window thread. Subscriptions that are made on it are told on it: in a threaded host always by way of a queue
    // that holds at most one notification of each, the latest; in an inline host at once, unless another thread raised
    // the notification.
    /// Makes the calling thread the window thread. `wake` is called, on any thread and with no lock held, when
    /// something waits for DeliverToWindow; it must not fail, and may still be called a moment after EndWindowThread.
    /// Empty: the window thread looks by itself.
    void SetWindowThread(std::function<void()> wake);
    /// There is no window thread any more; what waits for it is dropped. Window thread.
    void EndWindowThread();
    /// Delivers what waits. Window thread; not from within itself.
    void DeliverToWindow();

    // Devices.
    /// A device of a class that a plug-in has registered, or of the host's own "QX5Device" or "Device"; not yet known
    /// to anybody; its driver name is the class. Null when there is no such class.
    std::unique_ptr<Device> MakeDevice(CString const& className);
    /// Takes the device in under this id, with a buffer, as the last one. The id must be free: otherwise null, and the
    /// device is gone.
    Device* AddDevice(std::unique_ptr<Device> device, CDataId const& dataId, CString const& name = CString());
    /// Attaches the device to the port, after those that are there (null takes it off its port). Ports made of
    /// PortWithDevices learn of it.
    void SetPort(BaseDevice& device, BaseIOHandler* port);
    /// Takes the device off its port, out of the register, and destroys it. False when it is not the host's. A
    /// plug-in's ping control is released before and discovers the others anew: they join with the settings that they
    /// told last, those whose stream is not well once it is, and take their turns again.
    bool RemoveDevice(BaseDevice* device);
    /// The same for all; nothing is discovered.
    void RemoveAllDevices();
    /// All devices in the order in which they were added. Any thread.
    std::vector<Device*> Devices() const;

    // Computations, vessels.
    Compform* AddComputation(ComputationSetup setup);
    /// The first vessel becomes the active one.
    CBaseVessel* AddVessel(VesselSetup setup);
    /// A text of a vessel's configuration; false and untouched when it is not there.
    bool GetVesselItem(unsigned short number, CString const& section, CString const& item, CString& text) const;
    /// Makes the vessel active, if there is such a one, and tells sel_change::ACTIVE_VESSEL in either case, on the host
    /// thread. Any thread.
    void SelectVessel(unsigned short number);
    /// Tells GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE that the operator chose this sonar, on the host thread. Any
    /// thread.
    void SelectSonar(CDataId const& dataId);

    // What the project says of itself. Any thread.
    /// From now on `value` in the display unit of that group (see UnitGroup) means `value` x `factor` in the host's.
    void SetUnitFactor(int unitGroup, double factor);
    /// What stands before the names of files of that ProjectFileKind, as it stands, a separator at its end included;
    /// no text: the project has no place for them. A kind that was never set has the empty text.
    void SetProjectFolder(unsigned kind, std::optional<CString> folder);
    /// The project's route files, as lists of them show them. They are read when such a list is filled.
    void SetRoutes(std::vector<CString> routes);
    /// The names of a data item's values, from 0, for blocks of the group (DataDefinition::GetGroupItemMapTxt).
    void SetItemTexts(unsigned short group, unsigned short item, std::vector<CString> texts);

    // The application. Without one CVordalBaseApp::Instance is null.
    /// Sets the application up; once, before a plug-in is loaded.
    void SetApplication(ApplicationSetup setup);
    /// Without a main window CVordalBaseApp::Instance is null, though the application is there. Opening it sets up a
    /// plain application where there is none. Any thread once there is an application.
    void SetMainWindow(bool open);
    /// The application, with a main window or without; null until it is set up. The host's.
    CVordalBaseApp* Application() const;
    /// The last messages to the operator, at most a thousand, the oldest first. Any thread.
    std::vector<Message> Messages() const;

    // Attributes.
    /// Puts the tree in place; nobody is told.
    void ReplaceAttributes(BaseDevice& device, CAttributeMap const& tree);
    /// Merges what was decoded from a record into the tree and notifies, as SetAttributeMap does, but it is no echo. It
    /// may fill no more of the tree than SetToldLimits allows: what is beyond is refused, counted, and told once for
    /// each device, by a line in the log and to the observer. What anybody else writes is never refused.
    void MergeDecoded(BaseDevice& device, CAttributeMap const& tree);
    /// For this device in place of the limits that TreeLimits begins with. Any thread.
    void SetToldLimits(BaseDevice& device, TreeLimits const& limits);
    /// The account of what MergeDecoded has filled and refused. What a tree holds when it is loaded or put in place
    /// counts as told. Any thread.
    TreeAccount Told(BaseDevice const& device) const;
    /// Merges into a computation's attributes and tells nobody. False when it is not there.
    bool MergeIntoComputation(CDataId const& dataId, CAttributeMap const& tree);
    /// LoadAttribs of the device with a configuration that yields the tree.
    bool LoadDevice(Device& device, CAttributeMap const& tree);
    /// ApplyAttribs of the device. Use this rather than the device's own: it makes later copies of the tree cheap again
    /// after a device has written to nodes of it.
    void ApplyDevice(Device& device, bool changed);

    /// Hands `request` to the device's HandleRequestMap at once. What an exception does SetRequestFailures says; when
    /// it is contained the answer is false. Host thread.
    ///
    /// Handlers write into the request. With `given`, what it was before, a request in which memory runs out is carried
    /// out once more with what the host keeps in reserve: what has left does not leave again, and its echo follows.
    /// While the reserve cannot be had back, requests are refused before anything of them is sent.
    bool DeliverRequest(Device& device, CAttributeMap* request, CAttributeMap const* given = nullptr);

    // Streams.
    /// The stream's buffer, made when it is missing. Any thread.
    BaseDataSource& Buffer(CDataId const& stream);
    /// Stores the block in the stream's buffer and tells its subscribers, on the host thread: at once when this is it,
    /// otherwise when its turn has come, so that each is told with its own block in the buffer. Any thread.
    void PutBlock(CDataId const& stream, CDataBlock const& block);
    /// Changes the status of the stream's buffer and tells the followers of its status, likewise. Any thread.
    void SetBufferStatus(CDataId const& stream, unsigned short status);

    // Files, contacts, the application. Any thread.
    /// Full names of files mean files below this folder from now on, and none leads out of it; empty: as they stand.
    void SetFileRoot(std::filesystem::path const& folder);
    /// Without a file root a contact can name only files below these folders, to be read or removed; links that lead
    /// out of them do. None: those below the project's folders (SetProjectFolder).
    void SetFileFolders(std::vector<std::filesystem::path> folders);
    TargetStore& Targets();
    /// At first a text of its own for each host.
    void SetAppInstanceGuid(CString const& guid);
    /// At first the user is an operator.
    void SetUserIsOperator(bool isOperator);
    void SetAScanStatus(bool on);

    /// Raises a notification on one of the buses of Subscription::Kind, told as Subscriber says. `info` may be null.
    /// Any thread.
    void Notify(Subscription::Kind kind, CString const& key, NotificationInfo const* info);

    /// For the host's own sources.
    HostState& State() { return *m_state; }

private:
    /// At once on the host thread, otherwise posted to it.
    void RunOnHostThread(HostTask task);
    bool TakeOut(BaseDevice* device);
    /// False when there is no memory in reserve any more.
    bool HasReserve();
    void CarryOut(Device& device, CAttributeMap* request, CAttributeMap const* given);
    /// Announces the last block of each sonar whose stream is well, and that of others once it is.
    void TellSettingsAgain();

    std::unique_ptr<HostState> m_state;
};

} // namespace vordal
