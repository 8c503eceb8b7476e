// The thread on which a live host delivers requests and notifications, one after the other.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace vordal {

/// Runs tasks in the order in which they were posted. Any thread may post.
class HostThread
{
public:
    using Task = std::function<void()>;

    HostThread();
    HostThread(HostThread const&) = delete;
    HostThread& operator=(HostThread const&) = delete;
    ~HostThread();

    /// False once Stop has been called; the task is dropped. An exception that leaves the task is logged.
    bool Post(Task task);
    bool IsThisThread() const { return std::this_thread::get_id() == m_id; }
    /// Takes no further tasks, runs those that are there and ends. False when the time was up: what is still queued is
    /// dropped, and a task that is running is left to itself; the thread ends after it.
    bool Stop(std::chrono::milliseconds limit);
    /// Stops within ten seconds, after which what the tasks work on may go. When a task does not end by then, the
    /// process is ended.
    void Finish();

private:
    void Run();
    static void Execute(Task const& task);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Task> m_tasks;
    std::atomic<bool> m_dropRest{false};
    bool m_sleeping = false;
    bool m_stopping = false;
    bool m_ended = false;
    std::thread m_thread;
    std::thread::id m_id; ///< kept when the thread has been joined
};

} // namespace vordal
