// What waits for the window thread: notifications of its subscriptions, and a few tasks.
#include "reference_host/bus/window_inbox.h"

#include "reference_host/bus/notification_bus.h"
#include "reference_host/common/failure.h"

#include <VordalSubscriberR/NotificationInfo.h>

#include <algorithm>

namespace vordal {
namespace {

template <typename Call>
void Contain(Call&& call)
{
    LogFailureOf("a notification failed on the window thread: ", call);
}

} // namespace

WindowInbox::~WindowInbox() = default;

void WindowInbox::Attach(std::function<void()> wake)
{
    auto next = wake ? std::make_shared<std::function<void()> const>(std::move(wake)) : nullptr;
    std::lock_guard const lock(m_mutex);
    m_attached = true;
    m_woken = false;
    m_wake = std::move(next);
    m_thread.store(std::this_thread::get_id(), std::memory_order_release);
}

void WindowInbox::Detach()
{
    // Destroyed when the lock has gone.
    std::vector<Waiting> waiting;
    std::vector<std::pair<WindowTaskKey, HostTask>> tasks;
    std::shared_ptr<std::function<void()> const> wake;
    std::lock_guard const lock(m_mutex);
    for (auto const& each : m_waiting) {
        if (each.joint != nullptr) {
            each.joint->m_placeInWindow = Joint::NotWaiting;
        }
    }
    waiting.swap(m_waiting);
    tasks.swap(m_tasks);
    wake.swap(m_wake);
    m_attached = false;
    m_thread.store(std::thread::id(), std::memory_order_release);
}

std::shared_ptr<std::function<void()> const> WindowInbox::Wake()
{
    return std::exchange(m_woken, true) ? nullptr : m_wake;
}

void WindowInbox::Put(std::shared_ptr<Joint> joint, NotificationInfo const* info)
{
    // Copied before and destroyed after the lock.
    auto copy = info != nullptr ? info->Clone() : nullptr;
    std::shared_ptr<std::function<void()> const> wake;
    {
        std::lock_guard const lock(m_mutex);
        if (!m_attached) {
            return;
        }
        auto& place = joint->m_placeInWindow;
        if (place != Joint::NotWaiting) {
            m_waiting[place].info.swap(copy);
            return;
        }
        place = m_waiting.size();
        m_waiting.push_back({std::move(joint), std::move(copy)});
        wake = Wake();
    }
    if (wake != nullptr) {
        (*wake)();
    }
}

void WindowInbox::Post(WindowTaskKey key, HostTask task)
{
    std::shared_ptr<std::function<void()> const> wake;
    HostTask former; // goes after the lock
    {
        std::lock_guard const lock(m_mutex);
        if (!m_attached) {
            return;
        }
        auto const like =
            std::find_if(m_tasks.begin(), m_tasks.end(), [&key](auto const& each) { return each.first == key; });
        if (like != m_tasks.end()) {
            former = std::move(like->second);
            m_tasks.erase(like);
        }
        m_tasks.emplace_back(std::move(key), std::move(task));
        wake = Wake();
    }
    if (wake != nullptr) {
        (*wake)();
    }
}

void WindowInbox::Forget(Joint& joint)
{
    Waiting dropped;
    std::lock_guard const lock(m_mutex);
    if (auto const place = std::exchange(joint.m_placeInWindow, Joint::NotWaiting); place != Joint::NotWaiting) {
        std::swap(dropped, m_waiting[place]);
    }
}

void WindowInbox::Deliver()
{
    std::vector<Waiting> waiting;
    std::vector<std::pair<WindowTaskKey, HostTask>> tasks;
    {
        std::lock_guard const lock(m_mutex);
        m_woken = false;
        waiting.swap(m_waiting);
        tasks.swap(m_tasks);
        for (auto const& each : waiting) {
            if (each.joint != nullptr) {
                each.joint->m_placeInWindow = Joint::NotWaiting;
            }
        }
    }
    for (auto& [key, task] : tasks) {
        Contain(task);
    }
    for (auto& [joint, info] : waiting) {
        if (joint != nullptr) {
            // A joint that has left in the meantime has no sink any more.
            Contain([&joint = joint, &info = info] { joint->Deliver(info.get()); });
        }
    }
}

} // namespace vordal
