// Memory in large pages, on every platform.
#pragma once

#include <cstddef>

namespace vordal::platform {

/// Asks the system to back memory that has not been touched yet with large pages: to hand over 50 MB page by page takes
/// longer than to copy them. The contents stay; where it cannot be had nothing happens.
void PreferLargePages(void* memory, std::size_t bytes);

} // namespace vordal::platform
