// The host behind the operator's window: the plug-in, several sonars on connections of their own, and the project.
#pragma once

#include "cli/first_fleet.h"
#include "cli/program_facts.h"
#include "cli/project_parts.h"
#include "cli/simulated_sonars.h"
#include "cli/switched_on.h"
#include "cli/turns_watch.h"
#include "cli/window/project_keeper.h"
#include "cli/window/sonar_entry.h"
#include "cli/window/window_recorder.h"
#include "operation/operator_desk.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/platform/wake_handle.h"
#include "reference_host/project/live_host.h"
#include "reference_host/window/main_window.h"
#include "reference_host/window/window_feed.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qx5::cli {

/// Whether the sonar has told echoes; it tells them to those alone who follow their streams.
bool HasEchoes(CDataId const& sonar);

/// LoadPlugins, Begin and End wait, and so do changes of the list of sonars, for the host thread; everything else
/// between them returns at once. Used from the window thread.
class WindowSession final : private vordal::HostObserver, public FleetGround
{
public:
    /// `following`: by which clock requests and sonars are followed.
    explicit WindowSession(std::shared_ptr<vordal::WindowFeed> feed, int lightMode,
                           operation::FollowerOptions following = {});
    WindowSession(WindowSession const&) = delete;
    WindowSession& operator=(WindowSession const&) = delete;
    /// Ends it, if that was not done.
    ~WindowSession() override;

    /// Loads all plug-ins; what they register can be asked for from here on. The first `told` of them must load, else
    /// false and one line in `error`; one of the others that does not leaves a line in the log.
    bool LoadPlugins(std::vector<std::filesystem::path> const& files, std::size_t told, std::string& error);
    /// The loaded plug-ins by their files' names, with the version of each.
    std::vector<Fact> PlugIns();
    /// The classes of devices that the plug-ins offer.
    std::vector<CString> DeviceClasses() const override { return m_host.DeviceClasses(); }
    /// The first whose devices are sonars; empty when there is none.
    CString SonarClass() override { return m_host.SonarClass(); }
    /// Whether devices of that class speak the record protocol.
    bool MakesSonars(CString const& deviceClass) override;

    /// What is recorded from the beginning; before Begin.
    void SetRecording(RecordingSetup setup) { m_recording = std::move(setup); }
    /// Opens `fleet`, the vessels and devices of this session, with what the file (no name: none is kept) holds of
    /// them, and begins to connect. False, and one line in `error`, when something of it cannot be had.
    bool Begin(vordal::StoredProject fleet, std::string const& file, std::string& error);
    /// The same with a project that was opened before; null: none.
    bool BeginWith(vordal::StoredProject fleet, std::unique_ptr<HeldProject> project, std::string& error);
    /// The file of the project; empty while there is none. Any thread.
    std::filesystem::path ProjectFile() const;
    /// What the project keeps beside the sonars and the views; changes of it are saved with the rest.
    vordal::StoredProject& Kept() { return m_project; }
    /// Whether the list of sonars or the transmit lock was changed, and no project keeps it.
    bool IsUnsaved() const { return m_isEdited && ProjectFile().empty(); }
    /// Saves the project now, and tells how that ended (see ProjectKeeper); between Begin and End. Returns at once.
    void Save(ProjectKeeper::Saved saved);
    /// The session goes on in that file, which then has all that the former one had.
    void SaveAs(std::filesystem::path const& file, ProjectKeeper::Saved saved);
    /// Has the project saved as it stands, with what the views stored and WindowMemory hold, if that is not on the disk
    /// yet. To be called now and then; returns at once. A project that cannot be saved is a line for the operator.
    void SaveSoon();
    /// Ends in order: ping threads, devices, host thread, connections, plug-ins; then saves the project with what the
    /// views stored and WindowMemory hold. Bounded: when a task on the host thread does not end within `limit`, the
    /// process does. False, and one line in `error`, when the project cannot be saved. The view must be closed before.
    bool End(std::string& error, std::chrono::milliseconds limit = std::chrono::seconds(5));

