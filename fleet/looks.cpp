// Looks that are due, and what came back.
#include "fleet/looks.h"

namespace qx5::fleet {

void Looks::Begin(Place const& sonar, bool wantsDetections)
{
    auto& look = m_looks[sonar];
    if (look.wantsDetections != wantsDetections) {
        look.wantsDetections = wantsDetections;
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

} // namespace qx5::fleet
