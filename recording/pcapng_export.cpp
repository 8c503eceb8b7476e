// A recording as captured traffic: pcapng blocks, and in them packets of IPv4 and TCP.
#include "pcapng_export.h"

#include "new_file.h"

#include "reference_host/link/sonar_link.h"

#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <protocol/bytes.h>

namespace qx5::recording {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::uint16_t sonarPort = 7000;
constexpr std::uint16_t firstHostPort = 49152;
constexpr std::uint32_t hostAddress = 0x0A000001;
constexpr std::uint32_t sonarAddresses = 0x0A010000;
/// What a segment on Ethernet carries.
constexpr std::size_t segmentSize = 1460;
constexpr std::size_t ipHead = 20;
constexpr std::size_t tcpHead = 20;

// Blocks of pcapng; all its numbers here are little-endian, as the first block says.
constexpr std::uint32_t sectionBlock = 0x0A0D0D0A;
constexpr std::uint32_t interfaceBlock = 1;
constexpr std::uint32_t packetBlock = 6;
constexpr std::uint16_t rawIp = 101; ///< the type of link: packets begin with the header of IP
constexpr std::uint16_t optionName = 2;
constexpr std::uint16_t optionResolution = 9;
constexpr std::uint16_t optionUserApplication = 4;

class Block
{
public:
    explicit Block(std::uint32_t type)
    {
        U32(type);
        U32(0);
    }
    void U16(std::uint16_t value)
    {
        m_bytes.resize(m_bytes.size() + 2);
        protocol::PutU16LE(m_bytes, m_bytes.size() - 2, value);
    }
    void U32(std::uint32_t value)
    {
        m_bytes.resize(m_bytes.size() + 4);
        protocol::PutU32LE(m_bytes, m_bytes.size() - 4, value);
    }
    void Padded(std::span<unsigned char const> bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        m_bytes.resize((m_bytes.size() + 3) / 4 * 4);
    }
    void Option(std::uint16_t code, std::span<unsigned char const> value)
    {
        U16(code);
        U16(static_cast<std::uint16_t>(value.size()));
        Padded(value);
    }
    void Option(std::uint16_t code, std::string_view text)
    {
        Option(code, std::span(reinterpret_cast<unsigned char const*>(text.data()), text.size()));
    }
    Bytes const& Finished()
    {
        auto const size = static_cast<std::uint32_t>(m_bytes.size() + 4);
        U32(size);
        protocol::PutU32LE(m_bytes, 4, size);
        return m_bytes;
    }

private:
    Bytes m_bytes;
};

// The network's numbers are big-endian.
void PutU16(std::span<unsigned char> bytes, std::size_t offset, std::uint16_t value)
{
    bytes[offset] = static_cast<unsigned char>(value >> 8);
    bytes[offset + 1] = static_cast<unsigned char>(value & 0xFF);
}

void PutU32(std::span<unsigned char> bytes, std::size_t offset, std::uint32_t value)
{
    PutU16(bytes, offset, static_cast<std::uint16_t>(value >> 16));
    PutU16(bytes, offset + 2, static_cast<std::uint16_t>(value & 0xFFFF));
}

/// The sum that IP and TCP check by, of 16-bit words, to be folded.
std::uint32_t SumOf(std::span<unsigned char const> bytes, std::uint32_t sum = 0)
{
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        sum += static_cast<std::uint32_t>(bytes[i] << 8) + (i + 1 < bytes.size() ? bytes[i + 1] : 0U);
    }
    return sum;
}

std::uint16_t Folded(std::uint32_t sum)
{
    while (sum > 0xFFFF) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum & 0xFFFF);
}

/// One end of a connection.
struct End
{
    std::uint32_t address = 0;
    std::uint16_t port = 0;
    std::uint32_t next = 1;           ///< sequence number of its next byte
    std::uint16_t identification = 0; ///< of its next packet
};

Bytes PacketOf(End& from, End const& to, std::span<unsigned char const> payload, bool isLast)
{
    Bytes packet(ipHead + tcpHead + payload.size());
    auto const ip = std::span(packet).first(ipHead);
    auto const tcp = std::span(packet).subspan(ipHead);
    std::copy(payload.begin(), payload.end(), packet.begin() + ipHead + tcpHead);
    ip[0] = 0x45; // version 4, a header of five words
    PutU16(ip, 2, static_cast<std::uint16_t>(packet.size()));
    PutU16(ip, 4, from.identification++);
    PutU16(ip, 6, 0x4000); // not to be split
    ip[8] = 64;            // hops
    ip[9] = 6;             // TCP
    PutU32(ip, 12, from.address);
    PutU32(ip, 16, to.address);
    PutU16(ip, 10, Folded(SumOf(ip)));
    PutU16(tcp, 0, from.port);
    PutU16(tcp, 2, to.port);
    PutU32(tcp, 4, from.next);
    PutU32(tcp, 8, to.next);
    tcp[12] = 0x50;                 // a header of five words
    tcp[13] = isLast ? 0x18 : 0x10; // acknowledges; the last of a frame is pushed
    PutU16(tcp, 14, 0xFFFF);        // window
    // Addresses, protocol and length count, too.
    auto const sum = SumOf(ip.subspan(12), 6 + static_cast<std::uint32_t>(tcp.size()));
    PutU16(tcp, 16, Folded(SumOf(tcp, sum)));
    from.next += static_cast<std::uint32_t>(payload.size());
    return packet;
}

