// Saves a project that is open while the session goes on, so that a process that is killed leaves what it did.
#include "project_keeper.h"

#include <utility>

namespace qx5::cli {

ProjectKeeper::ProjectKeeper(vordal::ProjectStore& store, std::function<void(std::string const&)> tell,
                             operation::ActionLog* log)
    : m_store(store), m_tell(std::move(tell)), m_log(log), m_thread([this] { Run(); })
{
}

ProjectKeeper::~ProjectKeeper()
{
    {
        std::lock_guard const lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void ProjectKeeper::Put(vordal::StoredProject project)
{
    {
        std::lock_guard const lock(m_mutex);
        m_waiting = std::move(project);
    }
    m_changed.notify_one();
}

void ProjectKeeper::Do(std::function<void(vordal::ProjectStore&)> task)
{
    {
        std::lock_guard const lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    m_changed.notify_one();
}

void ProjectKeeper::Run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_ending || m_waiting.has_value() || !m_tasks.empty(); });
        if (!m_tasks.empty()) {
            auto const task = std::move(m_tasks.front());
            m_tasks.pop_front();
            lock.unlock();
            task(m_store);
            lock.lock();
            continue;
        }
        if (m_ending) {
            return;
        }
        auto project = std::move(*m_waiting);
        m_waiting.reset();
        lock.unlock();
        Save(std::move(project));
        lock.lock();
    }
}

void ProjectKeeper::SaveChanged(vordal::StoredProject project)
{
    if (!m_saved.has_value() || !(*m_saved == project)) {
        m_store.Save(project);
        m_saved = std::move(project);
    }
}

void ProjectKeeper::Save(vordal::StoredProject project)
{
    std::string problem;
    try {
        SaveChanged(std::move(project));
        if (m_log != nullptr) {
            m_log->WriteTo(m_store);
        }
    } catch (std::exception const& failure) {
        problem = failure.what();
    }
    if (!problem.empty() && problem != m_told) {
        m_tell(problem);
    }
    m_told = std::move(problem);
}

} // namespace qx5::cli
