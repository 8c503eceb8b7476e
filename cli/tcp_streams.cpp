// Headers of IP and TCP, and the order of segments.
#include "cli/tcp_streams.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// What waits for bytes that did not come, of one way; beyond it they are taken for lost.
constexpr std::size_t mostWaiting = std::size_t{4} << 20;
constexpr std::size_t mostWaitingSegments = 4096;

constexpr std::uint8_t tcpProtocol = 6;
constexpr std::size_t smallestTcpHead = 20;
constexpr std::uint8_t synFlag = 0x02;
constexpr std::uint8_t ackFlag = 0x10;

std::uint16_t U16(std::span<unsigned char const> bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

std::uint32_t U32(std::span<unsigned char const> bytes, std::size_t at)
{
    return static_cast<std::uint32_t>(U16(bytes, at)) << 16 | U16(bytes, at + 2);
}

/// What a packet of IP carries of TCP.
struct Carried
{
    std::span<unsigned char const> from;
    std::span<unsigned char const> to;
    std::span<unsigned char const> tcp; ///< as far as it was captured
    bool isUsable = false;              ///< false for a part of one, and for one cut within its head
    bool isTcp = false;
};

/// The bytes behind `head` of a packet that tells it is `size` long, 0 for as long as there are bytes.
void TakePayload(Carried& carried, std::span<unsigned char const> ip, std::size_t head, std::size_t size)
{
    auto const whole = size == 0 ? ip.size() : size; // the sender's network card splits what is longer than can be told
    carried.isUsable = whole >= head && ip.size() >= head;
    if (carried.isUsable) {
        carried.tcp = ip.subspan(head, std::min(ip.size(), whole) - head);
    }
}

Carried ReadIpv4(std::span<unsigned char const> ip)
{
    Carried carried;
    if (ip.size() < 20) {
        return carried;
    }
    std::size_t const head = (ip[0] & 0x0FU) * std::size_t{4};
    carried.isTcp = ip[9] == tcpProtocol;
    bool const isPart = (U16(ip, 6) & 0x3FFFU) != 0;
    if (carried.isTcp && !isPart && head >= 20) {
        carried.from = ip.subspan(12, 4);
        carried.to = ip.subspan(16, 4);
        TakePayload(carried, ip, head, U16(ip, 2));
    }
    return carried;
}

Carried ReadIpv6(std::span<unsigned char const> ip)
{
    constexpr std::size_t fixedHead = 40;
    Carried carried;
    if (ip.size() < fixedHead) {
        return carried;
    }
    carried.from = ip.subspan(8, 16);
    carried.to = ip.subspan(24, 16);
    auto next = ip[6];
    std::size_t head = fixedHead;
    bool isPart = false;
    auto const isExtension = [](std::uint8_t header) { return header == 0 || header == 43 || header == 60; };
    while ((isExtension(next) || next == 44) && ip.size() >= head + 8) {
        if (next == 44) {
            isPart = isPart || (U16(ip, head + 2) & 0xFFF9U) != 0;
            next = ip[head];
            head += 8;
        } else {
            next = ip[head];
            head += (ip[head + 1] + std::size_t{1}) * 8;
        }
        if (head > ip.size()) {
            return carried;
        }
    }
    carried.isTcp = next == tcpProtocol;
    if (carried.isTcp && !isPart) {
        std::size_t const length = U16(ip, 4);
        TakePayload(carried, ip, head, length == 0 ? 0 : fixedHead + length);
    }
    return carried;
}

TrafficEnd EndOf(std::span<unsigned char const> address, std::uint16_t port)
{
    return {{address.begin(), address.end()}, port};
}

/// As people write it: the longest run of zeros left out.
std::string Ipv6Text(std::vector<unsigned char> const& address)
{
    std::size_t begin = 8;
    std::size_t length = 1; // a single zero is not left out
    for (std::size_t i = 0; i < 8; ++i) {
        std::size_t end = i;
        while (end < 8 && U16(address, end * 2) == 0) {
            ++end;
        }
        if (end - i > length) {
            begin = i;
            length = end - i;
        }
        i = std::max(i, end);
    }
    std::string text;
    for (std::size_t i = 0; i < 8; ++i) {
        if (i == begin) {
            text += "::";
            i += length - 1;
        } else {
            text += (text.empty() || text.ends_with(':') ? "" : ":") + fmt::format("{:x}", U16(address, i * 2));
        }
    }
    return text;
}

} // namespace

std::string ToText(TrafficEnd const& end)
{
    if (end.address.size() == 16) {
        return fmt::format("[{}]:{}", Ipv6Text(end.address), end.port);
    }
    return fmt::format("{}:{}", fmt::join(end.address, "."), end.port);
}

