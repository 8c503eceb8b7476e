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
/// An unfinished frame keeps back what follows until it ends, and a damaged size word can make that 128 MiB. Whoever
/// feeds the reader knows the time and says when an unfinished frame is doubted, or that nothing more comes.
///
/// Memory: at most one unfinished frame (`maximumFrameSize`) and what was fed since the frames were last taken;
/// garbage is dropped at once. What a large frame took is given back when anything, be it nothing, is fed after it.
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

    /// Tells that the unfinished frame has taken longer than it should: good frames that lie whole inside of it, now or
    /// later, are then given, and it counts as damaged. One without any goes on arriving. Holds for this frame alone.
    void DoubtUnfinished() { m_doubted = BufferedBytes() > 0; }

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
    /// Where in the whole stream the first byte stands that is held now. An unfinished frame keeps its position.
    std::uint64_t Position() const { return m_position; }
    /// Bytes held now.
    std::size_t BufferedBytes() const { return m_bytes.size() - m_begin; }
    /// Memory for them, in bytes.
    std::size_t HeldMemory() const { return m_bytes.capacity(); }

private:
    /// What may be a frame inside of the unfinished one and had not arrived whole when it was found.
    struct Claim
    {
        std::uint64_t begin; ///< in the whole stream, as is `end`
        std::uint64_t end;
    };
    /// So many are remembered; the search rests while there are more, so that they cost no memory.
    static constexpr std::size_t MaximumClaims = 64;

    std::span<unsigned char const> Unread() const;
    void Advance(std::size_t count);
    void Skip(std::size_t count);
    std::optional<std::size_t> FindCandidate();
    std::optional<std::size_t> FindInside();
    void CollectClaims();

    std::vector<unsigned char> m_bytes;
    std::size_t m_begin = 0; // of the bytes not yet given or skipped
    std::size_t m_maximumFrameSize;
    std::uint64_t m_skippedBytes = 0;
    std::uint64_t m_damagedFrames = 0;
    std::uint64_t m_goodFrames = 0;
    std::uint64_t m_position = 0;
    std::uint64_t m_searched = 0; // in the whole stream: all claims that begin before were found
    std::vector<Claim> m_claims;  // in the order of the stream
    bool m_doubted = false;       // the frame at m_begin
    bool m_finished = false;
};

} // namespace qx5::protocol
