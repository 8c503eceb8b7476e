// Complete frames out of a byte stream that arrives in pieces and may be damaged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <protocol/frame.h>

namespace qx5::protocol {

/// Feed it what has arrived, then take frames with Next until there is none. A frame is good when version, offset,
/// sync word and size are right and its trailing word is 0. After anything else the reader goes on at the next good
/// frame, be it inside a damaged one. Each byte is looked at a bounded number of times, whatever the stream.
///
/// Memory: at most one unfinished frame (`maximumFrameSize`) and what was fed since the frames were last taken;
/// garbage is dropped at once.
///
/// For one thread at a time.
class FrameReader
{
public:
    explicit FrameReader(std::size_t maximumFrameSize = MaximumFrameSize);

    /// Appends bytes of the stream. Frames given by Next before become invalid.
    void Feed(std::span<unsigned char const> bytes);

    /// The next good frame, or nothing until more is fed. It stays valid until Feed or Reset is called.
    std::optional<FrameView> Next();

    /// Tells that no more bytes come: a frame still unfinished counts as damaged, and Next may then give frames that
    /// lie inside of it.
    void Finish();

    /// Forgets all bytes, not the counts: for a new connection.
    void Reset();

    /// Bytes that belonged to no good frame, so far.
    std::uint64_t SkippedBytes() const { return m_skippedBytes; }
    /// Frames that began well and then had a wrong trailing word or never ended, so far.
    std::uint64_t DamagedFrames() const { return m_damagedFrames; }
    /// Good frames given so far.
    std::uint64_t GoodFrames() const { return m_goodFrames; }
    /// Bytes held now.
    std::size_t BufferedBytes() const { return m_bytes.size() - m_begin; }

private:
    std::span<unsigned char const> Unread() const;
    void Skip(std::size_t count);
    std::optional<std::size_t> FindCandidate();

    std::vector<unsigned char> m_bytes;
    std::size_t m_begin = 0; // of the bytes not yet given or skipped
    std::size_t m_maximumFrameSize;
    std::uint64_t m_skippedBytes = 0;
    std::uint64_t m_damagedFrames = 0;
    std::uint64_t m_goodFrames = 0;
    bool m_finished = false;
};

} // namespace qx5::protocol
