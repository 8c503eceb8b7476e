// A signal for which one thread sleeps, at the least cost that the platform has.
#pragma once

#include <memory>

namespace vordal::platform {

/// Raised by any thread, waited for by one. A raise without a waiter is kept; each raise lets one Wait return.
///
/// It stands in for a condition variable where the sleeper needs no lock on its way out: that takes its lock again as
/// a contended one, and letting go of a contended lock costs a system call more.
class WakeSignal
{
public:
    /// Throws std::system_error when the platform has no signal left.
    WakeSignal();
    WakeSignal(WakeSignal const&) = delete;
    WakeSignal& operator=(WakeSignal const&) = delete;
    ~WakeSignal();

    void Raise();
    void Wait();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace vordal::platform
