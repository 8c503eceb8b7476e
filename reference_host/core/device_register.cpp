// The devices of a host: in the order in which they came, and found by id.
#include "device_register.h"

#include <utility>

namespace vordal {

bool DeviceRegister::Add(CDataId const& id, std::unique_ptr<Device>& device)
{
    if (m_byId.contains(PackedId(id))) {
        return false;
    }
    auto const at = m_entries.emplace(device.get(), Entry{nullptr, m_next, id}).first;
    at->second.device = std::move(device);
    ++m_next;
    Enter(at->second);
    return true;
}

std::unique_ptr<Device> DeviceRegister::Take(BaseDevice const* device)
{
    auto const at = m_entries.find(device);
    if (at == m_entries.end()) {
        return nullptr;
    }
    Strike(at->second);
    auto taken = std::move(at->second.device);
    m_entries.erase(at);
    return taken;
}

void DeviceRegister::ChangeId(BaseDevice const& device, CDataId const& id)
{
    if (auto const at = m_entries.find(&device); at != m_entries.end()) {
        Strike(at->second);
        at->second.id = id;
        Enter(at->second);
    }
}

void DeviceRegister::Enter(Entry const& entry)
{
    m_byId.emplace(PackedId(entry.id), entry.device.get());
    m_inOrder.emplace(entry.order, entry.device.get());
    m_ofVessel[entry.id.GetVessel()].insert({entry.order, entry.device.get()});
}

void DeviceRegister::Strike(Entry const& entry)
{
    auto const [first, last] = m_byId.equal_range(PackedId(entry.id));
    for (auto at = first; at != last; ++at) {
        if (at->second == entry.device.get()) {
            m_byId.erase(at);
            break;
        }
    }
    m_inOrder.erase(entry.order);
    auto const vessel = m_ofVessel.find(entry.id.GetVessel());
    vessel->second.erase(entry.order);
    if (vessel->second.empty()) {
        m_ofVessel.erase(vessel);
    }
}

Device* DeviceRegister::Find(std::uint64_t packedId) const
{
    // Of several the one that came first.
    auto const [first, last] = m_byId.equal_range(packedId);
    Device* found = nullptr;
    std::uint64_t order = 0;
    for (auto at = first; at != last; ++at) {
        auto const other = m_entries.find(at->second)->second.order;
        if (found == nullptr || other < order) {
            found = at->second;
            order = other;
        }
    }
    return found;
}

int DeviceRegister::CountOf(unsigned short vessel) const
{
    auto const at = m_ofVessel.find(vessel);
    return at != m_ofVessel.end() ? static_cast<int>(at->second.size()) : 0;
}

Device* DeviceRegister::At(int index, unsigned short vessel) const
{
    auto const at = m_ofVessel.find(vessel);
    if (at == m_ofVessel.end() || index < 0 || index >= static_cast<int>(at->second.size())) {
        return nullptr;
    }
    return at->second.find_by_order(static_cast<std::size_t>(index))->second;
}

} // namespace vordal
