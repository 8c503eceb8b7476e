// A project file that this process works on. The lock file is that of the window's toolkit: number and name of the
// process, name of the machine, the machine's and its start's own ids, a line each.
#include "project_lock.h"

#include "cli/platform/executable_path.h"
#include "reference_host/common/path_text.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

struct LockOwner
{
    long long process = 0;
    std::string program;
    std::string machine;
    std::string machineId;
    std::string startId;
};

std::string LineOfFile(char const* file)
{
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

LockOwner ThisProcess()
{
    std::array<char, 256> name{};
    ::gethostname(name.data(), name.size() - 1);
    return {::getpid(), ExecutablePath().filename().string(), name.data(), LineOfFile("/etc/machine-id"),
            LineOfFile("/proc/sys/kernel/random/boot_id")};
}

LockOwner ReadOwner(std::filesystem::path const& file)
{
    std::ifstream stream(file);
    LockOwner owner;
    std::string process;
    std::getline(stream, process);
    std::getline(stream, owner.program);
    std::getline(stream, owner.machine);
    std::getline(stream, owner.machineId);
    std::getline(stream, owner.startId);
    std::from_chars(process.data(), process.data() + process.size(), owner.process);
    return owner;
}

/// Whether who wrote it is known to be gone.
bool IsGone(LockOwner const& owner, LockOwner const& self)
{
    if (owner.machine != self.machine || owner.machineId != self.machineId) {
        return false;
    }
    if (!owner.startId.empty() && owner.startId != self.startId) {
        return true;
    }
    if (owner.process <= 0 || owner.process == self.process) {
        return owner.process == self.process;
    }
    if (::kill(static_cast<pid_t>(owner.process), 0) != 0 && errno == ESRCH) {
        return true;
    }
    // The number may be another program's by now.
    std::error_code error;
    auto const program = std::filesystem::read_symlink(fmt::format("/proc/{}/exe", owner.process), error);
    return !error && !owner.program.empty() && program.filename().string() != owner.program;
}

} // namespace

std::unique_ptr<ProjectLock> ProjectLock::Take(std::filesystem::path const& project, std::string& error)
{
    std::error_code failure;
    auto whole = std::filesystem::weakly_canonical(std::filesystem::absolute(project, failure), failure);
    if (failure) {
        whole = project;
    }
    auto const file = std::filesystem::path(whole.native() + ".lock");
    std::string const name = vordal::Utf8Of(whole);
    auto const self = ThisProcess();
    for (int attempt = 0; attempt < 2; ++attempt) {
        int const handle = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (handle >= 0) {
            auto const text = fmt::format("{}\n{}\n{}\n{}\n{}\n", self.process, self.program, self.machine,
                                          self.machineId, self.startId);
            bool const isWritten = ::write(handle, text.data(), text.size()) == static_cast<ssize_t>(text.size());
            ::close(handle);
            std::unique_ptr<ProjectLock> lock(new ProjectLock([file] {
                std::error_code ignored;
                std::filesystem::remove(file, ignored);
            }));
            if (isWritten) {
                return lock;
            }
            error = fmt::format("\"{}\" cannot be written: the disk has no room for its lock", name);
            return nullptr;
        }
        if (errno != EEXIST) {
            error = fmt::format("\"{}\" cannot be written: the file or its folder does not allow it", name);
            return nullptr;
        }
        auto const owner = ReadOwner(file);
        if (!IsGone(owner, self)) {
            error =
                fmt::format("\"{}\" is open in another program (process {} on {})", name, owner.process, owner.machine);
            return nullptr;
        }
        std::filesystem::remove(file, failure);
    }
    error = fmt::format("\"{}\" is open in another program", name);
    return nullptr;
}

ProjectLock::~ProjectLock()
{
    m_release();
}

} // namespace qx5::cli
