// What the process holds: memory, descriptors, threads; and whether that grows.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::soak {

/// As the process stands now.
struct Held
{
    double memory = 0.0;      ///< allocated, in MiB
    double resident = 0.0;    ///< in the computer's memory, in MiB
    double descriptors = 0.0; ///< open
    double threads = 0.0;
};
Held LookAtProcess();

/// A straight line through values that were taken one behind the other.
struct Trend
{
    double slope = 0.0; ///< for each value
    double error = 0.0; ///< of the slope, one standard deviation
    std::size_t count = 0;

    /// What it comes to from the first value to the last.
    double Growth() const { return count > 1 ? slope * static_cast<double>(count - 1) : 0.0; }
    /// Whether it grows by more than `allowed`, and by more than four standard deviations of the noise.
    bool Grows(double allowed) const { return Growth() > allowed && slope > 4.0 * error; }
};
Trend TrendOf(std::span<double const> values);

} // namespace qx5::soak
