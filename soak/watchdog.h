// Ends a soak that hangs, and says what each thread waits for.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace qx5::soak {

/// Any thread.
class Watchdog
{
public:
    /// After `limit` without progress it calls `tell`, prints where each thread stands, and ends the process with 1.
    Watchdog(std::chrono::seconds limit, std::function<void(std::string const& reason)> tell);
    Watchdog(Watchdog const&) = delete;
    Watchdog& operator=(Watchdog const&) = delete;
    ~Watchdog();

    /// Things go on.
    void Progress();
    /// What is waited for from here on, which is no progress by itself.
    void WaitFor(std::string_view what);

private:
    void Watch();

    std::chrono::seconds const m_limit;
    std::function<void(std::string const&)> const m_tell;
    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::chrono::steady_clock::time_point m_last = std::chrono::steady_clock::now();
    std::string m_waitedFor;
    bool m_ends = false;
    std::thread m_thread; // last: it uses what stands above
};

} // namespace qx5::soak
