// What the soak has done so far, counted and, for the last of it, in words.
#include "ledger.h"

#include <cstdio>

#include <fmt/format.h>

namespace qx5::soak {

namespace {

void Keep(std::deque<std::string>& list, std::string line, std::size_t greatest)
{
    list.push_back(std::move(line));
    if (list.size() > greatest) {
        list.pop_front();
    }
}

} // namespace

void Ledger::Act(std::string_view kind, std::string_view detail)
{
    std::lock_guard const lock(m_mutex);
    ++m_number;
    ++m_actions[std::string(kind)];
    auto line = fmt::format("{:>8}  {}: {}", m_number, kind, detail);
    if (m_verbose) {
        fmt::print("{}\n", line);
        std::fflush(stdout);
    }
    Keep(m_lastActions, std::move(line), KeptActions);
}

void Ledger::Misbehave(std::string_view failure)
{
    std::lock_guard const lock(m_mutex);
    ++m_failures[std::string(failure)];
}

void Ledger::Log(std::string_view level, std::string_view line)
{
    std::lock_guard const lock(m_mutex);
    ++m_logLevels[std::string(level)];
    Keep(m_lastLog, fmt::format("after {:>8}  {}: {}", m_number, level, line), KeptLogLines);
}

void Ledger::Report(std::string_view problem)
{
    std::lock_guard const lock(m_mutex);
    if (m_problem.empty()) {
        m_problem = problem;
    }
}

void Ledger::Check()
{
    std::lock_guard const lock(m_mutex);
    if (!m_problem.empty()) {
        throw Broken(m_problem);
    }
}

std::map<std::string, std::uint64_t> Ledger::Actions() const
{
    std::lock_guard const lock(m_mutex);
    return m_actions;
}

std::map<std::string, std::uint64_t> Ledger::Failures() const
{
    std::lock_guard const lock(m_mutex);
    return m_failures;
}

std::map<std::string, std::uint64_t> Ledger::LogLevels() const
{
    std::lock_guard const lock(m_mutex);
    return m_logLevels;
}

void Ledger::PrintLast() const
{
    // Also from a process that hangs: whoever holds the lock is not waited for.
    std::unique_lock const lock(m_mutex, std::try_to_lock);
    if (!lock.owns_lock()) {
        return;
    }
    fmt::print(stderr, "the last {} actions:\n", m_lastActions.size());
    for (std::string const& line : m_lastActions) {
        fmt::print(stderr, "  {}\n", line);
    }
    fmt::print(stderr, "the last {} lines of the host's log:\n", m_lastLog.size());
    for (std::string const& line : m_lastLog) {
        fmt::print(stderr, "  {}\n", line);
    }
    std::fflush(stderr);
}

} // namespace qx5::soak
