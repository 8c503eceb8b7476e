// A TCP relay for tests that cuts, delays, splits, corrupts and stalls what passes through it, on command.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace vordal {

/// Listens on a free port of 127.0.0.1 and connects each client to the target port of 127.0.0.1. Commands may come from
/// any thread and are in force when they return; they hold for the connections there are and for later ones.
class FaultRelay
{
public:
    enum class Direction
    {
        ToTarget,
        ToClient
    };

    /// Throws std::system_error when it cannot listen.
    explicit FaultRelay(std::uint16_t targetPort);
    FaultRelay(FaultRelay const&) = delete;
    FaultRelay& operator=(FaultRelay const&) = delete;
    ~FaultRelay();

    std::uint16_t Port() const;
    /// Connections that reached the target so far.
    std::uint64_t Connections() const;

    /// Breaks all connections, in the middle of whatever they carry.
    void Cut();
    /// While set, nobody listens: a client is refused.
    void SetRefusing(bool refusing);
    /// While set, nothing passes in that direction and nothing is read.
    void SetStalled(Direction direction, bool stalled);
    /// While set, the same in both directions of one connection, which was the `number`th to reach the target, from 0.
    void SetHeld(std::uint64_t number, bool held);
    /// Holds back everything by that long.
    void SetDelay(std::chrono::milliseconds delay);
    /// Passes on at most so many bytes with one write; 0: as they come.
    void SetPieceSize(std::size_t bytes);
    /// Flips the bits of `mask` in the byte that comes `offset` bytes after those that have passed, once.
    void Corrupt(Direction direction, std::uint64_t offset, unsigned char mask);
    /// Cuts after exactly so many further bytes in that direction, once.
    void CutAfter(Direction direction, std::uint64_t bytes);
    /// Puts bytes of one's own into the stream, between two reads.
    void Inject(Direction direction, std::vector<unsigned char> bytes);

    struct Core;

private:
    std::unique_ptr<Core> m_core;
};

} // namespace vordal
