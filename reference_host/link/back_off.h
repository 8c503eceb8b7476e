// How long a link waits before it tries again: doubling, bounded, spread so that many links do not knock together.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace vordal {

/// When a link tries again after a lost or failed connection.
struct BackOffSchedule
{
    std::chrono::milliseconds first{100};
    std::chrono::milliseconds greatest{5000};
    /// Share of a wait that chance may take away, 0 to 1.
    double jitter = 0.2;
    /// A connection that stood this long, or brought something good, starts anew with `first` when it is lost.
    std::chrono::milliseconds provenAfter{5000};
};

/// The waits between the attempts of one link. A plain value without a clock: the caller passes the time, on one steady
/// clock. One thread at a time.
class BackOff
{
public:
    using Time = std::chrono::steady_clock::time_point;

    BackOff(BackOffSchedule const& schedule, std::uint64_t seed) : m_schedule(schedule), m_random(seed) { Reset(); }

    /// The next wait: `first`, then each twice the one before, at most `greatest`, each shortened by chance by at most
    /// the share `jitter` and never below one millisecond.
    std::chrono::milliseconds Next()
    {
        auto const whole = std::clamp<std::int64_t>(m_next, 1, Greatest());
        m_next = std::min<std::int64_t>(whole * 2, Greatest());
        auto const share = std::clamp(m_schedule.jitter, 0.0, 1.0) * Chance();
        auto const wait = static_cast<std::int64_t>(static_cast<double>(whole) * (1.0 - share));
        return std::chrono::milliseconds(std::max<std::int64_t>(wait, 1));
    }

    /// A connection stands.
    void Connected(Time now) { m_connectedAt = now; }
    /// It was lost. Where it stood long enough, or was `proven` by what it brought, the next wait is the first one
    /// again.
    void Lost(Time now, bool proven)
    {
        if (proven || now - m_connectedAt >= m_schedule.provenAfter) {
            Reset();
        }
    }

    /// The next wait is the first one again.
    void Reset() { m_next = m_schedule.first.count(); }

private:
    /// A day at most, so that doubling cannot overflow.
    std::int64_t Greatest() const { return std::clamp<std::int64_t>(m_schedule.greatest.count(), 1, 86'400'000); }

    /// From 0 to below 1 (splitmix64).
    double Chance()
    {
        m_random += 0x9e3779b97f4a7c15U;
        auto mixed = m_random;
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebU;
        mixed ^= mixed >> 31;
        return static_cast<double>(mixed >> 11) * 0x1p-53;
    }

    BackOffSchedule m_schedule;
    std::uint64_t m_random;
    std::int64_t m_next = 0;
    Time m_connectedAt;
};

} // namespace vordal
