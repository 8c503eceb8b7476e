// A shared pointer that one thread exchanges while others go by it.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

namespace qx5::operation {

/// Any thread. Std's atomic<shared_ptr> in GCC 12 lets go of its lock after a read in a way that orders nothing, which
/// the thread sanitizer tells of; and a read of null, the usual case here, costs less this way.
template <typename T>
class ExchangedPointer
{
public:
    /// What it held goes on the caller's thread, unless somebody still has it.
    void Set(std::shared_ptr<T> pointer)
    {
        std::lock_guard const lock(m_mutex);
        m_pointer.swap(pointer);
        m_isSet.store(m_pointer != nullptr, std::memory_order_release);
    }
    /// Holds what it gives for as long as the caller does.
    std::shared_ptr<T> Get() const
    {
        if (!m_isSet.load(std::memory_order_acquire)) {
            return nullptr;
        }
        std::lock_guard const lock(m_mutex);
        return m_pointer;
    }

private:
    mutable std::mutex m_mutex;
    std::atomic<bool> m_isSet{false};
    std::shared_ptr<T> m_pointer;
};

} // namespace qx5::operation
