// A thread for what reads and writes files on behalf of the window.
#include "disk_thread.h"

#include <utility>

namespace qx5::cli {

DiskThread::~DiskThread()
{
    {
        std::lock_guard const lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void DiskThread::Do(std::function<void()> task)
{
    {
        std::lock_guard const lock(m_mutex);
        m_waiting.push_back(std::move(task));
        if (!m_thread.joinable()) {
            m_thread = std::thread([this] { Run(); });
        }
    }
    m_changed.notify_one();
}

void DiskThread::Run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_ending || !m_waiting.empty(); });
        if (m_waiting.empty()) {
            return;
        }
        auto task = std::move(m_waiting.front());
        m_waiting.pop_front();
        lock.unlock();
        task();
        task = nullptr; // what it holds goes without the lock
        lock.lock();
    }
}

} // namespace qx5::cli
