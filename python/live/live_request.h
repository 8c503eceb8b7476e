// One request to a sonar, from the asking to what the sonar then has, for whoever waits for it.
#pragma once

#include "operation/action.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace qx5::live {

/// What is known of a request. Copies of trees share them.
struct RequestState
{
    bool isCarriedOut = false; ///< the device is done with it: `echoed` is whole
    bool stands = false;       ///< the result is final, Pending is none then
    /// The connection was not there, or did not stay until the sonar had answered.
    bool isConnectionLost = false;
    operation::Result result = operation::Result::Pending;
    std::string reason; ///< in one line, where there is one
    CAttributeMap asked;
    CAttributeMap echoed;
    CAttributeMap got; ///< what the sonar then has of it, as far as it has told
};

/// Any thread.
class LiveRequest
{
public:
    explicit LiveRequest(CAttributeMap const& asked) { m_state.asked = asked; }
    LiveRequest(LiveRequest const&) = delete;
    LiveRequest& operator=(LiveRequest const&) = delete;

    RequestState Now() const;
    /// False when it was not within the limit.
    bool WaitUntilCarriedOut(std::chrono::milliseconds limit) const;
    bool WaitUntilItStands(std::chrono::milliseconds limit) const;
    /// Called once when the result stands, with no lock held, on the host thread; at once when it does already.
    void WhenItStands(std::function<void()> listener);

    // For the host.
    void CarriedOut(CAttributeMap const& echoed);
    /// Only the first counts.
    void Stands(operation::Result result, std::string reason, CAttributeMap const& got, bool isConnectionLost);

private:
    mutable std::mutex m_mutex; ///< guards what follows
    mutable std::condition_variable m_changed;
    RequestState m_state;
    std::function<void()> m_listener;
};

} // namespace qx5::live
