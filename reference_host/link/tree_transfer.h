// Between trees of attributes as records carry them and as the host keeps them.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalAttributesR/CVordalType.h>

#include <protocol/house_records.h>
#include <protocol/value.h>

#include <cstddef>
#include <span>
#include <vector>

namespace vordal {

/// A root with these nodes as its children, in order. At most protocol::MaximumTreeDepth deep, which decoding sees to.
VORDAL_API CAttributeMap ToAttributeMap(std::span<qx5::protocol::TreeNode const> nodes);

/// The value as a node takes it, on the heap, the caller's; null for none.
VORDAL_API CVordalType* MakeValue(qx5::protocol::Value const& value);

/// All nodes, at any depth.
VORDAL_API std::size_t CountKeys(std::span<qx5::protocol::TreeNode const> nodes);

} // namespace vordal
