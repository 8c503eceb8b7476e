// Large pieces of memory, on every platform.
#pragma once

#include <cstddef>

namespace qx5::platform {

/// Asks the system to back memory that has not been touched yet with large pages: it takes longer to hand over 50 MB
/// page by page than to copy them. The contents stay. Where it cannot be had nothing happens.
void PreferLargePages(void* memory, std::size_t bytes);

/// Lets the system take back what is in this memory whenever it is short of any, without storing it first. Until then
/// the memory is there to be written at no cost. Each byte holds what it held, or 0, until it is written. Where it
/// cannot be had nothing happens.
void LendToSystem(void* memory, std::size_t bytes);

} // namespace qx5::platform
