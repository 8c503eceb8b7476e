// Sends of sonar devices as frames on their live connections.
#include "live_traffic.h"

#include "raw_port.h"
#include "x5_port.h"

#include "reference_host/common/given_bytes.h"
#include <VordalBaseR/CExTime.h>

#include <protocol/bytes.h>
#include <protocol/frame.h>
#include <protocol/house_records.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace vordal {
namespace {

namespace protocol = qx5::protocol;

constexpr std::size_t SmallFrame = 1024;
// Copying no more than this takes less than handing it over.
constexpr std::size_t GreatestCopied = std::size_t{64} << 10;

/// The sender's port if it is of that class, otherwise null.
template <typename Port>
Port* PortAs(SonarTraffic::Sender const& sender)
{
    // The class is final, so its type is this or it is another port; comparing types costs less than a cast.
    static_assert(std::is_final_v<Port>);
    return sender.port != nullptr && typeid(*sender.port) == typeid(Port) ? static_cast<Port*>(sender.port) : nullptr;
}

X5Port* PortOf(SonarTraffic::Sender const& sender)
{
    return PortAs<X5Port>(sender);
}

/// Frames `payload` behind the data section that `fill` writes into its first `leading` bytes, and sends it.
template <typename Fill>
bool SendFramed(SonarLink& link, std::uint32_t recordId, protocol::Target target, double time, std::size_t leading,
                Fill fill, std::span<unsigned char const> payload)
{
    if (payload.size() > protocol::MaximumFrameSize - protocol::FrameOverhead - leading) {
        return false;
    }
    auto const size = payload.size() + protocol::FrameOverhead + leading;
    auto const write = [&](std::span<unsigned char> frame) {
        protocol::WriteFrameHeader(frame, static_cast<std::uint32_t>(size), recordId, target, time);
        auto const data = frame.subspan(protocol::FrameHeaderSize);
        fill(data.first(leading));
        std::copy(payload.begin(), payload.end(), data.begin() + static_cast<std::ptrdiff_t>(leading));
        protocol::PutU32LE(frame, size - protocol::TrailingWordSize, 0);
    };
    if (size <= SmallFrame) {
        std::array<unsigned char, SmallFrame> buffer;
        auto const frame = std::span(buffer).first(size);
        write(frame);
        return link.Send(frame);
    }
    auto const buffer = std::make_shared_for_overwrite<unsigned char[]>(size);
    std::span const frame(buffer.get(), size);
    write(frame);
    return link.SendOwned({buffer, frame});
}

std::span<unsigned char const> BytesOf(std::string_view text)
{
    return {reinterpret_cast<unsigned char const*>(text.data()), text.size()};
}

/// Sends bytes as they stand; large ones that their owner gives away without a copy.
bool SendAsTheyStand(SonarLink& link, std::string_view bytes)
{
    auto* const given = bytes.size() > GreatestCopied ? GivenBytes::Find(bytes) : nullptr;
    if (given == nullptr) {
        return link.Send(BytesOf(bytes));
    }
    std::shared_ptr<std::string> owner;
    try {
        owner = std::make_shared<std::string>();
    } catch (std::bad_alloc const&) {
        return link.Send(BytesOf(bytes));
    }
    owner->swap(*given);
    bool const isTaken = link.SendOwned({owner, BytesOf(*owner)});
    if (!isTaken) {
        owner->swap(*given);
    }
    return isTaken;
}

} // namespace

bool SendRemoteControlRecord(SonarLink& link, std::uint32_t commandId, std::span<unsigned char const> payload,
                             int deviceId, int enumerator)
{
    // Without a connection the frame need not be built at all.
    if (!link.IsConnected()) {
        return link.Send({});
    }
    auto const fill = [commandId](std::span<unsigned char> header) {
        std::fill(header.begin(), header.end(), static_cast<unsigned char>(0));
        protocol::PutU32LE(header, 0, commandId);
        protocol::PutU32LE(header, 4, commandId);
    };
    return SendFramed(link, protocol::RemoteControlRecordId, {deviceId, enumerator}, CExTime::GetCurTime(),
                      protocol::RemoteControlHeaderSize, fill, payload);
}

bool LiveTraffic::SendRemoteControl(Sender const& sender, std::uint32_t recordId,
                                    std::span<unsigned char const> payload, int deviceId, int enumerator)
{
    auto* const port = PortOf(sender);
    return port != nullptr && SendRemoteControlRecord(port->GetLink(), recordId, payload, deviceId, enumerator);
}

bool LiveTraffic::AskForRecord(Sender const& sender, std::uint32_t recordId, int deviceId, int enumerator)
{
    std::array<unsigned char, protocol::records::RecordRequest.Size()> payload;
    protocol::PutU32LE(payload, 0, recordId);
    return SendRemoteControl(sender, protocol::records::RecordRequest.Id(), payload, deviceId, enumerator);
}

bool LiveTraffic::SendData(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                           double time, int deviceId, int enumerator)
{
    auto* const port = PortOf(sender);
    return port != nullptr &&
           SendFramed(
               port->GetLink(), recordId, {deviceId, enumerator}, time, 0, [](std::span<unsigned char>) {}, payload);
}

bool LiveTraffic::SendRaw(Sender const& sender, std::string_view bytes, bool)
{
    if (auto* const sonar = PortOf(sender)) {
        return SendAsTheyStand(sonar->GetLink(), bytes);
    }
    auto* const port = PortAs<RawPort>(sender);
    return port != nullptr && SendAsTheyStand(port->GetLink(), bytes);
}

} // namespace vordal
