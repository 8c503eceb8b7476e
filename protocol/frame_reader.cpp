// The search for frames: for the fixed first eight bytes, then a plausible size, then the trailing word.
#include <protocol/frame_reader.h>

#include <algorithm>
#include <array>
#include <cstring>

#include <protocol/bytes.h>

namespace qx5::protocol {

namespace {

/// Version, offset of the data section and sync word as they stand at the start of every frame.
constexpr std::array<unsigned char, 8> FrameStart = [] {
    std::array<unsigned char, 8> bytes{};
    PutU16LE(bytes, 0, ProtocolVersion);
    PutU16LE(bytes, 2, DataSectionOffset);
    PutU32LE(bytes, 4, SyncWord);
    return bytes;
}();

/// After a frame larger than this its memory is given back.
constexpr std::size_t KeptBytes = std::size_t{4} * 1024 * 1024;

constexpr std::size_t SizeEnd = 12; // of the word that tells the total size

/// Where the next FrameStart begins, or the start of one that the end of the bytes cuts off; bytes.size() if neither.
std::size_t FindFrameStart(std::span<unsigned char const> bytes)
{
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        void const* const found = std::memchr(bytes.data() + at, FrameStart[0], bytes.size() - at);
        if (found == nullptr) {
            return bytes.size();
        }
        at = static_cast<std::size_t>(static_cast<unsigned char const*>(found) - bytes.data());
        std::size_t const length = std::min(FrameStart.size(), bytes.size() - at);
        if (std::memcmp(bytes.data() + at, FrameStart.data(), length) == 0) {
            return at;
        }
    }
    return bytes.size();
}

} // namespace

FrameReader::FrameReader(std::size_t maximumFrameSize)
    : m_maximumFrameSize(std::clamp(maximumFrameSize, FrameOverhead, MaximumFrameSize))
{
}

std::span<unsigned char const> FrameReader::Unread() const
{
    return std::span(m_bytes).subspan(m_begin);
}

void FrameReader::Advance(std::size_t count)
{
    m_begin += count;
    m_position += count;
    m_doubted = m_doubted && count == 0;
}

void FrameReader::Skip(std::size_t count)
{
    Advance(count);
    m_skippedBytes += count;
}

/// Skips to bytes that may begin a frame. Gives its total size once that is known, nothing while bytes are missing.
std::optional<std::size_t> FrameReader::FindCandidate()
{
    for (;;) {
        Skip(FindFrameStart(Unread()));
        auto const unread = Unread();
        if (unread.size() < SizeEnd) {
            if (!m_finished) {
                return std::nullopt;
            }
            if (unread.empty()) {
                return std::nullopt;
            }
            Skip(1);
            continue;
        }
        std::uint32_t totalSize = 0;
        if (CheckFrameStart(unread, totalSize) == FrameError::None && totalSize <= m_maximumFrameSize) {
            return totalSize;
        }
        Skip(1);
    }
}

/// Remembers what may be frames behind the start of the unfinished one, up to where the bytes end. Each byte is looked
/// at once, since the search goes on where it stopped, even when another frame is the unfinished one by then.
void FrameReader::CollectClaims()
{
    auto const unread = Unread();
    m_searched = std::max(m_searched, m_position + 1);
    while (m_claims.size() < MaximumClaims) {
        auto at = static_cast<std::size_t>(m_searched - m_position);
        at += FindFrameStart(unread.subspan(at));
        m_searched = m_position + at;
        if (unread.size() - at < SizeEnd) {
            return;
        }
        std::uint32_t totalSize = 0;
        if (CheckFrameStart(unread.subspan(at), totalSize) == FrameError::None && totalSize <= m_maximumFrameSize) {
            m_claims.push_back({m_searched, m_searched + totalSize});
        }
        ++m_searched;
    }
}

/// How far behind the start of the unfinished frame the first good one begins that lies whole inside of it.
std::optional<std::size_t> FrameReader::FindInside()
{
    std::erase_if(m_claims, [this](Claim const& claim) { return claim.begin <= m_position; });
    auto const unread = Unread();
    for (;;) {
        CollectClaims();
        std::size_t const before = m_claims.size();
        for (auto claim = m_claims.begin(); claim != m_claims.end();) {
            auto const at = static_cast<std::size_t>(claim->begin - m_position);
            if (claim->end - m_position > unread.size()) {
                ++claim;
            } else if (ParseFrame(unread.subspan(at))) {
                return at;
            } else {
                claim = m_claims.erase(claim);
            }
        }
        // With room for more claims the search may go on.
        if (before < MaximumClaims || m_claims.size() == before) {
            return std::nullopt;
        }
    }
}

void FrameReader::Feed(std::span<unsigned char const> bytes)
{
    // What was given or skipped goes away once it outweighs what stays: each byte moves a bounded number of times.
    if (m_begin == m_bytes.size() && m_bytes.capacity() > KeptBytes) {
        std::vector<unsigned char>().swap(m_bytes);
        m_begin = 0;
    } else if (m_begin > 0 && m_begin >= m_bytes.size() - m_begin) {
        m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin));
        m_begin = 0;
        // What came with the end of a large frame must not keep its memory.
        if (m_bytes.capacity() > KeptBytes && m_bytes.size() < m_bytes.capacity() / 4) {
            m_bytes.shrink_to_fit();
        }
    }
    m_finished = false;
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    FindCandidate();
    if (m_begin == m_bytes.size()) {
        m_bytes.clear();
        m_begin = 0;
    }
}

std::optional<FrameView> FrameReader::Next()
{
    while (auto const totalSize = FindCandidate()) {
        if (Unread().size() < *totalSize) {
            if (!m_finished) {
                auto const inside = m_doubted ? FindInside() : std::nullopt;
                if (!inside) {
                    return std::nullopt;
                }
                ++m_damagedFrames;
                Skip(*inside);
                continue;
            }
        } else if (auto const frame = ParseFrame(Unread())) {
            Advance(*totalSize);
            ++m_goodFrames;
            return frame;
        }
        ++m_damagedFrames;
        Skip(1);
    }
    return std::nullopt;
}

void FrameReader::Finish()
{
    m_finished = true;
}

void FrameReader::Reset()
{
    Skip(BufferedBytes());
    m_bytes.clear();
    m_begin = 0;
    m_claims.clear();
    m_finished = false;
}

} // namespace qx5::protocol
