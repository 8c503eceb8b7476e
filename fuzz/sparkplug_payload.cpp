// Fuzzes what arrives from a broker: any bytes are refused in one line, or are a payload that is written again and read
// as the same; neither end of the line comes to harm by it, nor does a vessel that tells something sound afterwards.
#include "sparkplug/edge_node.h"
#include "sparkplug/host_application.h"
#include "sparkplug/payload.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace qx5::sparkplug;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

void RequireOneLine(std::string const& line)
{
    Require(!line.empty() && line.find('\n') == std::string::npos);
}

void ReadAndWrite(std::string_view bytes)
{
    std::string error;
    auto const payload = DecodePayload(bytes, error);
    if (!payload) {
        RequireOneLine(error);
        return;
    }
    auto const written = EncodePayload(*payload, error);
    if (!written) {
        RequireOneLine(error);
        return;
    }
    // Held against each other as bytes: a NaN is not itself. What nobody here reads is left out the first time.
    auto const again = DecodePayload(*written, error);
    Require(again.has_value());
    auto const rewritten = EncodePayload(*again, error);
    Require(rewritten == written);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    ReadAndWrite(bytes);

    Moment now;
    HostApplication host(
        {}, {[](Message const&) { return true; }, {}, {}, [](std::string const& line) { RequireOneLine(line); }},
        [&] { return now; });
    EdgeNodeOptions options;
    options.group = "g";
    options.node = "v";
    EdgeNode node(options,
                  {[&](Message const& message) {
                       host.Receive(message.topic, message.payload);
                       return true;
                   },
                   [](std::string_view, std::vector<CommandedValue> const&) {},
                   {},
                   [](std::string const& line) { RequireOneLine(line); }},
                  [&] { return now; });
    node.NextWill();
    node.Connected();
    CAttributeMap tree;
    tree.Add(L"key", CVordalInt(1));
    node.SetDevice("s", tree);
    for (auto const* const topic : {"spBv1.0/g/DDATA/v/s", "spBv1.0/g/NBIRTH/w", "spBv1.0/g/DBIRTH/w/s",
                                    "spBv1.0/g/DDATA/w/s", "spBv1.0/g/NDEATH/w"}) {
        host.Receive(topic, bytes);
    }
    node.Receive("spBv1.0/g/NCMD/v", bytes);
    node.Receive("spBv1.0/g/DCMD/v/s", bytes);
    node.Disconnected();
    node.NextWill();
    node.Connected();
    auto const* const seen = host.Find({"g", "v", "s"});
    int number = 0;
    Require(seen != nullptr && seen->state == SeenState::Alive && seen->tree.FindValue(L"key").Get(number) &&
            number == 1);
    return 0;
}
