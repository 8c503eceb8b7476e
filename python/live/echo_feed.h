// What a sonar hears, ping after ping, for one who follows it.
#pragma once

#include <VordalBaseR/CDataId.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

namespace qx5::live {

/// Keeps the blocks of a stream of echoes until they are taken; a host asks the sonar for them as long as it lives.
/// Of more than GreatestWaiting the oldest give way and are counted. Blocks share their bytes. Any thread, unless told
/// otherwise.
class EchoFeed
{
public:
    static constexpr std::size_t GreatestWaiting = 64;

    /// Of the host of this process. Host thread.
    EchoFeed(CDataId const& sonar, SonarEchoGroup group);
    /// Of what somebody puts into it.
    EchoFeed() = default;
    EchoFeed(EchoFeed const&) = delete;
    EchoFeed& operator=(EchoFeed const&) = delete;

    /// Until a block waits or the feed has ended; false when neither was within the limit.
    bool Wait(std::chrono::milliseconds limit);
    /// The oldest that waits.
    std::optional<CDataBlock> Take();
    bool HasEnded() const;
    std::uint64_t Lost() const;
    void Put(CDataBlock block);
    /// Nothing comes any more. Of a host's on the host thread.
    void End();

private:
    void OnBlock();

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::deque<CDataBlock> m_waiting;
    std::uint64_t m_lost = 0;
    bool m_hasEnded = false;

    std::optional<DataSubscription> m_subscription; ///< host thread
};

} // namespace qx5::live
