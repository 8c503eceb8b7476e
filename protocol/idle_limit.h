// How long the rest of a frame may keep its reader waiting.
#pragma once

#include <chrono>
#include <optional>

#include <protocol/frame_reader.h>

namespace qx5::protocol {

/// A frame that was begun and gets no further byte for so long is damage: what it claims to be must not keep back what
/// lies inside of it, or what follows. Tells when that is; whoever owns the reader also owns the timer. The caller
/// passes the time, on one steady clock.
class IdleLimit
{
public:
    using Time = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    explicit IdleLimit(Duration limit) : m_limit(limit) {}

    /// Bytes were fed at `now`, and all good frames were taken.
    void Heard(FrameReader const& reader, Time now)
    {
        m_due.reset();
        if (reader.BufferedBytes() > 0)
            m_due = now + m_limit;
    }

    /// When an unfinished frame is given up; nothing while there is none.
    std::optional<Time> Due() const { return m_due; }

    /// True when the limit has passed: the unfinished frame counts as damaged then, and Next gives the frames inside.
    bool Expire(FrameReader& reader, Time now)
    {
        if (!m_due || now < *m_due)
            return false;
        m_due.reset();
        reader.Finish();
        return true;
    }

private:
    Duration m_limit;
    std::optional<Time> m_due;
};

} // namespace qx5::protocol
