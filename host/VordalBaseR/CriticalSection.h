// The host's lock that one thread may take more than once.
#pragma once

#include <mutex>

/// Guards a device's attribute tree. Re-entrant on one thread; every Enter needs its Leave. Works with
/// std::lock_guard through lock() and unlock().
class CriticalSection
{
public:
    /// Waits until no other thread has it.
    void Enter() { m_mutex.lock(); }
    /// Gives it back, as often as it was taken.
    void Leave() { m_mutex.unlock(); }

    /// Enter, by the name that the standard library knows.
    void lock() { Enter(); }
    /// Leave, by the name that the standard library knows.
    void unlock() { Leave(); }

private:
    std::recursive_mutex m_mutex;
};
