// Saves a project that is open while the session goes on, so that a process that is killed leaves what it did.
#pragma once

#include "operation/action_log.h"
#include "reference_host/store/project_store.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace qx5::cli {

/// Writes on a thread of its own, so that neither window nor host wait for the disk.
class ProjectKeeper
{
public:
    /// The store is the keeper's as long as the keeper lives. `tell` takes one line when a project cannot be saved, on
    /// the keeper's thread; the same line is not told twice in a row. What waits in `log` (null for none), which
    /// outlives the keeper, is written after each project; what cannot be written goes on waiting there.
    ProjectKeeper(vordal::ProjectStore& store, std::function<void(std::string const&)> tell,
                  operation::ActionLog* log = nullptr);
    ProjectKeeper(ProjectKeeper const&) = delete;
    ProjectKeeper& operator=(ProjectKeeper const&) = delete;
    /// Waits for a save under way and for all tasks; a save that has not been begun is left to whoever saves last.
    ~ProjectKeeper();

    /// How the project stands. It is saved when it is not as it was saved before; of several that wait, the newest
    /// alone. Any thread; does not wait.
    void Put(vordal::StoredProject project);
    /// Has the task run with the store on the keeper's thread, after those before it. It may not throw. Any thread;
    /// does not wait.
    void Do(std::function<void(vordal::ProjectStore&)> task);

private:
    void Run();
    void Save(vordal::StoredProject project);
    void SaveChanged(vordal::StoredProject project);

    vordal::ProjectStore& m_store;
    std::function<void(std::string const&)> const m_tell;
    operation::ActionLog* const m_log;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<vordal::StoredProject> m_waiting;
    std::deque<std::function<void(vordal::ProjectStore&)>> m_tasks;
    bool m_ending = false;
    // The thread's own.
    std::optional<vordal::StoredProject> m_saved;
    std::string m_told;
    std::thread m_thread;
};

} // namespace qx5::cli
