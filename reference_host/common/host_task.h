// A task for the host thread: any callable without arguments, kept in place when it is small.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace vordal {

/// Owns one callable. Moves, does not copy; a callable of up to 64 bytes that moves without throwing costs no
/// allocation. An empty task must not be called.
class HostTask
{
public:
    HostTask() = default;

    template <typename Callable, typename = std::enable_if_t<!std::is_same_v<std::remove_cvref_t<Callable>, HostTask> &&
                                                             std::is_invocable_v<std::remove_cvref_t<Callable>&>>>
    HostTask(Callable&& callable)
    {
        using Kept = std::remove_cvref_t<Callable>;
        if constexpr (FitsInPlace<Kept>) {
            ::new (static_cast<void*>(m_place)) Kept(std::forward<Callable>(callable));
            m_operations = &InPlace<Kept>;
        } else {
            ::new (static_cast<void*>(m_place)) Kept*(new Kept(std::forward<Callable>(callable)));
            m_operations = &OnHeap<Kept>;
        }
    }

    HostTask(HostTask&& other) noexcept { Take(other); }
    HostTask& operator=(HostTask&& other) noexcept
    {
        if (this != &other) {
            Reset();
            Take(other);
        }
        return *this;
    }
    HostTask(HostTask const&) = delete;
    HostTask& operator=(HostTask const&) = delete;
    ~HostTask() { Reset(); }

    void operator()() { m_operations->call(m_place); }

private:
    static constexpr std::size_t PlaceSize = 64;

    struct Operations
    {
        void (*call)(void* place);
        /// Puts the callable into another place; nothing of it stays.
        void (*move)(void* from, void* to) noexcept;
        void (*destroy)(void* place) noexcept;
    };

    template <typename Kept>
    static constexpr bool FitsInPlace = std::is_nothrow_move_constructible_v<Kept> &&
                                        alignof(Kept) <= alignof(std::max_align_t) && sizeof(Kept) <= PlaceSize;

    template <typename T>
    static T& At(void* place)
    {
        return *std::launder(static_cast<T*>(place));
    }

    template <typename Kept>
    static constexpr Operations InPlace{[](void* place) { At<Kept>(place)(); },
                                        [](void* from, void* to) noexcept {
                                            ::new (to) Kept(std::move(At<Kept>(from)));
                                            std::destroy_at(&At<Kept>(from));
                                        },
                                        [](void* place) noexcept { std::destroy_at(&At<Kept>(place)); }};

    template <typename Kept>
    static constexpr Operations OnHeap{[](void* place) { (*At<Kept*>(place))(); },
                                       [](void* from, void* to) noexcept { ::new (to) Kept*(At<Kept*>(from)); },
                                       [](void* place) noexcept { delete At<Kept*>(place); }};

    void Take(HostTask& other) noexcept
    {
        m_operations = std::exchange(other.m_operations, nullptr);
        if (m_operations != nullptr) {
            m_operations->move(other.m_place, m_place);
        }
    }

    void Reset() noexcept
    {
        if (auto const* operations = std::exchange(m_operations, nullptr)) {
            operations->destroy(m_place);
        }
    }

    Operations const* m_operations = nullptr;
    alignas(std::max_align_t) std::byte m_place[PlaceSize];
};

} // namespace vordal
