// What the parts of a host ask of the host that lives, without knowing it.
#pragma once

#include "host_task.h"

#include <VordalBaseR/CString.h>
#include <VordalSubscriberR/Subscription.h>

#include <memory>

class NotificationInfo;

namespace vordal {

class HostObserver;
class HostThread;
class NotificationBus;
class RequestObserver;

/// Null unless there is such an observer.
HostObserver* CurrentObserver();
RequestObserver* CurrentRequestObserver();

/// The host thread, for what this thread may raise but not tell. Null when it tells by itself: on the host thread, and
/// where there is none.
HostThread* ThreadToTellOn();
/// At once where ThreadToTellOn is null, otherwise on that thread.
void RunOnHostThread(HostTask task);
/// As HostStreams::Notify.
void NotifyBus(Subscription::Kind kind, CString const& key, NotificationInfo const* info);

/// Who follows which streams has changed, or which sonars there are: those who watch it are told, see
/// HostStreams::WatchFollowers. Any thread.
void TellFollowersChanged() noexcept;

/// Of all streams; null without a host.
std::shared_ptr<NotificationBus> StreamBus();

} // namespace vordal
