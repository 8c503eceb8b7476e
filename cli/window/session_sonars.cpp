// Changes of a window session's list of sonars: in the host, in what the project keeps, in what surrounds requests.
#include "window_session.h"

#include "reference_host/streams/settings_data.h"

#include <VordalAttributesR/CVordalType.h>
#include <vordalhostdllR/DataManager.h>

#include <protocol/utf8.h>

#include <algorithm>
#include <exception>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr char const* ownAddress = "127.0.0.1";

std::string Utf8(CString const& text)
{
    return protocol::EncodeUtf8(text.View());
}

/// Runs the task on the host thread and waits for it; false, and why, when it failed.
template <typename Task>
bool OnHost(vordal::Host& host, Task task, std::string& error)
{
    try {
        if (host.RunAndWait(task)) {
            return true;
        }
        error = "the session is ending";
    } catch (std::exception const& failure) {
        error = failure.what();
    }
    return false;
}

template <typename List>
void EraseDevice(List& project, CDataId const& device)
{
    std::erase_if(project.devices, [&](auto const& each) { return each.dataId == device; });
    std::erase_if(project.computations, [&](auto const& each) { return each.dataId == SteeringOf(device); });
}

template <typename List>
auto* FindDevice(List& devices, CDataId const& id)
{
    auto const found =
        std::find_if(devices.begin(), devices.end(), [&](auto const& each) { return each.dataId == id; });
    return found != devices.end() ? &*found : nullptr;
}

} // namespace

SonarSurroundings WindowSession::Around(std::optional<CDataId> const& sonar) const
{
    SonarSurroundings around;
    for (auto const* const project : {&m_fleet, &m_project}) {
        for (vordal::StoredDevice const& device : project->devices) {
            if (!sonar || !(device.dataId == *sonar)) {
                around.otherNames.push_back(Utf8(device.name));
            }
        }
    }
    for (CString const& name : m_sonarClasses) {
        around.classes.push_back(Utf8(name));
    }
    return around;
}

SonarEntry WindowSession::EntryOf(CDataId const& sonar) const
{
    auto const* const device = Find(sonar);
    if (device == nullptr) {
        return {};
    }
    SonarEntry entry;
    entry.name = Utf8(device->name);
    entry.deviceClass = Utf8(device->className);
    entry.simulated = m_simulators.IsSimulated(sonar);
    if (auto const* const port = PortOf(*device); port != nullptr && !entry.simulated) {
        entry.address = EndpointOf(*port);
    }
    for (vordal::VesselSetup const& vessel : m_fleet.vessels) {
        if (vessel.number == sonar.GetVessel()) {
            entry.vessel = Utf8(vessel.name);
        }
    }
    if (auto const group = GroupOf(TreeOf(sonar))) {
        entry.group = fmt::format("{}", *group);
    }
    return entry;
}

vordal::VesselSetup WindowSession::VesselOf(CString const& name) const
{
    unsigned short last = 0;
    for (auto const* const project : {&m_fleet, &m_project}) {
        for (vordal::VesselSetup const& vessel : project->vessels) {
            if (project == &m_fleet && vessel.name == name) {
                return vessel;
            }
            last = std::max(last, vessel.number);
        }
    }
    return MakeVessel(static_cast<unsigned short>(last + 1), name, false);
}

CDataId WindowSession::FreeId(unsigned short vessel) const
{
    unsigned short last = 0;
    auto const note = [&](CDataId const& id) {
        if (IsSonar(id) && id.GetVessel() == vessel) {
            last = std::max(last, id.GetDeviceNum());
        }
    };
    for (auto const* const project : {&m_fleet, &m_project}) {
        for (vordal::StoredDevice const& device : project->devices) {
            note(device.dataId);
        }
    }
    std::for_each(m_formerIds.begin(), m_formerIds.end(), note);
    return CDataId(1, vordal::SonarDataGroup, static_cast<unsigned short>(last + 1), vessel);
}

