// Reads and checks one step of a scenario.
#pragma once

#include "cli/scenario/json_path.h"
#include "cli/scenario/json_value.h"
#include "cli/scenario/scenario_model.h"

namespace qx5::cli {

/// The step that stands at `path`. Devices and computations of `scenario` have been read already; a step that means
/// one that is not there, or one that it cannot mean, is wrong. Throws InvalidScenario.
ScenarioStep ReadStep(JsonValue const& value, JsonPath const& path, Scenario const& scenario);

} // namespace qx5::cli
