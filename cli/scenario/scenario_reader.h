// Reads and checks scenarios.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "json/json_path.h"
#include "json/json_value.h"

#include <functional>

namespace qx5::cli {

/// A scenario in its document, with the set-ups that it may name; all must outlive this.
struct ScenarioSource
{
    JsonValue const& value;
    JsonPath const& path;
    JsonValue const* setUps = nullptr; ///< an object, by name
    JsonPath const* setUpsPath = nullptr;
};

/// Throws InvalidDocument for the first thing in the scenario or its set-up that is wrong; keys that scenarios do not
/// have are wrong.
Scenario ReadScenario(ScenarioSource const& source);

/// Calls `run` with each scenario of a document: a scenario object, an array of them, or
/// {"setups": {name: {...}}, "scenarios": [...]}. What is wrong around the scenarios, and with a set-up that none of
/// them uses, goes to `refuse`.
void ForEachScenario(JsonValue const& document, std::function<void(ScenarioSource const& source)> const& run,
                     std::function<void(InvalidDocument const& failure)> const& refuse);

} // namespace qx5::cli
