// The bytes of TCP connections out of captured packets: put into order, what came twice left out, what was lost told.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qx5::cli {

/// One end of a connection.
struct TrafficEnd
{
    std::vector<unsigned char> address; ///< 4 or 16 bytes
    std::uint16_t port = 0;

    auto operator<=>(TrafficEnd const&) const = default;
};

/// "10.0.0.1:7000", "[fd00::1]:7000".
std::string ToText(TrafficEnd const& end);

/// One direction of one connection.
struct TrafficWay
{
    std::size_t connection = 0; ///< from 1, in the order in which they are first seen
    bool isBack = false;        ///< the other one of its two ways
    TrafficEnd from;
    TrafficEnd to;
};

/// Takes packets in the order in which they were captured. A connection begins with the first packet of its two ends,
/// and another one of the same ends with a handshake that begins anew. For one thread.
class TcpStreams
{
public:
    class Sink
    {
    public:
        /// The next bytes of that way; `nanoseconds` is when the packet came that brought them, or made them the next.
        virtual void Bytes(TrafficWay const& way, std::uint64_t nanoseconds, std::span<unsigned char const> bytes) = 0;
        /// So many bytes of that way were not captured; the next ones stand behind them.
        virtual void Lost(TrafficWay const& way, std::uint64_t bytes) = 0;
        /// Nothing more comes that way.
        virtual void End(TrafficWay const& way) = 0;

    protected:
        ~Sink() = default;
    };

    explicit TcpStreams(Sink& sink) : m_sink(sink) {}

    /// A packet from the version of IP on; what is not TCP is passed over.
    void Take(std::span<unsigned char const> ip, std::uint64_t nanoseconds);
    /// There are no more packets: what waited for lost bytes is told.
    void Finish();

    /// Packets of TCP that cannot be used: parts of packets that were split on their way, or cut within their heads.
    std::uint64_t Unusable() const { return m_unusable; }

private:
    struct Segment
    {
        std::uint64_t nanoseconds = 0;
        std::vector<unsigned char> bytes;
    };
    struct Way
    {
        TrafficWay told;
        bool hasBegun = false;
        std::uint32_t next = 0;                   ///< sequence number of the next byte
        std::optional<std::uint32_t> first;       ///< as the handshake tells it
        std::uint64_t position = 0;               ///< of the next byte, from 0
        std::map<std::uint64_t, Segment> waiting; ///< by their positions, all behind the next byte
        std::size_t waitingBytes = 0;
    };
    struct Connection
    {
        Way ways[2];
    };
    using Ends = std::pair<TrafficEnd, TrafficEnd>; ///< the lesser one first

    void TakeSegment(TrafficEnd const& from, TrafficEnd const& to, std::span<unsigned char const> tcp,
                     std::uint64_t nanoseconds);
    void Deliver(Way& way, std::uint64_t position, Segment segment);
    void DeliverWaiting(Way& way);
    void SkipToWaiting(Way& way);
    void End(Connection& connection);

    Sink& m_sink;
    std::map<Ends, Connection> m_connections;
    std::size_t m_count = 0;
    std::uint64_t m_unusable = 0;
};

} // namespace qx5::cli
