// What failures on demand add to the frames that leave, and take from them.
#include <simulator/frame_spoiler.h>

#include <cstddef>
#include <utility>

#include <protocol/bytes.h>

namespace qx5::simulator {

namespace {

constexpr std::size_t SizeWordAt = 8;     // of a frame
constexpr std::uint64_t FramesToALie = 3; // the first, the fourth and so on

} // namespace

bool FrameSpoiler::Spoil(std::vector<unsigned char> const& frame, std::vector<unsigned char>& leaving)
{
    for (std::size_t i = 0; i < m_failures.garbageBytes; ++i) {
        m_garbageSeed = m_garbageSeed * 1664525U + 1013904223U;
        leaving.push_back(static_cast<unsigned char>(m_garbageSeed >> 24U));
    }
    // The copy is no frame, and what is told is none the less told: the good frame follows it.
    if (m_failures.claimedSize && m_framesSinceLie++ % FramesToALie == 0) {
        std::size_t const begin = leaving.size();
        leaving.insert(leaving.end(), frame.begin(), frame.end());
        protocol::PutU32LE(leaving, begin + SizeWordAt, *m_failures.claimedSize);
    }
    bool const isHalf = std::exchange(m_failures.halfFrame, false);
    auto const length = isHalf ? frame.size() / 2 : frame.size();
    leaving.insert(leaving.end(), frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(length));
    return !isHalf;
}

} // namespace qx5::simulator
