// Lets go of large trees on a thread of its own.
#include "tree_disposal.h"

#include <utility>

namespace vordal {

TreeDisposal::~TreeDisposal()
{
    {
        std::lock_guard const lock(m_mutex);
        m_ending = true;
    }
    m_news.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void TreeDisposal::Take(CAttributeMap tree)
{
    {
        std::lock_guard const lock(m_mutex);
        m_waiting.push_back(std::move(tree));
        if (!m_thread.joinable()) {
            m_thread = std::thread([this] { Run(); });
        }
    }
    m_news.notify_one();
}

void TreeDisposal::Run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_news.wait(lock, [this] { return m_ending || !m_waiting.empty(); });
        if (m_waiting.empty()) {
            return;
        }
        auto going = std::exchange(m_waiting, {});
        lock.unlock();
        going.clear();
        lock.lock();
    }
}

} // namespace vordal
