// The vessels and devices that a session begins with.
#pragma once

#include "cli/commands.h"
#include "cli/simulated_sonars.h"
#include "reference_host/store/project_store.h"

#include <optional>
#include <string>
#include <vector>

namespace qx5::cli {

/// What a session offers to those that make its first fleet.
class FleetGround
{
public:
    /// The classes of devices that the plug-ins offer.
    virtual std::vector<CString> DeviceClasses() const = 0;
    /// The first whose devices are sonars; empty when there is none.
    virtual CString SonarClass() = 0;
    /// Whether devices of that class speak the record protocol.
    virtual bool MakesSonars(CString const& deviceClass) = 0;
    /// The simulated sonars that go with the session.
    virtual SimulatedSonars& Simulators() = 0;
    /// The sonar is one of this program's own.
    virtual void SetSimulated(CDataId const& sonar, bool isSimulated = true) = 0;

protected:
    ~FleetGround() = default;
};

/// As a project; simulated sonars are started, and belong to the session. The session's thread.
class Fleet
{
public:
    explicit Fleet(FleetGround& session) : m_session(session) {}

    /// Those that the options tell; without any a few simulated sonars. An exit code other than ExitGood after a
    /// complaint.
    int BeginAsTold(RunOptions const& options);
    /// Those of a project: its sonars at their addresses, those without one simulated. Devices of a class that no
    /// plug-in offers are left out, and stay in the project. An exit code, as above.
    int BeginAsKept(vordal::StoredProject const& project);
    /// A vessel without any.
    void BeginEmpty();

    vordal::StoredProject const& Project() const { return m_project; }
    /// Null when there is none.
    vordal::StoredDevice const* First() const
    {
        return m_project.devices.empty() ? nullptr : &m_project.devices.front();
    }
    /// A line for each device that was left out.
    std::vector<std::string> const& LeftOut() const { return m_leftOut; }

    /// "simulated sonars listen on 127.0.0.1:40001, 127.0.0.1:40002"
    std::string Where() const;

private:
    int BeginDevices(std::vector<std::string> const& devices);
    int AddTold(vordal::StoredDevice const& device, std::string const& option,
                std::optional<std::string> const& endpoint);
    int AddSimulated(vordal::StoredDevice const& device);
    void AddAt(vordal::StoredDevice const& device, std::string const& host, std::uint16_t port);

    FleetGround& m_session;
    vordal::StoredProject m_project;
    std::vector<std::string> m_leftOut;
    std::string m_simulatedAt;
    std::string m_toldAt;
};

} // namespace qx5::cli
