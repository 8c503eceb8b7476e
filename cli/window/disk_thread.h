// A thread for what reads and writes files on behalf of the window.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace qx5::cli {

/// Runs tasks one after the other. What is handed over goes through a queue of our own, as WindowAnswers has it.
class DiskThread
{
public:
    DiskThread() = default;
    DiskThread(DiskThread const&) = delete;
    DiskThread& operator=(DiskThread const&) = delete;
    /// Runs what waits to its end.
    ~DiskThread();

    /// The task may not throw. Any thread; does not wait. The thread begins with the first one.
    void Do(std::function<void()> task);

private:
    void Run();

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_waiting;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace qx5::cli
