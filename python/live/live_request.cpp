// What is known of a request, and who waits for it.
#include "python/live/live_request.h"

#include <utility>

namespace qx5::live {

RequestState LiveRequest::Now() const
{
    std::lock_guard const lock(m_mutex);
    return m_state;
}

bool LiveRequest::WaitUntilCarriedOut(std::chrono::milliseconds limit) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_state.isCarriedOut || m_state.stands; });
}

bool LiveRequest::WaitUntilItStands(std::chrono::milliseconds limit) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_state.stands; });
}

void LiveRequest::WhenItStands(std::function<void()> listener)
{
    {
        std::lock_guard const lock(m_mutex);
        if (!m_state.stands) {
            m_listener = std::move(listener);
            return;
        }
    }
    listener();
}

void LiveRequest::CarriedOut(CAttributeMap const& echoed)
{
    {
        std::lock_guard const lock(m_mutex);
        m_state.isCarriedOut = true;
        m_state.echoed = echoed;
    }
    m_changed.notify_all();
}

void LiveRequest::Stands(operation::Result result, std::string reason, CAttributeMap const& got, bool isConnectionLost)
{
    std::function<void()> listener;
    {
        std::lock_guard const lock(m_mutex);
        if (m_state.stands) {
            return;
        }
        m_state.stands = true;
        m_state.result = result;
        m_state.reason = std::move(reason);
        m_state.got = got;
        m_state.isConnectionLost = isConnectionLost;
        listener = std::exchange(m_listener, {});
    }
    m_changed.notify_all();
    if (listener) {
        listener();
    }
}

} // namespace qx5::live
