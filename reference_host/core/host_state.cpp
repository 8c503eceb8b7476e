// What the reference host consists of: look-ups in its registers, and what others find of the host that lives.
#include "reference_host/core/host_state.h"

#include "reference_host/core/application.h"
#include "reference_host/streams/stream_buffer.h"

#include <algorithm>
#include <utility>

namespace vordal {

HostObserver* CurrentObserver()
{
    auto* const state = CurrentState();
    return state != nullptr ? state->observer.load(std::memory_order_acquire) : nullptr;
}

RequestObserver* CurrentRequestObserver()
{
    auto* const state = CurrentState();
    return state != nullptr ? state->requestObserver.load(std::memory_order_acquire) : nullptr;
}

HostThread* ThreadToTellOn()
{
    auto* const state = CurrentState();
    auto* const thread = state != nullptr ? state->thread.get() : nullptr;
    return thread != nullptr && !thread->IsThisThread() ? thread : nullptr;
}

std::shared_ptr<NotificationBus> BusOfKind(int kind)
{
    auto* const state = CurrentState();
    if (state == nullptr) {
        return nullptr;
    }
    switch (kind) {
    case Subscription::ActiveVessel:
        return state->activeVesselBus;
    case Subscription::BufferStatus:
        return state->bufferStatusBus;
    case Subscription::General:
        return state->generalBus;
    default:
        return nullptr;
    }
}

std::shared_ptr<NotificationBus> StreamBus()
{
    auto* const state = CurrentState();
    return state != nullptr ? state->streamBus : nullptr;
}

void TellFollowersChanged() noexcept
{
    auto* const state = CurrentState();
    if (state == nullptr || state->thread == nullptr || !state->areFollowersWatched.load(std::memory_order_acquire) ||
        state->followersChange.exchange(true)) {
        return;
    }
    try {
        // In a turn of its own also on the host thread: whoever subscribes may be in the middle of something.
        state->thread->Post([state] { state->TellFollowersWatchers(); });
    } catch (std::bad_alloc const&) {
        // They look again whenever they hear of their sonar.
        state->followersChange.store(false);
    }
}

void RunOnHostThread(HostTask task)
{
    if (auto* const thread = ThreadToTellOn()) {
        thread->Post(std::move(task));
    } else {
        task();
    }
}

void NotifyBus(Subscription::Kind kind, CString const& key, NotificationInfo const* info)
{
    if (auto const bus = BusOfKind(kind)) {
        bus->Notify(AttributeKey(key), info);
    }
}

BaseDataSource* FindBuffer(CDataId const& id)
{
    auto* const state = CurrentState();
    return state != nullptr ? state->FindBuffer(id, false) : nullptr;
}

HostState::HostState(Threading mode) : threading(mode), window(std::make_shared<WindowInbox>(mode == Threading::Inline))
{
}
HostState::~HostState() = default;

Device* HostState::FindDevice(std::uint64_t packedId) const
{
    std::lock_guard const lock(mutex);
    return devices.Find(packedId);
}

DeviceInUse::DeviceInUse(HostState& host, CDataId const& id) : m_host(host)
{
    std::lock_guard const lock(m_host.mutex);
    m_device = m_host.devices.Find(PackedId(id));
    if (m_device != nullptr) {
        ++m_device->Internals().uses;
    }
}

DeviceInUse::~DeviceInUse()
{
    if (m_device != nullptr) {
        std::lock_guard const lock(m_host.mutex);
        if (--m_device->Internals().uses == 0) {
            m_host.useEnded.notify_all();
        }
    }
}

void HostState::TellFollowersWatchers()
{
    followersChange.store(false);
    auto const all = [this] {
        std::lock_guard const lock(mutex);
        return followersWatchers;
    }();
    for (auto const& [order, watcher] : all) {
        {
            std::lock_guard const lock(mutex); // one that was told may have taken another away
            if (!followersWatchers.contains(order)) {
                continue;
            }
        }
        watcher->OnFollowersChanged();
    }
}

Computation* HostState::FindComputation(CDataId const& id) const
{
    std::lock_guard const lock(mutex);
    return computations.Find(PackedId(id));
}

StreamBuffer* HostState::FindBuffer(CDataId const& id, bool create)
{
    std::lock_guard const lock(mutex);
    auto const found = buffers.find(PackedId(id));
    if (found != buffers.end()) {
        return found->second.get();
    }
    return create ? buffers.emplace(PackedId(id), std::make_unique<StreamBuffer>(id)).first->second.get() : nullptr;
}

std::vector<std::shared_ptr<NotificationBus>> HostState::AllBuses() const
{
    std::vector<std::shared_ptr<NotificationBus>> buses{activeVesselBus, bufferStatusBus, generalBus, streamBus};
    std::lock_guard const lock(mutex);
    devices.ForEach([&](Device& device) { buses.push_back(device.Internals().subscriptions->Bus()); });
    for (auto const& computation : computations.All()) {
        buses.push_back(computation->Subscriptions().Bus());
    }
    return buses;
}

void HostState::ChangeDeviceId(BaseDevice const& device, CDataId const& id)
{
    std::lock_guard const lock(mutex);
    devices.ChangeId(device, id);
}

OpenDisplays* CurrentOpenDisplays()
{
    auto* const host = CurrentState();
    return host != nullptr ? &host->openDisplays : nullptr;
}

DisplayRegister* CurrentDisplayRegister()
{
    auto* const host = CurrentState();
    return host != nullptr ? &host->displays : nullptr;
}

} // namespace vordal
