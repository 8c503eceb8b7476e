// How long requests took, as a histogram of a fixed size.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace qx5::soak {

/// Steps of 2 %, from a microsecond to 20 minutes. For one thread at a time.
class Latencies
{
public:
    void Add(std::chrono::nanoseconds latency)
    {
        double const microseconds = std::max(1.0, static_cast<double>(latency.count()) / 1000.0);
        auto const bucket = static_cast<std::size_t>(std::log(microseconds) / std::log(step));
        ++m_counts[std::min(bucket, m_counts.size() - 1)];
        ++m_count;
    }
    std::uint64_t Count() const { return m_count; }
    /// What that part of them did not exceed, in milliseconds; 0 without any.
    double Milliseconds(double part) const
    {
        auto const wanted = static_cast<std::uint64_t>(std::ceil(part * static_cast<double>(m_count)));
        std::uint64_t seen = 0;
        for (std::size_t bucket = 0; bucket < m_counts.size(); ++bucket) {
            seen += m_counts[bucket];
            if (seen >= wanted && seen > 0) {
                return std::pow(step, static_cast<double>(bucket + 1)) / 1000.0;
            }
        }
        return 0.0;
    }

private:
    static constexpr double step = 1.02;
    std::array<std::uint64_t, 1056> m_counts{};
    std::uint64_t m_count = 0;
};

} // namespace qx5::soak
