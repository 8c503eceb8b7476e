// One host's connection to the simulated sonar: what it sends is taken apart, what it is told leaves in order.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <asio.hpp>

#include <protocol/arriving_frames.h>
#include <simulator/answer_frames.h>
#include <simulator/misbehaviour.h>
#include <simulator/sonar_server.h>

namespace qx5::simulator {

class Hosts;

enum class EchoKind : std::uint8_t
{
    Detections,
    WaterColumn,
};

/// Sonar's thread alone. Held by shared pointers, its handlers' among them; once it is closed it does nothing more.
class HostConnection : public std::enable_shared_from_this<HostConnection>
{
public:
    /// `number` counts the connections, from 1. `hosts` keeps them and outlives the connection.
    HostConnection(Hosts& hosts, asio::ip::tcp::socket socket, std::uint64_t number);

    /// Closes it where the first frame does not come in time.
    void AwaitFirstFrame();
    /// Reads on, unless it reads already or reading is stalled.
    void Read();
    /// Sends the bytes of a whole frame when it is their turn and time. A host that lets too much pile up is
    /// disconnected, or, where not even an end would leave, once it would.
    void Send(SharedBytes const& bytes);
    /// What the host wants to know of a head's echoes.
    void SetWish(std::int32_t head, protocol::EchoWish wish);
    protocol::EchoWish WishFor(std::int32_t head) const;
    /// Sends a frame of echoes when nothing else is to leave, so that no other frame waits behind more than one of
    /// them. False, and it is left out, while one of that head and kind waits already beside the one that is leaving,
    /// or while more than `greatestEchoQueue` would wait.
    bool SendEchoes(SharedBytes const& bytes, std::int32_t head, EchoKind kind);
    /// Sends what can leave now, floods among it.
    void PumpWrites();
    /// After a change of failures: what waits for a time or for another change looks again.
    void WriteOn();
    /// A tree of colliding keys is still to leave, or not any more.
    void SetCollisionDue(bool due) { m_isCollisionDue = due; }
    bool TakeCollisionDue() { return std::exchange(m_isCollisionDue, false); }
    /// Nothing that arrives is acknowledged from now on, or again. False where the system cannot.
    bool DropWhatArrives(bool drop);
    void CloseWhereOverflown();
    void Close(std::string_view why);

    bool IsOpen() const { return m_isOpen; }
    std::uint64_t Number() const { return m_number; }
    /// Whether it has shown that it speaks the protocol.
    bool IsKnown() const { return m_arriving.Reader().GoodFrames() > 0; }
    /// The last good frame, or the connection itself.
    SteadyTime Heard() const { return m_heard; }
    bool HasHeldBytes() const { return m_held > 0; }
    std::uint64_t BytesReceived() const { return m_bytesReceived; }
    std::size_t UnfinishedBytes() const { return m_arriving.Reader().BufferedBytes(); }
    void AddTo(ServerCounts& counts) const;
    /// "2 records received, 1 frame sent, 0 bytes of no frame".
    std::string CarriedText() const;
    /// "connection 1: ..." with what it carried and what waits.
    std::string StatusText() const;

private:
    struct Outgoing
    {
        SharedBytes bytes;
        SteadyTime due;
    };

    struct Echoes
    {
        SharedBytes bytes;
        std::int32_t head;
        EchoKind kind;
    };

    void TakeBytes(std::size_t count);
    void TakeFrames();
    void WatchIdle();
    void LookForIdle();
    SharedBytes NextFrame();
    void Write();
    void WriteBytes(std::size_t count);

    Hosts& m_hosts;
    Misbehaviour const& m_failures;
    std::uint64_t m_number;
    bool m_isOpen = true;

    asio::ip::tcp::socket m_socket;
    asio::steady_timer m_sendTimer;
    asio::steady_timer m_idleTimer;
    asio::steady_timer m_quietTimer;

    SteadyTime m_heard = std::chrono::steady_clock::now();
    protocol::ArrivingFrames m_arriving;
    bool m_idleWatched = false; ///< the timer is under way
    std::array<unsigned char, 65536> m_arrived{};
    std::size_t m_held = 0; ///< bytes of `m_arrived` that came in while reading is stalled
    bool m_isReading = false;
    std::uint64_t m_bytesReceived = 0;

    std::deque<Outgoing> m_queue;
    std::size_t m_queuedBytes = 0;
    std::vector<protocol::EchoWish> m_wishes; ///< by head
    std::vector<Echoes> m_echoes;             ///< that wait, of each head and kind one; the first may be under way
    std::size_t m_echoBytes = 0;
    bool m_areEchoesLeaving = false;      ///< the first of `m_echoes` is in `m_leaving`
    bool m_isAwaitingDue = false;         ///< the timer runs until the next frame is due
    std::vector<unsigned char> m_leaving; ///< the frame under way, with what is sent before it
    std::size_t m_left = 0;               ///< bytes of `m_leaving` that have left
    bool m_isWriting = false;             ///< an operation or the timer is under way
    bool m_isHeldBack = false;            ///< the rest of `m_leaving` waits until what vanished is back
    bool m_isOverflown = false;           ///< more piled up meanwhile than may wait
    bool m_isCollisionDue = false;        ///< a tree of colliding keys is still to leave
    bool m_closeAfterWrite = false;
    std::uint64_t m_bytesSent = 0;
    std::uint64_t m_framesSent = 0;
};

} // namespace qx5::simulator
