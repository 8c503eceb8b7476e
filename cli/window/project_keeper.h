// Saves a project that is open while the session goes on, so that a process that is killed leaves what it did.
#pragma once

#include "cli/window/held_project.h"
#include "operation/action_log.h"
#include "reference_host/store/project_store.h"

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace qx5::cli {

/// Writes on a thread of its own, so that neither window nor host wait for the disk.
class ProjectKeeper
{
public:
    /// Takes one line on why a project was not saved; none when it was. On the keeper's thread.
    using Saved = std::function<void(std::string const& problem)>;

    /// Without a project (null) nothing is saved until SaveAs has made one. `tell` takes one line when a project cannot
    /// be saved by itself, on the keeper's thread; the same line is not told twice in a row. What waits in `log` (null
    /// for none), which outlives the keeper, is written after each project; what cannot be written goes on waiting
    /// there.
    ProjectKeeper(std::unique_ptr<HeldProject> project, std::function<void(std::string const&)> tell,
                  operation::ActionLog* log = nullptr);
    ProjectKeeper(ProjectKeeper const&) = delete;
    ProjectKeeper& operator=(ProjectKeeper const&) = delete;
    /// As End.
    ~ProjectKeeper();

    /// How the project stands. It is saved when it is not as it was saved before; of several that wait, the newest
    /// alone. Any thread; does not wait.
    void Put(vordal::StoredProject project);
    /// The same, and how it ended is told in any case. Without a project that is a problem.
    void Save(vordal::StoredProject project, Saved saved);
    /// The project is saved as that file, with the presets and the log of the former one, and from then on in that one;
    /// when that fails, both files are as they were, and the former one is the project still.
    void SaveAs(vordal::StoredProject project, std::filesystem::path file, Saved saved);

    /// Has the task run with the store on the keeper's thread, in its turn; where there is no project it is left. It
    /// may not throw. Any thread; does not wait.
    void Do(std::function<void(vordal::ProjectStore&)> task);

    /// Waits for what was asked for by Save, SaveAs and Do and gives the project back (null: there is none); what Put
    /// has left is for whoever saves last. Nothing is saved any more.
    std::unique_ptr<HeldProject> End();

private:
    struct Job
    {
        vordal::StoredProject project;
        std::optional<std::filesystem::path> file;
        Saved saved;                                     ///< empty: nobody has asked for it
        std::function<void(vordal::ProjectStore&)> task; ///< in place of a save

        bool MayGiveWay() const { return !saved && !task; }
    };

    void Add(Job job);
    void Run();
    std::string SaveOf(Job& job);
    void SaveChanged(vordal::StoredProject project);

    std::unique_ptr<HeldProject> m_project; ///< the thread's own until the end
    std::function<void(std::string const&)> const m_tell;
    operation::ActionLog* const m_log;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_waiting;
    bool m_ending = false;
    // The thread's own.
    std::optional<vordal::StoredProject> m_saved;
    std::string m_told;
    std::thread m_thread;
};

} // namespace qx5::cli
