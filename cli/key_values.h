// Requests as people type them: `x5Range=50`, `x5BeamSteer=10,-10`, `key:kind=value`.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <span>
#include <string>
#include <string_view>

namespace qx5::cli {

/// Appends the node that `text` tells to `request`. The kind is the key's own; of an unknown key it must be told
/// ("key:double=1"). Kinds: those of protocol/kinds.h that have a value, and none. A path of keys separated by '/' gives
/// branches: "EchoMarker/EchoMarkerDepth=12.5"; successive texts share the last branch of a key.
/// False, and one line in `error` that says what is wrong and what to write, leaves the request as it was.
bool AddKeyValue(CAttributeMap& request, std::string_view text, std::string& error);

/// A key of nearly that text, for people who mistype; empty when none is near.
std::string NearestKey(std::string_view name);

} // namespace qx5::cli
