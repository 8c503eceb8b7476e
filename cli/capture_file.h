// Files of captured traffic, pcap and pcapng: packets out of them, one after another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// What lies around the packets of an interface, as the files number it.
enum class LinkType : std::uint16_t
{
    Null = 0,
    Ethernet = 1,
    RawOld = 12,
    RawOther = 14,
    Raw = 101,
    Loop = 108,
    LinuxCooked = 113,
    Ipv4 = 228,
    Ipv6 = 229,
    LinuxCooked2 = 276,
};

struct CapturedPacket
{
    std::uint64_t nanoseconds = 0; ///< since 1970 UTC; 0 where the file does not tell
    LinkType link = LinkType::Raw; ///< may be one that has no name here
    std::span<unsigned char const> bytes;
};

/// Whether a file that begins so is one of captured traffic: by its first four bytes, of either order.
bool LooksLikeCapture(std::string_view beginning);

/// Reads a file from its beginning, in memory no more than one packet. For one thread; the stream outlives it.
class CaptureReader
{
public:
    /// `beginning` is what was read from the stream already.
    CaptureReader(std::istream& stream, std::string_view beginning);

    /// The next packet, valid until the next call; nothing at the end, or where the file is damaged.
    std::optional<CapturedPacket> Next();

    /// Why the file ended before its end, in a few words; empty where it did not.
    std::string const& Damage() const { return m_damage; }

private:
    struct Interface
    {
        LinkType link = LinkType::Raw;
        std::uint32_t snapLength = 0;
        std::uint8_t resolution = 6; ///< as the option if_tsresol tells it
        std::int64_t offset = 0;     ///< s
    };

    bool Fill(std::size_t size);
    bool Fail(std::string_view what);
    std::uint16_t U16(std::size_t at) const;
    std::uint32_t U32(std::size_t at) const;
    std::uint64_t TimeOf(Interface const& from, std::uint64_t units) const;
    bool ReadFileHeader();
    std::optional<CapturedPacket> NextOfPcap();
    std::optional<CapturedPacket> NextOfPcapng();
    bool ReadBlock(std::uint32_t& type);
    bool TakeSection();
    void TakeInterface();
    std::optional<CapturedPacket> TakePacket(std::size_t head, std::uint32_t interface, std::uint64_t units,
                                             std::uint32_t captured);

    std::istream& m_stream;
    std::string m_beginning; ///< what is not read of it yet
    std::vector<unsigned char> m_bytes;
    std::string m_damage;
    bool m_hasBegun = false;
    bool m_isPcapng = false;
    bool m_isBigEndian = false;
    bool m_hasNanoseconds = false;
    LinkType m_link = LinkType::Raw;
    std::vector<Interface> m_interfaces;
};

/// The packet of IP in it, from its version on; empty where it holds none.
std::span<unsigned char const> IpOf(CapturedPacket const& packet);

} // namespace qx5::cli
