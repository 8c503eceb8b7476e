// The devices on a port.
#include "reference_host/core/port.h"

#include <algorithm>

namespace vordal {

AttachedDevices::~AttachedDevices() = default;
PlainPort::~PlainPort() = default;

void AttachedDevices::Attach(BaseDevice* device)
{
    std::lock_guard const lock(m_mutex);
    if (std::find(m_devices.begin(), m_devices.end(), device) == m_devices.end()) {
        m_devices.push_back(device);
    }
}

void AttachedDevices::Detach(BaseDevice* device)
{
    std::lock_guard const lock(m_mutex);
    std::erase(m_devices, device);
}

bool AttachedDevices::IsAttached(BaseDevice const* device) const
{
    std::lock_guard const lock(m_mutex);
    return std::find(m_devices.begin(), m_devices.end(), device) != m_devices.end();
}

int AttachedDevices::Count() const
{
    std::lock_guard const lock(m_mutex);
    return static_cast<int>(m_devices.size());
}

BaseDevice* AttachedDevices::At(int index) const
{
    std::lock_guard const lock(m_mutex);
    auto const at = static_cast<std::size_t>(index);
    return index >= 0 && at < m_devices.size() ? m_devices[at] : nullptr;
}

} // namespace vordal
