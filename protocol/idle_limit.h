// How long the rest of a frame may keep its reader waiting.
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

#include <protocol/frame_reader.h>

namespace qx5::protocol {

/// What a frame claims to be must not keep back for long what lies inside of it, or what follows. One that is not whole
/// after its share of time is doubted: good frames that arrive inside of it are given, and it is damage; a large frame
/// on a slow line has none and goes on arriving. One that gets no further byte for the idle limit is damage at once.
/// This tells when; whoever owns the reader also owns the timer. The caller passes the time, on one steady clock.
class IdleLimit
{
public:
    using Time = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    /// Within a second of its arrival everything that was sent whole is given, a busy machine's delays included.
    static constexpr std::chrono::milliseconds UsualShare{500};

    explicit IdleLimit(Duration limit, Duration share = UsualShare) : m_limit(limit), m_share(share) {}

    /// Bytes were fed at `now`, and all good frames were taken.
    void Heard(FrameReader const& reader, Time now)
    {
        if (reader.BufferedBytes() == 0) {
            m_due.reset();
            m_doubtDue.reset();
            return;
        }
        if (!m_due || reader.Position() != m_position) {
            m_doubtDue = now + m_share;
        }
        m_position = reader.Position();
        m_due = now + m_limit;
    }

    /// It was not the other side that kept the rest waiting: the frame has all its time anew.
    void Restart(FrameReader const& reader, Time now)
    {
        m_due.reset();
        Heard(reader, now);
    }

    /// Frames were taken without further bytes, after a doubt: what is unfinished now may be another frame.
    void Taken(FrameReader const& reader, Time now)
    {
        if (reader.BufferedBytes() == 0 || reader.Position() != m_position) {
            Heard(reader, now);
        }
    }

    /// When an unfinished frame is doubted or given up; nothing while there is none.
    std::optional<Time> Due() const { return m_doubtDue ? std::min(*m_due, *m_doubtDue) : m_due; }

    /// True when the share has passed, once for each frame: Next may give frames from now on.
    bool Doubt(FrameReader& reader, Time now)
    {
        if (!m_doubtDue || now < *m_doubtDue) {
            return false;
        }
        m_doubtDue.reset();
        reader.DoubtUnfinished();
        return true;
    }

    /// True when the limit has passed: the unfinished frame counts as damaged then, and Next gives the frames inside.
    bool Expire(FrameReader& reader, Time now)
    {
        if (!m_due || now < *m_due) {
            return false;
        }
        m_due.reset();
        m_doubtDue.reset();
        reader.Finish();
        return true;
    }

private:
    Duration m_limit;
    Duration m_share;
    std::uint64_t m_position = 0;
    std::optional<Time> m_due;
    std::optional<Time> m_doubtDue;
};

} // namespace qx5::protocol
