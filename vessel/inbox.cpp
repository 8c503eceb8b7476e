// What other threads put down for a vessel's own thread.
#include "vessel/inbox.h"

namespace qx5::vessel {

namespace {

/// What has arrived and the vessel's thread has not taken; the connection keeps what is beyond it, up to its own bound.
constexpr std::size_t greatestArrived = std::size_t{4} << 20;

} // namespace

void Inbox::Put(Task task, std::size_t size)
{
    {
        std::unique_lock lock(m_mutex);
        if (size != 0) {
            m_hasRoom.wait(lock, [this] { return m_isEnding || m_bytes < greatestArrived; });
        }
        m_tasks.push_back(std::move(task));
        m_bytes += size;
    }
    m_arrived.notify_one();
}

void Inbox::Mark()
{
    {
        std::lock_guard const lock(m_mutex);
        m_hasMarks = true;
    }
    m_arrived.notify_one();
}

void Inbox::End()
{
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
    }
    m_arrived.notify_all();
    m_hasRoom.notify_all();
}

Inbox::Taken Inbox::Take(Time until)
{
    Taken taken;
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_until(lock, until, [this] { return !m_tasks.empty() || m_hasMarks || m_isEnding; });
        taken.isOver = m_isEnding && m_tasks.empty() && !m_hasMarks;
        taken.tasks.swap(m_tasks);
        m_bytes = 0;
        taken.hasMarks = std::exchange(m_hasMarks, false);
    }
    m_hasRoom.notify_all();
    return taken;
}

} // namespace qx5::vessel
