// The bytes that wait until the system takes them from a link.
#pragma once

#include "owned_bytes.h"

#include <algorithm>
#include <cstddef>
#include <deque>
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
    /// So many bytes may wait, and longer frames beside them: one, or as many as have no more than `greatestLong` bytes
    /// together.
    explicit SendQueue(std::size_t greatest, std::size_t greatestLong = 0)
        : m_greatest(greatest), m_greatestLong(greatestLong)
    {
    }

    std::size_t Bytes() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }
    /// What leaves next, the first bytes of all: not all of them where a long frame waits.
    std::span<unsigned char const> Front() const;
    /// Whether that is of a long frame; it stays where it is until it is spent, whatever is appended.
    bool IsLongFirst() const { return m_head == m_bytes.size() && !m_long.empty(); }

    /// Long frames do not take the room of the others, and neither does what leaves before one of them has left.
    bool HasRoom(std::size_t size) const
    {
        return size > m_greatest ? m_long.empty() || size <= m_greatestLong - std::min(m_greatestLong, m_longBytes)
               : m_long.empty()  ? m_count <= m_greatest - size
                                 : m_long.back().behind.size() <= m_greatest - size;
    }
    bool IsLong(std::size_t size) const { return size > m_greatest; }
    /// Appends a whole frame. Throws std::bad_alloc; nothing has changed then.
    void Append(std::span<unsigned char const> frame);
    /// The same of a long one, without a copy.
    void Append(OwnedBytes frame);
    /// The system has taken so many bytes from the front. The long frame that has left with them, for the caller to let
    /// go of: giving so much memory back takes a while.
    OwnedBytes Spend(std::size_t taken);
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
        // What is left goes to the places that it has in the frame.
        bool const isLong = IsLong(frame.size());
        unsigned char* place = nullptr;
        if (isLong) {
            auto memory = std::make_shared_for_overwrite<unsigned char[]>(frame.size());
            place = memory.get();
            m_long.push_back({{std::move(memory), {place, frame.size()}}, 0, {}});
        } else {
            m_bytes.resize(frame.size());
            place = m_bytes.data();
        }
        for (auto queued = frame.size(); sent < queued && taken;) {
            auto const piece = std::min(queued - sent, PieceBytes);
            queued -= piece;
            std::copy_n(frame.data() + queued, piece, place + queued);
            if (sent < queued) {
                taken = send(frame.subspan(sent, queued - sent));
                sent += taken.value_or(0);
            }
        }
        m_count = frame.size() - sent;
        if (isLong) {
            m_longBytes = frame.size();
            m_long.front().head = sent;
        } else {
            m_head = sent;
        }
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

    using Memory = std::vector<unsigned char, UnsetAllocator<unsigned char>>;

    /// A long frame, and what leaves behind it.
    struct Long
    {
        OwnedBytes frame;
        std::size_t head = 0; ///< so much of it has left
        Memory behind;
    };

    OwnedBytes EndLong();

    std::size_t m_greatest;
    std::size_t m_greatestLong;
    std::size_t m_count = 0; ///< bytes in all
    Memory m_bytes;          ///< what leaves first
    std::size_t m_head = 0;  ///< so much of it has left
    std::deque<Long> m_long;
    std::size_t m_longBytes = 0; ///< of all frames in it, what has left included
};

} // namespace vordal
