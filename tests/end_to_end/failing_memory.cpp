// One allocation of the program, chosen by its number, that fails: stands in for operator new, and for the allocation
// that Asio calls, in the program and in every library that it loads. Linked to a test, or, as a library by itself,
// loaded before those of another program: then the variable QX5_FAIL_ALLOCATION chooses, and the number of allocations
// is written to the file that QX5_COUNT_ALLOCATIONS names when the program ends.
#include "failing_memory.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
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
    for (;;) {
        if (void* const memory = AllocateOrNull(size)) {
            return memory;
        }
        // As operator new has to.
        if (auto const handler = std::get_new_handler()) {
            handler();
        } else {
            throw std::bad_alloc();
        }
    }
}

/// Of a library that is loaded before others.
struct Environment
{
    Environment()
    {
        if (char const* const number = std::getenv("QX5_FAIL_ALLOCATION")) {
            qx5::test::FailAllocation(std::strtoull(number, nullptr, 10));
        }
    }
    Environment(Environment const&) = delete;
    Environment& operator=(Environment const&) = delete;
    ~Environment()
    {
        char const* const name = std::getenv("QX5_COUNT_ALLOCATIONS");
        if (std::FILE* const file = name != nullptr ? std::fopen(name, "w") : nullptr) {
            std::fprintf(file, "%llu\n", static_cast<unsigned long long>(allocations.load()));
            std::fclose(file);
        }
    }
};
Environment const environment;

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
