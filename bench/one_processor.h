// Keeping threads of the process on one processor: all of them, or two.
#pragma once

#include <thread>

namespace bench {

/// While it lives, all threads of the process, also those that are made meanwhile, run on one processor. Whether the
/// system wakes a thread beside its waker or on a processor that sleeps weighs several times what is measured, and
/// the system decides it anew in each run.
class OnOneProcessor
{
public:
    OnOneProcessor();
    OnOneProcessor(OnOneProcessor const&) = delete;
    OnOneProcessor& operator=(OnOneProcessor const&) = delete;
    ~OnOneProcessor();
};

/// While it lives, another thread stays on the processor that the caller, who stays there, too, is on when it is made:
/// whether the other's processor rests when it is woken no longer matters. The rest of the threads go where they will.
class OnCallersProcessor
{
public:
    explicit OnCallersProcessor(std::thread::native_handle_type other);
    OnCallersProcessor(OnCallersProcessor const&) = delete;
    OnCallersProcessor& operator=(OnCallersProcessor const&) = delete;
    /// The caller's thread again; the other must not have ended.
    ~OnCallersProcessor();

private:
    std::thread::native_handle_type const m_other;
};

} // namespace bench
