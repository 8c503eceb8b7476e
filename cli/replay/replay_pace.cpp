// The times of a recording as those of a replay.
#include "replay_pace.h"

#include <chrono>
#include <thread>

namespace qx5::cli {

ReplayPace::Clock ReplayPace::SystemClock()
{
    using Steady = std::chrono::steady_clock;
    return {[] {
                auto const now = std::chrono::duration_cast<std::chrono::nanoseconds>(Steady::now().time_since_epoch());
                return static_cast<std::uint64_t>(now.count());
            },
            [](std::uint64_t until) {
                std::this_thread::sleep_until(
                    Steady::time_point(std::chrono::duration_cast<Steady::duration>(std::chrono::nanoseconds(until))));
            }};
}

void ReplayPace::Await(std::uint64_t recorded)
{
    if (!m_first || recorded < *m_first) {
        m_first = recorded;
        m_begin = m_clock.now();
        return;
    }
    auto const due = m_begin + static_cast<std::uint64_t>(static_cast<double>(recorded - *m_first) / m_speed);
    if (m_clock.now() < due) {
        m_clock.wait(due);
    }
}

} // namespace qx5::cli
