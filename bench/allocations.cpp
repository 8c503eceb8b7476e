// Counts allocations by standing in for operator new, in the program and in every library that it loads.
#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocations = 0;

void* Allocate(std::size_t size)
{
    ++allocations;
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

std::size_t bench::Allocations()
{
    return allocations;
}

void* operator new(std::size_t size)
{
    return Allocate(size);
}
void* operator new[](std::size_t size)
{
    return Allocate(size);
}
// These as well: a sanitizer brings its own, whose memory is not for std::free.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept
{
    ++allocations;
    return std::malloc(size != 0 ? size : 1);
}
void* operator new[](std::size_t size, std::nothrow_t const& tag) noexcept
{
    return operator new(size, tag);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}
