// Who looks at which sonar: told to its vessel every few seconds, how long the answer took, and what it shows of pings.
#pragma once

#include "fleet/place.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

namespace qx5::fleet {

/// One thread at a time.
class Looks
{
public:
    using Time = std::chrono::steady_clock::time_point;
    static constexpr std::chrono::seconds Interval{5};
    /// Answers to older ones are none any more.
    static constexpr std::size_t Kept = 16;

    struct Due
    {
        Place sonar;
        std::uint64_t number = 0;
        bool wantsDetections = false;
    };

    void Begin(Place const& sonar, bool wantsDetections);
    void End(Place const& sonar);
    /// What is to be told now. `again`: all of it, as on a new connection.
    std::vector<Due> TakeDue(Time now, bool again = false);
    /// A vessel has answered; false for a number that is none.
    bool Answer(Place const& sonar, std::uint64_t number, Time now);

    struct RoundTrip
    {
        std::chrono::steady_clock::duration took{};
        Time at;
    };
    /// The newest; nothing before the first answer.
    std::optional<RoundTrip> Of(Place const& sonar) const;

    /// The detections of a ping have arrived.
    void NotePing(Place const& sonar, Time now);
    struct Pings
    {
        double rate = 0.0; ///< pings a second that arrived, over the last PingSpan; 0 when they have ended
        Time newest;
    };
    static constexpr std::chrono::seconds PingSpan{5};
    /// Nothing of a sonar whose detections nobody wants, and before the first has arrived.
    std::optional<Pings> PingsOf(Place const& sonar, Time now) const;

private:
    struct Look
    {
        bool wantsDetections = false;
        std::optional<Time> told;
        std::map<std::uint64_t, Time> asked; ///< and not answered yet
        std::optional<RoundTrip> roundTrip;
        std::deque<Time> pings; ///< of the last PingSpan before the newest
    };
    std::map<Place, Look> m_looks;
    std::uint64_t m_number = 0;
};

} // namespace qx5::fleet
