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
    RequestState told;
    told.result = result;
    told.reason = std::move(reason);
    told.got = got;
    told.isConnectionLost = isConnectionLost;
    Stands(std::move(told));
}

void LiveRequest::Stands(RequestState told)
{
    std::function<void()> listener;
    {
        std::lock_guard const lock(m_mutex);
        if (m_state.stands) {
            return;
        }
        told.asked = m_state.asked;
        if (!told.isCarriedOut) {
            told.isCarriedOut = m_state.isCarriedOut;
            told.echoed = m_state.echoed;
        }
        told.stands = true;
        m_state = std::move(told);
        listener = std::exchange(m_listener, {});
    }
    m_changed.notify_all();
    if (listener) {
        listener();
    }
}

} // namespace qx5::live
