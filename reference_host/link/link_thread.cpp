// The one thread that serves all links of a process.
#include "link_thread_core.h"

#include <chrono>

namespace vordal {
namespace {

constexpr std::chrono::milliseconds AttendAgainAfter{20};

} // namespace

void LinkThread::Core::Join(AttendedLink& link)
{
    std::lock_guard const lock(linksMutex);
    link.m_next = std::exchange(links, &link);
}

void LinkThread::Core::Leave(AttendedLink const& link)
{
    std::lock_guard const lock(linksMutex);
    auto** place = &links;
    while (*place != &link) {
        place = &(*place)->m_next;
    }
    *place = link.m_next;
}

void LinkThread::Core::Call(AttendedLink& link) noexcept
{
    {
        std::lock_guard const lock(linksMutex);
        link.m_called = true;
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
            link->m_again = true;
        }
    }
    bool again = false;
    std::lock_guard const lock(linksMutex);
    for (auto* link = links; link != nullptr; link = link->m_next) {
        link->m_called = link->m_called || link->m_again;
        link->m_again = false;
        again = again || link->m_called;
    }
    return again;
}

std::shared_ptr<AttendedLink> LinkThread::Core::NextCalled()
{
    std::lock_guard const lock(linksMutex);
    for (auto* link = links; link != nullptr; link = link->m_next) {
        if (std::exchange(link->m_called, false)) {
            if (auto held = link->Hold()) {
                return held;
            }
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
