// A project file that a window works on, and no other window does.
#include "held_project.h"

#include "reference_host/common/path_text.h"

#include <system_error>
#include <utility>

#include <QLockFile>
#include <QString>

#include <fmt/format.h>

namespace qx5::cli {

HeldProject::HeldProject(std::filesystem::path file) : m_file(std::move(file))
{
    // Whatever way leads to a file, it is one file.
    std::error_code error;
    if (auto canonical = std::filesystem::weakly_canonical(std::filesystem::absolute(m_file, error), error); !error) {
        m_file = std::move(canonical);
    }
    m_lock = std::make_unique<QLockFile>(QString::fromStdString(vordal::Utf8Of(m_file) + ".lock"));
    // However long a window is open, its project is its own.
    m_lock->setStaleLockTime(0);
}

HeldProject::~HeldProject() = default;

bool HeldProject::Lock(std::string& error)
{
    if (m_lock->tryLock(0)) {
        return true;
    }
    std::string const name = vordal::Utf8Of(m_file);
    if (m_lock->error() == QLockFile::LockFailedError) {
        qint64 process = 0;
        QString host;
        QString application;
        m_lock->getLockInfo(&process, &host, &application);
        error = fmt::format("\"{}\" is open in another window (process {} on {})", name, process, host.toStdString());
    } else {
        error = fmt::format("\"{}\" cannot be written: the file or its folder does not allow it", name);
    }
    return false;
}

void HeldProject::Load(vordal::ProjectStore::Missing missing)
{
    m_store = std::make_unique<vordal::ProjectStore>(m_file, missing);
    m_loaded = m_store->Load();
}

std::unique_ptr<HeldProject> HeldProject::Open(std::filesystem::path const& file, vordal::ProjectStore::Missing missing,
                                               std::string& error)
{
    std::unique_ptr<HeldProject> held(new HeldProject(file));
    bool const isLocked = held->Lock(error);
    if (!isLocked && held->m_lock->error() == QLockFile::LockFailedError) {
        return nullptr;
    }
    try {
        // Also where nothing may be written beside it: what is wrong with the file itself says more.
        held->Load(missing);
    } catch (vordal::StoreError const& failure) {
        error = failure.what();
        return nullptr;
    }
    return isLocked ? std::move(held) : nullptr;
}

std::unique_ptr<HeldProject> HeldProject::SaveAs(std::filesystem::path const& file,
                                                 vordal::StoredProject const& project, HeldProject const* present,
                                                 std::string& error)
{
    std::unique_ptr<HeldProject> held(new HeldProject(file));
    if (!held->Lock(error)) {
        return nullptr;
    }
    try {
        vordal::ProjectStore::SaveAs(held->m_file, project,
                                     present != nullptr ? present->m_file : std::filesystem::path());
        held->Load(vordal::ProjectStore::Missing::Refuse);
        return held;
    } catch (vordal::StoreError const& failure) {
        error = failure.what();
        return nullptr;
    }
}

} // namespace qx5::cli
