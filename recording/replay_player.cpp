// Plays a recorded session.
#include "replay_player.h"

#include <algorithm>
#include <utility>

namespace qx5::recording {

ReplayPlayer::ReplayPlayer(std::filesystem::path const& file, ReplayReceiver& receiver)
    : m_session(file), m_receiver(receiver), m_start(m_session.File().Start().value_or(0)),
      m_end(std::max(m_start, m_session.File().End().value_or(0))), m_position(m_start), m_anchorPosition(m_start)
{
}

std::uint64_t ReplayPlayer::LeadOf(std::uint64_t time) const
{
    auto const& chunks = std::as_const(m_session).File().Chunks();
    auto from = time;
    std::uint64_t bytes = 0;
    for (auto chunk = chunks.rbegin(); chunk != chunks.rend(); ++chunk) {
        if (chunk->start > time) {
            continue;
        }
        bytes += chunk->length;
        if (time - chunk->start > GreatestLead || bytes > GreatestLeadBytes) {
            break;
        }
        from = std::min(from, chunk->start);
    }
    return from;
}

void ReplayPlayer::GoFrom(std::uint64_t time)
{
    auto const& chunks = m_session.File().Chunks();
    m_chunk = static_cast<std::size_t>(
        std::find_if(chunks.begin(), chunks.end(), [&](auto const& chunk) { return chunk.end >= time; }) -
        chunks.begin());
    m_messages.clear();
    m_next = 0;
    m_from = time;
}

McapMessage const* ReplayPlayer::Peek()
{
    for (;;) {
        while (m_next < m_messages.size() && m_messages[m_next].logTime < m_from) {
            ++m_next;
        }
        if (m_next < m_messages.size()) {
            return &m_messages[m_next];
        }
        if (m_chunk >= m_session.File().Chunks().size()) {
            return nullptr;
        }
        m_messages = m_session.File().MessagesIn(m_chunk++, m_bytes);
        m_next = 0;
    }
}

void ReplayPlayer::Show(McapMessage const& message)
{
    // A message may say that it is of another time than its chunk.
    m_position = std::clamp(message.logTime, m_position, m_end);
    ++m_next;
    if (auto const understood = m_session.Understand(message)) {
        m_receiver.OnMessage(*understood);
    }
}

void ReplayPlayer::Anchor(double now)
{
    m_anchor = now;
    m_anchorPosition = m_position;
}

void ReplayPlayer::MoveTo(std::uint64_t time, double now)
{
    auto const wanted = std::clamp(time, m_start, m_end);
    auto const from = LeadOf(wanted);
    m_receiver.OnState(from, m_session.StateBefore(from));
    GoFrom(from);
    m_position = from;
    for (auto const* message = Peek(); message != nullptr && message->logTime <= wanted; message = Peek()) {
        Show(*message);
    }
    m_position = wanted;
    Anchor(now);
}

void ReplayPlayer::Play(double now)
{
    if (m_position >= m_end) {
        MoveTo(m_start, now);
    }
    m_isPlaying = m_start != m_end;
    Anchor(now);
}

void ReplayPlayer::Pause()
{
    m_isPlaying = false;
}

void ReplayPlayer::SetSpeed(double speed, double now)
{
    m_speed = std::clamp(speed, SlowestSpeed, FastestSpeed);
    Anchor(now);
}

void ReplayPlayer::Advance(double now)
{
    if (!m_isPlaying) {
        return;
    }
    auto const played = std::max(0.0, now - m_anchor) * m_speed * 1e9;
    auto const rest = static_cast<double>(m_end - m_anchorPosition);
    auto const due = played < rest ? m_anchorPosition + static_cast<std::uint64_t>(played) : m_end;
    std::uint64_t bytes = 0;
    for (auto const* message = Peek(); message != nullptr && message->logTime <= due; message = Peek()) {
        bytes += McapMessageHead + message->data.size();
        Show(*message);
        if (bytes > GreatestAdvance) {
            Anchor(now);
            return;
        }
    }
    m_position = due;
    m_isPlaying = due < m_end;
}

bool ReplayPlayer::Step()
{
    m_isPlaying = false;
    auto const* const message = Peek();
    if (message == nullptr) {
        return false;
    }
    Show(*message);
    return true;
}

bool ReplayPlayer::MoveToNext(std::vector<RecordedKind const*> const& kinds)
{
    std::optional<std::uint64_t> found;
    if (m_position < m_end) {
        m_session.ForEach({.from = m_position + 1, .kinds = kinds}, [&](RecordedMessage const& message) {
            found = message.time;
            return false;
        });
    }
    m_isPlaying = false;
    if (found) {
        MoveTo(*found, 0.0);
    }
    return found.has_value();
}

bool ReplayPlayer::MoveToPrevious(std::vector<RecordedKind const*> const& kinds)
{
    auto const found = m_session.LastBefore(m_position, kinds);
    m_isPlaying = false;
    if (found) {
        MoveTo(*found, 0.0);
    }
    return found.has_value();
}

} // namespace qx5::recording
