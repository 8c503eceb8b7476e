// The trees in which the simulated sonar tells of itself: its limits, how it is built in, where each attribute belongs.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <protocol/tree_codec.h>
#include <simulator/attribute.h>
#include <simulator/sonar_model.h>

namespace qx5::simulator {

protocol::TreeNode Leaf(protocol::Key const& key, protocol::Value value);
std::vector<double> List(std::span<double const> values);

/// What holds whatever was commanded: the limits of each operation mode, the arrays of each head, the beam modes. Of
/// several heads each tells the limits of the one mode that they are in.
std::vector<protocol::TreeNode> LimitNodes(OperationMode const& current, std::int32_t heads);

/// Adds the attribute at the top, or to the branches that it belongs into.
void AddNode(std::vector<protocol::TreeNode>& nodes, Attribute const& attribute, std::int32_t heads);

} // namespace qx5::simulator
