// Frames that leave for a sonar though no request asks for them.
#include "unasked_frames.h"

#include "frame_difference.h"

#include <protocol/echo_records.h>
#include <protocol/house_records.h>
#include <protocol/records/basic.h>
#include <protocol/records/single_ping.h>

#include <algorithm>
#include <vector>

namespace qx5::cli {

namespace {

namespace records = protocol::records;

bool IsZero(std::span<unsigned char const> bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](auto byte) { return byte == 0; });
}

} // namespace

Unasked UnaskedOf(std::span<unsigned char const> frame)
{
    auto const parts = PartsOf(frame);
    if (!parts || parts->carrier != protocol::Carrier::RemoteControl) {
        return Unasked::None;
    }
    if (parts->id == records::EchoRequest.Id()) {
        return Unasked::Echoes;
    }
    bool const namesDevice = parts->view.header.deviceId != 0;
    bool const isPing = parts->id == records::SinglePing.Id() && parts->payload.empty();
    bool const isNoRate =
        parts->id == records::MaxPingRate.Id() && parts->payload.size() == 4 && IsZero(parts->payload);
    return namesDevice && (isPing || isNoRate) ? Unasked::Turns : Unasked::None;
}

std::string_view ToText(Unasked unasked)
{
    switch (unasked) {
    case Unasked::Echoes:
        return "requests for echoes (90020), which the host sends as displays come and go";
    case Unasked::Turns:
        return "commands of sonars in turn (1107, 1004), which the plug-in sends by its own clock";
    case Unasked::None:
        break;
    }
    return "";
}

bool IsAsTodays(Unasked unasked, std::span<unsigned char const> frame)
{
    auto const parts = PartsOf(frame);
    if (!parts) {
        return false;
    }
    std::vector<unsigned char> payload(parts->payload.begin(), parts->payload.end());
    if (unasked == Unasked::Echoes) {
        auto const wish = protocol::DecodeEchoRequest(parts->payload);
        if (!wish) {
            return false;
        }
        auto const encoded = protocol::EncodeEchoRequest(*wish);
        payload.assign(encoded.begin(), encoded.end());
    }
    auto const& header = parts->view.header;
    return AreSame(frame, protocol::BuildRemoteControlRecord(parts->id, payload,
                                                             {static_cast<std::int32_t>(header.deviceId),
                                                              static_cast<std::int16_t>(header.enumerator)},
                                                             0.0));
}

} // namespace qx5::cli
