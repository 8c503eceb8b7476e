// Making a project's parts in a host, in the order in which they need one another.
#include "open_project.h"

#include "reference_host/common/failure.h"
#include "reference_host/common/packed_id.h"
#include "reference_host/core/host.h"
#include "reference_host/link/raw_port.h"
#include "reference_host/link/x5_port.h"
#include "reference_host/loader/plugin_set.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <protocol/settings_keys.h>
#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/Device.h>

#include <utility>

namespace vordal {

namespace {

/// Whether a plug-in is to find the device when it looks for sonars that it has ping.
bool PingsInTurn(CAttributeMap const& attributes)
{
    int mode = 0;
    return attributes.FindValue(AttributeKey(qx5::protocol::keys::PingMode.text)).Get(mode) && mode != 0;
}

} // namespace

void AddConnected(StoredProject& project, StoredDevice device, CString const& host, std::uint16_t tcpPort)
{
    device.portName = CString(L"port ") + device.dataId.GetKey();
    project.ports.push_back({device.portName, host, tcpPort, {}});
    project.devices.push_back(std::move(device));
}

OpenProject::OpenProject(Host& host, LinkThread& thread, StoredProject project, LinkOptions const& like)
    : m_host(host), m_thread(thread), m_like(like), m_project(std::move(project))
{
    m_host.RunAndWait([this] {
        for (VesselSetup const& vessel : m_project.vessels) {
            m_host.AddVessel(vessel);
        }
        if (m_project.activeVessel != 0) {
            m_host.SelectVessel(m_project.activeVessel);
        }
        for (std::size_t i = 0; i < m_project.devices.size(); ++i) {
            MakeDevice(i);
        }
        for (ComputationSetup const& computation : m_project.computations) {
            m_host.AddComputation(computation);
        }
    });
    std::map<CString, Attached> attached;
    for (MadeDevice const& made : m_devices) {
        Note(made, attached[m_project.devices[made.stored].portName]);
    }
    for (StoredPort const& stored : m_project.ports) {
        MakePort(stored, attached[stored.name]);
    }
}

void OpenProject::Note(MadeDevice const& made, Attached& attached) const
{
    attached.hasDevice = true;
    attached.hasSonar = attached.hasSonar || dynamic_cast<QX5Device const*>(made.device) != nullptr;
}

OpenProject::Attached OpenProject::AttachedTo(CString const& port) const
{
    Attached attached;
    for (MadeDevice const& made : m_devices) {
        if (m_project.devices[made.stored].portName == port) {
            Note(made, attached);
        }
    }
    return attached;
}

bool OpenProject::MakeDevice(std::size_t place)
{
    StoredDevice const& stored = m_project.devices[place];
    auto made = m_host.MakeDevice(stored.className);
    if (made == nullptr) {
        m_problems.push_back("the device \"" + tvcore::ToUtf8(stored.name) + "\" is left out: no plug-in has " +
                             "registered its class " + tvcore::ToUtf8(stored.className));
        return false;
    }
    made->SetPortName(stored.portName);
    made->SetEnable(stored.enabled);
    Device* const device = m_host.AddDevice(std::move(made), stored.dataId, stored.name);
    if (device == nullptr) {
        m_problems.push_back("the device \"" + tvcore::ToUtf8(stored.name) + "\" is left out: its id " +
                             tvcore::ToUtf8(stored.dataId.GetKey()) + " is taken");
        return false;
    }
    m_placesById.emplace(PackedId(stored.dataId), m_devices.size());
    m_devices.push_back({place, device});
    m_host.SetToldLimits(*device, m_project.toldLimits);
    m_host.LoadDevice(*device, stored.attributes);
    return true;
}

LivePort& OpenProject::MakePort(StoredPort const& stored, Attached attached)
{
    auto options = m_like;
    options.host = tvcore::ToUtf8(stored.host);
    options.port = stored.tcpPort;
    options.watch = stored.watch;
    std::unique_ptr<LivePort> port;
    if (attached.hasDevice && !attached.hasSonar) {
        port = std::make_unique<RawPort>(m_host, m_thread, stored.name, options);
    } else {
        port = std::make_unique<X5Port>(m_host, m_thread, stored.name, options);
    }
    m_portsByName.emplace(stored.name, port.get());
    return *m_ports.emplace_back(std::move(port));
}

OpenProject::~OpenProject()
{
    // All are told before the first is waited for.
    for (auto const& port : m_ports) {
        port->BeginClose();
    }
    for (auto const& port : m_ports) {
        port->Close();
    }
    auto const remove = [this] {
        if (m_plugIns != nullptr) {
            m_plugIns->ReleaseDevices();
        }
        for (MadeDevice const& made : m_devices) {
            m_host.RemoveDevice(made.device);
        }
        m_ports.clear();
        m_formerPorts.clear();
    };
    OrOnceMore([&] { m_host.RunAndWait(remove); });
}

void OpenProject::Start(PlugIns& plugIns)
{
    m_plugIns = &plugIns;
    m_host.RunAndWait([&] {
        plugIns.RegisterViews();
        plugIns.InitializeTemplates(m_host.Application());
        for (MadeDevice const& made : m_devices) {
            plugIns.DeviceCtrlInit(*made.device);
            // The computations are there: what a device is mounted on is found.
            m_host.ApplyDevice(*made.device, true);
        }
        for (MadeDevice const& made : m_devices) {
            PutOnPort(made);
        }
    });
}

void OpenProject::PutOnPort(MadeDevice const& made)
{
    StoredDevice const& stored = m_project.devices[made.stored];
    if (LivePort* const port = FindPort(stored.portName); port != nullptr && stored.enabled) {
        m_host.SetPort(*made.device, &port->Handler());
    }
}

void OpenProject::Connect()
{
    for (auto const& port : m_ports) {
        port->Open();
    }
}

LivePort* OpenProject::FindPort(CString const& name) const
{
    auto const at = m_portsByName.find(name);
    return at != m_portsByName.end() ? at->second : nullptr;
}

StoredProject OpenProject::Collect() const
{
    StoredProject project = m_project;
    for (MadeDevice const& made : m_devices) {
        StoredDevice& stored = project.devices[made.stored];
        DataManager::GetDataManager().GetAttributeMap(stored.dataId, stored.attributes);
    }
    for (ComputationSetup& computation : project.computations) {
        DataManager::GetDataManager().GetAttributeMap(computation.dataId, computation.attributes);
    }
    return project;
}

OpenProject::MadeDevice const* OpenProject::Find(CDataId const& device) const
{
    auto const at = m_placesById.find(PackedId(device));
    return at != m_placesById.end() ? &m_devices[at->second] : nullptr;
}

LivePort* OpenProject::PortOf(CDataId const& device) const
{
    MadeDevice const* const made = Find(device);
    return made != nullptr ? FindPort(m_project.devices[made->stored].portName) : nullptr;
}

void OpenProject::AddVessel(VesselSetup const& vessel)
{
    m_project.vessels.push_back(vessel);
    m_host.AddVessel(vessel);
}

bool OpenProject::Add(StoredDevice const& device, std::optional<StoredPort> const& port,
                      std::vector<ComputationSetup> const& computations)
{
    bool isAdded = false;
    auto const add = [&] {
        m_project.devices.push_back(device);
        isAdded = MakeDevice(m_project.devices.size() - 1);
        if (!isAdded) {
            m_project.devices.pop_back();
            m_problems.pop_back();
            return;
        }
        if (port) {
            m_project.ports.push_back(*port);
            MakePort(*port, AttachedTo(port->name));
        }
        for (ComputationSetup const& computation : computations) {
            m_project.computations.push_back(computation);
            m_host.AddComputation(computation);
        }
        MadeDevice const& made = m_devices.back();
        m_plugIns->DeviceCtrlInit(*made.device);
        m_host.ApplyDevice(*made.device, true);
        PutOnPort(made);
    };
    if (PingsInTurn(device.attributes)) {
        m_host.DiscoverAnew(add);
    } else {
        add();
    }
    return isAdded;
}

bool OpenProject::Remove(CDataId const& device)
{
    MadeDevice const* const found = Find(device);
    if (found == nullptr) {
        return false;
    }
    MadeDevice const made = *found;
    CString const portName = m_project.devices[made.stored].portName;
    m_host.RemoveDevice(made.device);
    std::erase_if(m_devices, [&](MadeDevice const& each) { return each.device == made.device; });
    m_placesById.clear();
    for (std::size_t place = 0; place < m_devices.size(); ++place) {
        auto& each = m_devices[place];
        m_placesById.emplace(PackedId(m_project.devices[each.stored].dataId), place);
        each.stored -= each.stored > made.stored ? 1 : 0;
    }
    m_project.devices.erase(m_project.devices.begin() + static_cast<std::ptrdiff_t>(made.stored));
    // In the host they stay, as whoever has found one may hold on to it; nothing leads to them any more.
    std::erase_if(m_project.computations, [&](ComputationSetup const& each) {
        return each.linkedDevices.size() == 1 && each.linkedDevices.front() == device;
    });
    DropPort(portName);
    return true;
}

bool OpenProject::Rename(CDataId const& device, CString const& name)
{
    MadeDevice const* const made = Find(device);
    if (made != nullptr) {
        m_project.devices[made->stored].name = name;
        made->device->SetDeviceName(name);
    }
    return made != nullptr;
}

bool OpenProject::SetAddress(CDataId const& device, CString const& host, std::uint16_t tcpPort)
{
    MadeDevice const* const made = Find(device);
    if (made == nullptr) {
        return false;
    }
    StoredDevice& stored = m_project.devices[made->stored];
    StoredPort next{.name = {}, .host = host, .tcpPort = tcpPort, .watch = {}};
    for (StoredPort const& port : m_project.ports) {
        if (port.name == stored.portName) {
            next.watch = port.watch;
        }
    }
    CString const before = std::exchange(stored.portName, CString());
    if (!before.IsEmpty()) {
        DropPort(before);
    }
    m_host.SetPort(*made->device, nullptr);
    next.name = CString(L"port ") + device.GetKey();
    while (FindPort(next.name) != nullptr) {
        next.name = next.name + L"'";
    }
    stored.portName = next.name;
    made->device->SetPortName(next.name);
    m_project.ports.push_back(next);
    MakePort(next, AttachedTo(next.name));
    PutOnPort(*made);
    return true;
}

void OpenProject::DropPort(CString const& name)
{
    for (MadeDevice const& made : m_devices) {
        if (m_project.devices[made.stored].portName == name) {
            return;
        }
    }
    for (auto& port : m_ports) {
        if (port->GetName() == name) {
            port->SetStatusListener({});
            port->Retire();
            m_formerPorts.push_back(std::move(port));
        }
    }
    std::erase(m_ports, nullptr);
    m_portsByName.erase(name);
    std::erase_if(m_project.ports, [&](StoredPort const& port) { return port.name == name; });
}

bool OpenProject::SetTurns(CDataId const& device, CAttributeMap const& tree)
{
    if (Find(device) == nullptr) {
        return false;
    }
    m_host.DiscoverAnew([&] { DataManager::GetDataManager().SetAttributeMap(device, tree, 0, false); });
    return true;
}

} // namespace vordal
