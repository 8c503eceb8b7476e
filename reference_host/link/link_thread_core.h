// Inside of the link thread: its context, and the links that it is called to when no memory is left to post to it.
#pragma once

#include "link_thread.h"

#include "reference_host/common/in_line.h"
#include "reference_host/common/task_lanes.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace vordal {

/// The way back to the link thread for those who may outlive it.
class LinkThreadGate
{
public:
    explicit LinkThreadGate(asio::io_context& context) : m_context(&context) {}
    void Shut()
    {
        std::lock_guard const lock(m_mutex);
        m_context = nullptr;
    }
    template <typename Task>
    void Post(Task task)
    {
        std::lock_guard const lock(m_mutex);
        if (m_context != nullptr) {
            asio::post(*m_context, std::move(task));
        }
    }

private:
    std::mutex m_mutex;
    asio::io_context* m_context;
};

/// What the link thread looks after when nothing could be posted to it, because there was no memory: telling it takes
/// none.
class AttendedLink
{
public:
    AttendedLink() = default;
    AttendedLink(AttendedLink const&) = delete;
    AttendedLink& operator=(AttendedLink const&) = delete;

    /// Keeps it alive; null when it is going already.
    virtual std::shared_ptr<AttendedLink> Hold() noexcept = 0;
    /// Does what it has noted. False: again in a moment. Link thread.
    virtual bool Attend() noexcept = 0;

protected:
    ~AttendedLink() = default;

private:
    friend LinkThread::Core;
    friend class InLine<AttendedLink>;
    AttendedLink* m_before = nullptr;
    AttendedLink* m_behind = nullptr;
    InLine<AttendedLink>* m_line = nullptr; ///< that it stands in
};

struct LinkThread::Core
{
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> work{context.get_executor()};
    std::shared_ptr<LinkThreadGate> gate = std::make_shared<LinkThreadGate>(context);
    std::thread thread;
    std::atomic<bool> ending{false};
    std::mutex linksMutex; ///< guards what follows
    InLine<AttendedLink> called;
    InLine<AttendedLink> toBeCalled; ///< in a moment

    /// What one read of a link has brought. Valid until the next link reads. Link thread.
    std::array<unsigned char, std::size_t{64} << 10> arrived;

    /// Nobody calls to the link any more. Any thread.
    void Leave(AttendedLink& link);
    /// Has the link thread attend to the link. Any thread; takes no memory.
    void Call(AttendedLink& link) noexcept;

    /// The link thread.
    void Run();

    // What has been read is worked off in turn, a frame at a time, and between two of them the thread looks what else
    // can be read: a quiet link never waits for more than one frame of those that flood. Link thread.
    /// Puts work of the link to which the lane belongs behind what waits in the lane. Throws std::bad_alloc.
    void PutWork(TaskLane& lane, std::size_t bytes, HostTask task);
    void DropWork(TaskLane& lane) noexcept { m_lanes.Empty(lane); }

private:
    bool AttendAll();
    std::shared_ptr<AttendedLink> NextCalled();

    TaskLanes m_lanes;
    bool m_isWaiting = false; ///< for anything to happen, with no work left
};

} // namespace vordal
