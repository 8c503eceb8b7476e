// Frames on their way from the links to the record monitor: taken on any thread, handed over in one piece, bounded.
#include "record_queue.h"

#include <algorithm>
#include <utility>

#include <protocol/echo_records.h>
#include <protocol/frame.h>

namespace vordal {
namespace {

class Observer final : public LinkObserver
{
public:
    Observer(std::shared_ptr<RecordQueue> queue, std::string link) : m_queue(std::move(queue)), m_link(std::move(link))
    {
    }

    void OnTrace(LinkTrace const& trace) override
    {
        auto const greatest = IsOfEchoes(trace) ? RecordQueue::GreatestEchoes : RecordQueue::GreatestFrame;
        std::size_t const kept = trace.frame.size() > greatest ? RecordQueue::KeptOfLongFrame : trace.frame.size();
        auto const part = trace.frame.first(kept);
        m_queue->Put({m_link, trace.outgoing, trace.time, {part.begin(), part.end()}, trace.frame.size()});
    }

private:
    static bool IsOfEchoes(LinkTrace const& trace)
    {
        return !trace.outgoing && qx5::protocol::IsOfEchoes(qx5::protocol::RecordIdOf(trace.frame));
    }

    std::shared_ptr<RecordQueue> const m_queue;
    std::string const m_link;
};

} // namespace

void RecordQueue::Put(CapturedFrame frame)
{
    std::vector<CapturedFrame> dropped; // destroyed when the lock has gone
    std::lock_guard const lock(m_mutex);
    m_bytes += frame.bytes.size();
    m_frames.push_back(std::move(frame));
    while (m_frames.size() > GreatestCount || (m_bytes > GreatestBytes && m_frames.size() > 1)) {
        m_bytes -= m_frames.front().bytes.size();
        dropped.push_back(std::move(m_frames.front()));
        m_frames.pop_front();
        ++m_lost;
    }
}

RecordQueue::Content RecordQueue::Take()
{
    Content content;
    std::lock_guard const lock(m_mutex);
    content.frames.swap(m_frames);
    content.lost = std::exchange(m_lost, 0);
    m_bytes = 0;
    return content;
}

std::size_t RecordQueue::Count() const
{
    std::lock_guard const lock(m_mutex);
    return m_frames.size();
}

std::shared_ptr<LinkObserver> RecordQueue::ObserverOf(std::shared_ptr<RecordQueue> queue, std::string link)
{
    return std::make_shared<Observer>(std::move(queue), std::move(link));
}

} // namespace vordal
