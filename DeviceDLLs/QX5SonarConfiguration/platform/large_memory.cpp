// Large pieces of memory: the calls of each platform.
#include "large_memory.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace qx5::platform {

void PreferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes)
{
#if defined(__linux__)
    // Whole large pages alone: what lies around them may be somebody else's.
    constexpr std::size_t largePage = std::size_t{2} << 20;
    auto const before = (largePage - reinterpret_cast<std::uintptr_t>(memory) % largePage) % largePage;
    if (bytes >= before + largePage) {
        madvise(static_cast<unsigned char*>(memory) + before, (bytes - before) / largePage * largePage, MADV_HUGEPAGE);
    }
#endif
}

} // namespace qx5::platform
