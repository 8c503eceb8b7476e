// Where each number of the frame stands.
#include <protocol/frame.h>
#include <protocol/frame_offsets.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include <protocol/bytes.h>
#include <protocol/numbers.h>

namespace qx5::protocol {

namespace {

namespace at {
using namespace frame_offsets;
// Within the data section.
constexpr std::size_t CommandId = 0;
constexpr std::size_t Ticket = 4;
constexpr std::size_t TrackingNumber = 8;
} // namespace at

constexpr std::size_t FrameStartSize = 12;

std::vector<unsigned char> EmptyFrame(std::size_t dataSize)
{
    if (dataSize > std::numeric_limits<std::uint32_t>::max() - FrameOverhead) {
        throw std::length_error("a frame cannot be that long");
    }
    return std::vector<unsigned char>(dataSize + FrameOverhead);
}

std::optional<FrameView> Fail(FrameError* out, FrameError error)
{
    if (out != nullptr) {
        *out = error;
    }
    return std::nullopt;
}

} // namespace

std::string_view Describe(FrameError error)
{
    switch (error) {
    case FrameError::None:
        return "a good frame";
    case FrameError::TooShort:
        return "the bytes end before the frame does";
    case FrameError::BadVersion:
        return "another protocol version";
    case FrameError::BadOffset:
        return "the data section lies elsewhere";
    case FrameError::BadSync:
        return "no sync word";
    case FrameError::BadSize:
        return "an impossible total size";
    case FrameError::BadTrailingWord:
        return "the trailing word is not 0";
    }
    return "unknown";
}

void WriteFrameHeader(std::span<unsigned char> frame, std::uint32_t totalSize, std::uint32_t recordId, Target target,
                      double secondsSince1970)
{
    auto const header = frame.first(FrameHeaderSize);
    std::fill(header.begin(), header.end(), static_cast<unsigned char>(0));
    PutU16LE(header, at::Version, ProtocolVersion);
    PutU16LE(header, at::DataOffset, DataSectionOffset);
    PutU32LE(header, at::Sync, SyncWord);
    PutU32LE(header, at::TotalSize, totalSize);
    PutTimeX5LE(header, at::Time, ToTimeX5(secondsSince1970));
    PutU16LE(header, at::RecordVersion, RecordVersion);
    PutU32LE(header, at::RecordId, recordId);
    PutI32LE(header, at::DeviceId, target.deviceId);
    PutU16LE(header, at::Enumerator, Low16Bits(target.enumerator));
}

std::vector<unsigned char> BuildFrame(std::uint32_t recordId, Target target, double secondsSince1970,
                                      std::span<unsigned char const> data)
{
    auto frame = EmptyFrame(data.size());
    WriteFrameHeader(frame, static_cast<std::uint32_t>(frame.size()), recordId, target, secondsSince1970);
    std::copy(data.begin(), data.end(), std::span(frame).subspan(FrameHeaderSize).begin());
    return frame;
}

std::vector<unsigned char> BuildRemoteControlRecord(std::uint32_t commandId, std::span<unsigned char const> payload,
                                                    Target target, double secondsSince1970)
{
    if (payload.size() > std::numeric_limits<std::uint32_t>::max() - RemoteControlOverhead) {
        throw std::length_error("a remote-control record cannot be that long");
    }
    auto frame = EmptyFrame(RemoteControlHeaderSize + payload.size());
    WriteFrameHeader(frame, static_cast<std::uint32_t>(frame.size()), RemoteControlRecordId, target, secondsSince1970);
    auto const data = std::span(frame).subspan(FrameHeaderSize);
    PutU32LE(data, at::CommandId, commandId);
    PutU32LE(data, at::Ticket, commandId);
    std::copy(payload.begin(), payload.end(), data.subspan(RemoteControlHeaderSize).begin());
    return frame;
}

FrameError CheckFrameStart(std::span<unsigned char const> bytes, std::uint32_t& totalSize)
{
    if (bytes.size() < FrameStartSize) {
        return FrameError::TooShort;
    }
    if (GetU16LE(bytes, at::Version) != ProtocolVersion) {
        return FrameError::BadVersion;
    }
    if (GetU16LE(bytes, at::DataOffset) != DataSectionOffset) {
        return FrameError::BadOffset;
    }
    if (GetU32LE(bytes, at::Sync) != SyncWord) {
        return FrameError::BadSync;
    }
    std::uint32_t const size = GetU32LE(bytes, at::TotalSize);
    if (size < FrameOverhead || size > MaximumFrameSize) {
        return FrameError::BadSize;
    }
    totalSize = size;
    return FrameError::None;
}

std::uint32_t RecordIdOf(std::span<unsigned char const> frame)
{
    return frame.size() >= FrameHeaderSize ? GetU32LE(frame, at::RecordId) : 0;
}

std::optional<FrameView> ParseFrame(std::span<unsigned char const> bytes, FrameError* error)
{
    std::uint32_t totalSize = 0;
    if (auto const start = CheckFrameStart(bytes, totalSize); start != FrameError::None) {
        return Fail(error, start);
    }
    if (bytes.size() < totalSize) {
        return Fail(error, FrameError::TooShort);
    }
    auto const frame = bytes.first(totalSize);
    if (GetU32LE(frame, totalSize - TrailingWordSize) != 0) {
        return Fail(error, FrameError::BadTrailingWord);
    }
    FrameView view;
    view.header.totalSize = totalSize;
    view.header.time = GetTimeX5LE(frame, at::Time);
    view.header.recordVersion = GetU16LE(frame, at::RecordVersion);
    view.header.recordId = GetU32LE(frame, at::RecordId);
    view.header.deviceId = GetU32LE(frame, at::DeviceId);
    view.header.enumerator = GetU16LE(frame, at::Enumerator);
    view.bytes = frame;
    view.data = frame.subspan(FrameHeaderSize, totalSize - FrameOverhead);
    if (error != nullptr) {
        *error = FrameError::None;
    }
    return view;
}

std::optional<RemoteControlView> ParseRemoteControl(FrameView const& frame)
{
    if (frame.header.recordId != RemoteControlRecordId || frame.data.size() < RemoteControlHeaderSize) {
        return std::nullopt;
    }
    RemoteControlView view;
    view.commandId = GetU32LE(frame.data, at::CommandId);
    view.ticket = GetU32LE(frame.data, at::Ticket);
    view.trackingNumber = frame.data.subspan(at::TrackingNumber, RemoteControlHeaderSize - at::TrackingNumber);
    view.payload = frame.data.subspan(RemoteControlHeaderSize);
    return view;
}

} // namespace qx5::protocol
