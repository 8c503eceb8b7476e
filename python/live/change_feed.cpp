// What of a tree has changed.
#include "python/live/change_feed.h"

#include "operation/tree_walk.h"
#include "reference_host/attributes/tree_merge.h"

#include <commands/settings.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace qx5::live {

CAttributeMap NodesOf(CAttributeMap const& tree, std::wstring_view key)
{
    Setting const* const setting = FindSetting(key);
    if (setting == nullptr || setting->command->keptIn == nullptr) {
        return operation::ChildrenOf(tree, AttributeKey(key));
    }
    CAttributeMap nodes;
    if (auto const* const node = StoredNode(tree, *setting)) {
        nodes.Append(*node);
    }
    return nodes;
}

ChangeFeed::ChangeFeed(std::vector<std::wstring> keys, CAttributeMap const& now, std::function<void()> ready)
    : m_keys(std::move(keys)), m_ready(std::move(ready)), m_seen(now)
{
}

std::vector<ChangeFeed::Change> ChangeFeed::ChangesTo(CAttributeMap const& tree, double time)
{
    std::vector<Change> changes;
    auto const compare = [&](std::wstring_view key, CAttributeMap before, CAttributeMap now) {
        if (!vordal::TreesEqual(before, now)) {
            changes.push_back({std::wstring(key), std::move(before), std::move(now), time});
        }
    };
    for (std::wstring const& key : m_keys) {
        compare(key, NodesOf(m_seen, key), NodesOf(tree, key));
    }
    if (m_keys.empty()) {
        std::set<std::wstring_view> keys;
        for (auto const* const each : std::initializer_list<CAttributeMap const*>{&m_seen, &tree}) {
            for (CAttributeMap const& child : *each) {
                if (keys.insert(child.KeyText()).second) {
                    AttributeKey const key(child.KeyText());
                    compare(child.KeyText(), operation::ChildrenOf(m_seen, key), operation::ChildrenOf(tree, key));
                }
            }
        }
    }
    return changes;
}

void ChangeFeed::Look(CAttributeMap const& tree, double time)
{
    auto changes = ChangesTo(tree, time);
    m_seen = tree;
    if (changes.empty()) {
        return;
    }
    bool wasEmpty = false;
    {
        std::lock_guard const lock(m_mutex);
        if (m_hasEnded) {
            return;
        }
        wasEmpty = m_waiting.empty();
        std::move(changes.begin(), changes.end(), std::back_inserter(m_waiting));
        while (m_waiting.size() > GreatestWaiting) {
            m_waiting.pop_front();
            ++m_lost;
        }
    }
    m_changed.notify_all();
    if (wasEmpty && m_ready) {
        m_ready();
    }
}

void ChangeFeed::End()
{
    {
        std::lock_guard const lock(m_mutex);
        if (std::exchange(m_hasEnded, true)) {
            return;
        }
    }
    m_changed.notify_all();
    if (m_ready) {
        m_ready();
    }
}

std::vector<ChangeFeed::Change> ChangeFeed::Take(std::size_t greatest)
{
    std::lock_guard const lock(m_mutex);
    auto const end = m_waiting.begin() + static_cast<std::ptrdiff_t>(std::min(greatest, m_waiting.size()));
    std::vector<Change> changes(std::make_move_iterator(m_waiting.begin()), std::make_move_iterator(end));
    m_waiting.erase(m_waiting.begin(), end);
    return changes;
}

bool ChangeFeed::Wait(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_hasEnded || !m_waiting.empty(); });
}

bool ChangeFeed::HasEnded() const
{
    std::lock_guard const lock(m_mutex);
    return m_hasEnded;
}

std::uint64_t ChangeFeed::Lost() const
{
    std::lock_guard const lock(m_mutex);
    return m_lost;
}

} // namespace qx5::live
