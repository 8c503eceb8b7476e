// The streams of the reference host: blocks, their buffers, and notifications.
#include "reference_host/core/host_streams.h"

#include "reference_host/core/host_state.h"
#include "reference_host/streams/stream_buffer.h"

namespace vordal {

BaseDataSource& HostStreams::Buffer(CDataId const& stream)
{
    return *m_state.FindBuffer(stream, true);
}

void HostStreams::PutBlock(CDataId const& stream, CDataBlock const& block)
{
    auto* const buffer = m_state.FindBuffer(stream, true);
    if (auto* const thread = ThreadToTellOn()) {
        thread->Post([this, buffer, block] { PutBlock(buffer->GetDataId(), block); });
        return;
    }
    buffer->Put(block);
    buffer->Announce();
}

void HostStreams::SetBufferStatus(CDataId const& stream, unsigned short status)
{
    auto* const buffer = m_state.FindBuffer(stream, true);
    if (auto* const thread = ThreadToTellOn()) {
        thread->Post([this, buffer, status] { SetBufferStatus(buffer->GetDataId(), status); });
        return;
    }
    buffer->SetStatus(status);
    DataId_NI const info(stream);
    Notify(Subscription::BufferStatus, stream.GetKey(), &info);
}

void HostStreams::EmptyBuffer(CDataId const& stream)
{
    if (auto* const buffer = m_state.FindBuffer(stream, false)) {
        buffer->Empty();
    }
}

bool HostStreams::IsFollowed(CDataId const& stream) const
{
    return m_state.streamBus->IsFollowed(AttributeKey(stream.GetKey()));
}

void HostStreams::WatchFollowers(FollowersWatcher& watcher)
{
    std::lock_guard const lock(m_state.mutex);
    m_state.followersWatchers.emplace(m_state.nextFollowersWatcher, &watcher);
    m_state.followersWatcherOrders.emplace(&watcher, m_state.nextFollowersWatcher);
    ++m_state.nextFollowersWatcher;
    m_state.areFollowersWatched.store(true, std::memory_order_release);
}

void HostStreams::LeaveFollowers(FollowersWatcher& watcher)
{
    std::lock_guard const lock(m_state.mutex);
    if (auto const at = m_state.followersWatcherOrders.find(&watcher); at != m_state.followersWatcherOrders.end()) {
        m_state.followersWatchers.erase(at->second);
        m_state.followersWatcherOrders.erase(at);
    }
}

void HostStreams::Notify(Subscription::Kind kind, CString const& key, NotificationInfo const* info)
{
    NotifyBus(kind, key, info);
}

} // namespace vordal
