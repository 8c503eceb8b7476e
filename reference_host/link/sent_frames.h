// The frames that left last, so that a lost connection can tell which of them nobody acknowledged.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace vordal {

/// Remembers the newest frames of one link by the place in its stream of bytes at which each ends. No allocation. One
/// thread at a time.
class SentFrames
{
public:
    void Add(std::span<unsigned char const> frame);

    /// All bytes of all frames since the link was made.
    std::uint64_t Bytes() const { return m_bytes; }
    /// All frames since the link was made.
    std::uint64_t Frames() const { return m_frames; }

    /// "2 records (212 bytes) were sent and not acknowledged: 1003, 1021" for the last so many bytes: the command of
    /// each remote-control record, the id of each other one, in their order. Empty when there is nothing to tell.
    std::string TellUnacknowledged(std::uint64_t bytes) const;

private:
    struct Entry
    {
        std::uint64_t end = 0;
        std::uint32_t name = 0;
    };
    static constexpr std::size_t Kept = 64;

    std::array<Entry, Kept> m_entries;
    std::uint64_t m_frames = 0;
    std::uint64_t m_bytes = 0;
};

} // namespace vordal
