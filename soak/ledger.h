// What the soak has done so far: actions by kind, the last of them in words, and what the host's log said.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx5::soak {

/// A promise of the system was found broken; one line says which.
class Broken : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Any thread. What it holds has a bound.
class Ledger
{
public:
    static constexpr std::size_t KeptActions = 50;
    static constexpr std::size_t KeptLogLines = 20;

    /// `verbose`: each action is printed as well.
    explicit Ledger(bool verbose) : m_verbose(verbose) {}

    /// One action: its kind, which is counted, and what it did in particular.
    void Act(std::string_view kind, std::string_view detail);
    /// A failure that a sonar was given.
    void Misbehave(std::string_view failure);
    /// A line of the host's log.
    void Log(std::string_view level, std::string_view line);
    /// Another thread found a promise broken; the first is kept.
    void Report(std::string_view problem);
    /// Throws Broken if one was reported.
    void Check();

    std::map<std::string, std::uint64_t> Actions() const;
    std::map<std::string, std::uint64_t> Failures() const;
    std::map<std::string, std::uint64_t> LogLevels() const;
    /// The last actions and the last lines of the log, on standard error.
    void PrintLast() const;

private:
    bool const m_verbose;
    mutable std::mutex m_mutex; ///< guards what follows
    std::uint64_t m_number = 0;
    std::map<std::string, std::uint64_t> m_actions;
    std::map<std::string, std::uint64_t> m_failures;
    std::map<std::string, std::uint64_t> m_logLevels;
    std::deque<std::string> m_lastActions;
    std::deque<std::string> m_lastLog;
    std::string m_problem;
};

} // namespace qx5::soak
