// What the process holds, as the system and the allocator tell it.
#include "resources.h"

#include <cmath>
#include <filesystem>
#include <fstream>

#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// As the sanitizers' own header declares it, which not every compiler brings.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

namespace qx5::soak {

namespace {

constexpr double mebibyte = 1024.0 * 1024.0;

double EntriesOf(char const* folder)
{
    std::error_code failure;
    double count = 0.0;
    for (std::filesystem::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        ++count;
    }
    return count;
}

double AllocatedBytes()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return static_cast<double>(__sanitizer_get_current_allocated_bytes());
#else
    auto const info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
#endif
}

} // namespace

Held LookAtProcess()
{
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // What is free goes back to the system, so that the rest is what is held.
    malloc_trim(0);
#endif
    Held held;
    held.memory = AllocatedBytes() / mebibyte;
    std::ifstream pages("/proc/self/statm");
    double whole = 0.0;
    double resident = 0.0;
    if (pages >> whole >> resident) {
        held.resident = resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / mebibyte;
    }
    held.descriptors = EntriesOf("/proc/self/fd") - 1.0; // that of the look itself
    held.threads = EntriesOf("/proc/self/task");
    return held;
}

Trend TrendOf(std::span<double const> values)
{
    Trend trend;
    trend.count = values.size();
    if (values.size() < 3) {
        return trend;
    }
    auto const n = static_cast<double>(values.size());
    double const middle = (n - 1.0) / 2.0;
    double mean = 0.0;
    for (double const value : values) {
        mean += value / n;
    }
    double spread = 0.0;
    double together = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        double const x = static_cast<double>(i) - middle;
        spread += x * x;
        together += x * (values[i] - mean);
    }
    trend.slope = together / spread;
    double rest = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        double const x = static_cast<double>(i) - middle;
        double const off = values[i] - mean - trend.slope * x;
        rest += off * off;
    }
    trend.error = std::sqrt(rest / (n - 2.0) / spread);
    return trend;
}

} // namespace qx5::soak
