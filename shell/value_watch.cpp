// The values of a device's tree under some keys, and which of them are new.
#include "shell/value_watch.h"

#include "operation/tree_walk.h"

#include <VordalAttributesR/CVordalType.h>

#include <array>

namespace qx5::shell {

void ValueWatch::See(CAttributeMap const& tree)
{
    CAttributeMap const before = std::move(m_tree);
    m_tree = tree;
    m_rows.clear();
    m_next = 0;
    m_isTold.resize(m_keys.size());
    operation::WalkTrees<1>(
        m_tree, {&before},
        [&](std::string const& path, CAttributeMap const& node, std::array<CAttributeMap const*, 1> const& others) {
            auto const* const value = operation::ValueOf(&node);
            if (value == nullptr || !operation::IsPathMeant(path, m_keys)) {
                return;
            }
            for (std::size_t i = 0; i < m_keys.size(); ++i) {
                m_isTold[i] = m_isTold[i] || operation::IsPathMeant(path, {m_keys[i]});
            }
            auto const* const had = operation::ValueOf(others[0]);
            if (had == nullptr || !had->IsSame(*value)) {
                m_rows.push_back({path, node.KeyText(), value});
            }
        });
}

ValueRow const* ValueWatch::Take()
{
    return IsEmpty() ? nullptr : &m_rows[m_next++];
}

std::vector<std::string> ValueWatch::Untold() const
{
    std::vector<std::string> untold;
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        if (i >= m_isTold.size() || !m_isTold[i]) {
            untold.push_back(m_keys[i]);
        }
    }
    return untold;
}

} // namespace qx5::shell
