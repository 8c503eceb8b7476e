// Runs one scenario on a host of its own: set-up, steps, end.
#include "cli/scenario/scenario_run.h"

#include "cli/scenario/event_kinds.h"
#include "cli/scenario/scenario_stage.h"
#include "cli/scenario/step_functions.h"
#include "cli/scenario/timezone.h"

#include <protocol/utf8.h>

#include <stdexcept>
#include <utility>

namespace qx5::cli {

namespace {

void AddException(Recorder& recorder, char const* kind, char const* what)
{
    // Brought to valid UTF-8: the text is whatever the plug-in made it.
    auto const text = protocol::EncodeUtf8(protocol::DecodeUtf8(what));
    recorder.Add(Event(EventKind::Throws, JsonValue::Text(kind), {{"what", JsonValue::Text(text)}}));
}

void RunStep(ScenarioStage& stage, ScenarioStep const& step)
{
    stage.recorder.SetSubject(step.device);
    try {
#if defined(QX5_VIEW)
        // What threads of the plug-in have raised since the last step.
        if (stage.HasView()) {
            stage.host.DeliverToWindow();
        }
#endif
        FindFunction(step.kind)(stage, step);
    } catch (CannotGoOn const&) {
        throw;
    } catch (std::invalid_argument const& failure) {
        AddException(stage.recorder, "invalid_argument", failure.what());
    } catch (std::out_of_range const& failure) {
        AddException(stage.recorder, "out_of_range", failure.what());
    } catch (std::exception const& failure) {
        AddException(stage.recorder, "other", failure.what());
    } catch (...) {
        AddException(stage.recorder, "other", "");
    }
}

} // namespace

bool IsBuilt(StepKind kind)
{
    return FindFunction(kind) != nullptr;
}

ScenarioResult RunScenario(Scenario const& scenario, std::filesystem::path const& plugin)
{
    TimezoneSetting const timezone(scenario.timezone);
    ScenarioResult result;
    result.name = scenario.name;
    ScenarioStage stage(scenario.clock);
    stage.SetUp(scenario, plugin);
    result.setup = stage.recorder.TakeEvents();
    for (auto const& step : scenario.steps) {
        RunStep(stage, step);
        result.steps.push_back(stage.recorder.TakeEvents());
    }
    stage.TakeDown();
    for (auto& event : stage.recorder.TakeEventsOfThreads()) {
        stage.recorder.Add(std::move(event));
    }
    result.teardown = stage.recorder.TakeEvents();
    return result;
}

JsonValue WriteResult(ScenarioResult const& result)
{
    JsonValue steps = JsonValue::Array();
    for (auto const& events : result.steps) {
        steps.items.push_back(JsonValue::Array(events));
    }
    return JsonValue::Object({{"name", JsonValue::Text(result.name)},
                              {"setup", JsonValue::Array(result.setup)},
                              {"steps", std::move(steps)},
                              {"teardown", JsonValue::Array(result.teardown)}});
}

} // namespace qx5::cli
