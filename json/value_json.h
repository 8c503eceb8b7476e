// Values of keys as JSON and back: as scenarios and presets hold them.
#pragma once

#include "json_document.h"
#include "json_path.h"
#include "json_value.h"

#include <protocol/value.h>

#include <string>

namespace qx5 {

/// The value of that kind that stands at `path`: numbers and texts as they are, "nan", "inf" and "-inf" for what no
/// literal tells, pairs, lists, offsets and ids as arrays of numbers. Throws InvalidDocument when it is none. Of the
/// kinds Branch and Any there is none to read.
protocol::Value ReadValueOfKind(protocol::Kind kind, JsonNode const& value, JsonPath const& path);

/// The value as ReadValueOfKind reads it, numbers to the last bit; null for none.
void AppendValue(std::string& out, protocol::Value const& value);
JsonValue WriteValue(protocol::Value const& value);

} // namespace qx5
