// Large pieces of memory, on Windows.
#include "platform/large_memory.h"

namespace qx5::platform {

void PreferLargePages(void*, std::size_t)
{
    // Large pages take a right there that users have not.
}

} // namespace qx5::platform
