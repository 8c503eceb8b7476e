// Inside of the link thread: its context, and the links that it is called to when no memory is left to post to it.
#pragma once

#include "link_thread.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include <atomic>
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

class LinksInLine;

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
    friend class LinksInLine;
    AttendedLink* m_before = nullptr;
    AttendedLink* m_behind = nullptr;
    LinksInLine* m_line = nullptr; ///< that it stands in
};

/// Links one behind another. One thread at a time; takes no memory.
class LinksInLine
{
public:
    bool IsEmpty() const { return m_first == nullptr; }
    /// To the end, from wherever it stands; where it is here already it stays.
    void Put(AttendedLink& link);
    /// The first leaves; null when there is none.
    AttendedLink* Take();
    static void TakeOut(AttendedLink& link);

private:
    AttendedLink* m_first = nullptr;
    AttendedLink* m_last = nullptr;
};

struct LinkThread::Core
{
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> work{context.get_executor()};
    std::shared_ptr<LinkThreadGate> gate = std::make_shared<LinkThreadGate>(context);
    std::thread thread;
    std::atomic<bool> ending{false};
    std::mutex linksMutex; ///< guards what follows
    LinksInLine called;
    LinksInLine toBeCalled; ///< in a moment

    /// Nobody calls to the link any more. Any thread.
    void Leave(AttendedLink& link);
    /// Has the link thread attend to the link. Any thread; takes no memory.
    void Call(AttendedLink& link) noexcept;

    /// The link thread.
    void Run();

private:
    bool AttendAll();
    std::shared_ptr<AttendedLink> NextCalled();
};

} // namespace vordal