/// A sonar with the connection to it as it stands.
struct Peer
{
    std::uint32_t interface = 0;
    End host;
    End sonar;
    bool isFresh = true; ///< the next frame is the first of another connection
    bool isTold = false; ///< the recording has said of this connection that it came up
};

class Traffic
{
public:
    explicit Traffic(std::filesystem::path const& out) : m_file(out)
    {
        Block section(sectionBlock);
        section.U32(0x1A2B3C4D);
        section.U16(1);
        section.U16(0);
        section.U32(0xFFFFFFFF); // its length is not told
        section.U32(0xFFFFFFFF);
        section.Option(optionUserApplication, "qx5");
        section.U32(0);
        m_file.Write(section.Finished());
    }

    void Connection(Peer& peer, std::string_view state)
    {
        if (state == vordal::ToText(vordal::LinkState::Connected)) {
            peer.isFresh = peer.isFresh || peer.isTold;
            peer.isTold = true;
        } else if (state != vordal::ToText(vordal::LinkState::Connecting)) {
            peer.isFresh = true;
            peer.isTold = false;
        }
    }

    void Frame(Peer& peer, std::uint64_t time, RecordedFrame const& frame)
    {
        if (std::exchange(peer.isFresh, false)) {
            constexpr std::uint16_t ports = 65535 - firstHostPort;
            peer.host = {hostAddress, static_cast<std::uint16_t>(firstHostPort + m_connections++ % ports), 1, 0};
            peer.sonar.next = 1;
        }
        auto& from = frame.isSent ? peer.host : peer.sonar;
        auto const& to = frame.isSent ? peer.sonar : peer.host;
        auto rest = frame.bytes;
        while (!rest.empty()) {
            auto const piece = rest.first(std::min(rest.size(), segmentSize));
            rest = rest.subspan(piece.size());
            Packet(peer.interface, time, PacketOf(from, to, piece, rest.empty()));
        }
    }

    Peer& PeerOf(std::string const& sonar, std::string const& name)
    {
        auto const [place, isNew] = m_peers.try_emplace(sonar);
        auto& peer = place->second;
        if (isNew) {
            peer.interface = static_cast<std::uint32_t>(m_peers.size() - 1);
            peer.sonar = {sonarAddresses + peer.interface + 1, sonarPort, 1, 0};
            Block interface(interfaceBlock);
            interface.U16(rawIp);
            interface.U16(0);
            interface.U32(0); // packets are whole
            interface.Option(optionName, name.substr(0, greatestName));
            interface.Option(optionResolution, std::array<unsigned char, 1>{9}); // nanoseconds
            interface.U32(0);
            m_file.Write(interface.Finished());
        }
        return peer;
    }

    void Finish() { m_file.Finish(); }

private:
    static constexpr std::size_t greatestName = 1000;

    void Packet(std::uint32_t interface, std::uint64_t time, Bytes const& packet)
    {
        Block block(packetBlock);
        block.U32(interface);
        block.U32(static_cast<std::uint32_t>(time >> 32));
        block.U32(static_cast<std::uint32_t>(time & 0xFFFFFFFF));
        block.U32(static_cast<std::uint32_t>(packet.size()));
        block.U32(static_cast<std::uint32_t>(packet.size()));
        block.Padded(packet);
        m_file.Write(block.Finished());
    }

    NewFile m_file;
    std::map<std::string, Peer> m_peers;
    unsigned m_connections = 0;
};

} // namespace

void ExportPcapng(RecordedSession& session, std::filesystem::path const& out, RecordedRange const& range)
{
    Traffic traffic(out);
    std::map<std::string, std::string> names;
    auto wanted = range;
    wanted.kinds = {&kinds::Sent, &kinds::Received, &kinds::Connection};
    session.ForEach(wanted, [&](RecordedMessage const& message) {
        if (message.sonar == nullptr) {
            return true;
        }
        if (!names.contains(*message.sonar)) {
            for (auto const& sonar : session.Sonars()) {
                names[sonar.id] = sonar.name;
            }
        }
        auto& peer = traffic.PeerOf(*message.sonar, names[*message.sonar]);
        if (auto const* const frame = std::get_if<RecordedFrame>(&message.content)) {
            traffic.Frame(peer, message.time, *frame);
        } else if (auto const* const connection = std::get_if<RecordedConnection>(&message.content)) {
            traffic.Connection(peer, connection->state);
        }
        return true;
    });
    traffic.Finish();
}

} // namespace qx5::recording
