// The numbered requests from ashore.
#include "authority/request_book.h"

#include <utility>

#include <fmt/format.h>

namespace qx5::authority {

namespace {

/// One sum for both, being too late and being forgotten: what is forgotten is too late to the last bit.
double EndOf(RequestStamp const& stamp)
{
    return stamp.sent.seconds + stamp.limit;
}

} // namespace

RequestBook::RequestBook(VesselClock const& clock) : RequestBook(clock, Limits{}) {}

RequestBook::RequestBook(VesselClock const& clock, Limits limits) : m_clock(clock), m_limits(limits) {}

Arrival RequestBook::Arrive(std::string_view person, RequestStamp const& stamp)
{
    std::lock_guard const lock(m_mutex);
    VesselTime const now = m_clock.Now();
    Name name(person, stamp.sender, stamp.number);
    if (stamp.sent.run == now.run) {
        if (auto const found = m_entries.find(name); found != m_entries.end()) {
            Entry const& entry = found->second;
            if (entry.hasNoRoom) {
                return {Arrival::Kind::Refused, {}, "it was done, and there was no room to keep its result"};
            }
            return entry.isFinished ? Arrival{Arrival::Kind::Again, entry.result, {}}
                                    : Arrival{Arrival::Kind::Underway, {}, {}};
        }
    }
    if (auto reason = ReasonToRefuse(stamp, now); !reason.empty()) {
        return {Arrival::Kind::Refused, {}, std::move(reason)};
    }
    Forget(now.seconds);
    auto const& owner = std::get<0>(name);
    if (!HasRoomFor(owner)) {
        return {Arrival::Kind::Refused, {}, "more requests came within their time limits than can be remembered"};
    }
    double const end = EndOf(stamp);
    ++m_ofPerson[owner];
    m_ends.emplace(end, name);
    m_entries.emplace(std::move(name), Entry{end, false, false, {}});
    return {Arrival::Kind::Do, {}, {}};
}

void RequestBook::Finish(std::string_view person, RequestStamp const& stamp, std::string result)
{
    std::lock_guard const lock(m_mutex);
    auto const found = m_entries.find(Name(person, stamp.sender, stamp.number));
    if (found == m_entries.end() || found->second.isFinished) {
        return;
    }
    Forget(m_clock.Now().seconds); // not this one, which is not finished yet
    Entry& entry = found->second;
    entry.isFinished = true;
    entry.hasNoRoom = m_bytes + result.size() > m_limits.resultBytes;
    if (!entry.hasNoRoom) {
        m_bytes += result.size();
        entry.result = std::move(result);
    }
}

std::size_t RequestBook::Remembered() const
{
    std::lock_guard const lock(m_mutex);
    return m_entries.size();
}

std::string RequestBook::ReasonToRefuse(RequestStamp const& stamp, VesselTime const& now) const
{
    if (stamp.number == 0 || stamp.sender == 0) {
        return "a request bears its sender and a number from 1";
    }
    if (stamp.sent.run != now.run) {
        return "it was made before the vessel's program started anew, and is not done; what came of it, if it was done "
               "before, stands in the log";
    }
    if (!(stamp.limit > 0.0 && stamp.limit <= m_limits.greatestLimit)) {
        return fmt::format("its time limit is not one of more than 0 and at most {:.0f} s", m_limits.greatestLimit);
    }
    // Written so that what is no number is refused.
    double const age = now.seconds - stamp.sent.seconds;
    if (!(age >= -m_limits.ahead)) {
        return fmt::format("it bears a time that is {:.1f} s ahead of the vessel's", -age);
    }
    if (!(now.seconds <= EndOf(stamp))) {
        return fmt::format("it came {:.1f} s after it was made, and its time limit is {} s", age, stamp.limit);
    }
    return {};
}

void RequestBook::Forget(double now)
{
    for (auto next = m_ends.begin(); next != m_ends.end() && next->first < now;) {
        auto const entry = m_entries.find(next->second);
        if (!entry->second.isFinished) {
            ++next; // what is being done is remembered until it is
            continue;
        }
        m_bytes -= entry->second.result.size();
        auto const person = m_ofPerson.find(std::get<0>(next->second));
        if (--person->second == 0) {
            m_ofPerson.erase(person);
        }
        m_entries.erase(entry);
        next = m_ends.erase(next);
    }
}

bool RequestBook::HasRoomFor(std::string const& person) const
{
    auto const had = m_ofPerson.find(person);
    return m_entries.size() < m_limits.requests && (had == m_ofPerson.end() || had->second < m_limits.ofPerson);
}

} // namespace qx5::authority
