// Reads and checks scenarios.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "json/json_document.h"
#include "json/json_path.h"

#include <functional>
#include <optional>

namespace qx5::cli {

/// A scenario in its document, with the set-ups that it may name; document and paths must outlive this.
struct ScenarioSource
{
    JsonNode value;
    JsonPath const& path;
    std::optional<JsonNode> setUps; ///< an object, by name
    JsonPath const* setUpsPath = nullptr;
};

/// The step is the callee's to change.
using TakeStep = std::function<void(ScenarioStep& step, JsonPath const& path)>;

/// Throws InvalidDocument for the first thing in the scenario, its set-up or its steps that is wrong; keys that
/// scenarios do not have are wrong. `check`, if there is one, looks at each step besides, whose tree is not there; of
/// many steps it does so on two threads, in no order. Steps are not kept: there may be more of them than memory holds.
Scenario ReadScenario(ScenarioSource const& source, TakeStep const& check = {});

/// Calls `take` on the calling thread with each step of a scenario, which was read from that source, one after the
/// other. Further ones are read on another thread meanwhile.
void ForEachStep(ScenarioSource const& source, Scenario const& scenario, TakeStep const& take);

/// Calls `run` with each scenario of a document: a scenario object, an array of them, or
/// {"setups": {name: {...}}, "scenarios": [...]}. What is wrong around the scenarios, and with a set-up that none of
/// them uses, goes to `refuse`.
void ForEachScenario(JsonDocument const& document, std::function<void(ScenarioSource const& source)> const& run,
                     std::function<void(InvalidDocument const& failure)> const& refuse);

} // namespace qx5::cli
