// A project at work in a host: what its file holds, made, loaded, applied, connected.
#pragma once

#include "reference_host/link/live_port.h"
#include "reference_host/link/sonar_link.h"
#include "reference_host/store/project_store.h"

#include <VordalBaseR/Export.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
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

    /// The ports in the project's order; they are there until the end, or their device's.
    std::vector<std::unique_ptr<LivePort>> const& Ports() const { return m_ports; }
    /// The port of that name, or null.
    LivePort* FindPort(CString const& name) const;

    /// The project as it stands, with what its devices and computations hold now, to be saved. Any thread, as long as
    /// the devices are there and nothing of the following is under way.
    StoredProject Collect() const;

    // Changes while it is at work, after Start. All other sonars stay connected; those that ping in turn begin their
    // turns anew where the device that comes, goes or changes its group is one of them. Host thread.

    /// As if the vessel had been in the project.
    void AddVessel(VesselSetup const& vessel);
    /// As if the device, its port (none: on no port) and its computations had been in the project. False, and nothing
    /// is changed, when nobody has registered its class or its id is taken. The port is not open yet.
    bool Add(StoredDevice const& device, std::optional<StoredPort> const& port,
             std::vector<ComputationSetup> const& computations);
    /// The device goes, and with it its port, unless others are on that, and the computations that belong to it alone.
    /// False when the project has no such device.
    bool Remove(CDataId const& device);
    /// The name that the device has from here on. No other thread may be asking it for its name.
    bool Rename(CDataId const& device, CString const& name);
    /// The device's connection goes to another address, by a port of its own, which is not open yet; the former one is
    /// closed unless others are on it. False when the project has no such device.
    bool SetAddress(CDataId const& device, CString const& host, std::uint16_t tcpPort);
    /// Merges into the device's tree what decides on its turns.
    bool SetTurns(CDataId const& device, CAttributeMap const& tree);
    /// The port that the device is on; null when there is none.
    LivePort* PortOf(CDataId const& device) const;

private:
    struct MadeDevice
    {
        std::size_t stored; ///< its place in the project's list
        Device* device;     ///< the host's
    };

    /// What stands on ports, by their names.
    struct Attached
    {
        bool hasDevice = false;
        bool hasSonar = false;
    };
    Attached AttachedTo(CString const& port) const;
    void Note(MadeDevice const& made, Attached& attached) const;
    LivePort& MakePort(StoredPort const& stored, Attached attached);
    /// Makes the device of that place in the list; false, and a line in Problems, when it is left out.
    bool MakeDevice(std::size_t stored);
    void PutOnPort(MadeDevice const& made);
    MadeDevice const* Find(CDataId const& device) const;
    /// Closes the port and takes it out of the project, unless a device is on it.
    void DropPort(CString const& name);

    Host& m_host;
    LinkThread& m_thread;
    LinkOptions const m_like;
    StoredProject m_project;
    std::vector<std::unique_ptr<LivePort>> m_ports;
    std::map<CString, LivePort*> m_portsByName; ///< of several the first
    /// Those that are closed for good: a ping thread or a window may be about to send by one of them.
    std::vector<std::unique_ptr<LivePort>> m_formerPorts;
    std::vector<MadeDevice> m_devices;
    std::unordered_map<std::uint64_t, std::size_t> m_placesById; ///< in m_devices
    std::vector<std::string> m_problems;
    PlugIns* m_plugIns = nullptr; ///< once it was started
};

} // namespace vordal
