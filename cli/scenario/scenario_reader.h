// Reads and checks scenarios.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "cli/scenario/steps_ahead.h"
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

/// Throws InvalidDocument for the first thing in the scenario or its set-up, but for its steps, that is wrong; keys
/// that scenarios do not have are wrong.
Scenario ReadScenario(ScenarioSource const& source);

/// The steps of a scenario that was read, all of them sound. They are not kept, but for the first few: there may be
/// more of them than memory holds.
class ScenarioSteps
{
public:
    /// Throws InvalidDocument for the first step that is wrong. `check`, if there is one, looks at each besides, whose
    /// tree need not be there; of many it does so on two threads, in no order. Source and scenario must outlive this.
    ScenarioSteps(ScenarioSource const& source, Scenario const& scenario, TakeStep const& check = {});

    /// Calls `take` on the calling thread with each step, one after the other; once. Further ones are read on another
    /// thread meanwhile.
    void TakeEach(TakeStep const& take);

private:
    JsonPath const m_path;
    StepsAhead m_ahead;
};

/// Calls `run` with each scenario of a document: a scenario object, an array of them, or
/// {"setups": {name: {...}}, "scenarios": [...]}. What is wrong around the scenarios, and with a set-up that none of
/// them uses, goes to `refuse`.
void ForEachScenario(JsonDocument const& document, std::function<void(ScenarioSource const& source)> const& run,
                     std::function<void(InvalidDocument const& failure)> const& refuse);

} // namespace qx5::cli
