// The streams of the reference host: blocks, their buffers, and notifications.
#pragma once

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/NotificationInfo.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/DataManager.h>

namespace vordal {

struct HostState;

/// Who wants to know which streams are followed.
class FollowersWatcher
{
public:
    /// Subscriptions to streams have come or gone, or a device has come to a port or left it. Host thread.
    virtual void OnFollowersChanged() = 0;

protected:
    ~FollowersWatcher() = default;
};

/// Streams and notifications, a part of the host. Any thread.
class VORDAL_API HostStreams
{
public:
    HostStreams(HostStreams const&) = delete;
    HostStreams& operator=(HostStreams const&) = delete;

    /// The stream's buffer, made when it is missing. Any thread.
    BaseDataSource& Buffer(CDataId const& stream);
    /// Stores the block in the stream's buffer and tells its subscribers, on the host thread: at once when this is it,
    /// otherwise when its turn has come, so that each is told with its own block in the buffer. Any thread.
    void PutBlock(CDataId const& stream, CDataBlock const& block);
    /// Changes the status of the stream's buffer and tells the followers of its status, likewise. Any thread.
    void SetBufferStatus(CDataId const& stream, unsigned short status);

    /// Leaves the stream's buffer without a block; its status stays. Any thread.
    void EmptyBuffer(CDataId const& stream);

    /// Whether there is a subscription to the stream's data. Any thread.
    bool IsFollowed(CDataId const& stream) const;
    /// From now on, or no more. In a host with a thread of its own; on that thread, or while it does not run.
    void WatchFollowers(FollowersWatcher& watcher);
    void LeaveFollowers(FollowersWatcher& watcher);

    /// Raises a notification on one of the buses of Subscription::Kind, told as Subscriber says. `info` may be null.
    /// Any thread.
    void Notify(Subscription::Kind kind, CString const& key, NotificationInfo const* info);

protected:
    explicit HostStreams(HostState& state) : m_state(state) {}
    ~HostStreams() = default;

private:
    HostState& m_state;
};

} // namespace vordal
