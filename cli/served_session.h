// A project at work without a display: host, plug-ins and sonars, for `qx5 serve`.
#pragma once

#include "cli/first_fleet.h"
#include "cli/platform/project_lock.h"
#include "cli/simulated_sonars.h"
#include "cli/switched_on.h"
#include "cli/turns_watch.h"
#include "operation/operator_desk.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/project/live_host.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace qx5::cli {

/// Used from one thread.
class ServedSession final : private vordal::HostObserver, public FleetGround
{
public:
    ServedSession();
    ServedSession(ServedSession const&) = delete;
    ServedSession& operator=(ServedSession const&) = delete;
    /// Ends it, if that was not done.
    ~ServedSession() override;

    /// False, and one line in `error`, when the file is no project, or another program works on it.
    bool OpenProject(std::string const& file, std::string& error);
    /// What the file held; changes of it are saved with the rest.
    vordal::StoredProject& Project() { return m_project; }
    /// Loads them, the first `told` of which must load.
    bool LoadPlugins(std::vector<std::filesystem::path> const& files, std::size_t told, std::string& error);
    /// Opens the fleet and begins to connect; once.
    bool Begin(vordal::StoredProject fleet, std::string& error);
    /// Lets those who follow requests know that time has passed. To be called every 50 ms or so; returns at once.
    void Tick();
    /// Has what the sonars hold now, and the log, written into the project, if that is not there yet. False, and why,
    /// when that failed.
    bool Save(std::string& error);
    /// Ends in order, and saves. False, and why, when something of it could not be done.
    bool End(std::string& error, std::chrono::milliseconds limit = std::chrono::seconds(5));

    vordal::Host& Host() { return m_host; }
    operation::OperatorDesk& Desk() { return m_desk; }
    /// A line for each thing that the session has switched on at a sonar, and that is on still; also after End.
    std::vector<std::string> LeftOn() const;

    std::vector<CString> DeviceClasses() const override { return m_host.DeviceClasses(); }
    CString SonarClass() override { return m_host.SonarClass(); }
    bool MakesSonars(CString const& deviceClass) override;
    SimulatedSonars& Simulators() override { return m_simulators; }
    void SetSimulated(CDataId const& sonar, bool isSimulated) override { m_desk.Lock().Exempt(sonar, isSimulated); }

private:
    class PortWatch;

    void OnMessage(CString const& text) override;
    vordal::StoredProject Collected(vordal::StoredProject const& fleet) const;
    bool Write(vordal::StoredProject const& project, std::string& error);

    std::unique_ptr<ProjectLock> m_lock;
    std::unique_ptr<vordal::ProjectStore> m_store;
    vordal::StoredProject m_project;
    vordal::StoredProject m_written; ///< as it was saved last
    vordal::StoredProject m_fleet;
    std::map<CString, std::shared_ptr<SwitchedOn>> m_switches; ///< by the names of the ports
    SimulatedSonars m_simulators;
    operation::OperatorDesk m_desk;
    std::atomic<bool> m_ticks{false}; ///< a Tick is on its way to the host thread
    bool m_hasBegun = false;
    bool m_hasEnded = false;
    vordal::LiveHost m_host;
    TurnsWatch m_turns{m_host}; ///< host thread
};

} // namespace qx5::cli
