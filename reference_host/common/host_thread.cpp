// The thread on which a live host delivers requests and notifications, one after the other.
#include "reference_host/common/host_thread.h"

#include "reference_host/common/failure.h"
#include "reference_host/common/log.h"
#include "reference_host/common/send_gathering.h"
#include "reference_host/platform/short_turns.h"

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
    std::unique_lock lock(m_mutex);
    if (m_stopping) {
        return false;
    }
    m_tasks.push_back({std::move(task), m_lanes.Count()});
    WakeLocked(lock);
    return true;
}

bool HostThread::PostTo(TaskLane& lane, std::size_t weight, Task&& task)
{
    std::unique_lock lock(m_mutex);
    if (m_stopping) {
        return false;
    }
    m_lanes.Put(lane, weight, std::move(task));
    NoteLaneWeightLocked();
    WakeLocked(lock);
    return true;
}

/// Gives the lock back.
void HostThread::WakeLocked(std::unique_lock<std::mutex>& lock)
{
    bool const wake = std::exchange(m_sleeping, false);
    lock.unlock();
    if (wake) {
        m_wake.Raise();
    }
}

void HostThread::EmptyLane(TaskLane& lane)
{
    std::list<TaskLane::Waiting> dropped; // what the tasks own goes without the lock
    std::lock_guard const lock(m_mutex);
    dropped = m_lanes.Empty(lane);
    NoteLaneWeightLocked();
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
    platform::TakeShortTurns();
    std::vector<Queued> tasks;
    std::unique_lock lock(m_mutex);
    while (true) {
        bool const isDropping = m_dropRest.load(std::memory_order_relaxed);
        if (m_tasks.empty() && (m_lanes.IsEmpty() || isDropping)) {
            if (m_stopping) {
                break;
            }
            m_sleeping = true;
            lock.unlock();
            m_wake.Wait();
            lock.lock();
            continue;
        }
        if (!m_tasks.empty()) {
            // All that is there is taken at once, so that those who post seldom meet this thread at the lock.
            tasks.swap(m_tasks);
            lock.unlock();
            RunAll(tasks);
            lock.lock();
        }
        // One at a time: whoever posts a task meanwhile waits for no more. Where little waits in the lanes, what was
        // posted meanwhile may have been so before that, and comes first with all that is older.
        bool const isMuch = m_lanes.Weight() > GreatestInOrder;
        if (!m_lanes.IsEmpty() && (isMuch || m_tasks.empty()) && !isDropping) {
            auto next = isMuch ? m_lanes.Take() : m_lanes.TakeOldest();
            NoteLaneWeightLocked();
            lock.unlock();
            Execute(next);
            next = Task();
            lock.lock();
        }
    }
    m_ended = true;
    m_end.notify_all();
}

void HostThread::RunAll(std::vector<Queued>& tasks)
{
    auto waiting = tasks.size();
    bool const gather = waiting > 1;
    for (Queued& queued : tasks) {
        if (LaneWeight() != 0) {
            RunEarlier(queued.before);
        }
        if (m_dropRest.load(std::memory_order_relaxed)) {
            break;
        }
        --waiting;
        if (gather) {
            SendGathering::AnnounceMore(waiting > 0);
        }
        Execute(queued.task);
        // What a task owns goes before the next one runs.
        queued.task = Task();
    }
    if (gather) {
        SendGathering::AnnounceMore(false);
        SendGathering::SendHeld();
    }
    tasks.clear();
    if (tasks.capacity() > KeptTasks) {
        std::vector<Queued>().swap(tasks);
    }
}

/// Runs what had been put into lanes before, in order, unless that is much.
void HostThread::RunEarlier(std::uint64_t before)
{
    while (!m_dropRest.load(std::memory_order_relaxed)) {
        Task next;
        {
            std::lock_guard const lock(m_mutex);
            if (m_lanes.IsEmpty() || m_lanes.Weight() > GreatestInOrder || m_lanes.Oldest() >= before) {
                return;
            }
            next = m_lanes.TakeOldest();
            NoteLaneWeightLocked();
        }
        Execute(next);
    }
}

void HostThread::Execute(Task& task)
{
    LogFailureOf("a task on the host thread failed: ", task);
}

} // namespace vordal
