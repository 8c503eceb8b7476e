// Runs one scenario on a host of its own.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "json/json_value.h"

#include <filesystem>
#include <vector>

namespace qx5::cli {

/// What a scenario did: one list of events for its set-up, for each step, and for its end.
struct ScenarioResult
{
    std::string name;
    std::vector<JsonValue> setup;
    std::vector<std::vector<JsonValue>> steps;
    std::vector<JsonValue> teardown;
};

/// Whether steps of this kind can be run: a build without the view leaves those out that act on it. They are read and
/// checked all the same.
bool IsBuilt(StepKind kind);

/// Runs the scenario, whose steps must all be built, with the plug-in module of that path, on the calling thread. No
/// host may live in the process. Throws std::runtime_error, with one line that says why, when it cannot be run: the
/// plug-in is refused, or never settles. An exception that leaves a step is an event, not an error.
ScenarioResult RunScenario(Scenario const& scenario, std::filesystem::path const& plugin);

/// {"name", "setup", "steps", "teardown"}.
JsonValue WriteResult(ScenarioResult const& result);

} // namespace qx5::cli
