// Ends a soak that hangs. The picture of the threads is taken by themselves, each in a signal's handler.
#include "watchdog.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <execinfo.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fmt/format.h>

namespace qx5::soak {

namespace {

constexpr int pictureSignal = SIGUSR2;

void PrintOwnStack(int)
{
    std::array<void*, 48> frames;
    int const count = backtrace(frames.data(), static_cast<int>(frames.size()));
    backtrace_symbols_fd(frames.data(), count, STDERR_FILENO);
}

std::string LineOf(std::filesystem::path const& file)
{
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

void PrintThreads()
{
    std::error_code failure;
    for (std::filesystem::directory_iterator entry("/proc/self/task", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        auto const& folder = entry->path();
        int const thread = std::atoi(folder.filename().c_str());
        fmt::print(stderr, "thread {} ({}) waits in {}\n", thread, LineOf(folder / "comm"), LineOf(folder / "wchan"));
        std::fflush(stderr);
        syscall(SYS_tgkill, getpid(), thread, pictureSignal);
        // It prints by itself; the next one after it.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

} // namespace

Watchdog::Watchdog(std::chrono::seconds limit, std::function<void(std::string const&)> tell)
    : m_limit(limit), m_tell(std::move(tell))
{
    // The first call loads a library, which a handler must not.
    std::array<void*, 1> frames;
    backtrace(frames.data(), 1);
    std::signal(pictureSignal, PrintOwnStack);
    m_thread = std::thread([this] { Watch(); });
}

Watchdog::~Watchdog()
{
    {
        std::lock_guard const lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void Watchdog::Progress()
{
    std::lock_guard const lock(m_mutex);
    m_last = std::chrono::steady_clock::now();
    m_waitedFor.clear();
}

void Watchdog::WaitFor(std::string_view what)
{
    std::lock_guard const lock(m_mutex);
    m_waitedFor = what;
}

void Watchdog::Watch()
{
    std::unique_lock lock(m_mutex);
    while (!m_changed.wait_for(lock, std::chrono::seconds(1), [this] { return m_ends; })) {
        if (std::chrono::steady_clock::now() - m_last < m_limit) {
            continue;
        }
        auto const reason = fmt::format("no progress for {} s{}", m_limit.count(),
                                        m_waitedFor.empty() ? std::string() : ", waiting until " + m_waitedFor);
        lock.unlock();
        m_tell(reason);
        PrintThreads();
        std::fflush(nullptr);
        std::_Exit(EXIT_FAILURE);
    }
}

} // namespace qx5::soak
