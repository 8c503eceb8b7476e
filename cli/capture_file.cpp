// The bytes of pcap and pcapng.
#include "cli/capture_file.h"

#include <algorithm>
#include <array>
#include <limits>

namespace qx5::cli {

namespace {

// As they stand in a file whose numbers are big-endian.
constexpr std::uint32_t microsecondsMagic = 0xA1B2C3D4;
constexpr std::uint32_t nanosecondsMagic = 0xA1B23C4D;
constexpr std::uint32_t sectionBlock = 0x0A0D0D0A; // the same both ways
constexpr std::uint32_t byteOrderMagic = 0x1A2B3C4D;
constexpr std::uint32_t interfaceBlock = 1;
constexpr std::uint32_t oldPacketBlock = 2;
constexpr std::uint32_t simplePacketBlock = 3;
constexpr std::uint32_t packetBlock = 6;
constexpr std::uint16_t optionResolution = 9;
constexpr std::uint16_t optionOffset = 14;
constexpr std::size_t pcapHead = 24;
constexpr std::size_t pcapPacketHead = 16;
constexpr std::size_t smallestBlock = 12;
/// A packet or block that claims more is damaged.
constexpr std::uint32_t greatestSize = 16U << 20;
constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;

std::uint32_t BigEndian32(std::span<unsigned char const> bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

std::uint32_t Swapped(std::uint32_t value)
{
    return value >> 24 | (value >> 8 & 0xFF00U) | (value << 8 & 0xFF0000U) | value << 24;
}

std::uint16_t BigEndian16(std::span<unsigned char const> bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

std::uint64_t Multiplied(std::uint64_t value, std::uint64_t by)
{
    constexpr auto greatest = std::numeric_limits<std::uint64_t>::max();
    return value > greatest / by ? greatest : value * by;
}

bool IsPcapMagic(std::uint32_t magic)
{
    return magic == microsecondsMagic || magic == nanosecondsMagic;
}

constexpr std::uint16_t ipv4Type = 0x0800;
constexpr std::uint16_t ipv6Type = 0x86DD;

bool IsIp(std::uint16_t type)
{
    return type == ipv4Type || type == ipv6Type;
}

bool IsVlan(std::uint16_t type)
{
    return type == 0x8100 || type == 0x88A8 || type == 0x9100;
}

std::span<unsigned char const> Behind(std::span<unsigned char const> bytes, std::size_t head)
{
    return bytes.size() > head ? bytes.subspan(head) : std::span<unsigned char const>();
}

std::span<unsigned char const> IpOfEthernet(std::span<unsigned char const> bytes)
{
    std::size_t at = 12;
    while (bytes.size() >= at + 2 && IsVlan(BigEndian16(bytes, at))) {
        at += 4;
    }
    return bytes.size() >= at + 2 && IsIp(BigEndian16(bytes, at)) ? Behind(bytes, at + 2)
                                                                  : std::span<unsigned char const>();
}

} // namespace

bool LooksLikeCapture(std::string_view beginning)
{
    if (beginning.size() < 4) {
        return false;
    }
    std::array<unsigned char, 4> bytes{};
    std::copy_n(beginning.begin(), bytes.size(), bytes.begin());
    auto const magic = BigEndian32(bytes);
    return magic == sectionBlock || IsPcapMagic(magic) || IsPcapMagic(Swapped(magic));
}

CaptureReader::CaptureReader(std::istream& stream, std::string_view beginning)
    : m_stream(stream), m_beginning(beginning)
{
}

bool CaptureReader::Fail(std::string_view what)
{
    m_damage = what;
    return false;
}

/// Reads so many bytes behind those that are held already; false at the end.
bool CaptureReader::Fill(std::size_t size)
{
    auto const held = m_bytes.size();
    auto const early = std::min(size, m_beginning.size());
    m_bytes.insert(m_bytes.end(), m_beginning.begin(), m_beginning.begin() + static_cast<std::ptrdiff_t>(early));
    m_beginning.erase(0, early);
    // Piece by piece: a size that is damaged takes no more memory than the file has bytes.
    constexpr std::size_t piece = std::size_t{64} << 10;
    while (m_bytes.size() < held + size) {
        auto const at = m_bytes.size();
        auto const wanted = std::min(piece, held + size - at);
        m_bytes.resize(at + wanted);
        m_stream.read(reinterpret_cast<char*>(m_bytes.data() + at), static_cast<std::streamsize>(wanted));
        auto const got = static_cast<std::size_t>(m_stream.gcount());
        m_bytes.resize(at + got);
        if (got < wanted) {
            return false;
        }
    }
    return true;
}

std::uint16_t CaptureReader::U16(std::size_t at) const
{
    auto const value = BigEndian16(m_bytes, at);
    return m_isBigEndian ? value : static_cast<std::uint16_t>(value >> 8 | value << 8);
}

std::uint32_t CaptureReader::U32(std::size_t at) const
{
    auto const value = BigEndian32(std::span(m_bytes).subspan(at, 4));
    return m_isBigEndian ? value : Swapped(value);
}

/// Times beyond what 64 bits hold are the greatest one.
std::uint64_t CaptureReader::TimeOf(Interface const& from, std::uint64_t units) const
{
    auto const exponent = static_cast<unsigned>(from.resolution & 0x7FU);
    std::uint64_t time = 0;
    if ((from.resolution & 0x80U) != 0) {
        if (exponent >= 64) {
            return 0;
        }
        auto const seconds = units >> exponent;
        auto rest = exponent == 0 ? 0 : units & ((std::uint64_t{1} << exponent) - 1);
        auto bits = exponent;
        for (; bits > 34; --bits) { // a billion times what is left fits
            rest >>= 1;
        }
        time = Multiplied(seconds, nanosecondsPerSecond);
        time += std::min(~time, (rest * nanosecondsPerSecond) >> bits);
    } else {
        time = units;
        for (auto i = exponent; i < 9; ++i) {
            time = Multiplied(time, 10);
        }
        for (auto i = exponent; i > 9 && time != 0; --i) {
            time /= 10;
        }
    }
    if (from.offset >= 0) {
        auto const more = Multiplied(static_cast<std::uint64_t>(from.offset), nanosecondsPerSecond);
        return time + std::min(~time, more);
    }
    auto const less = Multiplied(~static_cast<std::uint64_t>(from.offset) + 1, nanosecondsPerSecond);
    return time - std::min(time, less);
}

std::optional<CapturedPacket> CaptureReader::Next()
{
    if (!m_damage.empty()) {
        return std::nullopt;
    }
    if (!m_hasBegun) {
        m_hasBegun = true;
        if (!ReadFileHeader()) {
            return std::nullopt;
        }
    }
    return m_isPcapng ? NextOfPcapng() : NextOfPcap();
}

bool CaptureReader::ReadFileHeader()
{
    m_bytes.clear();
    if (!Fill(4)) {
        return Fail("it ends within its head");
    }
    auto const magic = BigEndian32(m_bytes);
    if (magic == sectionBlock) {
        m_isPcapng = true;
        m_beginning.insert(m_beginning.begin(), m_bytes.begin(), m_bytes.end());
        return true;
    }
    m_isBigEndian = IsPcapMagic(magic);
    m_hasNanoseconds = (m_isBigEndian ? magic : Swapped(magic)) == nanosecondsMagic;
    if (!Fill(pcapHead - 4)) {
        return Fail("it ends within its head");
    }
    m_link = static_cast<LinkType>(U32(20) & 0xFFFFU); // the bits above tell of checksums
    return true;
}

std::optional<CapturedPacket> CaptureReader::NextOfPcap()
{
    m_bytes.clear();
    if (!Fill(pcapPacketHead)) {
        if (!m_bytes.empty()) {
            Fail("it ends within a packet");
        }
        return std::nullopt;
    }
    auto const size = U32(8);
    if (size > greatestSize) {
        Fail("a packet claims to be longer than any is");
        return std::nullopt;
    }
    if (!Fill(size)) {
        Fail("it ends within a packet");
        return std::nullopt;
    }
    std::uint64_t const time = U32(0) * nanosecondsPerSecond + U32(4) * std::uint64_t{m_hasNanoseconds ? 1U : 1000U};
    return CapturedPacket{time, m_link, std::span(m_bytes).subspan(pcapPacketHead)};
}

/// A whole block; false at the end of the file, or of what is whole of it.
bool CaptureReader::ReadBlock(std::uint32_t& type)
{
    m_bytes.clear();
    if (!Fill(smallestBlock)) {
        return m_bytes.empty() ? false : Fail("it ends within a block");
    }
    if (BigEndian32(m_bytes) == sectionBlock) {
        // The order of its bytes holds for all that follows, its own size included.
        auto const order = BigEndian32(std::span(m_bytes).subspan(8, 4));
        if (order != byteOrderMagic && order != Swapped(byteOrderMagic)) {
            return Fail("a section tells no order of bytes");
        }
        m_isBigEndian = order == byteOrderMagic;
    }
    type = U32(0);
    auto const size = U32(4);
    if (size < smallestBlock || size % 4 != 0 || size > greatestSize) {
        return Fail("a block has a size that none has");
    }
    if (!Fill(size - smallestBlock)) {
        return Fail("it ends within a block");
    }
    if (U32(size - 4) != size) {
        return Fail("a block does not end with its size");
    }
    return true;
}

bool CaptureReader::TakeSection()
{
    m_interfaces.clear();
    return m_bytes.size() >= 28 || Fail("a section is too short");
}

void CaptureReader::TakeInterface()
{
    if (m_bytes.size() < 20) {
        return; // a packet of it will find it missing
    }
    Interface interface {
        static_cast<LinkType>(U16(8)), U32(12), 6, 0
    };
    auto const end = m_bytes.size() - 4;
    for (std::size_t at = 16; at + 4 <= end;) {
        auto const code = U16(at);
        auto const size = U16(at + 2);
        at += 4;
        if (code == 0 || size > end - at) {
            break;
        }
        if (code == optionResolution && size == 1) {
            interface.resolution = m_bytes[at];
        } else if (code == optionOffset && size == 8) {
            auto const low = U32(m_isBigEndian ? at + 4 : at);
            auto const high = U32(m_isBigEndian ? at : at + 4);
            interface.offset = static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
        }
        at += (size + 3U) / 4 * 4;
    }
    m_interfaces.push_back(interface);
}

std::optional<CapturedPacket> CaptureReader::TakePacket(std::size_t head, std::uint32_t interface, std::uint64_t units,
                                                        std::uint32_t captured)
{
    if (interface >= m_interfaces.size()) {
        Fail("a packet is of an interface that the file does not tell of");
        return std::nullopt;
    }
    if (captured > m_bytes.size() - 4 - head) {
        Fail("a packet is longer than its block");
        return std::nullopt;
    }
    auto const& from = m_interfaces[interface];
    return CapturedPacket{TimeOf(from, units), from.link, std::span(m_bytes).subspan(head, captured)};
}

std::optional<CapturedPacket> CaptureReader::NextOfPcapng()
{
    std::uint32_t type = 0;
    while (ReadBlock(type)) {
        auto const size = m_bytes.size();
        if (type == sectionBlock) {
            if (!TakeSection()) {
                return std::nullopt;
            }
        } else if (type == interfaceBlock) {
            TakeInterface();
        } else if ((type == packetBlock || type == oldPacketBlock) && size >= 32) {
            auto const interface = type == packetBlock ? U32(8) : U16(8);
            return TakePacket(28, interface, std::uint64_t{U32(12)} << 32 | U32(16), U32(20));
        } else if (type == simplePacketBlock && size >= 16) {
            auto const room = static_cast<std::uint32_t>(size - 16);
            auto const limit = m_interfaces.empty() ? 0 : m_interfaces.front().snapLength;
            auto captured = std::min(U32(8), room);
            captured = limit != 0 ? std::min(captured, limit) : captured;
            auto packet = TakePacket(12, 0, 0, captured);
            if (packet) {
                packet->nanoseconds = 0;
            }
            return packet;
        }
    }
    return std::nullopt;
}

std::span<unsigned char const> IpOf(CapturedPacket const& packet)
{
    auto const bytes = packet.bytes;
    switch (packet.link) {
    case LinkType::Ethernet:
        return IpOfEthernet(bytes);
    case LinkType::Null:
    case LinkType::Loop:
        return Behind(bytes, 4); // what it is called differs from system to system; the packet tells its version
    case LinkType::LinuxCooked:
        return bytes.size() > 16 && IsIp(BigEndian16(bytes, 14)) ? bytes.subspan(16) : Behind(bytes, bytes.size());
    case LinkType::LinuxCooked2:
        return bytes.size() > 20 && IsIp(BigEndian16(bytes, 0)) ? bytes.subspan(20) : Behind(bytes, bytes.size());
    case LinkType::RawOld:
    case LinkType::RawOther:
    case LinkType::Raw:
    case LinkType::Ipv4:
    case LinkType::Ipv6:
        return bytes;
    }
    return {};
}

} // namespace qx5::cli
