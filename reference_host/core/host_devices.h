// The devices of the reference host: their register, their ports and their attributes.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <vordalhostdllR/Device.h>

#include "reference_host/attributes/tree_account.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

class BaseIOHandler;

namespace vordal {

struct HostState;

/// The devices and what they hold, a part of the host.
class VORDAL_API HostDevices
{
public:
    HostDevices(HostDevices const&) = delete;
    HostDevices& operator=(HostDevices const&) = delete;

    /// Those that modules have registered, in the order of names. Any thread.
    std::vector<CString> DeviceClasses() const;

    /// A device of a class that a plug-in has registered, or of the host's own "QX5Device" or "Device"; not yet known
    /// to anybody; its driver name is the class. Null when there is no such class.
    std::unique_ptr<Device> MakeDevice(CString const& className);
    /// Takes the device in under this id, with a buffer, as the last one. The id must be free: otherwise null, and the
    /// device is gone.
    Device* AddDevice(std::unique_ptr<Device> device, CDataId const& dataId, CString const& name = CString());
    /// Attaches the device to the port, after those that are there (null takes it off its port). Ports made of
    /// PortWithDevices learn of it.
    void SetPort(BaseDevice& device, BaseIOHandler* port);
    /// Takes the device off its port, out of the register, and destroys it, while no plug-in that may know it controls
    /// pings (see DiscoverAnew). False when it is not the host's.
    bool RemoveDevice(BaseDevice* device);
    /// The same of many, for all of which their sonars are discovered anew once; how many were the host's.
    std::size_t RemoveDevices(std::span<Device* const> devices);
    /// Runs `change` while no plug-in controls pings. Those that did discover their sonars anew: these join with the
    /// settings that they told last, those whose stream is not well once it is, and take their turns again. For what
    /// changes which sonars ping in turn: their list, or what a device's tree says of its group. Host thread.
    void DiscoverAnew(std::function<void()> const& change);
    /// The same for all; nothing is discovered.
    void RemoveAllDevices();
    /// All devices in the order in which they were added. Any thread.
    std::vector<Device*> Devices() const;

    // Attributes.
    /// Puts the tree in place; nobody is told.
    void ReplaceAttributes(BaseDevice& device, CAttributeMap const& tree);
    /// Merges what was decoded from a record into the tree and notifies, as SetAttributeMap does, but it is no echo. It
    /// may fill no more of the tree than SetToldLimits allows: what is beyond is refused, counted, and told once for
    /// each device, by a line in the log and to the observer. What anybody else writes is never refused. A tree that is
    /// told again has the number of before, see MergedTrees.
    void MergeDecoded(BaseDevice& device, CAttributeMap const& tree, std::uint64_t number = 0);
    /// For this device in place of the limits that TreeLimits begins with. Any thread.
    void SetToldLimits(BaseDevice& device, TreeLimits const& limits);
    /// The account of what MergeDecoded has filled and refused. What a tree holds when it is loaded or put in place
    /// counts as told. Any thread.
    TreeAccount Told(BaseDevice const& device) const;
    /// LoadAttribs of the device with a configuration that yields the tree.
    bool LoadDevice(Device& device, CAttributeMap const& tree);
    /// ApplyAttribs of the device. Use this rather than the device's own: it makes later copies of the tree cheap again
    /// after a device has written to nodes of it.
    void ApplyDevice(Device& device, bool changed);

protected:
    explicit HostDevices(HostState& state) : m_state(state) {}
    ~HostDevices() = default;

private:
    bool TakeOut(BaseDevice* device);
    /// Announces the last block of each sonar whose stream is well, and that of others once it is.
    void TellSettingsAgain();

    HostState& m_state;
};

} // namespace vordal
