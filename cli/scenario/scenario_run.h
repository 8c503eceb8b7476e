// Runs scenarios, each on a host of its own.
#pragma once

#include "cli/scenario/scenario_event.h"
#include "cli/scenario/scenario_files.h"
#include "cli/scenario/scenario_reader.h"

#include <filesystem>
#include <utility>

namespace qx5::cli {

/// Is told what a scenario did, as it comes: by its set-up, by each step, by its end.
class ScenarioResults
{
public:
    virtual ~ScenarioResults() = default;
    virtual void SetUp(ScenarioEvents const& events) = 0;
    virtual void Step(ScenarioStep const& step, JsonPath const& path, ScenarioEvents const& events) = 0;
    virtual void TornDown(ScenarioEvents const& events) = 0;
};

/// Whether steps of this kind can be run: a build without the view leaves those out that act on it. They are read and
/// checked all the same.
bool IsBuilt(StepKind kind);

/// Runs scenarios with the plug-in module of that path, one after the other.
class ScenarioRunner
{
public:
    explicit ScenarioRunner(std::filesystem::path plugin) : m_plugin(std::move(plugin)) {}

    /// Runs a scenario, whose steps must all be built, on the calling thread. No host
    /// may live in the process. Throws std::runtime_error, with one line that says why, when it cannot be run: the
    /// plug-in is refused, or never settles. An exception that leaves a step is an event, not an error.
    void Run(Scenario const& scenario, ScenarioSteps& steps, ScenarioResults& results);

private:
    std::filesystem::path m_plugin;
    ScenarioFolder m_folder;
};

} // namespace qx5::cli
