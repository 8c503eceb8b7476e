// What arrives over one link: bytes read, and the frames in them.
#pragma once

#include "link_handlers.h"
#include "reference_host/common/task_lanes.h"
#include "sonar_link.h"

#include <protocol/arriving_frames.h>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vordal {

/// The receiving half of one link. Link thread, but for what says otherwise.
class FrameReceiving
{
public:
    /// Who is told what arrived. A call may end the attempt at hand.
    class Listener
    {
    public:
        /// `number` counts the frames of the link, from 1; `time` is host time in seconds.
        virtual void OnFrame(qx5::protocol::FrameView const& frame, std::uint64_t number, double time) = 0;
        /// In place of frames, where the link has none.
        virtual void OnBytes(std::span<unsigned char const> bytes, double time) = 0;
        /// Once for each kind and connection.
        virtual void OnDamage(qx5::protocol::Damage damage) = 0;

    protected:
        ~Listener() = default;
    };

    /// `handlers` is the link that owns this, `socket` the one it has connections on; the options are its own.
    FrameReceiving(LinkHandlers& handlers, asio::ip::tcp::socket& socket, LinkOptions const& options,
                   Listener& listener);

    /// A connection stands, and nothing has arrived over it yet; Read begins to read.
    void Begin();
    void Read();
    /// Forgets what has arrived. Takes no memory.
    void End() noexcept;
    /// Reading was paused and may go on.
    void Resume();
    /// Whether the connection has brought a good frame (without frames: a byte).
    bool IsProven() const { return m_isProven; }

    // Any thread.
    void SetPaused(bool paused) { m_isPaused.store(paused, std::memory_order_release); }
    /// Adds what arrived since the link was made.
    void Count(LinkCounters& counters) const;

private:
    /// So much is taken at a time, and a frame at least; then it is another link's turn.
    static constexpr std::size_t WorkBytes = std::size_t{2} << 10;

    qx5::protocol::ArrivingFrames NewFrames() const;
    void ReadOnce();
    void TakeBytes(std::span<unsigned char const> bytes);
    void PutWork(std::size_t bytes);
    void Work();
    bool TakeFrames(std::size_t greatest, std::size_t& taken);
    void CountSkipped();
    void WatchIdle();
    void LookForIdle();

    LinkHandlers& m_handlers;
    asio::ip::tcp::socket& m_socket;
    LinkOptions const& m_options;
    Listener& m_listener;
    asio::steady_timer m_idleTimer;
    qx5::protocol::ArrivingFrames m_frames;
    std::uint64_t m_skippedBefore = 0;
    TaskLane m_lane;          ///< with work while m_isWorking
    bool m_isWorking = false; ///< frames that have arrived are still to be taken
    bool m_isReading = false;
    bool m_isProven = false;
    bool m_idleWatched = false;

    std::atomic<bool> m_isPaused{false};
    std::atomic<std::uint64_t> m_frameCount{0};
    std::atomic<std::uint64_t> m_byteCount{0};
    std::atomic<std::uint64_t> m_skippedCount{0};
};

} // namespace vordal
