// What is told of a sonar, counted and handed on.
#include "python/live/any_sonar.h"

#include <algorithm>
#include <utility>

namespace qx5::live {

bool SonarNews::IsClosed() const
{
    std::lock_guard const lock(m_mutex);
    return m_isClosed;
}

std::uint64_t SonarNews::Count() const
{
    std::lock_guard const lock(m_mutex);
    return m_count;
}

std::uint64_t SonarNews::Wait(std::uint64_t seen, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, limit, [&] { return m_count != seen || m_isClosed; });
    return m_count;
}

void SonarNews::Add(std::shared_ptr<ChangeFeed> const& feed)
{
    std::lock_guard const lock(m_mutex);
    m_feeds.push_back(feed);
}

void SonarNews::Remove(ChangeFeed const* feed)
{
    std::lock_guard const lock(m_mutex);
    std::erase_if(m_feeds, [&](auto const& each) { return each.get() == feed; });
}

void SonarNews::TakeNews()
{
    {
        std::lock_guard const lock(m_mutex);
        ++m_count;
    }
    m_changed.notify_all();
}

void SonarNews::TakeChange(TreeNow const& tree, double time)
{
    TakeNews();
    std::unique_lock lock(m_mutex);
    m_hasNew = true;
    if (std::exchange(m_isLooking, true)) {
        return; // whoever looks does so again
    }
    while (std::exchange(m_hasNew, false)) {
        auto const feeds = m_feeds;
        lock.unlock();
        if (!feeds.empty()) {
            CAttributeMap const now = tree();
            for (auto const& feed : feeds) {
                feed->Look(now, time);
            }
        }
        lock.lock();
    }
    m_isLooking = false;
}

void SonarNews::End()
{
    std::vector<std::shared_ptr<ChangeFeed>> feeds;
    {
        std::lock_guard const lock(m_mutex);
        m_isClosed = true;
        ++m_count;
        feeds = std::exchange(m_feeds, {});
    }
    m_changed.notify_all();
    for (auto const& feed : feeds) {
        feed->End();
    }
}

} // namespace qx5::live
