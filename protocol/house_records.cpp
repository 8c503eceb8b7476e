// The bytes of this project's own records.
#include <protocol/house_records.h>

#include <algorithm>
#include <stdexcept>

#include <protocol/bytes.h>
#include <protocol/numbers.h>

namespace qx5::protocol {

std::vector<unsigned char> EncodeRecordRequest(std::uint32_t recordId)
{
    std::vector<unsigned char> payload(records::RecordRequest.Size());
    PutU32LE(payload, 0, recordId);
    return payload;
}

std::optional<std::uint32_t> DecodeRecordRequest(std::span<unsigned char const> payload)
{
    if (payload.size() != records::RecordRequest.Size()) {
        return std::nullopt;
    }
    return GetU32LE(payload, 0);
}

std::vector<unsigned char> EncodePassThrough(PassThrough const& command)
{
    std::size_t const head = records::PassThroughCommand.Size();
    if (command.payload.size() > MaximumFrameSize - RemoteControlOverhead - head) {
        throw std::length_error("a pass-through command cannot be that long");
    }
    std::vector<unsigned char> payload(head + command.payload.size());
    PutI32LE(payload, 0, command.target.deviceId);
    PutU16LE(payload, 4, Low16Bits(command.target.enumerator));
    PutU32LE(payload, 8, command.commandId);
    PutU32LE(payload, 12, static_cast<std::uint32_t>(command.payload.size()));
    std::copy(command.payload.begin(), command.payload.end(), std::span(payload).subspan(head).begin());
    return payload;
}

std::optional<PassThrough> DecodePassThrough(std::span<unsigned char const> payload)
{
    std::size_t const head = records::PassThroughCommand.Size();
    if (payload.size() < head || GetU32LE(payload, 12) != payload.size() - head) {
        return std::nullopt;
    }
    PassThrough command;
    command.target.deviceId = GetI32LE(payload, 0);
    command.target.enumerator = static_cast<std::int16_t>(GetU16LE(payload, 4));
    command.commandId = GetU32LE(payload, 8);
    command.payload = payload.subspan(head);
    return command;
}

std::vector<unsigned char> EncodePlayback(Playback const& playback)
{
    std::vector<unsigned char> payload(records::PlaybackCommand.Size());
    PutU32LE(payload, 0, static_cast<std::uint32_t>(playback.operation));
    PutF64LE(payload, 4, playback.commandTime);
    PutF64LE(payload, 12, playback.value);
    return payload;
}

std::optional<Playback> DecodePlayback(std::span<unsigned char const> payload)
{
    if (payload.size() != records::PlaybackCommand.Size()) {
        return std::nullopt;
    }
    std::uint32_t const operation = GetU32LE(payload, 0);
    if (operation < static_cast<std::uint32_t>(PlaybackOperation::SetSpeed) ||
        operation > static_cast<std::uint32_t>(PlaybackOperation::SetLoop)) {
        return std::nullopt;
    }
    return Playback{static_cast<PlaybackOperation>(operation), GetF64LE(payload, 4), GetF64LE(payload, 12)};
}

} // namespace qx5::protocol
