// What other threads put down for a vessel's own thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace qx5::vessel {

/// Outlives the vessel in a call of another thread's that is still under way. Any thread, but Take.
class Inbox
{
public:
    using Task = std::function<void()>;
    using Time = std::chrono::steady_clock::time_point;

    /// Has it done on the vessel's thread, after what was put down before. With a size it is something that has
    /// arrived, and waits where too many bytes of such are not taken yet.
    void Put(Task task, std::size_t size = 0);
    /// Something waits in VesselMarks.
    void Mark();
    /// Nothing more is to be taken but what is here; nobody waits to put something down any more.
    void End();

    struct Taken
    {
        std::deque<Task> tasks;
        bool hasMarks = false;
        bool isOver = false; ///< it was ended, and nothing is left
    };
    /// Waits until there is something, at most until then. The vessel's thread.
    Taken Take(Time until);

private:
    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_arrived;
    std::condition_variable m_hasRoom;
    std::deque<Task> m_tasks;
    std::size_t m_bytes = 0;
    bool m_hasMarks = false;
    bool m_isEnding = false;
};

} // namespace qx5::vessel
