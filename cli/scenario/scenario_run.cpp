// Runs one scenario on a host of its own: set-up, steps, end.
#include "cli/scenario/scenario_run.h"

#include "cli/scenario/scenario_stage.h"
#include "cli/scenario/step_functions.h"
#include "cli/scenario/timezone.h"

#include <protocol/utf8.h>

#include <stdexcept>
#include <utility>

namespace qx5::cli {

namespace {

void AddException(Recorder& recorder, std::string_view kind, char const* what)
{
    // Brought to valid UTF-8: the text is whatever the plug-in made it.
    auto const text = protocol::EncodeUtf8(protocol::DecodeUtf8(what));
    recorder.Write(
        [&](ScenarioEvents& events) { events.Add(EventKind::Throws, kind).With("what", std::string_view(text)); });
}

void RunStep(ScenarioStage& stage, ScenarioStep& step)
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

void ScenarioRunner::Run(Scenario const& scenario, ScenarioSteps& steps, ScenarioResults& results)
{
    TimezoneSetting const timezone(scenario.timezone);
    ScenarioStage stage(scenario.clock, m_folder);
    stage.SetUp(scenario, m_plugin);
    ScenarioEvents events;
    stage.recorder.TakeEvents(events);
    results.SetUp(events);
    steps.TakeEach([&](ScenarioStep& step, JsonPath const& path) {
        RunStep(stage, step);
        stage.recorder.TakeEvents(events);
        results.Step(step, path, events);
    });
    stage.TakeDown();
    stage.recorder.AddEventsOfThreads();
    stage.recorder.TakeEvents(events);
    results.TornDown(events);
}

} // namespace qx5::cli
