// Runs one scenario on a host of its own.
#pragma once

#include "cli/scenario/scenario_event.h"
#include "cli/scenario/scenario_reader.h"

#include <filesystem>
#include <vector>

namespace qx5::cli {

/// Is told what a scenario did, as it comes: by its set-up, by each step, by its end.
class ScenarioResults
{
public:
    virtual ~ScenarioResults() = default;
    virtual void SetUp(std::vector<ScenarioEvent> const& events) = 0;
    virtual void Step(ScenarioStep const& step, JsonPath const& path, std::vector<ScenarioEvent> const& events) = 0;
    virtual void TornDown(std::vector<ScenarioEvent> const& events) = 0;
};

/// Whether steps of this kind can be run: a build without the view leaves those out that act on it. They are read and
/// checked all the same.
bool IsBuilt(StepKind kind);

/// Runs the scenario that was read from that source, whose steps must all be built, with the plug-in module of that
/// path, on the calling thread. No host may live in the process. Throws std::runtime_error, with one line that says
/// why, when it cannot be run: the plug-in is refused, or never settles. An exception that leaves a step is an event,
/// not an error.
void RunScenario(ScenarioSource const& source, Scenario const& scenario, std::filesystem::path const& plugin,
                 ScenarioResults& results);

} // namespace qx5::cli
