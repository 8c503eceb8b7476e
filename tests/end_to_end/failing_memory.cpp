// One allocation of the program, chosen by its number, that fails: stands in for operator new, and for the allocation
// that Asio calls, in the program and in every library that it loads.
#include "failing_memory.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#include <execinfo.h>
#include <unistd.h>

namespace {

std::atomic<std::uint64_t> allocations{0};
std::atomic<std::uint64_t> failing{0};
thread_local int safe = 0;

bool Fails()
{
    if (safe > 0 || ++allocations != failing.load(std::memory_order_relaxed)) {
        return false;
    }
    if (std::getenv("QX5_TRACE_FAILURE") != nullptr) {
        ++safe;
        void* frames[64];
        backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
        --safe;
    }
    return true;
}

void* AllocateOrNull(std::size_t size)
{
    return Fails() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* Allocate(std::size_t size)
{
    void* const memory = AllocateOrNull(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void qx5::test::FailAllocation(std::uint64_t number)
{
    failing = number;
    allocations = 0;
}

std::uint64_t qx5::test::AllocationsSince()
{
    return allocations;
}

qx5::test::SafeMemory::SafeMemory()
{
    ++safe;
}
qx5::test::SafeMemory::~SafeMemory()
{
    --safe;
}

extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    void* memory = nullptr;
    if (Fails() || ::posix_memalign(&memory, alignment < sizeof(void*) ? sizeof(void*) : alignment, size) != 0) {
        errno = ENOMEM;
        return nullptr;
    }
    return memory;
}

void* operator new(std::size_t size)
{
    return Allocate(size);
}
void* operator new[](std::size_t size)
{
    return Allocate(size);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept
{
    return AllocateOrNull(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept
{
    return AllocateOrNull(size);
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