bool WindowSession::Install(vordal::StoredDevice device, vordal::VesselSetup const& vessel, SonarSetup const& setup,
                            CAttributeMap const& steering, std::string& error)
{
    CDataId const id = device.dataId;
    std::uint16_t const tcpPort = setup.simulated ? m_simulators.Start(id, error) : setup.tcpPort;
    if (tcpPort == 0) {
        return false;
    }
    vordal::StoredProject added;
    AddConnected(added, std::move(device), CString(protocol::DecodeUtf8(setup.simulated ? ownAddress : setup.host)),
                 tcpPort);
    added.computations = {SteeringComputation(id, steering)};
    bool const isNewVessel = std::none_of(m_fleet.vessels.begin(), m_fleet.vessels.end(),
                                          [&](auto const& each) { return each.number == vessel.number; });
    bool isAdded = false;
    auto const add = [&] {
        if (isNewVessel) {
            m_host.Project()->AddVessel(vessel);
        }
        isAdded = m_host.Project()->Add(added.devices.front(), added.ports.front(), added.computations);
        if (isAdded) {
            m_turns.Note(id);
            m_recorder.BeginDevice(id);
        }
    };
    if (!OnHost(m_host, add, error) || !isAdded) {
        m_simulators.Stop(id);
        error = error.empty() ? fmt::format("\"{}\" cannot be made", Utf8(setup.name)) : error;
        return false;
    }
    if (isNewVessel) {
        m_fleet.vessels.push_back(vessel);
    }
    m_fleet.devices.push_back(added.devices.front());
    m_fleet.ports.push_back(added.ports.front());
    m_fleet.computations.push_back(added.computations.front());
    m_desk.SetName(id, Utf8(setup.name));
    SetSimulated(id, setup.simulated);
    WatchPort(m_fleet.devices.back());
    m_host.Project()->PortOf(id)->Open();
    m_isEdited = true;
    return true;
}

bool WindowSession::AddUnconnected(vordal::StoredDevice const& device, vordal::VesselSetup const& vessel,
                                   std::string& error)
{
    auto const computation = SteeringComputation(device.dataId, {});
    bool const isNewVessel = std::none_of(m_fleet.vessels.begin(), m_fleet.vessels.end(),
                                          [&](auto const& each) { return each.number == vessel.number; });
    bool isAdded = false;
    auto const add = [&] {
        if (isNewVessel) {
            m_host.Project()->AddVessel(vessel);
        }
        isAdded = m_host.Project()->Add(device, std::nullopt, {computation});
        if (isAdded) {
            m_recorder.BeginDevice(device.dataId);
        }
    };
    if (!OnHost(m_host, add, error) || !isAdded) {
        error = error.empty() ? fmt::format("\"{}\" cannot be made", Utf8(device.name)) : error;
        return false;
    }
    if (isNewVessel) {
        m_fleet.vessels.push_back(vessel);
    }
    m_fleet.devices.push_back(device);
    m_fleet.computations.push_back(computation);
    m_desk.SetName(device.dataId, Utf8(device.name));
    return true;
}

std::optional<CDataId> WindowSession::AddSonar(SonarSetup const& setup, std::string& error)
{
    auto const vessel = VesselOf(setup.vessel);
    vordal::StoredDevice const device{FreeId(vessel.number), setup.deviceClass, setup.name, {}, true,
                                      TurnsOf(setup.group)};
    if (!Install(device, vessel, setup, {}, error)) {
        return std::nullopt;
    }
    SaveSoon();
    return device.dataId;
}

bool WindowSession::IsReplacedBy(CDataId const& sonar, SonarSetup const& setup) const
{
    auto const* const device = Find(sonar);
    return device != nullptr &&
           (VesselOf(setup.vessel).number != sonar.GetVessel() || device->className != setup.deviceClass);
}

std::optional<CDataId> WindowSession::ChangeSonar(CDataId const& sonar, SonarSetup const& setup, std::string& error)
{
    auto const* const found = Find(sonar);
    if (found == nullptr) {
        error = "there is no such sonar any more";
        return std::nullopt;
    }
    auto const tree = TreeOf(sonar);
    if (IsReplacedBy(sonar, setup)) {
        auto const vessel = VesselOf(setup.vessel);
        vordal::StoredDevice device = *found;
        device.dataId = FreeId(vessel.number);
        device.className = setup.deviceClass;
        device.name = setup.name;
        device.attributes = tree;
        for (AttributeKey const& key : TurnKeys) {
            device.attributes.Remove(key, 0);
        }
        for (CAttributeMap const& node : TurnsOf(setup.group)) {
            device.attributes.Append(node);
        }
        // The new one first: where it cannot be had, nothing is lost.
        if (!Install(device, vessel, setup, TreeOf(SteeringOf(sonar)), error) || !RemoveSonar(sonar, error)) {
            return std::nullopt;
        }
        return device.dataId;
    }
    bool const isSimulated = m_simulators.IsSimulated(sonar);
    auto const* const port = PortOf(*found);
    vordal::StoredPort const wanted{{}, CString(protocol::DecodeUtf8(setup.host)), setup.tcpPort, {}};
    bool const isElsewhere = !setup.simulated && (port == nullptr || EndpointOf(*port) != EndpointOf(wanted));
    // First what may fail, so that nothing is half done.
    if ((isSimulated != setup.simulated || isElsewhere) && !Move(sonar, setup, error)) {
        return std::nullopt;
    }
    if (Find(sonar)->name != setup.name) {
        Rename(sonar, setup.name);
    }
    if (GroupOf(tree) != setup.group) {
        SetGroup(sonar, setup.group);
    }
    m_isEdited = true;
    SaveSoon();
    return sonar;
}

