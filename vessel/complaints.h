// Lines about what a vessel hears and passes over: counted all, told one a second.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace qx5::vessel {

/// Whoever sends rubbish without end does not fill a log. Any thread.
class Complaints
{
public:
    /// `tell` takes a line, on the thread that complains, with nothing locked; it may be missing.
    explicit Complaints(std::function<void(std::string const& line)> tell);

    void Put(std::string const& line);
    std::uint64_t Count() const;

private:
    std::function<void(std::string const& line)> const m_tell;
    mutable std::mutex m_mutex; ///< guards what follows
    std::chrono::steady_clock::time_point m_told = std::chrono::steady_clock::time_point::min();
    std::uint64_t m_count = 0;
    std::uint64_t m_unsaid = 0;
};

} // namespace qx5::vessel
