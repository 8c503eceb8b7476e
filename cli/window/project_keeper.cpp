// Saves a project that is open while the session goes on, so that a process that is killed leaves what it did.
#include "project_keeper.h"

#include <utility>

namespace qx5::cli {

ProjectKeeper::ProjectKeeper(std::unique_ptr<HeldProject> project, std::function<void(std::string const&)> tell,
                             operation::ActionLog* log)
    : m_project(std::move(project)), m_tell(std::move(tell)), m_log(log), m_thread([this] { Run(); })
{
}

ProjectKeeper::~ProjectKeeper()
{
    End();
}

std::unique_ptr<HeldProject> ProjectKeeper::End()
{
    {
        std::lock_guard const lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return std::move(m_project);
}

void ProjectKeeper::Put(vordal::StoredProject project)
{
    Add({std::move(project), {}, {}, {}});
}

void ProjectKeeper::Save(vordal::StoredProject project, Saved saved)
{
    Add({std::move(project), {}, std::move(saved), {}});
}

void ProjectKeeper::SaveAs(vordal::StoredProject project, std::filesystem::path file, Saved saved)
{
    Add({std::move(project), std::move(file), std::move(saved), {}});
}

void ProjectKeeper::Do(std::function<void(vordal::ProjectStore&)> task)
{
    Add({{}, {}, {}, std::move(task)});
}

void ProjectKeeper::Add(Job job)
{
    {
        std::lock_guard const lock(m_mutex);
        // What nobody has asked for gives way to what is newer.
        if (!m_waiting.empty() && m_waiting.back().MayGiveWay()) {
            m_waiting.pop_back();
        }
        m_waiting.push_back(std::move(job));
    }
    m_changed.notify_one();
}

void ProjectKeeper::Run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_ending || !m_waiting.empty(); });
        if (m_waiting.empty()) {
            return;
        }
        auto job = std::move(m_waiting.front());
        m_waiting.pop_front();
        if (m_ending && job.MayGiveWay()) {
            continue;
        }
        lock.unlock();
        if (job.task) {
            if (m_project != nullptr) {
                job.task(m_project->Store());
            }
            lock.lock();
            continue;
        }
        auto problem = SaveOf(job);
        if (job.saved) {
            job.saved(problem);
        } else if (!problem.empty() && problem != m_told) {
            m_tell(problem);
        }
        m_told = std::move(problem);
        lock.lock();
    }
}

void ProjectKeeper::SaveChanged(vordal::StoredProject project)
{
    if (!m_saved.has_value() || !(*m_saved == project)) {
        m_project->Store().Save(project);
        m_saved = std::move(project);
    }
}

std::string ProjectKeeper::SaveOf(Job& job)
{
    try {
        if (job.file) {
            std::string error;
            auto made = HeldProject::SaveAs(*job.file, job.project, m_project.get(), error);
            if (made == nullptr) {
                return error;
            }
            m_project = std::move(made);
            m_saved = std::move(job.project);
        } else if (m_project != nullptr) {
            SaveChanged(std::move(job.project));
        } else {
            return job.saved ? "the project has no name yet" : std::string();
        }
        if (m_log != nullptr) {
            m_log->WriteTo(m_project->Store());
        }
    } catch (std::exception const& failure) {
        return failure.what();
    }
    return {};
}

} // namespace qx5::cli