void WindowSession::Rename(CDataId const& sonar, CString const& name)
{
    auto& device = *FindDevice(m_fleet.devices, sonar);
    std::string ignored;
    // The window thread, which asks for the name, waits here.
    OnHost(
        m_host,
        [&] {
            m_host.Project()->Rename(sonar, name);
            m_recorder.BeginDevice(sonar);
        },
        ignored);
    device.name = name;
    m_desk.SetName(sonar, Utf8(name));
    if (auto* const port = m_host.Project()->FindPort(device.portName)) {
        Watch(*port, device);
    }
}

bool WindowSession::Move(CDataId const& sonar, SonarSetup const& setup, std::string& error)
{
    auto& device = *FindDevice(m_fleet.devices, sonar);
    KeepLeftOn(device);
    std::string host = setup.host;
    std::uint16_t tcpPort = setup.tcpPort;
    if (setup.simulated) {
        host = ownAddress;
        tcpPort = m_simulators.Start(sonar, error);
        if (tcpPort == 0) {
            return false;
        }
    }
    CString const wideHost(protocol::DecodeUtf8(host));
    auto const move = [&] {
        m_desk.OnMoved(sonar);
        m_host.Project()->SetAddress(sonar, wideHost, tcpPort);
    };
    if (!OnHost(m_host, move, error)) {
        return false;
    }
    ForgetPort(std::exchange(device.portName, CString()));
    device.portName = m_host.Project()->PortOf(sonar)->GetName();
    m_fleet.ports.push_back({device.portName, wideHost, tcpPort, {}});
    if (!setup.simulated) {
        m_simulators.Stop(sonar);
    }
    SetSimulated(sonar, setup.simulated);
    WatchPort(device);
    m_host.Project()->PortOf(sonar)->Open();
    return true;
}

void WindowSession::SetGroup(CDataId const& sonar, std::optional<std::int32_t> group)
{
    std::string ignored;
    auto const set = [&] {
        m_host.Project()->SetTurns(sonar, TurnsOf(group));
        m_turns.Note(sonar);
    };
    OnHost(m_host, set, ignored);
}

void WindowSession::KeepLeftOn(vordal::StoredDevice const& device)
{
    if (!m_simulators.IsSimulated(device.dataId)) {
        for (auto const& line : LinesLeftOn(device)) {
            m_leftOn.push_back(line);
            Tell(line);
        }
    }
    m_switches.erase(device.portName);
}

void WindowSession::ForgetPort(CString const& name)
{
    for (auto* const project : {&m_fleet, &m_project}) {
        bool const isUsed = std::any_of(m_fleet.devices.begin(), m_fleet.devices.end(),
                                        [&](auto const& device) { return device.portName == name; });
        if (!isUsed) {
            std::erase_if(project->ports, [&](auto const& port) { return port.name == name; });
        }
    }
}

bool WindowSession::RemoveSonar(CDataId const& sonar, std::string& error)
{
    auto const* const found = Find(sonar);
    if (found == nullptr) {
        error = "there is no such sonar any more";
        return false;
    }
    auto const device = *found;
    KeepLeftOn(device);
    auto const remove = [&] {
        m_host.Project()->Remove(sonar);
        m_desk.OnRemoved(sonar);
        m_turns.Forget(sonar);
    };
    if (!OnHost(m_host, remove, error)) {
        return false;
    }
    for (auto* const project : {&m_fleet, &m_project}) {
        EraseDevice(*project, sonar);
    }
    ForgetPort(device.portName);
    m_simulators.Stop(sonar);
    SetSimulated(sonar, false);
    m_formerIds.push_back(sonar);
    m_isEdited = true;
    SaveSoon();
    return true;
}

std::vector<std::string> WindowSession::LostWith(CDataId const& sonar)
{
    std::vector<std::string> lines{"its settings as this project keeps them, and its steps in the history"};
    if (auto const held = m_desk.Held().Count(sonar); held != 0) {
        lines.push_back(fmt::format("{} that {} not been sent",
                                    held == 1 ? "1 request" : fmt::format("{} requests", held),
                                    held == 1 ? "has" : "have"));
    }
    if (auto const* const device = Find(sonar); device != nullptr && m_simulators.IsSimulated(sonar)) {
        lines.emplace_back("the simulated sonar itself");
    } else if (device != nullptr) {
        for (auto const& line : LinesLeftOn(*device)) {
            lines.push_back(line);
        }
    }
    return lines;
}

} // namespace qx5::cli
