// The one thread that serves all links of a process.
#include "link_thread_core.h"

#include "reference_host/platform/short_turns.h"

#include <chrono>

namespace vordal {
namespace {

constexpr std::chrono::milliseconds AttendAgainAfter{20};

} // namespace

void LinkThread::Core::Leave(AttendedLink& link)
{
    std::lock_guard const lock(linksMutex);
    InLine<AttendedLink>::TakeOut(link);
}

void LinkThread::Core::Call(AttendedLink& link) noexcept
{
    {
        std::lock_guard const lock(linksMutex);
        called.Put(link);
    }
    context.stop();
}

void LinkThread::Core::Run()
{
    platform::TakeShortTurns();
    bool again = false;
    while (!ending.load()) {
        try {
            if (!m_lanes.IsEmpty()) {
                m_lanes.Take()();
                if (!m_lanes.IsEmpty()) {
                    context.poll();
                }
            } else {
                m_isWaiting = true;
                if (again) {
                    context.run_for(AttendAgainAfter);
                } else {
                    context.run();
                }
            }
        } catch (...) {
            // The links let nothing go, and nobody else posts anything that could fail.
        }
        m_isWaiting = false;
        context.restart();
        again = AttendAll();
    }
}

void LinkThread::Core::PutWork(TaskLane& lane, std::size_t bytes, HostTask task)
{
    m_lanes.Put(lane, bytes, std::move(task));
    // The thread leaves what it waits in; from within a handler that takes no system call.
    if (m_isWaiting) {
        context.stop();
    }
}

bool LinkThread::Core::AttendAll()
{
    while (auto const link = NextCalled()) {
        if (!link->Attend()) {
            std::lock_guard const lock(linksMutex);
            if (link->m_line == nullptr) { // nobody has called to it meanwhile
                toBeCalled.Put(*link);
            }
        }
    }
    std::lock_guard const lock(linksMutex);
    while (auto* const link = toBeCalled.Take()) {
        called.Put(*link);
    }
    return !called.IsEmpty();
}

std::shared_ptr<AttendedLink> LinkThread::Core::NextCalled()
{
    std::lock_guard const lock(linksMutex);
    while (auto* const link = called.Take()) {
        if (auto held = link->Hold()) {
            return held;
        }
    }
    return nullptr;
}

LinkThread::LinkThread() : m_core(std::make_shared<Core>())
{
    m_core->thread = std::thread([core = m_core.get()] { core->Run(); });
}

LinkThread::~LinkThread()
{
    m_core->gate->Shut();
    m_core->ending.store(true);
    m_core->context.stop();
    m_core->thread.join();
}

void LinkThread::Post(std::function<void()> task)
{
    asio::post(m_core->context, std::move(task));
}

bool LinkThread::IsCurrent() const
{
    return std::this_thread::get_id() == m_core->thread.get_id();
}

} // namespace vordal
