// The bytes that wait until the system takes them from a link.
#include "send_queue.h"

namespace vordal {
namespace {

// A queue that grew beyond this gives its memory back once it is empty.
constexpr std::size_t KeptBytes = std::size_t{64} << 10;

} // namespace

void SendQueue::Append(std::span<unsigned char const> frame)
{
    // Moving the rest to the front only once half is spent keeps the cost of a byte constant.
    if (m_head > 0 && m_head >= m_bytes.size() - m_head) {
        m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_head));
        m_head = 0;
    }
    if (frame.size() > m_greatest) {
        // Room for those that follow, too, which must not make it move.
        m_bytes.reserve(m_bytes.size() + frame.size() + m_greatest);
    }
    m_bytes.insert(m_bytes.end(), frame.begin(), frame.end());
    if (frame.size() > m_greatest) {
        m_largeRest = Bytes();
    }
}

void SendQueue::Spend(std::size_t taken)
{
    m_head += taken;
    m_largeRest -= std::min(m_largeRest, taken);
}

void SendQueue::Clear()
{
    m_bytes.clear();
    m_head = 0;
    m_largeRest = 0;
    if (m_bytes.capacity() > KeptBytes) {
        decltype(m_bytes)().swap(m_bytes);
    }
}

} // namespace vordal
