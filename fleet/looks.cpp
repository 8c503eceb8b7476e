// Looks that are due, and what came back.
#include "fleet/looks.h"

#include <algorithm>

namespace qx5::fleet {

namespace {

/// Of one sonar that are remembered; the rate of more is that of these.
constexpr std::size_t mostPings = 1000;

} // namespace

void Looks::Begin(Place const& sonar, bool wantsDetections)
{
    auto& look = m_looks[sonar];
    if (look.wantsDetections != wantsDetections) {
        look.wantsDetections = wantsDetections;
        look.pings.clear();
        look.told.reset(); // it is told at once
    }
}

void Looks::End(Place const& sonar)
{
    m_looks.erase(sonar);
}

std::vector<Looks::Due> Looks::TakeDue(Time now, bool again)
{
    std::vector<Due> due;
    for (auto& [sonar, look] : m_looks) {
        if (!again && look.told && now - *look.told < Interval) {
            continue;
        }
        look.told = now;
        look.asked.emplace(++m_number, now);
        if (look.asked.size() > Kept) {
            look.asked.erase(look.asked.begin());
        }
        due.push_back({sonar, m_number, look.wantsDetections});
    }
    return due;
}

bool Looks::Answer(Place const& sonar, std::uint64_t number, Time now)
{
    auto const found = m_looks.find(sonar);
    if (found == m_looks.end()) {
        return false;
    }
    auto& look = found->second;
    auto const asked = look.asked.find(number);
    if (asked == look.asked.end()) {
        return false;
    }
    look.roundTrip = RoundTrip{now - asked->second, now};
    look.asked.erase(look.asked.begin(), std::next(asked));
    return true;
}

std::optional<Looks::RoundTrip> Looks::Of(Place const& sonar) const
{
    auto const found = m_looks.find(sonar);
    return found != m_looks.end() ? found->second.roundTrip : std::nullopt;
}

void Looks::NotePing(Place const& sonar, Time now)
{
    auto const found = m_looks.find(sonar);
    if (found == m_looks.end() || !found->second.wantsDetections) {
        return;
    }
    auto& pings = found->second.pings;
    pings.push_back(now);
    while (now - pings.front() > PingSpan || pings.size() > mostPings) {
        pings.pop_front();
    }
}

std::optional<Looks::Pings> Looks::PingsOf(Place const& sonar, Time now) const
{
    auto const found = m_looks.find(sonar);
    if (found == m_looks.end() || found->second.pings.empty()) {
        return std::nullopt;
    }
    auto const& pings = found->second.pings;
    auto const first = std::lower_bound(pings.begin(), pings.end(), now - PingSpan);
    auto const count = std::distance(first, pings.end());
    // From ping to ping: a sonar that has just begun has its rate from the second on.
    auto const rate =
        count < 2 || *first == pings.back()
            ? 0.0
            : static_cast<double>(count - 1) / std::chrono::duration<double>(pings.back() - *first).count();
    return Pings{rate, pings.back()};
}

} // namespace qx5::fleet
