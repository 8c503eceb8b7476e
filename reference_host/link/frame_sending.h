// What leaves over one link: each frame whole, at once, together with those that follow, or when the system takes it.
#pragma once

#include "link_handlers.h"
#include "reference_host/common/send_gathering.h"
#include "send_queue.h"
#include "sent_frames.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>

namespace vordal {

/// The sending half of one link, and its socket.
///
/// The socket is used by two sides: senders write to it under a lock, the link thread reads from it without. It is
/// replaced and closed on the link thread under that lock, which is all that the two could disturb each other in. A
/// sender that fails has sent nothing of its frame, or ends the connection.
class FrameSending final : public GatheringLink
{
public:
    /// `handlers` is the link that owns this. The rest is as in LinkOptions.
    FrameSending(LinkHandlers& handlers, std::size_t queueBytes, std::size_t greatestFrame);

    // Any thread.
    /// The frame's number, from 1; 0 when it was refused.
    std::uint64_t Send(std::span<unsigned char const> frame) noexcept { return Send(frame, nullptr); }
    /// The same; one that is longer than the queue is kept and left to the link thread, so that it holds nobody up.
    std::uint64_t Send(OwnedBytes const& frame) noexcept { return Send(frame.bytes, &frame); }
    void SendHeld() override;
    bool IsOpen() const { return m_isOpen.load(std::memory_order_acquire); }
    std::size_t QueuedBytes() const;
    /// Frames and bytes accepted since the link was made.
    void Count(std::uint64_t& frames, std::uint64_t& bytes) const;

    // Link thread.
    /// Sends to this socket from now on; it belongs to the attempt at hand.
    void Begin(asio::ip::tcp::socket socket);
    /// Closes the socket and drops what waits. Takes no memory.
    void End() noexcept;
    asio::ip::tcp::socket& Socket() { return m_socket; }
    /// Sends on as soon as the system takes more.
    void Drain();
    /// The time for which frames may be held is over.
    void EndHolding();
    /// Why the last sender that failed did.
    asio::error_code Failure() const { return {m_failure.load(), asio::system_category()}; }
    /// What the sonar has not acknowledged of all that was sent, in one line; empty when it has all.
    std::string TellUnacknowledged();

private:
    // `owned`: the same frame, or null.
    std::uint64_t Send(std::span<unsigned char const> frame, OwnedBytes const* owned) noexcept;
    std::uint64_t Accept(std::span<unsigned char const> frame, OwnedBytes const* owned) noexcept;
    // Under the lock.
    bool AcceptLocked(std::span<unsigned char const> frame, OwnedBytes const* owned);
    bool QueueLocked(std::span<unsigned char const> frame, OwnedBytes const* owned);
    std::size_t SendSome(std::span<unsigned char const> bytes, asio::error_code& error);
    bool SendQueueLocked();
    void DrainLocked() noexcept;
    void WatchHeldLocked() noexcept;
    void DropQueueLocked();
    void BreakLocked(asio::error_code error) noexcept;
    // Link thread.
    bool DrainOnce(asio::error_code& error);

    LinkHandlers& m_handlers;
    std::size_t m_greatestFrame;
    asio::steady_timer m_heldTimer;
    std::atomic<bool> m_isOpen{false};
    std::atomic<int> m_failure{0}; ///< of the system

    /// Guards what follows; see above for the socket.
    mutable std::mutex m_mutex;
    asio::ip::tcp::socket m_socket;
    std::uint64_t m_attempt = 0; ///< of the socket
    SendQueue m_queue;
    /// The link thread waits for the system to take the queue; otherwise what is queued is held back by its sender.
    bool m_isDraining = false;
    bool m_heldWatched = false;
    /// A part of the frame at hand has left.
    bool m_frameBegun = false;
    SentFrames m_sent;
};

} // namespace vordal
