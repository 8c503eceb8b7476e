// Making a project's parts in a host, in the order in which they need one another.
#include "open_project.h"

#include "reference_host/common/failure.h"
#include "reference_host/core/host.h"
#include "reference_host/link/raw_port.h"
#include "reference_host/link/x5_port.h"
#include "reference_host/loader/plugin_set.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/Device.h>

#include <utility>

namespace vordal {

void AddConnected(StoredProject& project, StoredDevice device, CString const& host, std::uint16_t tcpPort)
{
    device.portName = CString(L"port ") + device.dataId.GetKey();
    project.ports.push_back({device.portName, host, tcpPort, {}});
    project.devices.push_back(std::move(device));
}

OpenProject::OpenProject(Host& host, LinkThread& thread, StoredProject project, LinkOptions const& like)
    : m_host(host), m_project(std::move(project))
{
    m_host.RunAndWait([this] {
        for (VesselSetup const& vessel : m_project.vessels) {
            m_host.AddVessel(vessel);
        }
        if (m_project.activeVessel != 0) {
            m_host.SelectVessel(m_project.activeVessel);
        }
        for (std::size_t i = 0; i < m_project.devices.size(); ++i) {
            StoredDevice const& stored = m_project.devices[i];
            auto made = m_host.MakeDevice(stored.className);
            if (made == nullptr) {
                m_problems.push_back("the device \"" + tvcore::ToUtf8(stored.name) + "\" is left out: no plug-in has " +
                                     "registered its class " + tvcore::ToUtf8(stored.className));
                continue;
            }
            made->SetPortName(stored.portName);
            made->SetEnable(stored.enabled);
            Device* const device = m_host.AddDevice(std::move(made), stored.dataId, stored.name);
            if (device == nullptr) {
                m_problems.push_back("the device \"" + tvcore::ToUtf8(stored.name) + "\" is left out: its id " +
                                     tvcore::ToUtf8(stored.dataId.GetKey()) + " is taken");
                continue;
            }
            m_devices.push_back({i, device});
            m_host.SetToldLimits(*device, m_project.toldLimits);
            m_host.LoadDevice(*device, stored.attributes);
        }
        for (ComputationSetup const& computation : m_project.computations) {
            m_host.AddComputation(computation);
        }
    });
    for (StoredPort const& stored : m_project.ports) {
        m_ports.push_back(MakePort(thread, stored, like));
    }
}

std::unique_ptr<LivePort> OpenProject::MakePort(LinkThread& thread, StoredPort const& stored, LinkOptions options) const
{
    options.host = tvcore::ToUtf8(stored.host);
    options.port = stored.tcpPort;
    options.watch = stored.watch;
    bool hasDevice = false;
    bool hasSonar = false;
    for (MadeDevice const& made : m_devices) {
        if (m_project.devices[made.stored].portName == stored.name) {
            hasDevice = true;
            hasSonar = hasSonar || dynamic_cast<QX5Device const*>(made.device) != nullptr;
        }
    }
    if (hasDevice && !hasSonar) {
        return std::make_unique<RawPort>(m_host, thread, stored.name, options);
    }
    return std::make_unique<X5Port>(m_host, thread, stored.name, options);
}

OpenProject::~OpenProject()
{
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
            StoredDevice const& stored = m_project.devices[made.stored];
            if (LivePort* const port = FindPort(stored.portName); port != nullptr && stored.enabled) {
                m_host.SetPort(*made.device, &port->Handler());
            }
        }
    });
}

void OpenProject::Connect()
{
    for (auto const& port : m_ports) {
        port->Open();
    }
}

LivePort* OpenProject::FindPort(CString const& name) const
{
    for (auto const& port : m_ports) {
        if (port->GetName() == name) {
            return port.get();
        }
    }
    return nullptr;
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

} // namespace vordal
