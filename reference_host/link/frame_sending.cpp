// What leaves over one link: each frame whole, at once, together with those that follow, or when the system takes it.
#include "frame_sending.h"

#include "reference_host/platform/line_watch.h"

#include <asio/buffer.hpp>
#include <asio/error.hpp>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

namespace vordal {
namespace {

// Of long frames so many times as much may wait as of others.
constexpr std::size_t LongFrames = 256;
constexpr std::size_t DrainBytes = std::size_t{64} << 10;
// After so many it is the other links' turn, however quickly this one's sonar reads.
constexpr std::size_t TurnBytes = std::size_t{1} << 20;

// Frames are held back up to so many bytes and for so long, even if the sender forgets about them.
constexpr std::size_t GatheredBytes = std::size_t{16} << 10;
constexpr std::chrono::milliseconds HeldTime{1};

} // namespace

FrameSending::FrameSending(LinkHandlers& handlers, std::size_t queueBytes, std::size_t greatestFrame)
    : m_handlers(handlers), m_greatestFrame(greatestFrame), m_heldTimer(handlers.Context()),
      m_socket(handlers.Context()), m_queue(queueBytes, LongFrames * queueBytes)
{
}

std::uint64_t FrameSending::Send(std::span<unsigned char const> frame, OwnedBytes const* owned) noexcept
{
    auto const accepted = Accept(frame, owned);
    // The frame has left, or will: nothing that fails from here on may look as if it had not.
    if (accepted != 0 && SendGathering::IsMoreAnnounced()) {
        try {
            // Also when this frame left at once: that is rare and costs nothing.
            SendGathering::Hold(std::shared_ptr<GatheringLink>(m_handlers.shared_from_this(), this), m_handlers.Core());
        } catch (...) {
            SendHeld();
        }
    }
    return accepted;
}

void FrameSending::SendHeld()
{
    std::lock_guard const lock(m_mutex);
    if (m_isOpen.load(std::memory_order_relaxed) && !m_isDraining) {
        SendQueueLocked();
    }
}

std::size_t FrameSending::QueuedBytes() const
{
    std::lock_guard const lock(m_mutex);
    return m_queue.Bytes();
}

void FrameSending::Count(std::uint64_t& frames, std::uint64_t& bytes) const
{
    std::lock_guard const lock(m_mutex);
    frames = m_sent.Frames();
    bytes = m_sent.Bytes();
}

std::uint64_t FrameSending::Accept(std::span<unsigned char const> frame, OwnedBytes const* owned) noexcept
{
    std::lock_guard const lock(m_mutex);
    auto const queued = m_queue.Bytes();
    m_frameBegun = false;
    try {
        if (AcceptLocked(frame, owned)) {
            m_sent.Add(frame);
            return m_sent.Frames();
        }
    } catch (...) {
        // There was no memory to queue it in. Where a part of it has left already, the connection has to go.
        if (m_queue.Bytes() > queued || m_frameBegun) {
            BreakLocked(asio::error::no_memory);
        }
    }
    return 0;
}

bool FrameSending::AcceptLocked(std::span<unsigned char const> frame, OwnedBytes const* owned)
{
    if (!m_isOpen.load(std::memory_order_relaxed) || frame.empty() || frame.size() > m_greatestFrame) {
        return false;
    }
    if (owned != nullptr && m_queue.IsLong(frame.size())) {
        if (!QueueLocked(frame, owned)) {
            return false;
        }
        if (!m_isDraining) {
            DrainLocked();
        }
        return true;
    }
    bool const gather = SendGathering::IsMoreAnnounced();
    if (!m_isDraining && (!m_queue.IsEmpty() || gather)) {
        if (frame.size() <= GatheredBytes && m_queue.HasRoom(frame.size())) {
            m_queue.Append(frame);
            if (gather && m_queue.Bytes() < GatheredBytes) {
                WatchHeldLocked();
                return true;
            }
            return SendQueueLocked();
        }
        if (!SendQueueLocked()) {
            return false;
        }
    }
    if (m_isDraining) {
        return QueueLocked(frame, nullptr);
    }
    asio::error_code error;
    bool const sent = m_queue.SendOrAppend(frame, [&](std::span<unsigned char const> bytes) {
        auto const taken = SendSome(bytes, error);
        m_frameBegun = m_frameBegun || taken > 0;
        return error ? std::nullopt : std::optional(taken);
    });
    if (!sent) {
        BreakLocked(error);
    } else if (!m_queue.IsEmpty()) {
        DrainLocked();
    }
    return sent;
}

bool FrameSending::QueueLocked(std::span<unsigned char const> frame, OwnedBytes const* owned)
{
    bool const hasRoom = m_queue.HasRoom(frame.size());
    if (hasRoom && owned != nullptr) {
        m_queue.Append(*owned);
    } else if (hasRoom) {
        m_queue.Append(frame);
    }
    return hasRoom;
}

/// How much the system took, which may be nothing; `error` only when the connection is broken.
std::size_t FrameSending::SendSome(std::span<unsigned char const> bytes, asio::error_code& error)
{
    auto const sent = m_socket.send(asio::buffer(bytes.data(), bytes.size()), 0, error);
    if (error == asio::error::would_block || error == asio::error::try_again) {
        error.clear();
        return 0;
    }
    return error ? 0 : sent;
}

/// Sends what is held; what the system does not take is left to the link thread. False when the connection is broken.
bool FrameSending::SendQueueLocked()
{
    if (m_queue.IsEmpty()) {
        return true;
    }
    asio::error_code error;
    m_queue.Spend(SendSome(m_queue.Front(), error));
    if (error) {
        BreakLocked(error);
        return false;
    }
    if (m_queue.IsEmpty()) {
        DropQueueLocked();
    } else {
        DrainLocked();
    }
    return true;
}

void FrameSending::DrainLocked() noexcept
{
    m_isDraining = true;
    m_handlers.Post(LinkHandlers::Draining, m_handlers.During(m_attempt, [this] { Drain(); }));
}

/// Sees to it that held frames leave in time, whatever keeps their sender busy.
void FrameSending::WatchHeldLocked() noexcept
{
    if (!std::exchange(m_heldWatched, true)) {
        m_handlers.Post(LinkHandlers::SendingHeld, m_handlers.Always([this] {
            m_heldTimer.expires_after(HeldTime);
            m_heldTimer.async_wait(m_handlers.Always([this](asio::error_code) { EndHolding(); }));
        }));
    }
}

void FrameSending::EndHolding()
{
    {
        std::lock_guard const lock(m_mutex);
        m_heldWatched = false;
    }
    SendHeld();
}

void FrameSending::DropQueueLocked()
{
    m_isDraining = false;
    m_queue.Clear();
}

/// A sender found the connection broken: nothing is sent from here on, the link thread does the rest.
void FrameSending::BreakLocked(asio::error_code error) noexcept
{
    m_isOpen.store(false, std::memory_order_release);
    m_failure.store(error.value());
    m_handlers.Post(LinkHandlers::Breaking, m_handlers.During(m_attempt, [this, error] { m_handlers.Lose(error); }));
}

void FrameSending::Begin(asio::ip::tcp::socket socket)
{
    std::lock_guard const lock(m_mutex);
    m_socket = std::move(socket);
    m_attempt = m_handlers.Attempt();
    DropQueueLocked();
    m_isOpen.store(true, std::memory_order_release);
}

void FrameSending::End() noexcept
{
    asio::error_code ignored;
    std::lock_guard const lock(m_mutex);
    m_isOpen.store(false, std::memory_order_release);
    m_heldTimer.cancel();
    m_socket.close(ignored);
    DropQueueLocked();
}

void FrameSending::Drain()
{
    m_socket.async_wait(asio::ip::tcp::socket::wait_write, m_handlers.DuringThis([this](asio::error_code error) {
        if (error || !DrainOnce(error)) {
            m_handlers.Lose(error);
        }
    }));
}

/// Writes what the system takes; false with the reason when the connection is broken.
bool FrameSending::DrainOnce(asio::error_code& error)
{
    for (auto turn = TurnBytes;;) {
        OwnedBytes left; // goes without the lock
        // The lock is let go after each piece: a sender waits for one system call at most.
        std::unique_lock lock(m_mutex);
        auto const front = m_queue.Front();
        std::size_t sent = 0;
        if (m_queue.IsLongFirst()) {
            // The system takes it at its best as a whole, in a call that may last: nobody is to wait for that. Senders
            // leave the socket alone meanwhile, and these bytes stay where they are.
            lock.unlock();
            sent = SendSome(front.first(std::min(front.size(), turn)), error);
            lock.lock();
        } else {
            sent = SendSome(front.first(std::min(front.size(), DrainBytes)), error);
        }
        if (error) {
            return false;
        }
        left = m_queue.Spend(sent);
        if (m_queue.IsEmpty()) {
            DropQueueLocked();
            return true;
        }
        turn -= std::min(turn, sent);
        if (sent == 0 || turn == 0) {
            lock.unlock();
            Drain();
            return true;
        }
    }
}

std::string FrameSending::TellUnacknowledged()
{
    std::lock_guard const lock(m_mutex);
    return m_sent.TellUnacknowledged(m_queue.Bytes() +
                                     platform::UnacknowledgedBytes(static_cast<int>(m_socket.native_handle())));
}

} // namespace vordal
