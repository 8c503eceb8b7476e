// The contacts of one target file in memory, in the file's order, found by id and by GUID without a search.
#pragma once

#include "stored_target.h"

#include <VordalBaseR/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vordal {

/// A look-up, a contact that changes, comes at the end or goes each take the same time however many there are, or
/// nearly so; one that comes between others, all of them taken together, and a list that is asked for after a contact
/// has gone take time in proportion to all. One thread at a time.
class VORDAL_API TargetList
{
public:
    std::size_t Size() const { return m_places.size() - m_gaps; }
    /// What the size becomes.
    std::size_t SizeWith(TargetChanges const& changes) const;

    /// What was given before is not valid any more.
    void Apply(TargetChanges&& changes);

    /// All, in order. Valid, like what the look-ups give, until the next Apply.
    std::vector<SonarTarget> const& InOrder();
    /// The first in order that bears the id; null without one.
    SonarTarget const* FirstOfId(std::uint32_t targetId) const;
    /// The first in order that bears the GUID and is not lost; null without one.
    SonarTarget const* FirstOfGuid(std::wstring_view targetGuid) const;

private:
    /// For each key where it is borne. A key is the salted hash of what is looked for, so that what is found may in
    /// principle be another's.
    class Bearers
    {
    public:
        void Add(std::uint64_t key, std::int64_t position);
        void Remove(std::uint64_t key, std::int64_t position);
        /// Shows positions in order, up to the first that `isMeant` says true of.
        template <typename IsMeant>
        void UpTo(std::uint64_t key, IsMeant const& isMeant) const;
        void Clear() { m_positions.clear(); }

    private:
        struct Positions
        {
            std::int64_t first = 0;
            /// All beyond it; null for most.
            std::unique_ptr<std::set<std::int64_t>> others;
        };
        std::unordered_map<std::uint64_t, Positions> m_positions;
    };

    struct Place
    {
        std::int64_t position = 0;
        bool lost = false;
        bool gone = false; ///< the contact is; a gap remains
    };

    std::size_t PlaceOf(std::int64_t position) const;
    bool Stands(std::size_t place, std::int64_t position) const;
    void Remember(std::size_t place);
    void Forget(std::size_t place);
    void Erase(std::int64_t position);
    /// False, with nothing changed, when it comes between others.
    bool Put(PlacedTarget& row);
    void Merge(std::vector<PlacedTarget>&& between);
    void CloseGaps();
    template <typename Bears>
    SonarTarget const* First(Bearers const& bearers, std::uint64_t key, Bears const& bears) const;

    std::vector<Place> m_places;        ///< ascending by position
    std::vector<SonarTarget> m_targets; ///< one for each place
    std::size_t m_gaps = 0;
    /// What look-ups may have given before a list without gaps was asked for.
    std::vector<SonarTarget> m_former;
    Bearers m_byId;
    Bearers m_byGuid;
};

} // namespace vordal
