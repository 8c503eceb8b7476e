// Where two lists of events differ: of what a scenario did and what it was expected to do.
#pragma once

#include "json/json_document.h"

#include <optional>
#include <string>
#include <vector>

namespace qx5 {

/// The first place where two lists of events differ, told for people in a few lines without a line end; empty when they
/// are the same.
///
/// Events are the same when their JSON is: the same members in whatever order, the same items in the same order, texts
/// character by character. Numbers are the same when they are the same double, however they are written (50 and 50.0,
/// but not 0.0 and -0.0); two integers are compared as integers. Payloads ("payload", "raw") are compared as bytes.
/// There the sign of a quiet NaN says nothing: where a 32-bit or 64-bit little-endian number, at whatever offset, is
/// the quiet NaN without further bits on both sides (7fc00000 or 7ff8000000000000 but for its sign), it is the same.
std::optional<std::string> FindDifference(std::vector<JsonNode> const& expected, std::vector<JsonNode> const& got);

} // namespace qx5
