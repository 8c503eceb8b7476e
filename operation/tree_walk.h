// Several attribute trees walked through at the same places.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx5::operation {

/// A node that is walked through, and those that stand in other trees at its place; null for none.
template <std::size_t N>
struct WalkedLevel
{
    CAttributeMap const* node = nullptr;
    std::array<CAttributeMap const*, N> others{};
    std::string path;
    CAttributeMap::const_iterator next = {};
    std::map<std::wstring_view, int> occurrences = {}; ///< of the keys passed
};

/// Calls `enter(path, child, others)` for each node below `root` before its children, with the nodes of the same key
/// and occurrence in the other trees (null for none), and `leave(child)` after them. A path is the keys in UTF-8 with /
/// between them. Any depth; the trees must not change meanwhile.
template <std::size_t N, typename Enter, typename Leave>
void WalkTrees(CAttributeMap const& root, std::array<CAttributeMap const*, N> const& others, Enter const& enter,
               Leave const& leave)
{
    std::vector<WalkedLevel<N>> levels;
    levels.push_back({&root, others, "", root.begin()});
    while (!levels.empty()) {
        auto& level = levels.back();
        if (level.next == level.node->end()) {
            CAttributeMap const& left = *level.node;
            levels.pop_back();
            if (!levels.empty()) {
                leave(left);
            }
            continue;
        }
        CAttributeMap const& child = *level.next;
        ++level.next;
        AttributeKey const key(child.KeyText());
        int const occurrence = level.occurrences[child.KeyText()]++;
        std::array<CAttributeMap const*, N> counterparts{};
        std::transform(level.others.begin(), level.others.end(), counterparts.begin(), [&](CAttributeMap const* tree) {
            return tree != nullptr ? tree->GetAttrMap(key, occurrence) : nullptr;
        });
        std::string path = level.path + tvcore::ToUtf8(CString(child.KeyText()));
        enter(std::as_const(path), child, std::as_const(counterparts));
        levels.push_back({&child, counterparts, std::move(path) + "/", child.begin()});
    }
}

/// The same without being told where a node ends.
template <std::size_t N, typename Enter>
void WalkTrees(CAttributeMap const& root, std::array<CAttributeMap const*, N> const& others, Enter const& enter)
{
    WalkTrees<N>(root, others, enter, [](CAttributeMap const&) {});
}

/// Whether one of the keys is that path, or the last key of it; without any all are meant.
inline bool IsPathMeant(std::string_view path, std::vector<std::string> const& keys)
{
    auto const last = path.substr(path.rfind('/') + 1);
    return keys.empty() ||
           std::any_of(keys.begin(), keys.end(), [&](auto const& key) { return key == path || key == last; });
}

/// A tree of the children of that key alone.
inline CAttributeMap ChildrenOf(CAttributeMap const& tree, AttributeKey const& key)
{
    CAttributeMap children;
    int const count = tree.Count(key);
    for (int i = 0; i < count; ++i) {
        children.Append(tree.Find(key, i));
    }
    return children;
}

/// The value of a node; null for none.
inline CVordalType const* ValueOf(CAttributeMap const* node)
{
    return node != nullptr && node->HasValue() ? &node->Value() : nullptr;
}

} // namespace qx5::operation
