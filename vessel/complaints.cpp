// Lines about what a vessel hears and passes over.
#include "vessel/complaints.h"

#include <utility>

#include <fmt/format.h>

namespace qx5::vessel {

namespace {

constexpr std::chrono::seconds interval{1};

} // namespace

Complaints::Complaints(std::function<void(std::string const& line)> tell) : m_tell(std::move(tell)) {}

void Complaints::Put(std::string const& line)
{
    std::uint64_t unsaid = 0;
    {
        std::lock_guard const lock(m_mutex);
        ++m_count;
        auto const now = std::chrono::steady_clock::now();
        if (m_told != std::chrono::steady_clock::time_point::min() && now - m_told < interval) {
            ++m_unsaid;
            return;
        }
        m_told = now;
        unsaid = std::exchange(m_unsaid, 0);
    }
    if (m_tell) {
        m_tell(unsaid == 0 ? line : fmt::format("{} (and {} more since the last such line)", line, unsaid));
    }
}

std::uint64_t Complaints::Count() const
{
    std::lock_guard const lock(m_mutex);
    return m_count;
}

} // namespace qx5::vessel
