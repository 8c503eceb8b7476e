// A project file that a window works on, and no other window does.
#pragma once

#include "reference_host/store/project_store.h"

#include <filesystem>
#include <memory>
#include <string>

class QLockFile;

namespace qx5::cli {

/// Beside the file lies one with ".lock" at its name's end for as long as this lives; what a process that died has left
/// of it counts no longer. Commands that read the project, or add a preset to it, take no notice of it. One thread at a
/// time.
class HeldProject
{
public:
    /// Opens, checks and loads the file. Null, and one line in `error`, when it cannot be used, or another window has
    /// it; it is then as it was.
    static std::unique_ptr<HeldProject> Open(std::filesystem::path const& file, vordal::ProjectStore::Missing missing,
                                             std::string& error);
    /// Makes a project file of that name which holds `project` and the presets and the log of `present` (null: none of
    /// them), as ProjectStore::SaveAs does, and opens it. Null, and one line in `error`, when that failed.
    static std::unique_ptr<HeldProject> SaveAs(std::filesystem::path const& file, vordal::StoredProject const& project,
                                               HeldProject const* present, std::string& error);
    HeldProject(HeldProject const&) = delete;
    HeldProject& operator=(HeldProject const&) = delete;
    ~HeldProject();

    std::filesystem::path const& File() const { return m_file; }
    vordal::ProjectStore& Store() { return *m_store; }
    /// What the file held when it was opened.
    vordal::StoredProject const& Loaded() const { return m_loaded; }
    /// Whether nobody has kept a vessel or a device in it yet.
    bool IsEmpty() const { return m_loaded.vessels.empty() && m_loaded.devices.empty(); }

private:
    explicit HeldProject(std::filesystem::path file);
    /// False, and why, when another window has it.
    bool Lock(std::string& error);
    void Load(vordal::ProjectStore::Missing missing);

    std::filesystem::path m_file; ///< from the root on
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<vordal::ProjectStore> m_store;
    vordal::StoredProject m_loaded;
};

} // namespace qx5::cli
