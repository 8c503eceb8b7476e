// Attribute trees as bytes, from the link and in a project.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/tree_codec.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vordal {

/// The children of `tree` with keys, values and order, where the form tells them flags and the root's group, too.
/// Throws std::length_error when the tree is beyond the form's limits. The memory of `room` is used, its content lost.
VORDAL_API std::vector<unsigned char> EncodeTree(CAttributeMap const& tree, qx5::protocol::TreeForm const& form,
                                                 std::vector<unsigned char> room = {});

/// Takes any bytes. The number of keys; nothing, and why and where in `error`, when they are not exactly one tree
/// within the form's limits, and `tree` stays as it was then.
VORDAL_API std::optional<std::size_t> DecodeTree(std::span<unsigned char const> bytes,
                                                 qx5::protocol::TreeForm const& form, CAttributeMap& tree,
                                                 std::string& error);

} // namespace vordal
