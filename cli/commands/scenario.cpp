// `qx5 scenario`: hands the files over to the scenario runner.
#include "cli/commands.h"

#include "cli/plugins.h"
#include "cli/scenario/scenario_command.h"
#include "reference_host/common/path_text.h"

#include <iostream>

namespace qx5::cli {

int Scenario(ScenarioCommandOptions const& options)
{
    ScenarioOptions run;
    run.files = options.files;
    run.check = options.check;
    run.json = options.json;
    run.junit = options.junit;
    run.plugin = vordal::PathOf(PluginPath(options.plugin));
    return RunScenarios(run, std::cin, std::cout, std::cerr);
}

} // namespace qx5::cli
