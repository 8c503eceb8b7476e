// A project at work in a host: what its file holds, made, loaded, applied, connected.
#pragma once

#include "reference_host/link/x5_port.h"
#include "reference_host/store/project_store.h"

#include <VordalBaseR/Export.h>

#include <memory>
#include <string>
#include <vector>

class Device;

namespace vordal {

class Host;
class LinkThread;
class PlugIn;

/// Makes a project's vessels, devices and computations in a threaded host, and its ports. Used from one thread, which
/// is not the host's; what it does to the host it does on the host thread.
class VORDAL_API OpenProject
{
public:
    /// Each device is made by its class, which a plug-in has registered before, and loads its attributes. A device
    /// whose class nobody has registered, or whose id is taken, is left out, with a line in Problems; the project keeps
    /// it.
    OpenProject(Host& host, LinkThread& thread, StoredProject project);
    OpenProject(OpenProject const&) = delete;
    OpenProject& operator=(OpenProject const&) = delete;
    /// Closes the ports and removes the project's devices from the host, unless the host has stopped. The plug-in is
    /// still there.
    ~OpenProject();

    std::vector<std::string> const& Problems() const { return m_problems; }

    /// To be called once: the plug-in sets up its views and templates and looks for sonars that ping under its control,
    /// the devices apply their attributes, and those that are switched on and have a port of the project are put on it.
    /// Then the ports connect, and go on trying until the end. `plugin` must outlive this.
    void Start(PlugIn& plugin);

    /// The ports in the project's order; they are there until the end.
    std::vector<std::unique_ptr<X5Port>> const& Ports() const { return m_ports; }
    /// The port of that name, or null.
    X5Port* FindPort(CString const& name) const;

    /// The project as it stands, with what its devices and computations hold now, to be saved. Any thread, as long as
    /// the devices are there.
    StoredProject Collect() const;

private:
    struct MadeDevice
    {
        std::size_t stored; ///< its place in the project's list
        Device* device;     ///< the host's
    };

    Host& m_host;
    StoredProject m_project;
    std::vector<std::unique_ptr<X5Port>> m_ports;
    std::vector<MadeDevice> m_devices;
    std::vector<std::string> m_problems;
    PlugIn* m_plugin = nullptr; ///< once it was started
};

} // namespace vordal
