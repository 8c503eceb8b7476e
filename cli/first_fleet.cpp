// The vessels and devices that a session begins with.
#include "first_fleet.h"

#include "cli/project_parts.h"
#include "operation/endpoint.h"
#include "reference_host/project/open_project.h"
#include "reference_host/streams/settings_data.h"

#include <protocol/utf8.h>

#include <algorithm>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// Group of the ids of other instruments' devices.
constexpr unsigned short otherGroup = 500;

constexpr char const* ownAddress = "127.0.0.1";

std::string JoinedNames(std::vector<CString> const& names)
{
    std::string text;
    for (CString const& name : names) {
        text += (text.empty() ? "" : ", ") + protocol::EncodeUtf8(name.View());
    }
    return text.empty() ? "none" : text;
}

} // namespace

int Fleet::BeginAsTold(RunOptions const& options)
{
    if (!options.devices.empty()) {
        return BeginDevices(options.devices);
    }
    CString const sonarClass = m_session.SonarClass();
    if (sonarClass.IsEmpty()) {
        return Complain(ExitFailed, fmt::format("no plug-in offers a device class of sonars; --device takes one of "
                                                "those that there are: {}",
                                                JoinedNames(m_session.DeviceClasses())));
    }
    auto const add = [&](unsigned short number, unsigned short vessel, CString const& name) {
        CDataId const id(1, vordal::SonarDataGroup, number, vessel);
        auto const told = options.sonar.empty() ? std::nullopt : std::optional(options.sonar);
        return AddTold({id, sonarClass, name, {}, true, {}}, "--sonar: ", told);
    };
    if (!options.sonar.empty()) {
        m_project.vessels = {MakeVessel(1, L"Vessel", true)};
        return add(1, 1, L"Sonar");
    }
    m_project.vessels = {MakeVessel(1, L"Survey vessel", false), MakeVessel(2, L"ROV", true)};
    int code = ExitGood;
    for (int i = 0; i < options.sonars.value_or(3) && code == ExitGood; ++i) {
        constexpr int rov = 2;
        auto const number = static_cast<unsigned short>(i + 1 - (i > rov ? 1 : 0));
        code = i == rov ? add(1, 2, L"ROV sonar")
                        : add(number, 1,
                              i == 0   ? CString(L"Hull sonar")
                              : i == 1 ? CString(L"Pole sonar")
                                       : CString(L"Sonar " + std::to_wstring(i + 1)));
    }
    return code;
}

int Fleet::BeginAsKept(vordal::StoredProject const& project)
{
    auto const classes = m_session.DeviceClasses();
    m_project.vessels = project.vessels;
    for (vordal::StoredDevice const& device : project.devices) {
        if (std::find(classes.begin(), classes.end(), device.className) == classes.end()) {
            m_leftOut.push_back(fmt::format("\"{}\" is left out: no plug-in offers its class {}; the project keeps it",
                                            protocol::EncodeUtf8(device.name.View()),
                                            protocol::EncodeUtf8(device.className.View())));
            continue;
        }
        auto const vessel = device.dataId.GetVessel();
        if (std::none_of(m_project.vessels.begin(), m_project.vessels.end(),
                         [&](vordal::VesselSetup const& each) { return each.number == vessel; })) {
            m_project.vessels.push_back(MakeVessel(vessel, CString(L"Vessel " + std::to_wstring(vessel)), false));
        }
        auto const port = std::find_if(project.ports.begin(), project.ports.end(), [&](vordal::StoredPort const& each) {
            return each.name == device.portName && !each.host.IsEmpty();
        });
        if (port != project.ports.end()) {
            m_toldAt += (m_toldAt.empty() ? "" : ", ") + EndpointOf(*port);
            m_project.devices.push_back(device);
            if (std::none_of(m_project.ports.begin(), m_project.ports.end(),
                             [&](vordal::StoredPort const& each) { return each.name == port->name; })) {
                m_project.ports.push_back(*port);
            }
        } else if (IsSonar(device.dataId) && m_session.MakesSonars(device.className)) {
            if (int const code = AddSimulated(device); code != ExitGood) {
                return code;
            }
        } else {
            m_project.devices.push_back(device);
        }
    }
    if (m_project.vessels.empty()) {
        BeginEmpty();
    }
    return ExitGood;
}

void Fleet::BeginEmpty()
{
    m_project.vessels = {MakeVessel(1, L"Vessel", false)};
}

std::string Fleet::Where() const
{
    if (m_project.devices.empty()) {
        return "it has no sonar yet";
    }
    if (m_simulatedAt.empty() && m_toldAt.empty()) {
        return "its devices have no connection";
    }
    std::string const of = IsSonar(First()->dataId) ? "its sonar is " : "its device is at ";
    return m_simulatedAt.empty()
               ? of + m_toldAt
               : "simulated sonars listen on " + m_simulatedAt + (m_toldAt.empty() ? "" : ", others at " + m_toldAt);
}

int Fleet::BeginDevices(std::vector<std::string> const& devices)
{
    auto const classes = m_session.DeviceClasses();
    bool hasSonar = false;
    unsigned short number = 0;
    for (std::string const& text : devices) {
        auto const equals = text.find('=');
        CString const className(protocol::DecodeUtf8(text.substr(0, equals)));
        if (std::find(classes.begin(), classes.end(), className) == classes.end()) {
            return Complain(ExitWrong, fmt::format("--device: no plug-in offers the class '{}'; there are: {}",
                                                   text.substr(0, equals), JoinedNames(classes)));
        }
        bool const isSonar = m_session.MakesSonars(className);
        hasSonar = hasSonar || isSonar;
        ++number;
        CDataId const id(1, isSonar ? vordal::SonarDataGroup : otherGroup, number, 1);
        CString const name = devices.size() == 1 ? className : className + CString(L" " + std::to_wstring(number));
        auto const told = equals == std::string::npos ? std::nullopt : std::optional(text.substr(equals + 1));
        if (int const code = AddTold({id, className, name, {}, true, {}}, "--device: ", told); code != ExitGood) {
            return code;
        }
    }
    m_project.vessels = {MakeVessel(1, L"Vessel", hasSonar)};
    return ExitGood;
}

int Fleet::AddTold(vordal::StoredDevice const& device, std::string const& option,
                   std::optional<std::string> const& endpoint)
{
    if (endpoint.has_value()) {
        std::string host;
        std::uint16_t port = 0;
        if (std::string error; !operation::ParseEndpoint(*endpoint, host, port, error)) {
            return Complain(ExitWrong, option + error);
        }
        m_toldAt += fmt::format("{}{}:{}", m_toldAt.empty() ? "" : ", ", host, port);
        AddAt(device, host, port);
    } else if (IsSonar(device.dataId)) {
        return AddSimulated(device);
    } else {
        m_project.devices.push_back(device);
    }
    return ExitGood;
}

int Fleet::AddSimulated(vordal::StoredDevice const& device)
{
    std::string error;
    auto const port = m_session.Simulators().Start(device.dataId, error);
    if (port == 0) {
        return Complain(ExitFailed, error);
    }
    m_session.SetSimulated(device.dataId);
    m_simulatedAt += fmt::format("{}{}:{}", m_simulatedAt.empty() ? "" : ", ", ownAddress, port);
    AddAt(device, ownAddress, port);
    return ExitGood;
}

void Fleet::AddAt(vordal::StoredDevice const& device, std::string const& host, std::uint16_t port)
{
    vordal::AddConnected(m_project, device, CString(protocol::DecodeUtf8(host)), port);
}

} // namespace qx5::cli
