// Fuzzes the reader of captured traffic: any bytes give packets that lie in memory and an end; the segments of any
// packets come out as streams without a step back, each byte of which was in a packet.
#include "cli/capture_file.h"
#include "cli/tcp_streams.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace {

using namespace qx5::cli;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// Adds up what comes.
class Counter final : public TcpStreams::Sink
{
public:
    void Bytes(TrafficWay const& way, std::uint64_t, std::span<unsigned char const> bytes) override
    {
        Require(!bytes.empty() && way.connection >= 1 && !ToText(way.from).empty() && !ToText(way.to).empty());
        delivered += bytes.size();
        sum = sum * 31 + bytes.front() + bytes.back();
        ++open[{way.connection, way.isBack}];
    }
    void Lost(TrafficWay const& way, std::uint64_t bytes) override
    {
        Require(bytes > 0 && bytes <= std::uint64_t{1} << 32);
        open.try_emplace({way.connection, way.isBack});
    }
    void End(TrafficWay const& way) override { open.erase({way.connection, way.isBack}); }

    std::uint64_t delivered = 0;
    std::uint64_t sum = 0;
    std::map<std::pair<std::size_t, bool>, int> open;
};

/// What comes of it, and whether it ended damaged.
std::pair<std::uint64_t, std::string> Read(std::string_view file, std::size_t beginning)
{
    std::istringstream stream(std::string(file.substr(beginning)));
    CaptureReader reader(stream, file.substr(0, beginning));
    Counter counter;
    TcpStreams streams(counter);
    std::uint64_t captured = 0;
    while (auto const packet = reader.Next()) {
        auto const ip = IpOf(*packet);
        Require(ip.size() <= packet->bytes.size());
        captured += ip.size();
        streams.Take(ip, packet->nanoseconds);
    }
    Require(reader.Damage().find('\n') == std::string::npos);
    Require(!reader.Next());
    streams.Finish();
    Require(counter.delivered <= captured && counter.open.empty());
    return {counter.sum, reader.Damage()};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const file(reinterpret_cast<char const*>(data), size);
    LooksLikeCapture(file);
    // The same, however much was read of it already.
    Require(Read(file, 0) == Read(file, size / 2));
    return 0;
}
