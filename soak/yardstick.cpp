// A bare hand-over from one thread to another, measured.
#include "yardstick.h"

namespace qx5::soak {

Yardstick::Yardstick() : m_thread([this] { Run(); }) {}

Yardstick::~Yardstick()
{
    {
        std::lock_guard const lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void Yardstick::Strike()
{
    {
        std::lock_guard const lock(m_mutex);
        if (!m_struck) {
            m_struck = std::chrono::steady_clock::now();
        }
    }
    m_changed.notify_all();
}

Latencies Yardstick::Taken() const
{
    std::lock_guard const lock(m_mutex);
    return m_latencies;
}

void Yardstick::Run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_ends || m_struck; });
        if (m_ends) {
            return;
        }
        m_latencies.Add(std::chrono::steady_clock::now() - *m_struck);
        m_struck.reset();
    }
}

} // namespace qx5::soak
