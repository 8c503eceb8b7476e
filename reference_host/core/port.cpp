// The devices on a port.
#include "reference_host/core/port.h"

#include <algorithm>
#include <utility>

namespace vordal {

AttachedDevices::~AttachedDevices() = default;
PlainPort::~PlainPort() = default;

void AttachedDevices::Attach(BaseDevice* device)
{
    std::lock_guard const lock(m_mutex);
    auto const count = m_count.load(std::memory_order_relaxed);
    if (IndexLocked(device) != count) {
        return;
    }
    if (count == m_capacity) {
        MakeRoomLocked();
    }
    m_places.load(std::memory_order_relaxed)[count].store(device, std::memory_order_release);
    m_count.store(count + 1, std::memory_order_release);
}

void AttachedDevices::Detach(BaseDevice* device)
{
    std::lock_guard const lock(m_mutex);
    auto const count = m_count.load(std::memory_order_relaxed);
    auto index = IndexLocked(device);
    if (index == count) {
        return;
    }
    auto* const places = m_places.load(std::memory_order_relaxed);
    auto const version = m_version.load(std::memory_order_relaxed);
    m_version.store(version + 1, std::memory_order_relaxed);
    for (; index + 1 < count; ++index) {
        places[index].store(places[index + 1].load(std::memory_order_relaxed), std::memory_order_release);
    }
    m_count.store(count - 1, std::memory_order_release);
    m_version.store(version + 2, std::memory_order_release);
}

bool AttachedDevices::IsAttached(BaseDevice const* device) const
{
    std::lock_guard const lock(m_mutex);
    return IndexLocked(device) != m_count.load(std::memory_order_relaxed);
}

int AttachedDevices::Count() const
{
    return static_cast<int>(m_count.load(std::memory_order_acquire));
}

BaseDevice* AttachedDevices::At(int index) const
{
    // What is seen later is not older: a place that a change has written shows that change's version, too.
    auto const version = m_version.load(std::memory_order_acquire);
    auto* const device = Look(index);
    if (version % 2 == 0 && m_version.load(std::memory_order_relaxed) == version) {
        return device;
    }
    std::lock_guard const lock(m_mutex);
    return Look(index);
}

BaseDevice* AttachedDevices::Look(int index) const
{
    // The count first: there are at least so many places.
    auto const count = m_count.load(std::memory_order_acquire);
    auto const at = static_cast<std::size_t>(index);
    return index >= 0 && at < count ? m_places.load(std::memory_order_acquire)[at].load(std::memory_order_acquire)
                                    : nullptr;
}

/// The number of devices when it is not attached.
std::size_t AttachedDevices::IndexLocked(BaseDevice const* device) const
{
    auto const count = m_count.load(std::memory_order_relaxed);
    auto const* const places = m_places.load(std::memory_order_relaxed);
    std::size_t index = 0;
    while (index < count && places[index].load(std::memory_order_relaxed) != device) {
        ++index;
    }
    return index;
}

void AttachedDevices::MakeRoomLocked()
{
    auto const capacity = std::max<std::size_t>(4, 2 * m_capacity);
    auto places = std::make_unique<Place[]>(capacity);
    auto const* const former = m_places.load(std::memory_order_relaxed);
    for (std::size_t i = 0; i < m_capacity; ++i) {
        places[i].store(former[i].load(std::memory_order_relaxed), std::memory_order_relaxed);
    }
    auto* const published = places.get();
    m_madePlaces.push_back(std::move(places));
    m_places.store(published, std::memory_order_release);
    m_capacity = capacity;
}

} // namespace vordal
