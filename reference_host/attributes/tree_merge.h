// What the host does with whole attribute trees beyond the contract: merging, comparing, printing.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <string>

namespace vordal {

class TreeAccount;

/// Merges the children of `given` into those of `into`, in order:
/// - a node without children sets value and flags of the first node of its key, or is appended;
/// - a node with children meets the node of its key that has the same occurrence index as it has itself among its
///   siblings, which is created, with those before it, when missing; its value, if it has one, is set there, and its
///   children are merged in the same way;
/// - a node with neither only makes sure that its occurrence exists.
/// Key, value and flags of the two roots play no part. What `given` says already and in the same way is not touched,
/// so it goes on being shared with copies. References that the contract's operations handed out stay valid, and the
/// merge itself hands out none, so copies of `into` stay cheap. `given` may be a part of `into`, not the reverse. Any
/// depth.
VORDAL_API void Merge(CAttributeMap& into, CAttributeMap const& given);

/// The same within what the account has room for. A key that is there takes any value that is no longer than the one it
/// has; a new key (a branch with all below it) or a longer text or list for which there is no room is left out, and
/// counted as refused. What follows it is merged. Whether `into` is another than before.
VORDAL_API bool Merge(CAttributeMap& into, CAttributeMap const& given, TreeAccount& account);

/// Gives the first child of that key the value and flags, appended when missing, with nothing handed out: later copies
/// of `tree` stay cheap, unlike after `FindCreate`.
VORDAL_API void SetChildValue(CAttributeMap& tree, AttributeKey const& key, CVordalType const& value,
                              unsigned flags = 0);

/// Says that no reference which `Add`, `FindCreate` or non-const `GetAttrMap` handed out for any node of `tree` is used
/// for writing any more, so that copies can share all of it again. For a tree that the host keeps, after a plug-in's
/// call has returned. References are still valid for reading until the next change.
VORDAL_API void ForgetReferences(CAttributeMap& tree);

/// Same values, flags and children, in the same order; of the roots the key is not compared, nor are any groups.
/// Doubles are compared by their bits.
VORDAL_API bool TreesEqual(CAttributeMap const& a, CAttributeMap const& b);

/// Whether both stand for one node that they share: then they are equal, keys and all below included. Costs next to
/// nothing; that they do not share one tells nothing.
VORDAL_API bool ShareOneNode(CAttributeMap const& a, CAttributeMap const& b);

/// The children for people, in UTF-8, one line each, children of children indented by two more spaces (from level 40 on
/// by no more): "key = value", or "key" alone without a value. Flags other than 0 follow in parentheses.
VORDAL_API std::string TreeText(CAttributeMap const& tree);

} // namespace vordal
