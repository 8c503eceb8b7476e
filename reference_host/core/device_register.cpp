// The devices of a host: in the order in which they came, and found by id.
#include "device_register.h"

#include <utility>

namespace vordal {

bool DeviceRegister::Add(CDataId const& id, std::unique_ptr<Device>& device)
{
    if (m_byId.contains(PackedId(id))) {
        return false;
    }
    // Should there be no memory for one of them, it stands in none.
    auto const at = m_entries.emplace(device.get(), Entry{nullptr, m_next, id}).first;
    try {
        m_inOrder.emplace(m_next, device.get());
        Enter(id, m_next, device.get());
    } catch (...) {
        m_inOrder.erase(m_next);
        m_entries.erase(at);
        throw;
    }
    at->second.device = std::move(device);
    ++m_next;
    return true;
}

std::unique_ptr<Device> DeviceRegister::Take(BaseDevice const* device)
{
    auto const at = m_entries.find(device);
    if (at == m_entries.end()) {
        return nullptr;
    }
    auto const& entry = at->second;
    m_inOrder.erase(entry.order);
    Strike(entry.id, entry.order, entry.device.get());
    auto taken = std::move(at->second.device);
    m_entries.erase(at);
    return taken;
}

void DeviceRegister::ChangeId(BaseDevice const& device, CDataId const& id)
{
    auto const at = m_entries.find(&device);
    if (at == m_entries.end() || PackedId(at->second.id) == PackedId(id)) {
        return;
    }
    // What takes memory comes first: when it runs out all is as it was.
    auto& entry = at->second;
    if (entry.id.GetVessel() == id.GetVessel()) {
        m_byId.emplace(PackedId(id), entry.device.get());
        StrikeId(entry.id, entry.device.get());
    } else {
        Enter(id, entry.order, entry.device.get());
        Strike(entry.id, entry.order, entry.device.get());
    }
    entry.id = id;
}

void DeviceRegister::Enter(CDataId const& id, std::uint64_t order, Device* device)
{
    auto const at = m_byId.emplace(PackedId(id), device);
    try {
        m_ofVessel[id.GetVessel()].insert({order, device});
    } catch (...) {
        m_byId.erase(at);
        throw;
    }
}

void DeviceRegister::StrikeId(CDataId const& id, Device const* device)
{
    auto const [first, last] = m_byId.equal_range(PackedId(id));
    for (auto at = first; at != last; ++at) {
        if (at->second == device) {
            m_byId.erase(at);
            break;
        }
    }
}

void DeviceRegister::Strike(CDataId const& id, std::uint64_t order, Device const* device)
{
    StrikeId(id, device);
    auto const vessel = m_ofVessel.find(id.GetVessel());
    vessel->second.erase(order);
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
