// The thread on which a live host delivers requests and notifications, one after the other.
#pragma once

#include "reference_host/common/host_task.h"
#include "reference_host/common/task_lanes.h"
#include "reference_host/platform/wake_signal.h"

#include <VordalBaseR/Export.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace vordal {

/// Runs tasks in the order in which they were posted. Any thread may post. While several tasks wait, the frames that
/// they send may be gathered (see SendGathering).
///
/// What comes from outside has a lane for each source, and keeps that order, too, as long as little waits in the lanes.
/// When more than GreatestInOrder does, because sources bring more than this thread takes, tasks without a lane go
/// before all of it, and the lanes take turns: neither a request nor a quiet source waits for those that flood. Each
/// lane, and what has none, keeps its own order always.
class VORDAL_API HostThread
{
public:
    using Task = HostTask;

    HostThread();
    HostThread(HostThread const&) = delete;
    HostThread& operator=(HostThread const&) = delete;
    ~HostThread();

    /// False once Stop has been called; the task is dropped. An exception that leaves the task is logged.
    bool Post(Task&& task);
    /// The same in a lane; `weight` is about the bytes of memory that the task takes, 1 at least.
    bool PostTo(TaskLane& lane, std::size_t weight, Task&& task);
    /// Drops what waits in the lane.
    void EmptyLane(TaskLane& lane);
    /// Of all that waits in lanes. Any thread.
    std::size_t LaneWeight() const { return m_laneWeight.load(std::memory_order_relaxed); }
    bool IsThisThread() const { return std::this_thread::get_id() == m_id; }
    /// Takes no further tasks, runs those that are there and ends. False when the time was up: what is still queued is
    /// dropped, and a task that is running is left to itself; the thread ends after it.
    bool Stop(std::chrono::milliseconds limit);
    /// Stops within ten seconds, after which what the tasks work on may go. When a task does not end by then, the
    /// process is ended.
    void Finish();

private:
    static constexpr std::size_t GreatestInOrder = std::size_t{1} << 20;

    struct Queued
    {
        Task task;
        std::uint64_t before = 0; ///< so many tasks had been put into lanes when it was posted
    };

    void Run();
    void RunAll(std::vector<Queued>& tasks);
    void RunEarlier(std::uint64_t before);
    void NoteLaneWeightLocked() { m_laneWeight.store(m_lanes.Weight(), std::memory_order_relaxed); }
    void WakeLocked(std::unique_lock<std::mutex>& lock);
    static void Execute(Task& task);

    std::mutex m_mutex;
    std::vector<Queued> m_tasks;
    TaskLanes m_lanes;
    /// Of what waits in them; not 0 while something does. Changed under the lock.
    std::atomic<std::size_t> m_laneWeight{0};
    std::atomic<bool> m_dropRest{false};
    platform::WakeSignal m_wake;
    bool m_sleeping = false; ///< nobody has woken the thread yet
    bool m_stopping = false;
    bool m_ended = false;
    std::condition_variable m_end;
    std::thread m_thread;
    std::thread::id m_id; ///< kept when the thread has been joined
};

} // namespace vordal
