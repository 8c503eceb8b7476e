// In which order and at which rate what waits in an outbox leaves, and leaves again, while a line is there.
#pragma once

#include "outbox/outbox.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string_view>
#include <vector>

namespace qx5::outbox {

/// Bytes that may leave: so many a second, and at once at most what `burst` seconds bring. One thread.
class TokenBucket
{
public:
    /// Full at `now`, in seconds of a steady clock.
    TokenBucket(double bytesPerSecond, double burst, double now);

    /// True when anything may leave; what leaves then may be more than there is, and is made up for.
    bool IsOpen(double now);
    void Take(std::size_t bytes);
    void SetRate(double bytesPerSecond, double now);

private:
    void Fill(double now);

    double m_rate;
    double m_burst;
    double m_bytes;
    double m_now;
};

struct SendingOptions
{
    /// What history may take of the line, in bytes a second: less than the line has, so that commands and new values
    /// find room.
    double bytesPerSecond = 8192.0;
    double burst = 1.0; ///< s
    /// At most so much is on its way without being acknowledged.
    std::size_t greatestBytes = std::size_t{64} << 10;
    std::size_t greatestCount = 512;
    std::size_t pieceBytes = std::size_t{8} << 10; ///< of what leaves at once
    double resendAfter = 10.0;                     ///< s without any progress: what was not acknowledged leaves again
    std::function<double()> steady;                ///< s; empty for the system's
};

/// History of one outbox on its way to the shore. The newest value of each key is not its business: the line is back
/// for it (OnLine) once those have left.
///
/// Each piece begins where the one before it ended, the first with what lies behind the last acknowledgement. Before it
/// goes, as a gap, what was acknowledged before, so that an archive that begins only now does not wait for it.
///
/// One thread; the outbox outlives it.
class Sending
{
public:
    explicit Sending(Outbox& outbox, SendingOptions options = {});

    void OnLine();
    void OffLine() { m_isOnLine = false; }
    /// What is to leave now, in order; empty: nothing. To be called as often as one likes, every 50 ms or so.
    std::vector<Item> Next();
    /// From the shore. False for what Outbox::Acknowledge refuses.
    bool Acknowledge(std::string_view identity, std::uint64_t upTo);
    void SetRate(double bytesPerSecond);

private:
    void Begin(double now);

    Outbox& m_outbox;
    SendingOptions m_options;
    TokenBucket m_bucket;
    bool m_isOnLine = false;
    bool m_tellsBefore = false; ///< what was acknowledged before is to go first
    std::uint64_t m_next = 1;   ///< the number that is to leave next
    std::size_t m_bytesUnderWay = 0;
    std::size_t m_countUnderWay = 0;
    struct UnderWay
    {
        std::uint64_t last = 0;
        std::size_t bytes = 0;
        std::size_t count = 0;
    };
    std::deque<UnderWay> m_underWay; ///< pieces that are not acknowledged
    double m_progress = 0.0;         ///< when something was acknowledged, or something left and nothing was under way
};

} // namespace qx5::outbox
