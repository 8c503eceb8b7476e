// How much of a tree somebody outside may fill, and how much of it is filled.
#include "tree_account.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace vordal {

std::size_t BytesOf(std::wstring_view text)
{
    return qx5::protocol::CountCodePoints(text) * 4;
}

std::size_t BytesOf(CVordalType const& value)
{
    switch (value.Kind()) {
    case VordalKind::String: {
        CString text;
        value.Get(text);
        return BytesOf(text.View());
    }
    case VordalKind::IntList: {
        std::vector<int> list;
        value.Get(list);
        return list.size() * 4;
    }
    case VordalKind::DoubleList: {
        std::vector<double> list;
        value.Get(list);
        return list.size() * 8;
    }
    default:
        return 0;
    }
}

TreeSize SizeOf(CAttributeMap const& tree)
{
    TreeSize size;
    std::vector<CAttributeMap const*> pending{&tree};
    while (!pending.empty()) {
        auto const* const branch = pending.back();
        pending.pop_back();
        for (CAttributeMap const& child : *branch) {
            ++size.keys;
            size.bytes += BytesOf(child.KeyText()) + BytesOf(child.Value());
            if (child.Count() > 0) {
                pending.push_back(&child);
            }
        }
    }
    return size;
}

void TreeAccount::LookAgain(CAttributeMap const& tree)
{
    if (std::exchange(m_othersWrote, false)) {
        auto const there = SizeOf(tree);
        m_used = {std::min(m_used.keys, there.keys), std::min(m_used.bytes, there.bytes)};
    }
}

} // namespace vordal
