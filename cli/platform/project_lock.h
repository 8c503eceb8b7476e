// A project file that this process works on, and no other does.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace qx5::cli {

/// Beside the file lies one with ".lock" at its name's end for as long as this lives, in the form that windows write
/// and look for. What a process that died has left of it counts no longer.
class ProjectLock
{
public:
    /// Null, and one line in `error`, when another process has the project, or nothing can be written beside it.
    static std::unique_ptr<ProjectLock> Take(std::filesystem::path const& project, std::string& error);
    ProjectLock(ProjectLock const&) = delete;
    ProjectLock& operator=(ProjectLock const&) = delete;
    ~ProjectLock();

private:
    explicit ProjectLock(std::function<void()> release) : m_release(std::move(release)) {}

    std::function<void()> const m_release;
};

} // namespace qx5::cli
