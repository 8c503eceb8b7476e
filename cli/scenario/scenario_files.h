// The files of a scenario: a private temporary folder that stands for "/", and target files beside it.
#pragma once

#include "cli/scenario/scenario_model.h"

#include <filesystem>

namespace vordal {
class Host;
}

namespace qx5::cli {

/// A folder for the files of one scenario after the other, since making and removing one takes longer than a short
/// scenario; it goes with this object.
class ScenarioFolder
{
public:
    ScenarioFolder() = default;
    ScenarioFolder(ScenarioFolder const&) = delete;
    ScenarioFolder& operator=(ScenarioFolder const&) = delete;
    ~ScenarioFolder();

    /// Empty, but for an empty folder that stands for "/". Throws std::runtime_error when there is no room for
    /// temporary files.
    std::filesystem::path const& Use();
    /// Takes out what is in it, or gives it up where that cannot be done.
    void Empty();

    static std::filesystem::path RootIn(std::filesystem::path const& folder) { return folder / "root"; }

private:
    void Remove();

    std::filesystem::path m_folder; ///< empty: there is none
};

/// The files of one scenario; they go with this object. Nothing of the computer's own files can be reached by names
/// below their root.
class ScenarioFiles
{
public:
    /// The folder must outlive this and is nobody else's meanwhile. Throws std::runtime_error when there is no room for
    /// temporary files.
    explicit ScenarioFiles(ScenarioFolder& folder);
    ScenarioFiles(ScenarioFiles const&) = delete;
    ScenarioFiles& operator=(ScenarioFiles const&) = delete;
    ~ScenarioFiles();

    /// Writes the scenario's files and target files and makes the host find them. Throws std::runtime_error when one of
    /// them cannot be written.
    void PutInto(vordal::Host& host, Scenario const& scenario) const;

private:
    void PutTargets(vordal::Host& host, ScenarioTargets const& targets) const;

    ScenarioFolder& m_folder;
    std::filesystem::path m_path;
};

} // namespace qx5::cli
