// What arrives over one link: bytes read, and the frames in them.
#include "frame_receiving.h"

#include <asio/buffer.hpp>

#include <limits>
#include <utility>

namespace vordal {

using std::chrono::steady_clock;

FrameReceiving::FrameReceiving(LinkHandlers& handlers, asio::ip::tcp::socket& socket, LinkOptions const& options,
                               Listener& listener)
    : m_handlers(handlers), m_socket(socket), m_options(options), m_listener(listener), m_idleTimer(handlers.Context()),
      m_frames(NewFrames())
{
}

qx5::protocol::ArrivingFrames FrameReceiving::NewFrames() const
{
    return qx5::protocol::ArrivingFrames(qx5::protocol::IdleLimit(m_options.idleLimit, m_options.frameShare),
                                         m_options.greatestIncomingFrame);
}

void FrameReceiving::Begin()
{
    m_frames = NewFrames();
    m_skippedBefore = 0;
    m_isReading = false;
    m_isWorking = false;
    m_isProven = false;
    m_idleWatched = false;
}

void FrameReceiving::Read()
{
    if (!m_socket.is_open() || m_isReading || m_isWorking || m_isPaused.load(std::memory_order_acquire)) {
        return;
    }
    m_isReading = true;
    m_socket.async_wait(asio::ip::tcp::socket::wait_read, m_handlers.DuringThis([this](asio::error_code error) {
        m_isReading = false;
        if (error) {
            m_handlers.Lose(error);
        } else {
            ReadOnce();
        }
    }));
}

/// Reads what has arrived, into the memory that all links of the thread share.
void FrameReceiving::ReadOnce()
{
    auto const core = m_handlers.Core();
    if (core == nullptr) {
        return;
    }
    asio::error_code error;
    auto const count = m_socket.read_some(asio::buffer(core->arrived), error);
    if (error == asio::error::would_block || error == asio::error::try_again) {
        error.clear();
    }
    auto const attempt = m_handlers.Attempt();
    if (count > 0) {
        TakeBytes({core->arrived.data(), count});
    }
    if (attempt != m_handlers.Attempt()) {
        return;
    }
    if (error) {
        m_handlers.Lose(error);
    } else {
        Read();
    }
}

void FrameReceiving::End() noexcept
{
    m_idleTimer.cancel();
    m_frames.Reset();
    if (auto const core = m_handlers.Core()) {
        core->DropWork(m_lane);
    }
}

void FrameReceiving::Resume()
{
    // The pause was ours: the sonar has its whole limit from here on.
    m_frames.Restart(steady_clock::now());
    Read();
}

void FrameReceiving::Count(LinkCounters& counters) const
{
    counters.framesIn = m_frameCount.load(std::memory_order_relaxed);
    counters.bytesIn = m_byteCount.load(std::memory_order_relaxed);
    counters.bytesSkipped = m_skippedCount.load(std::memory_order_relaxed);
}

void FrameReceiving::TakeBytes(std::span<unsigned char const> bytes)
{
    m_byteCount.fetch_add(bytes.size(), std::memory_order_relaxed);
    if (!m_options.framed) {
        m_isProven = true;
        m_listener.OnBytes(bytes, m_options.clock());
        return;
    }
    m_frames.Feed(bytes);
    m_isWorking = true;
    PutWork(1); // what there is it tells later
}

void FrameReceiving::PutWork(std::size_t bytes)
{
    if (auto const core = m_handlers.Core()) {
        // It stands in this link's own lane, so it must not own the link: that keeps itself once it is its turn.
        core->PutWork(m_lane, bytes, [this] { m_handlers.DuringThis([this] { Work(); })(); });
    }
}

/// Takes some of the frames that have arrived, and reads on after the last of them.
void FrameReceiving::Work()
{
    std::size_t taken = 0;
    if (!TakeFrames(WorkBytes, taken)) {
        return;
    }
    if (taken >= WorkBytes) {
        PutWork(taken);
        return;
    }
    m_isWorking = false;
    m_frames.Heard(steady_clock::now());
    WatchIdle();
    Read();
}

/// Takes frames until they have so many bytes. False when the listener has ended the connection meanwhile.
bool FrameReceiving::TakeFrames(std::size_t greatest, std::size_t& taken)
{
    auto const attempt = m_handlers.Attempt();
    auto const time = m_options.clock();
    while (taken < greatest) {
        auto const frame = m_frames.Next();
        if (!frame) {
            break;
        }
        taken += frame->bytes.size();
        m_isProven = true;
        // Who hears of the frame may ask how much was lost before it.
        CountSkipped();
        m_listener.OnFrame(*frame, m_frameCount.fetch_add(1, std::memory_order_relaxed) + 1, time);
        if (attempt != m_handlers.Attempt()) {
            return false;
        }
    }
    CountSkipped();
    if (taken >= greatest) {
        return true; // damage is told once all were taken
    }
    if (auto const damage = m_frames.NewDamage(); damage != qx5::protocol::Damage::None) {
        m_listener.OnDamage(damage);
    }
    return attempt == m_handlers.Attempt();
}

void FrameReceiving::CountSkipped()
{
    auto const skipped = m_frames.Reader().SkippedBytes();
    m_skippedCount.fetch_add(skipped - std::exchange(m_skippedBefore, skipped), std::memory_order_relaxed);
}

/// One timer at a time, and what moves the limit back leaves the timer alone: it looks and waits again.
void FrameReceiving::WatchIdle()
{
    auto const due = m_frames.Due();
    if (!due || (m_idleWatched && *due >= m_idleTimer.expiry())) {
        return;
    }
    m_idleWatched = true;
    m_idleTimer.expires_at(*due);
    m_idleTimer.async_wait(m_handlers.DuringThis([this](asio::error_code error) {
        if (!error) {
            m_idleWatched = false;
            LookForIdle();
        }
    }));
}

void FrameReceiving::LookForIdle()
{
    auto const now = steady_clock::now();
    if (m_isWorking || m_isPaused.load(std::memory_order_acquire)) {
        // It is this side that keeps the rest waiting.
        m_frames.Restart(now);
    } else {
        asio::error_code ignored;
        while (m_frames.LookAgain(now, m_socket.available(ignored) > 0)) {
            std::size_t taken = 0;
            if (!TakeFrames(std::numeric_limits<std::size_t>::max(), taken)) {
                return;
            }
        }
    }
    WatchIdle();
}

} // namespace vordal
