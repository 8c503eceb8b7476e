// The host's lock that one thread may take more than once.
#pragma once

#include <mutex>

/// Guards a device's attribute tree. Re-entrant on one thread; every Enter needs its Leave. Works with
/// std::lock_guard through lock() and unlock().
class CriticalSection
{
public:
    void Enter() { m_mutex.lock(); }
    void Leave() { m_mutex.unlock(); }

    void lock() { Enter(); }
    void unlock() { Leave(); }

private:
    std::recursive_mutex m_mutex;
};