    /// Lets those who follow requests know that time has passed. To be called every 50 ms or so; returns at once.
    void Tick();
    /// What surrounds the requests of this session.
    operation::OperatorDesk& Desk() { return m_desk; }
    /// Readable while events wait to be taken.
    int EventsHandle() const { return m_eventsWait.Handle(); }
    /// What an operator must hear of. The lines of the host's messages are among it.
    operation::EventList::Content TakeEvents();
    /// A line for the operator. Any thread.
    void Tell(std::string line) { Tell(operation::Severity::Warning, std::move(line)); }
    void Tell(operation::Severity severity, std::string line);
    /// Undoes the newest step that can be, and asks again for the next one that was undone; what cannot be is an event.
    /// Return at once.
    void Undo();
    void Redo();
    /// Whether there is a project that keeps what it is given.
    bool HasProject() const { return !ProjectFile().empty(); }
    /// ProjectKeeper::Do; the task is left where there is no project.
    void WithProject(std::function<void(vordal::ProjectStore&)> task);
    /// Whether the sonar is one of this program's own: such a one is listed as simulated, and the transmit lock does
    /// not concern it.
    void SetSimulated(CDataId const& sonar, bool isSimulated = true) override;
    /// What is recorded of this session; until its end.
    WindowRecorder& Recorder() { return m_recorder; }
    /// What recordings lack, a line each; after End.
    std::vector<std::string> const& LackingRecordings() const { return m_lackingRecordings; }
    /// The simulated sonars that go with the session.
    SimulatedSonars& Simulators() override { return m_simulators; }
    /// Whether what can do harm at a real sonar is refused; the project keeps it.
    void SetTransmitLock(bool locked);
    bool IsTransmitLocked() const { return m_project.transmitLocked; }

    vordal::Host& Host() { return m_host; }
    /// A line for each thing that the session has switched on at a sonar, and that is on still; also after End. Nothing
    /// is said of those that go with this program.
    std::vector<std::string> LeftOn(std::vector<CDataId> const& goWithIt = {}) const;
    /// The views of plug-ins that have no devices of their own, plug-in by plug-in: they show what other plug-ins'
    /// devices tell.
    std::vector<CString> OtherDisplays();
    /// Null for a device that is not of the fleet.
    vordal::StoredDevice const* Find(CDataId const& device) const;
    /// The view class that shows the device; empty when its plug-in has none.
    CString ViewClassFor(CDataId const& device);
    /// The devices as the window lists them.
    std::vector<vordal::ListedVessel> Listed() const;

    // Changes of the list of sonars, between Begin and End. What cannot be done is one line in `error`, and nothing is
    // changed. No view shows a sonar that is removed, or that goes to another vessel or class, while that is done.

    /// What a new or a present sonar is to be checked against.
    SonarSurroundings Around(std::optional<CDataId> const& sonar) const;
    /// What stands for a sonar of the list.
    SonarEntry EntryOf(CDataId const& sonar) const;
    /// Adds a sonar, which begins to connect, and gives its id.
    std::optional<CDataId> AddSonar(SonarSetup const& setup, std::string& error);
    /// Changes what is otherwise: name, address and group of the sonar as it is, where the others stay as they are. One
    /// of another vessel or class is another sonar with the same settings. Gives its id, which may be a new one.
    std::optional<CDataId> ChangeSonar(CDataId const& sonar, SonarSetup const& setup, std::string& error);
    /// Whether the change closes the sonar and opens another in its place.
    bool IsReplacedBy(CDataId const& sonar, SonarSetup const& setup) const;
    bool RemoveSonar(CDataId const& sonar, std::string& error);
    /// Adds a device that stays without a connection of its own, and its vessel where that is new. False, and one line
    /// in `error`, when it cannot be made.
    bool AddUnconnected(vordal::StoredDevice const& device, vordal::VesselSetup const& vessel, std::string& error);
    /// What goes with a sonar that is removed, a line each.
    std::vector<std::string> LostWith(CDataId const& sonar);
    unsigned short ActiveVessel() const { return m_activeVessel; }
    /// What the window may ask for.
    vordal::WindowRequests Requests();

