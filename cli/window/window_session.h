// The host behind the operator's window: the plug-in, several sonars on connections of their own, and the project.
#pragma once

#include "cli/switched_on.h"
#include "cli/window/project_keeper.h"
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
#include <string>
#include <vector>

namespace qx5::cli {

/// Sonars have a group of ids of their own.
bool IsSonar(CDataId const& device);

/// A vessel for a session's project. Where pipe detection is set up, sonars may be steered along a pipe.
vordal::VesselSetup MakeVessel(unsigned short number, CString const& name, bool detectsPipes);

/// LoadPlugins, Begin and End wait; everything between them returns at once. Used from the window thread.
class WindowSession final : private vordal::HostObserver
{
public:
    explicit WindowSession(std::shared_ptr<vordal::WindowFeed> feed, int lightMode);
    WindowSession(WindowSession const&) = delete;
    WindowSession& operator=(WindowSession const&) = delete;
    /// Ends it, if that was not done.
    ~WindowSession() override;

    /// Loads all plug-ins; what they register can be asked for from here on. The first `told` of them must load, else
    /// false and one line in `error`; one of the others that does not leaves a line in the log.
    bool LoadPlugins(std::vector<std::filesystem::path> const& files, std::size_t told, std::string& error);
    /// The classes of devices that the plug-ins offer.
    std::vector<CString> DeviceClasses() const { return m_host.DeviceClasses(); }
    /// The first whose devices are sonars; empty when there is none.
    CString SonarClass() { return m_host.SonarClass(); }
    /// Whether devices of that class speak the record protocol.
    bool MakesSonars(CString const& deviceClass);

    /// Opens `fleet`, the vessels and devices of this session, with what the file (no name: none is kept) holds of
    /// them, and begins to connect. False, and one line in `error`, when something of it cannot be had.
    bool Begin(vordal::StoredProject fleet, std::string const& file, std::string& error);
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
    /// Undoes the newest step that can be, and asks again for the next one that was undone; what cannot be is an event.
    /// Return at once.
    void Undo();
    void Redo();
    /// Whether there is a project that keeps what it is given.
    bool HasProject() const { return m_keeper != nullptr; }
    /// ProjectKeeper::Do; the task is left where there is no project.
    void WithProject(std::function<void(vordal::ProjectStore&)> task);
    /// The sonar is one of this program's own: it is listed as simulated, and the transmit lock does not concern it.
    void SetSimulated(CDataId const& sonar);
    /// Whether what can do harm at a real sonar is refused; the project keeps it.
    void SetTransmitLock(bool locked);
    bool IsTransmitLocked() const { return m_project.transmitLocked; }

    vordal::Host& Host() { return m_host; }
    /// A line for each thing that the session has switched on at a sonar, and that is on still; also after End. Nothing
    /// is said of those that go with this program.
    std::vector<std::string> LeftOn(std::vector<CDataId> const& goWithIt = {}) const;
    /// Null for a device that is not of the fleet.
    vordal::StoredDevice const* Find(CDataId const& device) const;
    /// The view class that shows the device; empty when its plug-in has none.
    CString ViewClassFor(CDataId const& device);
    /// The devices as the window lists them.
    std::vector<vordal::ListedVessel> Listed() const;
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

    bool ReadProject(std::string const& file, std::string& error);
    /// Adds to the fleet what the project keeps of it, and how its sonars are steered.
    void CompleteFleet();
    /// Null for a device without a connection.
    vordal::StoredPort const* PortOf(vordal::StoredDevice const& device) const;
    void WatchPorts();
    /// Views, windows and the chosen vessel as they are now; the rest as it was opened.
    vordal::StoredProject ProjectOfWindow() const;
    bool SaveProject(std::string& error);
    /// A line for the operator. Any thread.
    void Tell(std::string line);
    [[noreturn]] void LeaveWithoutHostThread();

    std::shared_ptr<vordal::WindowFeed> const m_feed;
    std::unique_ptr<vordal::ProjectStore> m_store;
    vordal::StoredProject m_project;
    std::map<CString, CAttributeMap> m_views; ///< by the names that the project keeps them under
    std::vector<unsigned char> m_windowMemory;
    unsigned short m_activeVessel = 1;
    std::vector<CDataId> m_simulated;
    vordal::StoredProject m_fleet;
    std::map<CString, std::shared_ptr<SwitchedOn>> m_switches; ///< by the names of the ports
    bool m_begun = false;                                      ///< all of it: what the devices hold is worth keeping
    bool m_ended = false;
    vordal::StoredProject m_saved; ///< of the fleet; written on the host thread, read when that has ended

    vordal::platform::WakeHandle m_eventsWait;
    operation::OperatorDesk m_desk;
    std::atomic<bool> m_ticks{false}; ///< a Tick is on its way to the host thread

    vordal::LiveHost m_host;
    std::unique_ptr<ProjectKeeper> m_keeper; ///< once it has begun; tasks of the host thread use it
};

} // namespace qx5::cli
