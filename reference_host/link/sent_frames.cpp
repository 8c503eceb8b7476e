// The frames that left last, so that a lost connection can tell which of them nobody acknowledged.
#include "sent_frames.h"

#include <protocol/bytes.h>
#include <protocol/frame.h>

#include <algorithm>

namespace vordal {
namespace {

namespace protocol = qx5::protocol;

/// Records that a line names before it only counts.
constexpr std::uint64_t Named = 12;

constexpr std::size_t RecordIdAt = 32;

/// The number by which an operator knows the record; senders give whole frames, so the frame is not checked again.
std::uint32_t NameOf(std::span<unsigned char const> frame)
{
    if (frame.size() < protocol::FrameOverhead) {
        return 0;
    }
    auto const recordId = protocol::GetU32LE(frame, RecordIdAt);
    return recordId == protocol::RemoteControlRecordId && frame.size() >= protocol::RemoteControlOverhead
               ? protocol::GetU32LE(frame, protocol::FrameHeaderSize)
               : recordId;
}

} // namespace

void SentFrames::Add(std::span<unsigned char const> frame)
{
    m_bytes += frame.size();
    m_entries[m_frames % Kept] = {m_bytes, NameOf(frame)};
    ++m_frames;
}

std::string SentFrames::TellUnacknowledged(std::uint64_t bytes) const
{
    auto const acknowledged = m_bytes - std::min(bytes, m_bytes);
    auto first = m_frames - std::min<std::uint64_t>(m_frames, Kept);
    while (first < m_frames && m_entries[first % Kept].end <= acknowledged) {
        ++first;
    }
    auto const count = m_frames - first;
    if (count == 0) {
        return {};
    }
    std::string text = count == Kept ? "at least " : "";
    text += std::to_string(count) + (count == 1 ? " record (" : " records (") + std::to_string(bytes) + " bytes) " +
            (count == 1 ? "was" : "were") + " sent and not acknowledged: ";
    auto const named = std::min(count, Named);
    for (std::uint64_t i = 0; i < named; ++i) {
        text += (i > 0 ? ", " : "") + std::to_string(m_entries[(first + i) % Kept].name);
    }
    return named < count ? text + " and more" : text;
}

} // namespace vordal
