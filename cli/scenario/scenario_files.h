// The files of a scenario: a private temporary folder that stands for "/", and target files beside it.
#pragma once

#include "cli/scenario/scenario_model.h"

#include <filesystem>

namespace vordal {
class Host;
}

namespace qx5::cli {

/// The folder of one scenario; it goes with this object. Nothing of the computer's own files can be reached by names
/// below it.
class ScenarioFiles
{
public:
    /// Throws std::runtime_error when there is no room for temporary files.
    ScenarioFiles();
    ScenarioFiles(ScenarioFiles const&) = delete;
    ScenarioFiles& operator=(ScenarioFiles const&) = delete;
    ~ScenarioFiles();

    /// Writes the scenario's files and target files and makes the host find them. Throws std::runtime_error when one of
    /// them cannot be written.
    void PutInto(vordal::Host& host, Scenario const& scenario) const;

private:
    void PutTargets(vordal::Host& host, ScenarioTargets const& targets) const;

    std::filesystem::path m_folder;
};

} // namespace qx5::cli
