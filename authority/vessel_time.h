// The time by which requests from ashore are too late: the vessel's own, which no clock that is set can move.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>

namespace qx5::authority {

/// A moment of one run of a vessel's program. It begins with the wall clock's time and then goes by the steady clock,
/// whatever the wall clock does; another run is another time. A vessel tells it once a second, beside the leases.
struct VesselTime
{
    std::uint64_t run = 0; ///< drawn when the program starts, never 0
    double seconds = 0.0;

    bool operator==(VesselTime const&) const = default;
};

/// Aboard. Any thread.
class VesselClock
{
public:
    /// Clocks: seconds, of the wall clock since 1970-01-01 UTC; empty for the system's. `run`: 0 draws one.
    explicit VesselClock(std::function<double()> steady = {}, std::function<double()> const& utc = {},
                         std::uint64_t run = 0);
    VesselTime Now() const;

private:
    std::function<double()> m_steady;
    std::uint64_t m_run;
    double m_start; ///< the lead of the vessel's time over the steady clock
};

/// What a request from ashore says of when it was made. A request that is sent again bears the stamp that it had.
///
/// It holds the vessel's time and not the sender's, so that clocks which differ by hours do not matter: the sender
/// works it out from the newest that the vessel told (HeardVesselTime). What it works out is behind by as long as the
/// telling took, never ahead, so that a request ends sooner than meant and never later.
struct RequestStamp
{
    std::uint64_t sender = 0; ///< one program ashore, from its start to its end
    std::uint64_t number = 0; ///< of the request, from 1; which a sender uses once
    VesselTime sent;
    double limit = 0.0; ///< s: after that it is not to be done

    bool operator==(RequestStamp const&) const = default;
};

/// Ashore: makes stamps for the requests of one program to one vessel. One thread.
class HeardVesselTime
{
public:
    /// What the telling took is not known: of those heard lately the one that took least counts. What lies further
    /// back does not, so that a vessel's steady clock which stood still for a while (its machine slept) is followed.
    static constexpr std::size_t Kept = 64;

    /// `steady`: s, empty for the system's. `sender`: 0 draws one.
    explicit HeardVesselTime(std::function<double()> steady = {}, std::uint64_t sender = 0);

    /// The vessel has told its time.
    void Hear(VesselTime const& told);
    /// None before the vessel has told it.
    std::optional<VesselTime> Now() const;
    /// A new request's; none before the vessel has told its time.
    std::optional<RequestStamp> Next(double limit);

private:
    std::function<double()> m_steady;
    std::uint64_t m_sender;
    std::uint64_t m_number = 0;
    std::uint64_t m_run = 0;
    std::deque<double> m_leads; ///< of the vessel's time over this steady clock, as they were heard
};

} // namespace qx5::authority
