// The streams of echoes of the sonars on one port: what the sonar is asked for, and what comes of it.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <protocol/echo_records.h>
#include <protocol/frame.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

class BaseDevice;

namespace vordal {

class AttachedDevices;
class Host;

/// Numbers of one port since it was made.
struct EchoCounters
{
    std::uint64_t damaged = 0; ///< records that were none
    std::uint64_t dropped = 0; ///< blocks that gave way to a newer one, or for which there was no room
    std::uint64_t told = 0;    ///< blocks that were put into a stream
};

/// See SonarEchoItems.h for the streams. What waits for the host thread is bounded by GreatestWaiting and
/// GreatestWaitingBytes, whatever a sonar sends.
class VORDAL_API EchoStreams
{
public:
    static constexpr std::size_t GreatestWaiting = 16;
    static constexpr std::size_t GreatestWaitingBytes = std::size_t{32} << 20;

    EchoStreams(Host& host, AttachedDevices& devices) : m_host(host), m_devices(devices) {}
    EchoStreams(EchoStreams const&) = delete;
    EchoStreams& operator=(EchoStreams const&) = delete;
    ~EchoStreams() = default;

    // Host thread.

    /// Sends the payload of a request to the sonar; false when it did not leave.
    using Ask = std::function<bool(qx5::protocol::Target, std::span<unsigned char const> request)>;

    /// What was asked for is over: the sonar forgets it with the connection.
    void ConnectionChanged()
    {
        m_asked.clear();
        m_areOffered = false;
    }
    /// Takes up what the sonar tells. Until it has told on this connection that it has echoes, it is asked for none:
    /// who does not know the request is not to get it. Attend follows.
    void TakeUp(CAttributeMap const& told);
    /// Sees to it that the streams have buffers with the status of the connection, and that the sonar is asked for
    /// what is followed and for no more. A sonar that shares the port is asked once it has told who it is.
    void Attend(bool connected, Ask const& ask);
    /// Puts the block that has waited longest into the streams that it is for. To be called once for each that was
    /// taken.
    void DeliverNext();

    // Link thread.

    /// Makes a block of the record. True when it waits and DeliverNext is to be called for it; else somebody else's
    /// call brings it, or nobody follows it, or it is damaged, and `damage` says how.
    bool Take(qx5::protocol::FrameView const& frame, std::string& damage);
    /// DeliverNext will not be called for what was taken last, for there was no memory.
    void DropNewest();

    EchoCounters Counts() const; ///< any thread

private:
    struct Waiting
    {
        qx5::protocol::Target from;
        unsigned short group;
        CDataBlock block;
        std::size_t bytes;
    };
    struct Told
    {
        CDataId sonar;
        bool connected;
        qx5::protocol::EchoWish wish;
    };

    qx5::protocol::EchoWish WishFor(CDataId const& sonar) const;
    void TellStreams(CDataId const& sonar, qx5::protocol::EchoWish wish, bool connected);
    std::optional<qx5::protocol::Target> TargetOf(BaseDevice const& device) const;
    bool PutInLine(Waiting next);

    Host& m_host;
    AttachedDevices& m_devices;
    bool m_areOffered = false;
    std::vector<Told> m_told;
    std::vector<std::pair<qx5::protocol::Target, qx5::protocol::EchoWish>> m_asked;

    std::atomic<bool> m_areDetectionsFollowed{false};
    std::atomic<bool> m_isWaterColumnFollowed{false};
    std::atomic<std::uint64_t> m_damaged{0};
    std::atomic<std::uint64_t> m_dropped{0};
    std::atomic<std::uint64_t> m_delivered{0};
    std::mutex m_waitingMutex;
    std::vector<Waiting> m_waiting; ///< in the order in which they came; of each sonar and group one
    std::size_t m_waitingBytes = 0;
};

} // namespace vordal
