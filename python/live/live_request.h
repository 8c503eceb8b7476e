// One request to a sonar, from the asking to what the sonar then has, for whoever waits for it.
#pragma once

#include "operation/action.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace qx5::live {

/// What is known of a request. Copies of trees share them.
struct RequestState
{
    bool isCarriedOut = false; ///< the device is done with it: `echoed` is whole
    bool stands = false;       ///< the result is final, Pending is none then
    /// The connection was not there, or did not stay until the sonar had answered.
    bool isConnectionLost = false;
    /// It was refused for want of the sonar's lease: who has that; empty for nobody.
    std::optional<std::string> holder;
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
    /// Called once when the result stands, with no lock held, on the thread that tells it; at once when it does
    /// already.
    void WhenItStands(std::function<void()> listener);

    // For who tells of it.
    void CarriedOut(CAttributeMap const& echoed);
    /// Only the first counts, as of the next.
    void Stands(operation::Result result, std::string reason, CAttributeMap const& got, bool isConnectionLost);
    /// All of it at once: `told` but for what was asked.
    void Stands(RequestState told);

private:
    mutable std::mutex m_mutex; ///< guards what follows
    mutable std::condition_variable m_changed;
    RequestState m_state;
    std::function<void()> m_listener;
};

} // namespace qx5::live
