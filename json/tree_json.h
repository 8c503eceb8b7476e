// Attribute trees as JSON and back.
#pragma once

#include "json/json_document.h"
#include "json/json_path.h"
#include "json/json_value.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <string>

namespace qx5 {

/// A tree from an array of nodes, each [key, type, value], [key, [nodes]], [key, type, value, [nodes]] or
/// [key, "none"]. `value` stands at `path`. Throws InvalidDocument when it is no tree.
CAttributeMap ReadTree(JsonNode const& value, JsonPath const& path);

/// Throws as ReadTree does, and makes no tree.
void CheckTree(JsonNode const& value, JsonPath const& path);

/// The children of `tree` as an array of nodes. Flag words and group labels are not written. Throws std::length_error
/// for a tree nested deeper than TreeDepthLimit.
void AppendTree(std::string& out, CAttributeMap const& tree);
JsonValue WriteTree(CAttributeMap const& tree);

/// More than a JSON document can hold (JsonNestingLimit) and less than what would exhaust a stack.
inline constexpr int TreeDepthLimit = 1024;

} // namespace qx5
