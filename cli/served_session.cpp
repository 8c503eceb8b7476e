// A project at work without a display.
#include "served_session.h"

#include "cli/commands.h"
#include "cli/plugins.h"
#include "cli/project_parts.h"
#include "reference_host/common/log.h"
#include "reference_host/common/path_text.h"
#include "reference_host/streams/settings_data.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalConfigureR/DataSearch.h>

#include <protocol/utf8.h>

#include <exception>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

/// Shows the frames of a link to the switches of its sonar.
class ServedSession::PortWatch final : public vordal::LinkObserver
{
public:
    explicit PortWatch(std::shared_ptr<SwitchedOn> switches) : m_switches(std::move(switches)) {}

    void OnTrace(vordal::LinkTrace const& trace) override { m_switches->Take(trace.outgoing, trace.frame, trace.time); }

private:
    std::shared_ptr<SwitchedOn> const m_switches;
};

ServedSession::ServedSession()
{
    m_host.SetApplication({.guid = L"qx5", .mainWindow = false, .lightMode = 4, .displays = {}});
    m_host.SetObserver(this);
    m_desk.Join(m_host);
}

ServedSession::~ServedSession()
{
    if (std::string error; !End(error)) {
        Complain(ExitFailed, error);
    }
}

bool ServedSession::OpenProject(std::string const& file, std::string& error)
{
    auto const path = std::filesystem::absolute(file);
    m_lock = ProjectLock::Take(path, error);
    try {
        // Also where nothing may be written beside it: what is wrong with the file itself says more.
        m_store = std::make_unique<vordal::ProjectStore>(path, vordal::ProjectStore::Missing::Refuse);
        m_project = m_written = m_store->Load();
    } catch (vordal::StoreError const& failure) {
        if (m_lock != nullptr) {
            error = failure.what();
        }
        m_store.reset();
        return false;
    }
    if (m_lock == nullptr) {
        m_store.reset();
        return false;
    }
    m_host.SetProjectFolder(FILE_SONAR_TARGETS, vordal::FolderOf(path));
    m_desk.Lock().SetLocked(m_project.transmitLocked);
    return true;
}

bool ServedSession::LoadPlugins(std::vector<std::filesystem::path> const& files, std::size_t told, std::string& error)
{
    return LoadInto(m_host, files, told, error);
}

bool ServedSession::MakesSonars(CString const& deviceClass)
{
    return cli::MakesSonars(m_host, deviceClass);
}

bool ServedSession::Begin(vordal::StoredProject fleet, std::string& error)
{
    m_fleet = std::move(fleet);
    bool const hasActive = FindBy(m_fleet.vessels, &vordal::VesselSetup::number, m_project.activeVessel) != nullptr;
    m_fleet.activeVessel = hasActive ? m_project.activeVessel : m_fleet.vessels.front().number;
    Complete(m_fleet, m_project);
    for (vordal::StoredDevice const& device : m_fleet.devices) {
        m_desk.SetName(device.dataId, protocol::EncodeUtf8(device.name.View()));
    }
    try {
        m_host.RunAndWait([this] { TellUsualNames(m_host); });
        auto const& problems = m_host.Open(m_fleet).Problems();
        if (!problems.empty()) {
            error = problems.front();
            return false;
        }
        for (vordal::StoredDevice const& device : m_fleet.devices) {
            if (auto* const port = m_host.Project()->FindPort(device.portName)) {
                auto& switches = m_switches[device.portName];
                if (switches == nullptr) {
                    switches = std::make_shared<SwitchedOn>();
                }
                port->GetLink().SetObserver(std::make_shared<PortWatch>(switches));
                port->SetStatusListener(
                    [this, id = device.dataId](vordal::LinkStatus const& status) { m_desk.OnLinkStatus(id, status); });
            }
        }
        m_host.RunAndWait([this] {
            for (vordal::StoredDevice const& device : m_fleet.devices) {
                m_turns.Note(device.dataId);
            }
        });
        m_host.Start();
    } catch (std::exception const& failure) {
        error = failure.what();
        return false;
    }
    m_hasBegun = true;
    return true;
}

void ServedSession::Tick()
{
    // A host thread that has fallen behind is not given more of them.
    if (!m_ticks.exchange(true)) {
        m_host.Post([this] {
            m_ticks.store(false);
            m_desk.Tick();
            m_turns.Follow();
        });
    }
    // They are in the log, or in the outbox; nobody here looks at them.
    for (operation::Event const& event : m_desk.Events().Take().events) {
        vordal::Log(event.severity == operation::Severity::Error     ? vordal::LogLevel::Error
                    : event.severity == operation::Severity::Warning ? vordal::LogLevel::Warning
                                                                     : vordal::LogLevel::Info,
                    operation::StatusLine(event));
    }
}

vordal::StoredProject ServedSession::Collected(vordal::StoredProject const& fleet) const
{
    auto project = m_project;
    std::vector<CString> simulated;
    for (vordal::StoredDevice const& device : m_fleet.devices) {
        if (m_simulators.IsSimulated(device.dataId)) {
            simulated.push_back(device.portName);
        }
    }
    PutFleet(project, fleet, simulated);
    return project;
}

bool ServedSession::Write(vordal::StoredProject const& project, std::string& error)
{
    try {
        if (!(project == m_written)) {
            m_store->Save(project);
            m_written = project;
        }
        if (m_desk.Log().Waiting() != 0) {
            m_desk.Log().WriteTo(*m_store);
        }
        return true;
    } catch (vordal::StoreError const& failure) {
        error = failure.what();
        return false;
    }
}

bool ServedSession::Save(std::string& error)
{
    if (m_store == nullptr || m_host.Project() == nullptr) {
        return true;
    }
    vordal::StoredProject fleet;
    return !m_host.RunAndWait([&] { fleet = m_host.Project()->Collect(); }) || Write(Collected(fleet), error);
}

bool ServedSession::End(std::string& error, std::chrono::milliseconds limit)
{
    if (std::exchange(m_hasEnded, true)) {
        return true;
    }
    std::optional<vordal::StoredProject> fleet;
    bool const isDown = m_host.End(limit, [&] {
        if (auto const* const open = m_host.Project(); open != nullptr && m_hasBegun) {
            fleet = open->Collect();
        }
        m_desk.Finish();
    });
    if (!isDown) {
        // A thread cannot be ended from outside, and going on would take away what it works on.
        Complain(ExitFailed, "a task on the host thread does not end; the process leaves without it, the project keeps "
                             "the sonars' settings as they were saved last");
        std::fflush(nullptr);
        std::_Exit(EXIT_FAILURE);
    }
    return m_store == nullptr || !fleet || Write(Collected(*fleet), error);
}

std::vector<std::string> ServedSession::LeftOn() const
{
    std::vector<std::string> lines;
    for (vordal::StoredDevice const& device : m_fleet.devices) {
        auto const switches = m_switches.find(device.portName);
        auto const* const port = FindBy(m_fleet.ports, &vordal::StoredPort::name, device.portName);
        if (switches == m_switches.end() || port == nullptr || !IsSonar(device.dataId) ||
            m_simulators.IsSimulated(device.dataId)) {
            continue;
        }
        auto const left = switches->second->Lines(protocol::EncodeUtf8(device.name.View()), EndpointOf(*port));
        lines.insert(lines.end(), left.begin(), left.end());
    }
    return lines;
}

void ServedSession::OnMessage(CString const& text)
{
    m_desk.Events().PutState({}, operation::EventKind::Note, operation::Severity::Warning,
                             protocol::EncodeUtf8(text.View()));
}

} // namespace qx5::cli
