// Signs and lines on their way to the thread that tells Python.
#include "python/live/mailbox.h"

#include <utility>

namespace qx5::live {

void Mailbox::Put(std::uint64_t sign)
{
    {
        std::lock_guard const lock(m_mutex);
        if (m_isClosed) {
            return;
        }
        m_post.signs.push_back(sign);
    }
    m_changed.notify_one();
}

void Mailbox::PutLine(vordal::LogLevel level, std::string_view text)
{
    {
        std::lock_guard const lock(m_mutex);
        if (m_isClosed) {
            return;
        }
        if (m_post.lines.size() >= GreatestLines) {
            ++m_post.lostLines;
            return;
        }
        m_post.lines.push_back({level, std::string(text)});
    }
    m_changed.notify_one();
}

Mailbox::Post Mailbox::Take(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, limit, [this] { return HasSomething(); });
    Post post = std::exchange(m_post, {});
    post.isClosed = m_isClosed;
    return post;
}

void Mailbox::Close()
{
    {
        std::lock_guard const lock(m_mutex);
        m_isClosed = true;
    }
    m_changed.notify_all();
}

} // namespace qx5::live
