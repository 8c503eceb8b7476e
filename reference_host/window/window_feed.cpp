// What other threads tell the operator's window: kept here until the window thread looks, bounded, nobody waits.
#include "window_feed.h"

#include <algorithm>

namespace vordal {

void WindowFeed::PutStatus(CDataId const& device, LinkStatus status)
{
    std::lock_guard const lock(m_mutex);
    auto& statuses = m_content.statuses;
    auto const found =
        std::find_if(statuses.begin(), statuses.end(), [&](auto const& entry) { return entry.first == device; });
    if (found != statuses.end()) {
        found->second = std::move(status);
    } else {
        statuses.emplace_back(device, std::move(status));
    }
}

void WindowFeed::PutLine(std::string line)
{
    std::lock_guard const lock(m_mutex);
    if (m_content.lines.size() == GreatestLines) {
        m_content.lines.erase(m_content.lines.begin());
    }
    m_content.lines.push_back(std::move(line));
}

void WindowFeed::PutLightMode(int mode)
{
    std::lock_guard const lock(m_mutex);
    m_content.lightMode = mode;
}

void WindowFeed::PutTree(CDataId const& device, CAttributeMap tree)
{
    // The former tree goes when the lock has gone: that may be work.
    std::optional<std::pair<CDataId, CAttributeMap>> latest(std::in_place, device, std::move(tree));
    std::lock_guard const lock(m_mutex);
    m_content.tree.swap(latest);
}

WindowFeed::Content WindowFeed::Take()
{
    Content content;
    std::lock_guard const lock(m_mutex);
    std::swap(content, m_content);
    return content;
}

} // namespace vordal
