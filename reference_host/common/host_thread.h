// The thread on which a live host delivers requests and notifications, one after the other.
#pragma once

#include "reference_host/common/host_task.h"
#include "reference_host/platform/wake_signal.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace vordal {

/// Runs tasks in the order in which they were posted. Any thread may post. While several tasks wait, the frames that
/// they send may be gathered (see SendGathering).
class HostThread
{
public:
    using Task = HostTask;

    HostThread();
    HostThread(HostThread const&) = delete;
    HostThread& operator=(HostThread const&) = delete;
    ~HostThread();

    /// False once Stop has been called; the task is dropped. An exception that leaves the task is logged.
    bool Post(Task&& task);
    bool IsThisThread() const { return std::this_thread::get_id() == m_id; }
    /// Takes no further tasks, runs those that are there and ends. False when the time was up: what is still queued is
    /// dropped, and a task that is running is left to itself; the thread ends after it.
    bool Stop(std::chrono::milliseconds limit);
    /// Stops within ten seconds, after which what the tasks work on may go. When a task does not end by then, the
    /// process is ended.
    void Finish();

private:
    void Run();
    void RunAll(std::vector<Task>& tasks);
    static void Execute(Task& task);

    std::mutex m_mutex;
    std::vector<Task> m_tasks;
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
