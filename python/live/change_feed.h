// The changes of a sonar's attributes, for one who follows them.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <protocol/record_layout.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace qx5::live {

/// The nodes of a key in a device's tree, below an empty root; of a setting those that its command keeps there, which
/// may be in a branch. Empty when there are none.
CAttributeMap NodesOf(CAttributeMap const& tree, std::wstring_view key);

/// Compares a tree with what it was and keeps what is otherwise, until it is taken. Of more than GreatestWaiting
/// changes the oldest give way and are counted. Any thread, but Look, which is for one thread at a time.
class ChangeFeed
{
public:
    static constexpr std::size_t GreatestWaiting = 10'000;

    struct Change
    {
        std::wstring key;
        CAttributeMap before; ///< as NodesOf
        CAttributeMap now;
        double time = 0.0; ///< host time in seconds
    };

    /// Of no keys all that stand at the top of the tree. `ready` is called when something waits where nothing did and
    /// when the feed ends, on any thread with no lock held; it must not wait.
    ChangeFeed(std::vector<std::wstring> keys, CAttributeMap const& now, std::function<void()> ready);
    ChangeFeed(ChangeFeed const&) = delete;
    ChangeFeed& operator=(ChangeFeed const&) = delete;

    void Look(CAttributeMap const& tree, double time);
    /// Nothing is looked at any more; what waits can still be taken.
    void End();

    /// The oldest that wait, `greatest` of them at most.
    std::vector<Change> Take(std::size_t greatest);
    /// Until something waits or the feed has ended; false when neither was within the limit.
    bool Wait(std::chrono::milliseconds limit);
    bool HasEnded() const;
    std::uint64_t Lost() const;

private:
    std::vector<Change> ChangesTo(CAttributeMap const& tree, double time);

    std::vector<std::wstring> const m_keys;
    std::function<void()> const m_ready;
    CAttributeMap m_seen; ///< of who looks alone

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::deque<Change> m_waiting;
    std::uint64_t m_lost = 0;
    bool m_hasEnded = false;
};

} // namespace qx5::live
