// What the machine makes of a bare hand-over from one thread to another, at the moment and under the load of the soak.
#pragma once

#include "latencies.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace qx5::soak {

/// Any thread.
class Yardstick
{
public:
    Yardstick();
    Yardstick(Yardstick const&) = delete;
    Yardstick& operator=(Yardstick const&) = delete;
    ~Yardstick();

    /// Hands one over; one that the other thread has not taken yet is not overtaken.
    void Strike();
    Latencies Taken() const;

private:
    void Run();

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::optional<std::chrono::steady_clock::time_point> m_struck;
    bool m_ends = false;
    Latencies m_latencies;
    std::thread m_thread; // last: it uses what stands above
};

} // namespace qx5::soak
