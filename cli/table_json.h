// What the tables of records and commands say, as JSON for scripts: `qx5 keys --json` and `qx5 explain --json`.
#pragma once

#include "commands/catalogue.h"
#include "json/json_value.h"

#include <protocol/record_layout.h>

namespace qx5::cli {

/// "m", or null for none.
JsonValue UnitOrNull(protocol::Unit unit);

/// {"key", "kind", "unit", "meaning", "filter"}: the last is its name in captured traffic.
JsonValue KeyJson(protocol::Key const& key);

/// A row of the chain: {"row", "handler", "form", "note", "keys", "sends", "echo_flags", "asks"}.
JsonValue CommandJson(ChainEntry const& entry);

/// A record: {"number", "record", "carrier", "size", "layout", "tail", "tail_key", "tail_name", "item_size", "items",
/// "arrays"}.
JsonValue LayoutJson(protocol::RecordLayout const& record);

} // namespace qx5::cli
