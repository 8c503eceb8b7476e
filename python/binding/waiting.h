// Waiting for native threads: without the interpreter's lock, open to Ctrl-C, bounded.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

#include <pybind11/pybind11.h>

namespace qx5::python {

namespace py = pybind11;

/// Threads that are inside native calls without the interpreter's lock and will ask for it again. Before the
/// interpreter goes there should be none.
inline std::atomic<int>& ThreadsAway()
{
    static std::atomic<int> count{0};
    return count;
}

/// The thread on which signals are handled, as Python numbers threads.
inline std::atomic<unsigned long>& MainThread()
{
    static std::atomic<unsigned long> ident{0};
    return ident;
}

/// Lets go of the interpreter's lock in its scope.
class Away
{
public:
    Away() { ++ThreadsAway(); }
    Away(Away const&) = delete;
    Away& operator=(Away const&) = delete;
    ~Away() = default;

private:
    /// After the lock is there again.
    struct Return
    {
        Return() = default;
        Return(Return const&) = delete;
        Return& operator=(Return const&) = delete;
        ~Return() { --ThreadsAway(); }
    };
    Return m_return;
    py::gil_scoped_release m_release;
};

/// Calls `wait`, which waits for so long at most and says whether what it waits for has come, until it has or the
/// seconds are over (none: without end). False when they are. Called with the interpreter's lock, which it gives away;
/// raises what a signal's handler raises.
template <typename Wait>
bool WaitInterruptibly(std::optional<double> seconds, Wait const& wait)
{
    using Clock = std::chrono::steady_clock;
    // Signals are for the main thread; another one is woken by what it waits for, and by the end of it.
    std::chrono::milliseconds const slice{PyThread_get_thread_ident() == MainThread().load() ? 50 : 1000};
    // Longer than anybody waits, and within what the clock can count.
    constexpr double longest = 1e8;
    auto const end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(
                                        std::min(std::max(seconds.value_or(longest), 0.0), longest)));
    while (true) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        bool hasCome = false;
        {
            Away const away;
            hasCome = wait(std::clamp(left, std::chrono::milliseconds(0), slice));
        }
        if (hasCome) {
            return true;
        }
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
        if (left.count() <= 0) {
            return false;
        }
    }
}

} // namespace qx5::python
