// The one mechanism behind all subscriptions: sinks joined to keys, called with no lock held.
#pragma once

#include "reference_host/bus/window_inbox.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>
#include <VordalSubscriberR/NotificationInfo.h>
#include <VordalSubscriberR/Subscriber.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace vordal {

class KeyFollowers;

/// A sink with what is to become of it. The last holder deletes an owned sink.
class SinkHolder
{
public:
    SinkHolder(Subscriber* sink, bool own) : m_sink(sink), m_own(own) {}
    SinkHolder(SinkHolder const&) = delete;
    SinkHolder& operator=(SinkHolder const&) = delete;
    ~SinkHolder()
    {
        if (m_own) {
            delete m_sink;
        }
    }

    Subscriber* Sink() const { return m_sink; }

private:
    Subscriber* m_sink;
    bool m_own;
};

/// One subscription's place on a bus. It keeps account of the calls that are running, so that a sink can be taken away
/// with the certainty that it is not called any more.
class VORDAL_API Joint : public std::enable_shared_from_this<Joint>
{
public:
    /// `window`: the sink is told on the window thread, by way of this inbox; null: on the thread of the bus.
    explicit Joint(std::shared_ptr<SinkHolder> sink, std::shared_ptr<WindowInbox> window = nullptr)
        : m_window(std::move(window)), m_sink(std::move(sink))
    {
    }

    /// Has the sink told, now or by way of the window's inbox.
    void Call(NotificationInfo const* info)
    {
        if (m_window == nullptr || m_window->IsToldAtOnce()) {
            Deliver(info);
        } else {
            m_window->Put(shared_from_this(), info);
        }
    }
    /// Calls the sink, if there is one. An exception of the sink passes.
    void Deliver(NotificationInfo const* info);
    /// Drops what waits for the window thread.
    void Leave()
    {
        if (m_window != nullptr) {
            m_window->Forget(*this);
        }
        Replace(nullptr);
    }
    /// Puts another sink in place (null: none) and waits until the old one runs on no other thread. A call that runs
    /// on this thread keeps the old sink until it has returned.
    void Replace(std::shared_ptr<SinkHolder> sink);
    std::shared_ptr<SinkHolder> Sink();

private:
    friend class WindowInbox;
    struct RunningCall;

    static constexpr std::size_t NotWaiting = static_cast<std::size_t>(-1);

    std::shared_ptr<WindowInbox> const m_window;
    std::size_t m_placeInWindow = NotWaiting; ///< guarded by the inbox

    std::mutex m_mutex;
    std::condition_variable m_callEnded;
    std::shared_ptr<SinkHolder> m_sink;
    RunningCall* m_running = nullptr;
    std::uint64_t m_nextSerial = 0;
};

/// Keys and the joints that follow them. Any thread. A notification is told on the host thread: at once when that
/// thread raises it (and in a host without one, wherever it is raised), otherwise in the order in which it was posted
/// there. It goes to those that are joined when it begins and have not left when their turn comes, in the order in
/// which they joined. Held by shared pointers.
class VORDAL_API NotificationBus : public std::enable_shared_from_this<NotificationBus>
{
public:
    /// `changed`, if any, is called whenever joints have come or gone, with no lock held; any thread, and it may not
    /// throw.
    explicit NotificationBus(void (*changed)() noexcept = nullptr);
    ~NotificationBus();

    /// Joins to further keys; a joint that is there keeps its turn.
    void Join(std::shared_ptr<Joint> const& joint, std::span<CString const> keys);
    void Leave(std::shared_ptr<Joint> const& joint) noexcept;
    /// Takes the joints off whose sinks are such, as if their subscriptions had ended; how many there were.
    std::size_t LeaveAll(std::function<bool(Subscriber const&)> const& areSuch);

    void Notify(AttributeKey const& key, NotificationInfo const* info) const;
    /// Tells each joint once that follows any of the tree's top-level keys.
    void NotifyKeysOf(CAttributeMap const& tree, NotificationInfo const* info) const;
    /// Whether any joint follows the key.
    bool IsFollowed(AttributeKey const& key) const;
    bool IsEmpty() const { return m_empty.load(std::memory_order_acquire); }

private:
    class Table;
    class Snapshot;
    /// What a joint follows.
    struct Membership
    {
        struct Place
        {
            std::shared_ptr<KeyFollowers> followers;
            std::uint32_t at;
        };
        std::shared_ptr<Joint> joint;
        std::uint64_t order = 0; ///< of joining
        std::vector<Place> places;
    };

    Snapshot Take() const;
    // With the lock held.
    void PutIn(std::shared_ptr<Joint> const& joint, std::span<CString const> keys);
    void Follow(Membership& membership, AttributeKey const& key);
    /// Puts a list without those that have left in the place of this one; `more` in its turn, unless it is null, whose
    /// places have room for it.
    void Renew(KeyFollowers const& followers, Membership* more);
    void TakeOut(Joint const* joint);
    /// The table for writing.
    Table& OwnTable();

    void TellChanged() const noexcept
    {
        if (m_changed != nullptr) {
            m_changed();
        }
    }

    void (*const m_changed)() noexcept;
    mutable std::mutex m_mutex; ///< guards what follows
    Table* m_table = nullptr;   ///< of the keys; null before there is one
    std::unordered_map<Joint const*, Membership> m_members;
    std::uint64_t m_nextOrder = 0;
    std::atomic<bool> m_empty{true};
};

} // namespace vordal

/// See the contract: a device's attribute keys as a bus.
class SubscriptionMap
{
public:
    SubscriptionMap() : m_bus(std::make_shared<vordal::NotificationBus>()) {}

    std::shared_ptr<vordal::NotificationBus> const& Bus() const { return m_bus; }

private:
    std::shared_ptr<vordal::NotificationBus> m_bus;
};
