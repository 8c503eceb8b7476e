// The command that runs scenario files.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace qx5::cli {

struct ScenarioOptions
{
    /// In this order; "-" is `input`.
    std::vector<std::string> files;
    /// Compare with what the steps expect instead of printing results.
    bool check = false;
    /// With `check`: a JSON object on a line for each scenario in place of the text.
    bool json = false;
    /// With `check`: a file to write what came of all scenarios to, as JUnit XML; empty for none. What is there is
    /// replaced.
    std::string junit = {};
    /// The plug-in module.
    std::filesystem::path plugin;
};

/// Runs the scenarios of all files on the calling thread; no host may live in the process.
///
/// Without `check` one result for each scenario goes to `out`, a JSON line each, as soon as it is there. With `check`
/// `out` gets, for each scenario, the first difference of each step that differs, or a line that says that it matches;
/// as JSON {"file", "path", "name", "result": "matches" or "differs", "steps", "checked", "differences": [{"path",
/// "step", "text"}]}.
/// A file or scenario that cannot be used gives one line on `err`: file, JSON path, reason; the others are run.
/// Gives the exit status: 0 all ran (and matched), 1 something differs or the file of JUnit cannot be written, 2
/// something could not be used or the plug-in not be loaded.
int RunScenarios(ScenarioOptions const& options, std::istream& input, std::ostream& out, std::ostream& err);

} // namespace qx5::cli
