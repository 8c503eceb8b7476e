// Reads and checks scenarios.
#pragma once

#include "cli/scenario/json_path.h"
#include "cli/scenario/json_value.h"
#include "cli/scenario/scenario_model.h"

namespace qx5::cli {

/// The scenario that stands at `path` of a document. Throws InvalidScenario for the first thing in it that is wrong;
/// keys that scenarios do not have are wrong.
Scenario ReadScenario(JsonValue const& value, JsonPath const& path);

} // namespace qx5::cli
