// One allocation of the program, chosen by its number, that fails.
#pragma once

#include <cstdint>

namespace qx5::test {

/// Begins to count, on all threads; the allocation of that number, from 1, fails. 0: none does.
void FailAllocation(std::uint64_t number);
/// Those since.
std::uint64_t AllocationsSince();

/// What this thread allocates neither counts nor fails while it lives.
class SafeMemory
{
public:
    SafeMemory();
    SafeMemory(SafeMemory const&) = delete;
    SafeMemory& operator=(SafeMemory const&) = delete;
    ~SafeMemory();
};

} // namespace qx5::test
