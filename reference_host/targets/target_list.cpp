// The contacts of one target file in memory: places in order, some of them gaps, and indices that lead to positions.
#include "target_list.h"

#include "reference_host/common/salted_hash.h"

#include <algorithm>
#include <utility>

namespace vordal {

void TargetList::Bearers::Add(std::uint64_t key, std::int64_t position)
{
    auto const [found, isNew] = m_positions.try_emplace(key);
    auto& positions = found->second;
    if (isNew) {
        positions.first = position;
        return;
    }
    if (position < positions.first) {
        std::swap(position, positions.first);
    }
    if (positions.others == nullptr) {
        positions.others = std::make_unique<std::set<std::int64_t>>();
    }
    positions.others->insert(positions.others->end(), position);
}

void TargetList::Bearers::Remove(std::uint64_t key, std::int64_t position)
{
    auto const found = m_positions.find(key);
    auto& [first, others] = found->second;
    if (position != first) {
        others->erase(position);
    } else if (others == nullptr) {
        m_positions.erase(found);
        return;
    } else {
        first = others->extract(others->begin()).value();
    }
    if (others->empty()) {
        others.reset();
    }
}

template <typename IsMeant>
void TargetList::Bearers::UpTo(std::uint64_t key, IsMeant const& isMeant) const
{
    auto const found = m_positions.find(key);
    if (found != m_positions.end() && !isMeant(found->second.first) && found->second.others != nullptr) {
        auto const& others = *found->second.others;
        static_cast<void>(std::find_if(others.begin(), others.end(), isMeant));
    }
}

std::size_t TargetList::PlaceOf(std::int64_t position) const
{
    // Most files count their contacts without leaving a number out.
    if (!m_places.empty()) {
        auto const guess = static_cast<std::uint64_t>(position) - static_cast<std::uint64_t>(m_places[0].position);
        if (guess < m_places.size() && m_places[guess].position == position) {
            return guess;
        }
    }
    auto const at = std::lower_bound(m_places.begin(), m_places.end(), position,
                                     [](Place const& place, std::int64_t value) { return place.position < value; });
    return static_cast<std::size_t>(at - m_places.begin());
}

bool TargetList::Stands(std::size_t place, std::int64_t position) const
{
    return place < m_places.size() && m_places[place].position == position;
}

void TargetList::Remember(std::size_t place)
{
    auto const& [position, lost, gone] = m_places[place];
    m_byId.Add(SaltedHash(m_targets[place].targetId), position);
    if (!lost) {
        m_byGuid.Add(SaltedHash(m_targets[place].targetGuid.View()), position);
    }
}

void TargetList::Forget(std::size_t place)
{
    auto const& [position, lost, gone] = m_places[place];
    m_byId.Remove(SaltedHash(m_targets[place].targetId), position);
    if (!lost) {
        m_byGuid.Remove(SaltedHash(m_targets[place].targetGuid.View()), position);
    }
}

void TargetList::Erase(std::int64_t position)
{
    auto const place = PlaceOf(position);
    if (Stands(place, position) && !m_places[place].gone) {
        Forget(place);
        m_targets[place] = {};
        m_places[place].gone = true;
        ++m_gaps;
    }
}

bool TargetList::Put(PlacedTarget& row)
{
    auto const place = PlaceOf(row.position);
    if (place == m_places.size()) {
        m_places.push_back({row.position, row.stored.lost});
        m_targets.push_back(std::move(row.stored.target));
    } else if (Stands(place, row.position)) {
        if (std::exchange(m_places[place].gone, false)) {
            --m_gaps;
        } else {
            Forget(place);
        }
        m_places[place].lost = row.stored.lost;
        m_targets[place] = std::move(row.stored.target);
    } else {
        return false;
    }
    Remember(place);
    return true;
}

void TargetList::Merge(std::vector<PlacedTarget>&& between)
{
    auto from = m_places.size();
    auto to = from + between.size();
    m_places.resize(to);
    m_targets.resize(to);
    while (!between.empty()) {
        --to;
        if (from > 0 && between.back().position < m_places[from - 1].position) {
            --from;
            m_places[to] = m_places[from];
            m_targets[to] = std::move(m_targets[from]);
        } else {
            auto& row = between.back();
            m_places[to] = {row.position, row.stored.lost};
            m_targets[to] = std::move(row.stored.target);
            Remember(to);
            between.pop_back();
        }
    }
}

void TargetList::CloseGaps()
{
    std::size_t kept = 0;
    for (std::size_t place = 0; place < m_places.size(); ++place) {
        if (!m_places[place].gone) {
            if (kept != place) {
                m_places[kept] = m_places[place];
                m_targets[kept] = std::move(m_targets[place]);
            }
            ++kept;
        }
    }
    m_places.resize(kept);
    m_targets.resize(kept);
    m_gaps = 0;
}

std::size_t TargetList::SizeWith(TargetChanges const& changes) const
{
    if (changes.whole) {
        return changes.rows.size();
    }
    auto const isHere = [this](std::int64_t position) {
        auto const place = PlaceOf(position);
        return Stands(place, position) && !m_places[place].gone;
    };
    auto const comes = std::count_if(changes.rows.begin(), changes.rows.end(),
                                     [&](PlacedTarget const& row) { return !isHere(row.position); });
    auto const goes = std::count_if(changes.gone.begin(), changes.gone.end(), isHere);
    return Size() + static_cast<std::size_t>(comes) - static_cast<std::size_t>(goes);
}

void TargetList::Apply(TargetChanges&& changes)
{
    m_former.clear();
    if (changes.whole) {
        m_places.clear();
        m_targets.clear();
        m_gaps = 0;
        m_byId.Clear();
        m_byGuid.Clear();
    }
    for (auto const position : changes.gone) {
        Erase(position);
    }
    std::vector<PlacedTarget> between;
    for (auto& row : changes.rows) {
        if (!Put(row)) {
            between.push_back(std::move(row));
        }
    }
    if (!between.empty()) {
        Merge(std::move(between));
    }
    // Seldom enough that each contact that has gone pays for no more than two that stay.
    if (m_gaps > m_places.size() / 2) {
        CloseGaps();
    }
}

std::vector<SonarTarget> const& TargetList::InOrder()
{
    if (m_gaps > 0) {
        // Look-ups may have led into what is there.
        m_former = m_targets;
        std::swap(m_former, m_targets);
        CloseGaps();
    }
    return m_targets;
}

template <typename Bears>
SonarTarget const* TargetList::First(Bearers const& bearers, std::uint64_t key, Bears const& bears) const
{
    SonarTarget const* found = nullptr;
    bearers.UpTo(key, [&](std::int64_t position) {
        auto const& target = m_targets[PlaceOf(position)];
        found = bears(target) ? &target : nullptr;
        return found != nullptr;
    });
    return found;
}

SonarTarget const* TargetList::FirstOfId(std::uint32_t targetId) const
{
    return First(m_byId, SaltedHash(targetId), [&](SonarTarget const& target) { return target.targetId == targetId; });
}

SonarTarget const* TargetList::FirstOfGuid(std::wstring_view targetGuid) const
{
    return First(m_byGuid, SaltedHash(targetGuid),
                 [&](SonarTarget const& target) { return target.targetGuid.View() == targetGuid; });
}

} // namespace vordal