void TcpStreams::Take(std::span<unsigned char const> ip, std::uint64_t nanoseconds)
{
    if (ip.empty()) {
        return;
    }
    auto const version = ip[0] >> 4;
    Carried const carried = version == 4 ? ReadIpv4(ip) : version == 6 ? ReadIpv6(ip) : Carried();
    if (!carried.isTcp) {
        return;
    }
    if (!carried.isUsable || carried.tcp.size() < smallestTcpHead) {
        ++m_unusable;
        return;
    }
    TakeSegment(EndOf(carried.from, U16(carried.tcp, 0)), EndOf(carried.to, U16(carried.tcp, 2)), carried.tcp,
                nanoseconds);
}

void TcpStreams::TakeSegment(TrafficEnd const& from, TrafficEnd const& to, std::span<unsigned char const> tcp,
                             std::uint64_t nanoseconds)
{
    std::size_t const head = (tcp[12] >> 4) * std::size_t{4};
    if (head < smallestTcpHead || head > tcp.size()) {
        ++m_unusable;
        return;
    }
    auto sequence = U32(tcp, 4);
    bool const begins = (tcp[13] & synFlag) != 0;
    bool const opens = begins && (tcp[13] & ackFlag) == 0;
    bool const isReversed = to < from;
    Ends const ends = isReversed ? Ends{to, from} : Ends{from, to};
    auto known = m_connections.find(ends);
    std::size_t const index = isReversed ? 1 : 0;
    if (known != m_connections.end() && opens) {
        Way const& way = known->second.ways[index];
        if (way.hasBegun && way.first != sequence) { // not the same handshake, sent again
            End(known->second);
            m_connections.erase(known);
            known = m_connections.end();
        }
    }
    if (known == m_connections.end()) {
        known = m_connections.emplace(ends, Connection()).first;
        ++m_count;
        known->second.ways[0].told = {m_count, false, ends.first, ends.second};
        known->second.ways[1].told = {m_count, true, ends.second, ends.first};
    }
    Way& way = known->second.ways[index];
    if (begins) {
        if (!way.hasBegun) {
            way.hasBegun = true;
            way.first = sequence;
            way.next = sequence + 1;
        }
        ++sequence; // it takes a number to itself
    }
    auto const payload = tcp.subspan(head);
    if (payload.empty()) {
        return;
    }
    if (!way.hasBegun) {
        way.hasBegun = true;
        way.next = sequence;
    }
    auto const ahead = static_cast<std::int32_t>(sequence - way.next);
    std::span<unsigned char const> fresh = payload;
    std::uint64_t position = way.position;
    if (ahead < 0) { // came before, at least in part
        auto const old = static_cast<std::uint32_t>(-static_cast<std::int64_t>(ahead));
        if (old >= payload.size()) {
            return;
        }
        fresh = payload.subspan(old);
    } else {
        position += static_cast<std::uint32_t>(ahead);
    }
    auto& place = way.waiting[position];
    if (fresh.size() > place.bytes.size()) {
        way.waitingBytes += fresh.size() - place.bytes.size();
        place = {nanoseconds, {fresh.begin(), fresh.end()}};
    }
    DeliverWaiting(way);
    while (way.waitingBytes > mostWaiting || way.waiting.size() > mostWaitingSegments) {
        SkipToWaiting(way);
    }
}

/// What waits and is the next.
void TcpStreams::DeliverWaiting(Way& way)
{
    std::uint64_t latest = 0;
    while (!way.waiting.empty() && way.waiting.begin()->first <= way.position) {
        auto const place = way.waiting.begin();
        auto const position = place->first;
        Segment segment = std::move(place->second);
        way.waiting.erase(place);
        way.waitingBytes -= segment.bytes.size();
        latest = std::max(latest, segment.nanoseconds);
        segment.nanoseconds = latest; // a byte is there once all before it are
        Deliver(way, position, std::move(segment));
    }
}

void TcpStreams::Deliver(Way& way, std::uint64_t position, Segment segment)
{
    auto const old = static_cast<std::size_t>(way.position - position);
    if (old < segment.bytes.size()) {
        auto const fresh = std::span(segment.bytes).subspan(old);
        way.position += fresh.size();
        way.next += static_cast<std::uint32_t>(fresh.size());
        m_sink.Bytes(way.told, segment.nanoseconds, fresh);
    }
}

/// The bytes before what waits first are lost.
void TcpStreams::SkipToWaiting(Way& way)
{
    auto const lost = way.waiting.begin()->first - way.position;
    way.position += lost;
    way.next += static_cast<std::uint32_t>(lost);
    m_sink.Lost(way.told, lost);
    DeliverWaiting(way);
}

void TcpStreams::End(Connection& connection)
{
    for (Way& way : connection.ways) {
        while (!way.waiting.empty()) {
            SkipToWaiting(way);
        }
        m_sink.End(way.told);
    }
}

void TcpStreams::Finish()
{
    std::map<std::size_t, Connection*> inOrder;
    for (auto& [ends, connection] : m_connections) {
        inOrder.emplace(connection.ways[0].told.connection, &connection);
    }
    for (auto const& [number, connection] : inOrder) {
        End(*connection);
    }
    m_connections.clear();
}

} // namespace qx5::cli
