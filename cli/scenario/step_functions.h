// What each kind of step does.
#pragma once

#include "cli/scenario/scenario_stage.h"
#include "cli/scenario/step_kinds.h"

#include <stdexcept>

namespace qx5::cli {

/// The scenario cannot go on; unlike what is thrown by the plug-in, this is no event of a step.
class CannotGoOn : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Called once with a step of its kind, whose device is there when the kind needs one. The step is the function's to
/// change.
using StepFunction = void (*)(ScenarioStage& stage, ScenarioStep& step);

/// Null for a kind that is not part of this build.
StepFunction FindFunction(StepKind kind);

} // namespace qx5::cli
