// Trees that are merged into one tree again and again.
#include "merged_trees.h"

#include "attribute_node.h"
#include "tree_account.h"
#include "tree_merge.h"

#include <algorithm>

namespace vordal {

void MergedTrees::Merge(CAttributeMap& into, CAttributeMap const& given, std::uint64_t number, TreeAccount& account)
{
    bool const isUntouched = ShareOneNode(into, m_into);
    if (isUntouched && Holds(number)) {
        return;
    }
    // A tree that is not shared with this is written in place.
    Forget();
    auto const refused = account.Refused();
    bool const isChanged = vordal::Merge(into, given, account);
    if (isChanged || !isUntouched) {
        m_numbers.fill(0);
    }
    // What was refused may find room later, and is counted each time. Of a tree that can be written to by a reference
    // a copy is dear, and tells nothing.
    auto const* const node = TreeAccess::Node(into);
    if (number == 0 || account.Refused() != refused || node == nullptr || node->exposed) {
        return;
    }
    m_numbers[m_next] = number;
    m_next = (m_next + 1) % GreatestCount;
    m_into = into;
}

bool MergedTrees::Holds(std::uint64_t number) const
{
    return number != 0 && std::find(m_numbers.begin(), m_numbers.end(), number) != m_numbers.end();
}

} // namespace vordal
