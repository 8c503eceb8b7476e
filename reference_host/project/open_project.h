// A project at work in a host: what its file holds, made, loaded, applied, connected.
#pragma once

#include "reference_host/link/live_port.h"
#include "reference_host/link/sonar_link.h"
#include "reference_host/store/project_store.h"

#include <VordalBaseR/Export.h>

#include <memory>
#include <string>
#include <vector>

class Device;

namespace vordal {

class Host;
class PlugIns;

/// Adds a device to the project, on a port of its own that is named by the device's id.
VORDAL_API void AddConnected(StoredProject& project, StoredDevice device, CString const& host, std::uint16_t tcpPort);

/// Makes a project's vessels, devices and computations in a threaded host, and its ports: a port with a sonar on it
/// (QX5Device) speaks the record protocol, one with other devices alone hands them what arrives (RawPort). Used from
/// one thread, which is not the host's; what it does to the host it does on the host thread.
class VORDAL_API OpenProject
{
public:
    /// Each device is made by its class, which a plug-in has registered before, and loads its attributes. A device
    /// whose class nobody has registered, or whose id is taken, is left out, with a line in Problems; the project keeps
    /// it. The ports are like `like`, but for what the project says of each.
    OpenProject(Host& host, LinkThread& thread, StoredProject project, LinkOptions const& like = {});
    OpenProject(OpenProject const&) = delete;
    OpenProject& operator=(OpenProject const&) = delete;
    /// Closes the ports and removes the project's devices from the host, unless the host has stopped. The plug-ins are
    /// still there.
    ~OpenProject();

    std::vector<std::string> const& Problems() const { return m_problems; }

    /// To be called once: the plug-ins set up their views and templates and look for sonars that ping under their
    /// control, the devices apply their attributes, and those that are switched on and have a port of the project are
    /// put on it. `plugIns` must outlive this.
    void Start(PlugIns& plugIns);
    /// The ports connect, and go on trying until the end.
    void Connect();

    /// The ports in the project's order; they are there until the end.
    std::vector<std::unique_ptr<LivePort>> const& Ports() const { return m_ports; }
    /// The port of that name, or null.
    LivePort* FindPort(CString const& name) const;

    /// The project as it stands, with what its devices and computations hold now, to be saved. Any thread, as long as
    /// the devices are there.
    StoredProject Collect() const;

private:
    struct MadeDevice
    {
        std::size_t stored; ///< its place in the project's list
        Device* device;     ///< the host's
    };

    std::unique_ptr<LivePort> MakePort(LinkThread& thread, StoredPort const& stored, LinkOptions options) const;

    Host& m_host;
    StoredProject m_project;
    std::vector<std::unique_ptr<LivePort>> m_ports;
    std::vector<MadeDevice> m_devices;
    std::vector<std::string> m_problems;
    PlugIns* m_plugIns = nullptr; ///< once it was started
};

} // namespace vordal
