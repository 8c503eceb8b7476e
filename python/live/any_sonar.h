// A sonar as programs work with it, wherever it is: on a connection of this process, or at the other end of a fleet's
// broker.
#pragma once

#include "operation/sonar_watch.h"
#include "python/live/change_feed.h"
#include "python/live/echo_feed.h"
#include "python/live/live_request.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace qx5::live {

/// That something is told of a sonar, for whoever waits for it, and what follows its changes. Any thread.
class SonarNews
{
public:
    /// What the sonar has as it stands.
    using TreeNow = std::function<CAttributeMap()>;

    SonarNews() = default;
    SonarNews(SonarNews const&) = delete;
    SonarNews& operator=(SonarNews const&) = delete;

    bool IsClosed() const;
    /// Counts all that is told of it: changes of attributes, of the connection, the end.
    std::uint64_t Count() const;
    /// Until the count is another than `seen`; it is the same when nothing came within the limit.
    std::uint64_t Wait(std::uint64_t seen, std::chrono::milliseconds limit) const;

    void Add(std::shared_ptr<ChangeFeed> const& feed);
    void Remove(ChangeFeed const* feed);

    // For who tells of it.
    /// Something else than its attributes.
    void TakeNews();
    /// Its feeds look at it, one thread at a time, `tree` being called there; `time` in seconds since 1970.
    void TakeChange(TreeNow const& tree, double time);
    /// Nothing more is told. What follows it ends.
    void End();

protected:
    ~SonarNews() = default;

private:
    mutable std::mutex m_mutex; ///< guards what follows
    mutable std::condition_variable m_changed;
    std::uint64_t m_count = 0;
    bool m_isClosed = false;
    bool m_isLooking = false; ///< a thread has the feeds look
    bool m_hasNew = false;    ///< and shall once more
    std::vector<std::shared_ptr<ChangeFeed>> m_feeds;
};

/// How a connection stands.
struct SonarConnection
{
    std::string state;  ///< "closed", "connecting", "connected", "lost" or "waiting"
    std::string reason; ///< in one line; empty when there is nothing to say

    bool Stands() const { return state == "connected"; }
};

/// Any thread.
class AnySonar
{
public:
    AnySonar() = default;
    AnySonar(AnySonar const&) = delete;
    AnySonar& operator=(AnySonar const&) = delete;
    virtual ~AnySonar() = default;

    /// Ends it: what waits for it is told so. Again is fine.
    virtual void Close() = 0;
    virtual SonarNews& News() = 0;
    virtual SonarConnection Connection() const = 0;
    virtual operation::SonarCondition Condition() const = 0;
    /// The tree as it stands; the last one of a sonar that is closed.
    virtual CAttributeMap Attributes() const = 0;
    /// What the sonar is to do; followed from here on.
    virtual std::shared_ptr<LiveRequest> Request(CAttributeMap const& request) = 0;
    /// Of no keys all at the top of the tree. See ChangeFeed.
    virtual std::shared_ptr<ChangeFeed> Follow(std::vector<std::wstring> keys, std::function<void()> ready) = 0;
    /// Null when the sonar is closed.
    virtual std::shared_ptr<EchoFeed> FollowEchoes(SonarEchoGroup group) = 0;
    /// It is followed no more.
    virtual void Leave(std::shared_ptr<EchoFeed> const& feed) = 0;
};

} // namespace qx5::live
