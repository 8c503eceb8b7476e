// What failures on demand add to the frames that leave, and take from them.
#pragma once

#include <cstdint>
#include <vector>

#include <simulator/misbehaviour.h>

namespace qx5::simulator {

/// For the sonar's thread.
class FrameSpoiler
{
public:
    /// `failures` are those of the sonar, which change; one that happens once is ended here.
    explicit FrameSpoiler(Misbehaviour& failures) : m_failures(failures) {}

    /// Puts into `leaving`, which is empty, what leaves in place of the frame: garbage and a copy that lies about its
    /// size before it. False: only its first half, and then the link is to be cut.
    bool Spoil(std::vector<unsigned char> const& frame, std::vector<unsigned char>& leaving);

    /// The next frame is lied about, if any.
    void BeginLies() { m_framesSinceLie = 0; }

private:
    Misbehaviour& m_failures;
    std::uint32_t m_garbageSeed = 1;
    std::uint64_t m_framesSinceLie = 0;
};

} // namespace qx5::simulator
