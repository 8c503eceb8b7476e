// Records as JSON for scripts: the one form in which every command tells them.
#pragma once

#include "json/json_value.h"

#include <protocol/frame.h>

#include <vector>

namespace qx5::cli {

/// What a frame holds: "number", "record" (the name), "carrier", "device", "enumerator", of a command "ticket", "stamp"
/// (seconds since 1970, null for none), "fields" (in one line, as recordings have it), "values" (one object for each
/// key or field, numbers to the last bit), of an attribute tree "tree", of a command that is passed on "passes", where
/// something is wrong "damage", at last "bytes" (hexadecimal). The manual tells them in full.
std::vector<JsonValue::Member> RecordMembers(protocol::FrameView const& frame);

} // namespace qx5::cli
