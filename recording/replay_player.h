// Plays a recorded session: from any moment on, at any pace, message for message.
#pragma once

#include "recorded_session.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace qx5::recording {

/// Who is shown what a player plays; called within its operations.
class ReplayReceiver
{
public:
    /// All is as it stood just before that time; nothing of what was shown before counts any more.
    virtual void OnState(std::uint64_t time, std::map<std::string, RecordedState> const& states) = 0;
    virtual void OnMessage(RecordedMessage const& message) = 0;

protected:
    ~ReplayReceiver() = default;
};

/// One thread. Has no clock: times by which it plays are given to it, in seconds of any clock that never goes back;
/// those of the recording are ns since 1970 UTC. Operations throw RecordingError when the file cannot be read.
///
/// A moment that is gone to is shown with what led to it: a few seconds before it, where the file is not too dense, are
/// played in no time.
class ReplayPlayer
{
public:
    static constexpr double SlowestSpeed = 0.1;
    static constexpr double FastestSpeed = 100.0;
    /// What leads to a moment is no longer than this, in ns and in bytes of the file.
    static constexpr std::uint64_t GreatestLead = 10'000'000'000;
    static constexpr std::uint64_t GreatestLeadBytes = std::uint64_t{8} << 20;
    /// What Advance plays at most; a recording that cannot be played so fast is played as fast as it can be.
    static constexpr std::uint64_t GreatestAdvance = std::uint64_t{16} << 20;

    /// At the beginning, standing still; nothing is shown yet. The receiver outlives it.
    ReplayPlayer(std::filesystem::path const& file, ReplayReceiver& receiver);

    RecordedSession& Session() { return m_session; }
    /// Of the first and of the last message; both 0 of a file without any.
    std::uint64_t Start() const { return m_start; }
    std::uint64_t End() const { return m_end; }

    /// What was shown: messages up to there, that of this time included.
    std::uint64_t Position() const { return m_position; }
    bool IsPlaying() const { return m_isPlaying; }
    double Speed() const { return m_speed; }

    /// Shows that moment, brought into the recording. It goes on playing from there, if it did.
    void MoveTo(std::uint64_t time, double now);
    /// From the end it begins anew.
    void Play(double now);
    void Pause();
    /// Brought between the slowest and the fastest.
    void SetSpeed(double speed, double now);
    /// Plays what is due, and stands still at the end.
    void Advance(double now);
    /// Stands still after the next message. False at the end.
    bool Step();
    /// Stands still at the next, or the one before, of these kinds. False when there is none.
    bool MoveToNext(std::vector<RecordedKind const*> const& kinds);
    bool MoveToPrevious(std::vector<RecordedKind const*> const& kinds);

private:
    std::uint64_t LeadOf(std::uint64_t time) const;
    /// The next message, without going past it; null at the end. Valid until the next call.
    McapMessage const* Peek();
    void Show(McapMessage const& message);
    void GoFrom(std::uint64_t time);
    void Anchor(double now);

    RecordedSession m_session;
    ReplayReceiver& m_receiver;
    std::uint64_t m_start = 0;
    std::uint64_t m_end = 0;
    std::uint64_t m_position = 0;
    bool m_isPlaying = false;
    double m_speed = 1.0;
    double m_anchor = 0.0; ///< the given time at which it was at m_anchorPosition
    std::uint64_t m_anchorPosition = 0;

    std::size_t m_chunk = 0; ///< the next to be read
    std::vector<unsigned char> m_bytes;
    std::vector<McapMessage> m_messages; ///< of the chunk before it
    std::size_t m_next = 0;              ///< among them
    std::uint64_t m_from = 0;            ///< messages before this time are passed over
};

} // namespace qx5::recording
