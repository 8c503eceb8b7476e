// The threads of the reference host: where tasks run, and where the window is told.
#pragma once

#include <VordalBaseR/Export.h>

#include "reference_host/common/host_task.h"

#include <chrono>
#include <cstddef>
#include <functional>

namespace vordal {

struct HostState;
class TaskLane;

/// Where requests and notifications run.
enum class Threading
{
    Inline,   ///< on the thread that calls, at once; that thread counts as the host thread
    Threaded, ///< on one host thread, in the order in which they were posted or raised
};

/// The host thread and the window thread, a part of the host.
class VORDAL_API HostThreads
{
public:
    HostThreads(HostThreads const&) = delete;
    HostThreads& operator=(HostThreads const&) = delete;

    using Task = std::function<void()>;

    // The host thread. Any thread.
    /// Inline: runs the task at once. Threaded: queues it and returns. False when the host is stopping; the task is
    /// then dropped. An exception that leaves a queued task is logged.
    bool Post(HostTask task);
    /// The same in a lane, for what comes from outside; `weight` is about the bytes of memory that the task takes, 1 at
    /// least. While little waits in the lanes the order is that of posting, lanes or not; while much does, other tasks
    /// go first, and the lanes take turns.
    bool PostTo(TaskLane& lane, std::size_t weight, HostTask task);
    /// Drops what waits in the lane, which may go then. Any thread.
    void EmptyLane(TaskLane& lane);
    /// Of all that waits in lanes. Any thread.
    std::size_t LaneWeight() const;
    /// Runs the task on the host thread and waits for it; at once when this is that thread. An exception that leaves
    /// the task passes to the caller. False when the host is stopping and the task did not run.
    bool RunAndWait(Task const& task);
    bool IsHostThread() const;
    /// Takes no further tasks, runs those that are queued, ends the host thread. False when that took longer than
    /// `limit`: the queue is then dropped after the task that is running. Twice is fine. Not from the host thread.
    bool Stop(std::chrono::milliseconds limit = std::chrono::seconds(10));

    // The window thread. Subscriptions that are made on it are told on it: in a threaded host always by way of a queue
    // that holds at most one notification of each, the latest; in an inline host at once, unless another thread raised
    // the notification.
    /// Makes the calling thread the window thread; what it asks for comes from the view (CurrentOrigin). `wake` is
    /// called, on any thread and with no lock held, when something waits for DeliverToWindow; it must not fail, and may
    /// still be called a moment after EndWindowThread. Empty: the window thread looks by itself.
    void SetWindowThread(std::function<void()> wake);
    /// There is no window thread any more; what waits for it is dropped. Window thread.
    void EndWindowThread();
    /// Delivers what waits. Window thread; not from within itself.
    void DeliverToWindow();

protected:
    explicit HostThreads(HostState& state) : m_state(state) {}
    ~HostThreads() = default;

private:
    HostState& m_state;
};

} // namespace vordal
