// The bytes that wait until the system takes them from a link.
#include "send_queue.h"

namespace vordal {
namespace {

// A queue that grew beyond this gives its memory back once it is empty.
constexpr std::size_t KeptBytes = std::size_t{64} << 10;

} // namespace

std::span<unsigned char const> SendQueue::Front() const
{
    return IsLongFirst() ? m_long.front().frame.bytes.subspan(m_long.front().head)
                         : std::span<unsigned char const>(m_bytes).subspan(m_head);
}

void SendQueue::Append(std::span<unsigned char const> frame)
{
    if (IsLong(frame.size())) {
        auto memory = std::make_shared_for_overwrite<unsigned char[]>(frame.size());
        std::copy(frame.begin(), frame.end(), memory.get());
        std::span<unsigned char const> const bytes(memory.get(), frame.size());
        Append(OwnedBytes{std::move(memory), bytes});
        return;
    }
    if (!m_long.empty()) {
        auto& behind = m_long.back().behind;
        behind.insert(behind.end(), frame.begin(), frame.end());
    } else {
        // Moving the rest to the front only once half is spent keeps the cost of a byte constant.
        if (m_head > 0 && m_head >= m_bytes.size() - m_head) {
            m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_head));
            m_head = 0;
        }
        m_bytes.insert(m_bytes.end(), frame.begin(), frame.end());
    }
    m_count += frame.size();
}

void SendQueue::Append(OwnedBytes frame)
{
    auto const size = frame.bytes.size();
    m_long.push_back({std::move(frame), 0, {}});
    m_longBytes += size;
    m_count += size;
}

OwnedBytes SendQueue::Spend(std::size_t taken)
{
    OwnedBytes left;
    m_count -= taken;
    for (;;) {
        auto const ofBytes = std::min(taken, m_bytes.size() - m_head);
        m_head += ofBytes;
        taken -= ofBytes;
        if (taken == 0) {
            return left;
        }
        auto& first = m_long.front();
        auto const ofLong = std::min(taken, first.frame.bytes.size() - first.head);
        first.head += ofLong;
        taken -= ofLong;
        if (first.head == first.frame.bytes.size()) {
            left = EndLong();
        }
    }
}

/// The first long frame has left.
OwnedBytes SendQueue::EndLong()
{
    auto frame = std::move(m_long.front().frame);
    m_longBytes -= frame.bytes.size();
    m_bytes = std::move(m_long.front().behind);
    m_head = 0;
    m_long.pop_front();
    return frame;
}

void SendQueue::Clear()
{
    m_bytes.clear();
    m_head = 0;
    m_long.clear();
    m_longBytes = 0;
    m_count = 0;
    if (m_bytes.capacity() > KeptBytes) {
        Memory().swap(m_bytes);
    }
}

} // namespace vordal
