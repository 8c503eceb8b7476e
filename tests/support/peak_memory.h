// The most memory that a process has had, as the system tells it.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>

namespace qx5::test {

/// In its pages at once, since it began or since its mark was cleared, in MiB; 0 when there is no such process. A
/// process is named by its number, or "self".
inline std::size_t PeakMiBOf(std::string const& process)
{
    std::ifstream status("/proc/" + process + "/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            std::size_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes >> 10;
        }
    }
    return 0;
}

} // namespace qx5::test
