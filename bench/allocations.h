// How often the calling thread has taken memory from the heap.
#pragma once

#include <cstddef>

namespace bench {

std::size_t Allocations();

} // namespace bench
