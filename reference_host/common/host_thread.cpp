// The thread on which a live host delivers requests and notifications, one after the other.
#include "reference_host/common/host_thread.h"

#include "reference_host/common/failure.h"
#include "reference_host/common/log.h"
#include "reference_host/common/send_gathering.h"

#include <cstdlib>
#include <utility>

namespace vordal {
namespace {

// A queue that grew beyond this gives its memory back once it has been worked through.
constexpr std::size_t KeptTasks = 4096;

} // namespace

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

bool HostThread::Post(Task&& task)
{
    bool wake = false;
    {
        std::lock_guard const lock(m_mutex);
        if (m_stopping) {
            return false;
        }
        m_tasks.push_back(std::move(task));
        wake = std::exchange(m_sleeping, false);
    }
    if (wake) {
        m_wake.Raise();
    }
    return true;
}

bool HostThread::Stop(std::chrono::milliseconds limit)
{
    {
        std::unique_lock lock(m_mutex);
        m_stopping = true;
        if (std::exchange(m_sleeping, false)) {
            m_wake.Raise();
        }
        if (!m_end.wait_for(lock, limit, [this] { return m_ended; })) {
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
    std::vector<Task> tasks;
    std::unique_lock lock(m_mutex);
    while (true) {
        if (m_tasks.empty() && !m_stopping) {
            m_sleeping = true;
            lock.unlock();
            m_wake.Wait();
            lock.lock();
            continue;
        }
        if (m_tasks.empty()) {
            break;
        }
        // All that is there is taken at once, so that those who post seldom meet this thread at the lock.
        tasks.swap(m_tasks);
        lock.unlock();
        RunAll(tasks);
        lock.lock();
    }
    m_ended = true;
    m_end.notify_all();
}

void HostThread::RunAll(std::vector<Task>& tasks)
{
    auto waiting = tasks.size();
    bool const gather = waiting > 1;
    for (Task& queued : tasks) {
        if (m_dropRest.load(std::memory_order_relaxed)) {
            break;
        }
        --waiting;
        if (gather) {
            SendGathering::AnnounceMore(waiting > 0);
        }
        Execute(queued);
        // What a task owns goes before the next one runs.
        queued = Task();
    }
    if (gather) {
        SendGathering::AnnounceMore(false);
        SendGathering::SendHeld();
    }
    tasks.clear();
    if (tasks.capacity() > KeptTasks) {
        std::vector<Task>().swap(tasks);
    }
}

void HostThread::Execute(Task& task)
{
    LogFailureOf("a task on the host thread failed: ", task);
}

} // namespace vordal
