// The bytes that wait until the system takes them from a link.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace vordal {

/// Whole frames in the order in which they leave; what has left of the first is gone. No socket, no lock: for one
/// thread at a time. Memory beyond 64 KiB is given back once it is empty.
class SendQueue
{
public:
    /// So many bytes may wait, and one longer frame beside them.
    explicit SendQueue(std::size_t greatest) : m_greatest(greatest) {}

    std::size_t Bytes() const { return m_bytes.size() - m_head; }
    bool IsEmpty() const { return Bytes() == 0; }
    /// What leaves next, the first bytes of all.
    std::span<unsigned char const> Front() const { return std::span(m_bytes).subspan(m_head); }

    /// One frame beyond the queue's size may wait, and does not take the room of the others.
    bool HasRoom(std::size_t size) const
    {
        return size > m_greatest ? m_largeRest == 0 : Bytes() - m_largeRest <= m_greatest - size;
    }
    /// Appends a whole frame. Throws std::bad_alloc; nothing has changed then.
    void Append(std::span<unsigned char const> frame);
    /// The system has taken so many bytes from the front.
    void Spend(std::size_t taken);
    /// Empties it.
    void Clear();

    /// With nothing queued: sends what `send` takes of the frame and queues the rest. `send` is given bytes and tells
    /// how many of them it took, or nothing when the connection is broken, and then this is false. Throws
    /// std::bad_alloc after one call of `send`.
    ///
    /// The system takes a long frame no faster than the sonar does. The time between is used to bring the frame's end
    /// into the queue, piece by piece, until both meet: so most of an image is never copied when the sonar is quick,
    /// and all of it is queued at once when the sonar is slow.
    template <typename Send>
    bool SendOrAppend(std::span<unsigned char const> frame, Send send)
    {
        std::optional<std::size_t> taken = send(frame);
        if (!taken || *taken == frame.size()) {
            return taken.has_value();
        }
        auto sent = *taken;
        m_bytes.resize(frame.size());
        for (auto queued = frame.size(); sent < queued && taken;) {
            auto const piece = std::min(queued - sent, PieceBytes);
            queued -= piece;
            std::copy_n(frame.data() + queued, piece, m_bytes.data() + queued);
            if (sent < queued) {
                taken = send(frame.subspan(sent, queued - sent));
                sent += taken.value_or(0);
            }
        }
        m_head = sent;
        m_largeRest = Bytes() > m_greatest ? Bytes() : 0;
        return taken.has_value();
    }

private:
    /// How much of a frame is queued before the system is asked again whether it takes more from the front.
    static constexpr std::size_t PieceBytes = std::size_t{64} << 10;

    /// Memory that holds nothing in particular until it is written: a long queue would otherwise be filled twice.
    template <typename T>
    struct UnsetAllocator : std::allocator<T>
    {
        template <typename U>
        struct rebind
        {
            using other = UnsetAllocator<U>;
        };
        template <typename U>
        void construct(U* place) noexcept
        {
            ::new (static_cast<void*>(place)) U;
        }
        template <typename U, typename... Arguments>
        void construct(U* place, Arguments&&... arguments)
        {
            ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
        }
    };

    std::size_t m_greatest;
    std::vector<unsigned char, UnsetAllocator<unsigned char>> m_bytes;
    std::size_t m_head = 0;
    /// Bytes of the queue up to the end of the one large frame in it, 0 when there is none.
    std::size_t m_largeRest = 0;
};

} // namespace vordal
