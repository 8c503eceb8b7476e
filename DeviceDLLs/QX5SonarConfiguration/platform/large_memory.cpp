// Large pieces of memory: Linux.
#include "large_memory.h"

#include <cstdint>

#include <sys/mman.h>

namespace qx5::platform {

void PreferLargePages(void* memory, std::size_t bytes)
{
    // Whole large pages alone: what lies around them may be somebody else's.
    constexpr std::size_t largePage = std::size_t{2} << 20;
    auto const before = (largePage - reinterpret_cast<std::uintptr_t>(memory) % largePage) % largePage;
    if (bytes >= before + largePage) {
        madvise(static_cast<unsigned char*>(memory) + before, (bytes - before) / largePage * largePage, MADV_HUGEPAGE);
    }
}

} // namespace qx5::platform
