// The one thread that serves all links of a process.
#include "link_thread_core.h"

#include <chrono>

namespace vordal {
namespace {

constexpr std::chrono::milliseconds AttendAgainAfter{20};

} // namespace

void LinksInLine::Put(AttendedLink& link)
{
    if (link.m_line == this) {
        return;
    }
    TakeOut(link);
    link.m_line = this;
    link.m_before = m_last;
    (m_last != nullptr ? m_last->m_behind : m_first) = &link;
    m_last = &link;
}

AttendedLink* LinksInLine::Take()
{
    auto* const first = m_first;
    if (first != nullptr) {
        TakeOut(*first);
    }
    return first;
}

void LinksInLine::TakeOut(AttendedLink& link)
{
    if (auto* const line = std::exchange(link.m_line, nullptr)) {
        (link.m_before != nullptr ? link.m_before->m_behind : line->m_first) = link.m_behind;
        (link.m_behind != nullptr ? link.m_behind->m_before : line->m_last) = link.m_before;
        link.m_before = nullptr;
        link.m_behind = nullptr;
    }
}

void LinkThread::Core::Leave(AttendedLink& link)
{
    std::lock_guard const lock(linksMutex);
    LinksInLine::TakeOut(link);
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
    bool again = false;
    while (!ending.load()) {
        try {
            if (again) {
                context.run_for(AttendAgainAfter);
            } else {
                context.run();
            }
        } catch (...) {
            // The links let nothing go, and nobody else posts anything that could fail.
        }
        context.restart();
        again = AttendAll();
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