    /// What the view of that class stored when it was last open.
    CAttributeMap& StoredView(CString const& viewClass);
    std::vector<unsigned char>& WindowMemory() { return m_windowMemory; }

private:
    void OnSetLightMode(int mode, bool redraw) override;
    void OnMessage(CString const& text) override;
    void OnAttributesRefused(BaseDevice& device) override;

    void TakeProject(HeldProject const& project);
    /// Adds to the fleet what the project keeps of it, and how its sonars are steered.
    void CompleteFleet();
    /// Null for a device without a connection.
    vordal::StoredPort const* PortOf(vordal::StoredDevice const& device) const;
    /// Records, switches and status of the device's port are followed; before the port is opened.
    void WatchPort(vordal::StoredDevice const& device);
    /// Records and switches alone.
    void Watch(vordal::LivePort& port, vordal::StoredDevice const& device);
    /// Has it made in the host, put into the fleet, and connected.
    bool Install(vordal::StoredDevice device, vordal::VesselSetup const& vessel, SonarSetup const& setup,
                 CAttributeMap const& steering, std::string& error);
    void Rename(CDataId const& sonar, CString const& name);
    bool Move(CDataId const& sonar, SonarSetup const& setup, std::string& error);
    void SetGroup(CDataId const& sonar, std::optional<std::int32_t> group);
    /// Hands the project as it stands to `take`, on the host thread.
    void CollectFor(std::function<void(vordal::StoredProject)> take);
    void EndKeeper();
    /// What is left on at the sonar is said at the end, though it is not of the fleet any more.
    void KeepLeftOn(vordal::StoredDevice const& device);
    void ForgetPort(CString const& name);
    vordal::VesselSetup VesselOf(CString const& name) const;
    CDataId FreeId(unsigned short vessel) const;
    std::vector<std::string> LinesLeftOn(vordal::StoredDevice const& device) const;
    /// Ports of simulated sonars are others the next time: no address is kept of them.
    std::vector<CString> SimulatedPorts() const;
    /// Views, windows and the chosen vessel as they are now; the rest as it was opened.
    vordal::StoredProject ProjectOfWindow() const;
    bool SaveProject(std::string& error);
    [[noreturn]] void LeaveWithoutHostThread();

    std::shared_ptr<vordal::WindowFeed> const m_feed;
    std::unique_ptr<HeldProject> m_held; ///< before it has begun, and at its end
    mutable std::mutex m_fileMutex;
    std::filesystem::path m_file; ///< of the project; guarded by the mutex
    bool m_isEdited = false;
    vordal::StoredProject m_project;
    std::map<CString, CAttributeMap> m_views; ///< by the names that the project keeps them under
    std::vector<unsigned char> m_windowMemory;
    unsigned short m_activeVessel = 1;
    std::vector<CDataId> m_simulated;
    std::vector<CString> m_sonarClasses; ///< once it has begun
    vordal::StoredProject m_fleet;
    std::map<CString, std::shared_ptr<SwitchedOn>> m_switches; ///< by the names of the ports
    std::vector<std::string> m_leftOn;                         ///< at sonars that are not of the fleet any more
    std::vector<CDataId> m_formerIds;                          ///< of those; none is given twice
    SimulatedSonars m_simulators;
    bool m_begun = false; ///< all of it: what the devices hold is worth keeping
    bool m_ended = false;
    vordal::StoredProject m_saved; ///< of the fleet; written on the host thread, read when that has ended

    vordal::platform::WakeHandle m_eventsWait;
    operation::OperatorDesk m_desk;
    std::atomic<bool> m_ticks{false}; ///< a Tick is on its way to the host thread
    RecordingSetup m_recording;
    WindowRecorder m_recorder{m_host, m_desk.Tap(), [this](operation::Severity severity, std::string line) {
                                  Tell(severity, std::move(line));
                              }};
    std::vector<std::string> m_lackingRecordings;

    vordal::LiveHost m_host;
    TurnsWatch m_turns{m_host};              ///< host thread
    std::unique_ptr<ProjectKeeper> m_keeper; ///< once it has begun; tasks of the host thread use it
};

} // namespace qx5::cli
