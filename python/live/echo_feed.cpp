// Blocks of echoes on their way to who follows them.
#include "python/live/echo_feed.h"

#include <VordalDataBlocksR/BaseDataSource.h>

#include <utility>

namespace qx5::live {

EchoFeed::EchoFeed(CDataId const& sonar, SonarEchoGroup group)
{
    CDataId stream = sonar;
    stream.SetGroupId(group);
    m_subscription.emplace();
    m_subscription->SetSubscriber(new MemFunNoInfoSubscriber<EchoFeed>(this, &EchoFeed::OnBlock), true);
    m_subscription->Subscribe(stream);
}

void EchoFeed::OnBlock()
{
    CDataBlock block;
    auto* const buffer = m_subscription->GetDataBuffer();
    if (buffer == nullptr || !buffer->ReadBlock(block, DATA_ACCESS_LATEST)) {
        return;
    }
    Put(std::move(block));
}

void EchoFeed::Put(CDataBlock block)
{
    {
        std::lock_guard const lock(m_mutex);
        if (m_hasEnded) {
            return;
        }
        m_waiting.push_back(std::move(block));
        if (m_waiting.size() > GreatestWaiting) {
            m_waiting.pop_front();
            ++m_lost;
        }
    }
    m_changed.notify_all();
}

bool EchoFeed::Wait(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_hasEnded || !m_waiting.empty(); });
}

std::optional<CDataBlock> EchoFeed::Take()
{
    std::lock_guard const lock(m_mutex);
    if (m_waiting.empty()) {
        return std::nullopt;
    }
    CDataBlock block = std::move(m_waiting.front());
    m_waiting.pop_front();
    return block;
}

bool EchoFeed::HasEnded() const
{
    std::lock_guard const lock(m_mutex);
    return m_hasEnded;
}

std::uint64_t EchoFeed::Lost() const
{
    std::lock_guard const lock(m_mutex);
    return m_lost;
}

void EchoFeed::End()
{
    m_subscription.reset();
    {
        std::lock_guard const lock(m_mutex);
        m_hasEnded = true;
    }
    m_changed.notify_all();
}

} // namespace qx5::live
