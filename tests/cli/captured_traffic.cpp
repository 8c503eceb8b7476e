// Packets and files, byte by byte.
#include "captured_traffic.h"

namespace qx5::test {
namespace {

/// As the network has its numbers.
std::string BigEndian(std::uint64_t value, int bytes)
{
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) {
        text += static_cast<char>(value >> (8 * i) & 0xFFU);
    }
    return text;
}

std::string LittleEndian(std::uint64_t value, int bytes)
{
    std::string const text = BigEndian(value, bytes);
    return {text.rbegin(), text.rend()};
}

std::string PacketOfIp(TrafficSegment const& segment, std::uint32_t sequence, std::uint32_t acknowledged, bool isIpv6)
{
    auto const from = segment.toSonar ? segment.hostPort : segment.sonarPort;
    auto const to = segment.toSonar ? segment.sonarPort : segment.hostPort;
    std::string const tcp = BigEndian(from, 2) + BigEndian(to, 2) + BigEndian(sequence, 4) +
                            BigEndian(acknowledged, 4) + BigEndian(0x50, 1) + BigEndian(segment.flags, 1) +
                            BigEndian(65535, 2) + BigEndian(0, 4) + segment.payload;
    if (isIpv6) {
        auto const address = [](int last) { return "\xFD" + std::string(14, '\0') + static_cast<char>(last); };
        return BigEndian(0x60000000, 4) + BigEndian(tcp.size(), 2) + BigEndian(6, 1) + BigEndian(64, 1) +
               address(segment.toSonar ? 1 : 2) + address(segment.toSonar ? 2 : 1) + tcp;
    }
    std::uint32_t const host = 0x0A000001;
    std::uint32_t const sonar = 0x0A010001;
    return BigEndian(0x4500, 2) + BigEndian(tcp.size() + 20, 2) + BigEndian(0x00004000, 4) + BigEndian(0x4006, 2) +
           BigEndian(0, 2) + BigEndian(segment.toSonar ? host : sonar, 4) +
           BigEndian(segment.toSonar ? sonar : host, 4) + tcp;
}

} // namespace

void CapturedTraffic::Add(TrafficSegment const& segment)
{
    auto const stream = [&](bool toSonar) -> std::uint32_t& {
        return m_next.try_emplace({toSonar, segment.sonarPort, segment.hostPort}, 1).first->second;
    };
    auto const sequence = segment.sequence.value_or(stream(segment.toSonar));
    auto const packet = PacketOfIp(segment, sequence, stream(!segment.toSonar), m_form.isIpv6);
    if (!segment.sequence) {
        stream(segment.toSonar) += static_cast<std::uint32_t>(segment.payload.size());
    }
    auto const type = BigEndian(m_form.isIpv6 ? 0x86DD : 0x0800, 2);
    switch (m_form.link) {
    case LinkKind::Loopback:
        m_packets.push_back(Whole(m_form.isIpv6 ? 24 : 2, 4) + packet);
        break;
    case LinkKind::Ethernet:
        m_packets.push_back(std::string(12, '\x02') + (m_form.hasVlan ? BigEndian(0x81000005, 4) : "") + type + packet);
        break;
    case LinkKind::RawIp:
        m_packets.push_back(packet);
        break;
    case LinkKind::LinuxCooked:
        m_packets.push_back(std::string(14, '\0') + type + packet);
        break;
    case LinkKind::LinuxCooked2:
        m_packets.push_back(type + std::string(18, '\0') + packet);
        break;
    }
}

std::string CapturedTraffic::File() const
{
    return m_form.isPcapng ? PcapngFile() : PcapFile();
}

std::string CapturedTraffic::Whole(std::uint64_t value, int bytes) const
{
    return m_form.isBigEndian ? BigEndian(value, bytes) : LittleEndian(value, bytes);
}

std::string CapturedTraffic::PcapFile() const
{
    std::string file = Whole(m_form.hasNanoseconds ? 0xA1B23C4D : 0xA1B2C3D4, 4) + Whole(2, 2) + Whole(4, 2) +
                       Whole(0, 8) + Whole(262144, 4) + Whole(static_cast<std::uint32_t>(m_form.link), 4);
    std::uint64_t seconds = 1'700'000'000;
    for (auto const& packet : m_packets) {
        auto const kept = packet.substr(0, m_form.cutAt.value_or(packet.size()));
        file += Whole(seconds++, 4) + Whole(m_form.hasNanoseconds ? 123'456'789 : 123'456, 4) + Whole(kept.size(), 4) +
                Whole(packet.size(), 4) + kept;
    }
    return file;
}

std::string CapturedTraffic::Block(std::uint32_t type, std::string const& body) const
{
    std::string const padded = body + std::string((4 - body.size() % 4) % 4, '\0');
    auto const size = Whole(padded.size() + 12, 4);
    return Whole(type, 4) + size + padded + size;
}

std::string CapturedTraffic::PcapngFile() const
{
    std::string file = Block(0x0A0D0D0A, Whole(0x1A2B3C4D, 4) + Whole(1, 2) + Whole(0, 2) + std::string(8, '\xFF'));
    // The option if_tsresol: 10 to the minus 9.
    std::string const nanoseconds = Whole(9, 2) + Whole(1, 2) + '\x09' + std::string(3, '\0') + Whole(0, 4);
    file += Block(1, Whole(static_cast<std::uint32_t>(m_form.link), 2) + Whole(0, 2) + Whole(0, 4) +
                         (m_form.hasNanoseconds ? nanoseconds : ""));
    std::uint64_t seconds = 1'700'000'000;
    for (auto const& packet : m_packets) {
        std::uint64_t const time =
            m_form.hasNanoseconds ? seconds * 1'000'000'000 + 123'456'789 : seconds * 1'000'000 + 123'456;
        auto const kept = packet.substr(0, m_form.cutAt.value_or(packet.size()));
        file += Block(6, Whole(0, 4) + Whole(time >> 32, 4) + Whole(time & 0xFFFFFFFF, 4) + Whole(kept.size(), 4) +
                             Whole(packet.size(), 4) + kept);
        ++seconds;
    }
    return file;
}

std::string FrameOf(std::uint32_t recordId, std::string_view data)
{
    std::string const stamp("\xE7\x07\x3E\x01\x00\x00\xA0\x41\x16\x0D", 10);
    return LittleEndian(5, 2) + LittleEndian(60, 2) + LittleEndian(0xFFFF, 4) + LittleEndian(data.size() + 68, 4) +
           std::string(8, '\0') + stamp + LittleEndian(1, 2) + LittleEndian(recordId, 4) + LittleEndian(0, 4) +
           LittleEndian(0, 2) + LittleEndian(65535, 2) + std::string(20, '\0') + std::string(data) + LittleEndian(0, 4);
}

std::string CommandFrameOf(std::uint32_t commandId, std::string_view payload)
{
    return FrameOf(7500, LittleEndian(commandId, 4) + LittleEndian(commandId, 4) + std::string(16, '\0') +
                             std::string(payload));
}

} // namespace qx5::test
