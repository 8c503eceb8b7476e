// The times of a recording as those of a replay.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace qx5::cli {

/// One thread.
class ReplayPace
{
public:
    static constexpr double Slowest = 0.1;
    static constexpr double Fastest = 100.0;

    /// The clock of a replay, in nanoseconds of a clock that never goes back.
    struct Clock
    {
        std::function<std::uint64_t()> now;
        /// Returns when it is that time, or has been for long.
        std::function<void(std::uint64_t until)> wait;
    };
    static Clock SystemClock();

    /// `speed`: how much faster than it was recorded.
    explicit ReplayPace(double speed, Clock clock = SystemClock()) : m_speed(speed), m_clock(std::move(clock)) {}

    /// Waits for the turn of what was recorded at that time (ns). The first has it at once; from there on each is as
    /// much later as it was then, divided by the speed. What is late does not make later ones late.
    void Await(std::uint64_t recorded);
    /// What comes next has its turn at once.
    void BeginAnew() { m_first.reset(); }

private:
    double const m_speed;
    Clock const m_clock;
    std::optional<std::uint64_t> m_first;
    std::uint64_t m_begin = 0; ///< of the replay's clock, at the first
};

} // namespace qx5::cli
