// Keeping all threads of the process on one processor.
#pragma once

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

} // namespace bench
