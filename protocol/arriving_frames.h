// The frames of one connection as they arrive: what stopped short is given up in time, what is no frame is told once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include <protocol/frame_reader.h>
#include <protocol/idle_limit.h>

namespace qx5::protocol {

/// What arrived and is no frame.
enum class Damage : std::uint8_t
{
    None,
    Garbage,    ///< bytes that belong to no frame
    Unfinished, ///< a frame that was begun got no further byte for the idle limit
};

/// Feed it what has arrived, take frames with Next until there is none, and say with Heard when that was. At Due, ask
/// LookAgain, and take frames after each true. It has no clock, timer or socket: those are the caller's, who passes the
/// time, on one steady clock.
///
/// For one thread at a time.
class ArrivingFrames
{
public:
    using Time = IdleLimit::Time;

    explicit ArrivingFrames(IdleLimit const& limit, std::size_t maximumFrameSize = MaximumFrameSize)
        : m_reader(maximumFrameSize), m_limit(limit)
    {
    }

    /// Appends bytes of the stream. Frames given by Next before become invalid. Nothing gives memory back.
    void Feed(std::span<unsigned char const> bytes) { m_reader.Feed(bytes); }
    /// The next good frame; valid until Feed or Reset.
    std::optional<FrameView> Next() { return m_reader.Next(); }
    /// Bytes were fed at `now`, and all good frames were taken.
    void Heard(Time now) { m_limit.Heard(m_reader, now); }
    /// It was this side that kept the rest waiting: an unfinished frame has all its time anew.
    void Restart(Time now) { m_limit.Restart(m_reader, now); }

    /// When to ask LookAgain; nothing while no frame is unfinished.
    std::optional<Time> Due() const { return m_limit.Due(); }
    /// True: what was unfinished is doubted or given up; frames that lie inside are to be taken now, and this is to be
    /// asked again. `moreArrived`: further bytes have arrived and were not fed yet.
    bool LookAgain(Time now, bool moreArrived)
    {
        if (m_limit.Doubt(m_reader, now)) {
            m_doubted = true;
            return true;
        }
        if (std::exchange(m_doubted, false)) {
            m_limit.Taken(m_reader, now);
        }
        if (moreArrived) {
            m_limit.Heard(m_reader, now);
            return false;
        }
        m_expired = m_limit.Expire(m_reader, now);
        return m_expired;
    }

    /// What is to be told once all good frames were taken: of each kind the first alone, and of an unfinished frame's
    /// bytes not that they are garbage, too.
    Damage NewDamage()
    {
        if (std::exchange(m_expired, false)) {
            m_garbageTold = true;
            return std::exchange(m_unfinishedTold, true) ? Damage::None : Damage::Unfinished;
        }
        return m_reader.SkippedBytes() > 0 && !std::exchange(m_garbageTold, true) ? Damage::Garbage : Damage::None;
    }

    /// Forgets all bytes, not the counts.
    void Reset() { m_reader.Reset(); }

    /// For its counts.
    FrameReader const& Reader() const { return m_reader; }

private:
    FrameReader m_reader;
    IdleLimit m_limit;
    bool m_doubted = false;
    bool m_expired = false;
    bool m_garbageTold = false;
    bool m_unfinishedTold = false;
};

} // namespace qx5::protocol
