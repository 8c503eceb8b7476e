// The thread on which a live host delivers requests and notifications, one after the other.
#include "reference_host/host/host_thread.h"

#include "reference_host/host/log.h"

#include <cstdlib>
#include <exception>
#include <string>

namespace vordal {

HostThread::HostThread() : m_thread([this] { Run(); }), m_id(m_thread.get_id()) {}

HostThread::~HostThread()
{
    Finish();
}

void HostThread::Finish()
{
    if (!Stop(std::chrono::seconds(10))) {
        // A thread cannot be ended from outside, and going on would take away what it works on.
        Log(LogLevel::Error, "a task on the host thread does not end; the process leaves without it");
        std::_Exit(EXIT_FAILURE);
    }
}

bool HostThread::Post(Task task)
{
    {
        std::lock_guard const lock(m_mutex);
        if (m_stopping) {
            return false;
        }
        m_tasks.push_back(std::move(task));
        if (!m_sleeping) {
            return true;
        }
    }
    m_changed.notify_all();
    return true;
}

bool HostThread::Stop(std::chrono::milliseconds limit)
{
    {
        std::unique_lock lock(m_mutex);
        m_stopping = true;
        m_changed.notify_all();
        if (!m_changed.wait_for(lock, limit, [this] { return m_ended; })) {
            m_dropRest.store(true, std::memory_order_relaxed);
            auto const dropped = std::move(m_tasks);
            m_tasks.clear();
            lock.unlock();
            return false;
        }
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return true;
}

void HostThread::Run()
{
    std::deque<Task> tasks;
    std::unique_lock lock(m_mutex);
    while (true) {
        if (m_tasks.empty() && !m_stopping) {
            m_sleeping = true;
            m_changed.wait(lock, [this] { return m_stopping || !m_tasks.empty(); });
            m_sleeping = false;
        }
        if (m_tasks.empty()) {
            break;
        }
        // All that is there is taken at once, so that those who post seldom meet this thread at the lock.
        tasks.swap(m_tasks);
        lock.unlock();
        while (!tasks.empty() && !m_dropRest.load(std::memory_order_relaxed)) {
            Task const task = std::move(tasks.front());
            tasks.pop_front();
            Execute(task);
        }
        tasks.clear();
        lock.lock();
    }
    m_ended = true;
    m_changed.notify_all();
}

void HostThread::Execute(Task const& task)
{
    try {
        task();
    } catch (std::exception const& failure) {
        Log(LogLevel::Error, std::string("a task on the host thread failed: ") + failure.what());
    } catch (...) {
        Log(LogLevel::Error, "a task on the host thread failed");
    }
}

} // namespace vordal
