// Frames on their way from the links to the record monitor: taken on any thread, handed over in one piece, bounded.
#pragma once

#include "reference_host/link/sonar_link.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vordal {

/// A frame as it passed over a link.
struct CapturedFrame
{
    std::string link; ///< the link's name
    bool outgoing = false;
    double time = 0.0; ///< host time in seconds
    /// The frame, or its beginning when it was too long to be kept.
    std::vector<unsigned char> bytes;
    std::size_t totalBytes = 0; ///< of the whole frame
};

/// Holds the newest frames until they are taken. Beyond its bounds the oldest give way and are counted. The lock is
/// held for moving a frame in or the whole content out, nothing else. Any thread.
class RecordQueue
{
public:
    static constexpr std::size_t GreatestCount = 10000;
    static constexpr std::size_t GreatestBytes = std::size_t{32} << 20;
    /// Of a longer frame only the beginning is kept.
    static constexpr std::size_t GreatestFrame = std::size_t{4} << 20;
    static constexpr std::size_t KeptOfLongFrame = 4096;
    /// The same of longer echoes from a sonar: several a second would crowd out all else.
    static constexpr std::size_t GreatestEchoes = std::size_t{64} << 10;

    void Put(CapturedFrame frame);

    struct Content
    {
        std::deque<CapturedFrame> frames; ///< in the order in which they passed
        std::uint64_t lost = 0;           ///< frames that gave way since the last Take
    };
    Content Take();
    std::size_t Count() const;

    /// An observer that puts the frames of a link of that name here. It keeps the queue alive.
    static std::shared_ptr<LinkObserver> ObserverOf(std::shared_ptr<RecordQueue> queue, std::string link);

private:
    mutable std::mutex m_mutex;
    std::deque<CapturedFrame> m_frames;
    std::size_t m_bytes = 0;
    std::uint64_t m_lost = 0;
};

} // namespace vordal
