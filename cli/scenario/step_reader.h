// Reads and checks one step of a scenario.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "json/json_document.h"
#include "json/json_path.h"

namespace qx5::cli {

/// The step that stands at `path`. Devices and computations of `scenario` have been read already; a step that means
/// one that is not there, or one that it cannot mean, is wrong. Throws InvalidDocument.
ScenarioStep ReadStep(JsonNode const& value, JsonPath const& path, Scenario const& scenario);

} // namespace qx5::cli
