// Reads and checks one step of a scenario.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "json/json_document.h"
#include "json/json_path.h"

namespace qx5::cli {

enum class StepUse
{
    Check, ///< what is wrong is found, but a tree is not made
    Run
};

/// Puts the step that stands at `path` in the place of what is in `step`. Devices and computations of `scenario` have
/// been read already; a step that means one that is not there, or one that it cannot mean, is wrong. Throws
/// InvalidDocument.
void ReadStep(ScenarioStep& step, JsonNode const& value, JsonPath const& path, Scenario const& scenario, StepUse use);

} // namespace qx5::cli
