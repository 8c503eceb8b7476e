// Captured traffic made by hand: segments of TCP in packets, in a file of one of the forms that captures have.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace qx5::test {

/// What surrounds a packet of IP in the file.
enum class LinkKind : std::uint32_t
{
    Loopback = 0,
    Ethernet = 1,
    RawIp = 101,
    LinuxCooked = 113,
    LinuxCooked2 = 276,
};

/// Of the file.
struct CaptureForm
{
    LinkKind link = LinkKind::RawIp;
    bool isPcapng = false;
    bool isBigEndian = false;
    bool hasNanoseconds = false;
    bool isIpv6 = false;
    bool hasVlan = false;               ///< on Ethernet alone
    std::optional<std::size_t> cutAt{}; ///< bytes of each packet that are captured
};

/// One segment of the host at 10.0.0.1 or the sonar at 10.1.0.1 (fd00::1, fd00::2).
struct TrafficSegment
{
    bool toSonar = true;
    std::string payload;
    std::uint16_t sonarPort = 7000;
    std::uint16_t hostPort = 50000;
    std::optional<std::uint32_t> sequence{}; ///< none: behind what went that way before, from 1 on
    std::uint8_t flags = 0x18;               ///< acknowledges, is pushed
};

/// Segments in their order; each is captured a second after the one before it, the first at 2023-11-14T22:13:20Z, with
/// 123,456,789 ns, or 123,456 us.
class CapturedTraffic
{
public:
    explicit CapturedTraffic(CaptureForm form = {}) : m_form(form) {}

    void Add(TrafficSegment const& segment);
    void ToSonar(std::string_view payload) { Add({.toSonar = true, .payload = std::string(payload)}); }
    void FromSonar(std::string_view payload) { Add({.toSonar = false, .payload = std::string(payload)}); }
    std::string File() const;

private:
    using Stream = std::tuple<bool, std::uint16_t, std::uint16_t>;

    std::string Whole(std::uint64_t value, int bytes) const;
    std::string PcapFile() const;
    std::string PcapngFile() const;
    std::string Block(std::uint32_t type, std::string const& body) const;

    CaptureForm m_form;
    std::map<Stream, std::uint32_t> m_next;
    std::vector<std::string> m_packets;
};

/// A frame of that record as it travels, of 2023-11-14 22:13:20 UTC, device 0, enumerator 65535.
std::string FrameOf(std::uint32_t recordId, std::string_view data);
/// A remote-control frame of that command.
std::string CommandFrameOf(std::uint32_t commandId, std::string_view payload);

} // namespace qx5::test
