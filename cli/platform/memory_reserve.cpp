// Memory kept for when the system has none left.
#include "memory_reserve.h"

#include "reference_host/common/log.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace qx5::cli {

namespace {

/// Large enough that freeing one leaves room for anything but a record or a picture.
constexpr std::size_t blockBytes = std::size_t{512} << 10;
std::array<std::atomic<void*>, 8> blocks{};
std::atomic<bool> isKept{false};

void GiveOne()
{
    for (auto& block : blocks) {
        if (void* const given = block.exchange(nullptr)) {
            std::free(given);
            return;
        }
    }
    throw std::bad_alloc();
}

} // namespace

MemoryReserve::MemoryReserve()
{
    isKept = true;
    for (auto& block : blocks) {
        block = std::malloc(blockBytes);
    }
    std::set_new_handler(GiveOne);
}

MemoryReserve::~MemoryReserve()
{
    std::set_new_handler(nullptr);
    isKept = false;
    for (auto& block : blocks) {
        std::free(block.exchange(nullptr));
    }
}

void MemoryReserve::FillUp()
{
    bool wasGiven = false;
    for (auto& block : blocks) {
        if (isKept && block == nullptr) {
            wasGiven = true;
            // By malloc, which does not come back to the reserve.
            void* none = nullptr;
            void* const taken = std::malloc(blockBytes);
            if (!block.compare_exchange_strong(none, taken)) {
                std::free(taken);
            }
        }
    }
    if (wasGiven) {
        vordal::Log(vordal::LogLevel::Warning,
                    "there is hardly any memory left: a part of what this program keeps for that was used");
    }
}

} // namespace qx5::cli
