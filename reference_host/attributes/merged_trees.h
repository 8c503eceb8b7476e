// Trees that are merged into one tree again and again.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace vordal {

class TreeAccount;

/// Merges as vordal::Merge does, within what the account has room for, but not what the tree says already because it
/// was merged before and nobody has written to the tree since. Given trees are told apart by numbers: of two with one
/// number the second is not looked at. For one tree, and for one thread at a time.
class VORDAL_API MergedTrees
{
public:
    /// So many are remembered, those that were merged last.
    static constexpr std::size_t GreatestCount = 16;

    /// `number` 0: this tree does not come again.
    void Merge(CAttributeMap& into, CAttributeMap const& given, std::uint64_t number, TreeAccount& account);
    /// Spares whoever is about to write to the tree a copy of what is remembered of it.
    void Forget() { m_into = CAttributeMap(); }

private:
    bool Holds(std::uint64_t number) const;

    CAttributeMap m_into; ///< the tree as the last merge left it; who writes to a tree that is shared leaves its node
    std::array<std::uint64_t, GreatestCount> m_numbers{}; ///< of what that tree says; 0 where there is none
    std::size_t m_next = 0;                               ///< the place that the next number takes
};

} // namespace vordal
