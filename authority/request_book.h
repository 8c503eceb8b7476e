// The numbered requests from ashore: each is done once or not at all, and its result can be told again.
#pragma once

#include "authority/vessel_time.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace qx5::authority {

/// What is to become of a request that has arrived.
struct Arrival
{
    enum class Kind : std::uint8_t
    {
        Do,       ///< it is to be done now, and RequestBook::Finish to be told what came of it
        Underway, ///< the same is being done; its result comes once it is there
        Again,    ///< the same was done before: `result` is to be told again
        Refused,  ///< it is not done; `reason` says why in one line
    };
    Kind kind = Kind::Refused;
    std::string result;
    std::string reason;

    bool operator==(Arrival const&) const = default;
};

/// Remembers which requests were done and what came of them.
///
/// A request is the same as another when person, sender and number are. It is done when it arrives within its limit,
/// counted from the moment that its stamp says in the vessel's time, and only if it was not done before. What was done
/// is remembered at least until its limit is over: whatever repeats it later is too late by its own stamp. So memory is
/// bounded by what is done within a limit; where more comes than that, new requests are refused, and none is forgotten.
///
/// Numbers mean something within one run of the vessel's program. A request that was meant for an earlier run is
/// refused, done or not: what came of those that were done stands in the log of actions and in what the vessel keeps to
/// send. A sender that starts anew is another sender, and begins with 1.
///
/// Any thread; to be asked immediately before the request is done.
class RequestBook
{
public:
    struct Limits
    {
        double greatestLimit = 600.0; ///< s that a request may ask for
        double ahead = 2.0;           ///< s that a request may seem to be made in the future: two steady clocks drift
        std::size_t requests = 4096;  ///< remembered at once
        std::size_t ofPerson = 1024;  ///< the same of one person
        std::size_t resultBytes = std::size_t{8} << 20; ///< of all results together
    };

    /// The clock outlives the book.
    explicit RequestBook(VesselClock const& clock);
    RequestBook(VesselClock const& clock, Limits limits);
    RequestBook(RequestBook const&) = delete;
    RequestBook& operator=(RequestBook const&) = delete;

    Arrival Arrive(std::string_view person, RequestStamp const& stamp);
    /// What came of a request that was to be done. It is kept to be told again; nothing happens for one that is not
    /// known. Of a result that there is no room for, a repetition hears that.
    void Finish(std::string_view person, RequestStamp const& stamp, std::string result);

    std::size_t Remembered() const;

private:
    /// Person, sender, number.
    using Name = std::tuple<std::string, std::uint64_t, std::uint64_t>;
    struct Entry
    {
        double end = 0.0; ///< vessel's time
        bool isFinished = false;
        bool hasNoRoom = false;
        std::string result;
    };

    std::string ReasonToRefuse(RequestStamp const& stamp, VesselTime const& now) const;
    // With m_mutex held.
    /// Forgets what is finished and over.
    void Forget(double now);
    bool HasRoomFor(std::string const& person) const;

    VesselClock const& m_clock;
    Limits const m_limits;
    mutable std::mutex m_mutex; ///< guards what follows
    std::map<Name, Entry> m_entries;
    std::multimap<double, Name> m_ends; ///< of each entry
    std::map<std::string, std::size_t> m_ofPerson;
    std::size_t m_bytes = 0;
};

} // namespace qx5::authority
