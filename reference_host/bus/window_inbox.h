// What waits for the window thread: notifications of its subscriptions, and a few tasks.
#pragma once

#include "reference_host/common/host_task.h"

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

class NotificationInfo;

namespace vordal {

class Joint;

/// What a task for the window thread is about. Of those that are alike the one that was posted last stays.
enum class WindowTaskKind
{
    UpdateDisplays,
    RemoveDisplay,
    ShowDisplay
};
struct WindowTaskKey
{
    WindowTaskKind kind;
    std::uintptr_t number;
    CString name;

    bool operator==(WindowTaskKey const&) const = default;
};

/// Bounded by the number of subscriptions: a notification whose subscription waits already takes its place and replaces
/// what it carries, so the last one is never lost. Any thread, except where said otherwise.
class VORDAL_API WindowInbox
{
public:
    /// `atOnce`: what the window thread itself raises is told at once, nested, and does not wait.
    explicit WindowInbox(bool atOnce) : m_atOnce(atOnce) {}
    WindowInbox(WindowInbox const&) = delete;
    WindowInbox& operator=(WindowInbox const&) = delete;
    ~WindowInbox();

    /// The calling thread is the window thread from now on. `wake` (may be empty) is called with no lock held when
    /// something begins to wait.
    void Attach(std::function<void()> wake);
    /// Drops what waits and what comes later. Window thread.
    void Detach();
    bool IsWindowThread() const { return m_thread.load(std::memory_order_acquire) == std::this_thread::get_id(); }
    /// Whether a notification raised on this thread is told at once.
    bool IsToldAtOnce() const { return m_atOnce && IsWindowThread(); }

    /// `info` is copied; null stays null.
    void Put(std::shared_ptr<Joint> joint, NotificationInfo const* info);
    void Post(WindowTaskKey key, HostTask task);
    /// The joint has left: what waits for it is dropped.
    void Forget(Joint& joint);

    /// Runs the tasks in the order in which they were posted, then tells the notifications in the order in which they
    /// began to wait. What begins to wait
    /// meanwhile is left for the next time. Failures are logged. Window thread, not from within itself.
    void Deliver();

private:
    struct Waiting
    {
        std::shared_ptr<Joint> joint; ///< null: it has left
        std::unique_ptr<NotificationInfo> info;
    };

    /// With the lock held: what is to be called once it has gone; null when the window thread knows already.
    std::shared_ptr<std::function<void()> const> Wake();

    bool const m_atOnce;
    std::atomic<std::thread::id> m_thread{};

    std::mutex m_mutex; ///< guards what follows, and the joints' places in it; never held while calling out
    std::shared_ptr<std::function<void()> const> m_wake;
    bool m_attached = false;
    bool m_woken = false;
    std::vector<Waiting> m_waiting;
    std::vector<std::pair<WindowTaskKey, HostTask>> m_tasks;
};

} // namespace vordal
