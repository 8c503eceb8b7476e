// The commands for custom storage and playback, as tables.
#pragma once

#include "command.h"
#include <protocol/records/storage_playback.h>

namespace qx5::commands {

namespace storage_playback {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand storageKeys[]{keys::x5StorageDirectory,     keys::x5StorageHeader,
                                       keys::x5StorageTrailer,       keys::x5StoragePrependHeader,
                                       keys::x5StorageAppendTrailer, keys::x5StorageEnabled};
inline constexpr Sending storageSends[]{{records::CustomStorage}};

inline constexpr Operand playbackKeys[]{keys::Kv3PlaybackDirectory, keys::Kv3PlaybackFile, keys::Kv3PlaybackMode,
                                        keys::Kv3PlaybackEnabled, keys::Kv3PlaybackKeepTimestamps};
inline constexpr Sending playbackSends[]{{records::CustomPlayback}};

inline constexpr OperandOptions fromRequest{.source = Source::Request};
inline constexpr Operand commandTime{keys::x5PlaybackCommandTime,
                                     {.source = Source::Request, .echo = Echo::None, .optional = true}};
inline constexpr Operand speedKeys[]{{keys::x5PlaybackSpeed, fromRequest}, commandTime};
inline constexpr Operand positionKeys[]{{keys::x5PlaybackPosition, fromRequest}, commandTime};
inline constexpr Operand stepForwardKeys[]{{keys::x5PlaybackStepForward, fromRequest}, commandTime};
inline constexpr Operand stepBackKeys[]{{keys::x5PlaybackStepBack, fromRequest}, commandTime};
inline constexpr Operand loopKeys[]{{keys::x5PlaybackLoop, fromRequest}, commandTime};

} // namespace storage_playback

QX5_COMMAND(RequestCustomPlayback) = {
    .form = Form::Strict,
    .operands = storage_playback::playbackKeys,
    .sends = storage_playback::playbackSends,
    .echoFlags = 0,
    .longTexts = LongTexts::Refused,
};

QX5_COMMAND(RequestCustomStorage) = {
    .form = Form::Strict,
    .operands = storage_playback::storageKeys,
    .sends = storage_playback::storageSends,
    .echoFlags = 0,
    .longTexts = LongTexts::Refused,
};

QX5_COMMAND(RequestPlaybackSpeed) = {
    .form = Form::Own,
    .operands = storage_playback::speedKeys,
    .note = "Direct. Sets the speed at the sonar's port, as of the command time (0 when there is none).",
};

QX5_COMMAND(RequestPlaybackPosition) = {
    .form = Form::Own,
    .operands = storage_playback::positionKeys,
    .note = "Direct. Sets the position at the sonar's port, as of the command time (0 when there is none).",
};

QX5_COMMAND(RequestPlaybackStepForward) = {
    .form = Form::Own,
    .operands = storage_playback::stepForwardKeys,
    .note = "The key's presence is enough. A step at the sonar's port, as of the command time (0 when there is none).",
};

QX5_COMMAND(RequestPlaybackStepBack) = {
    .form = Form::Own,
    .operands = storage_playback::stepBackKeys,
    .note = "The key's presence is enough. A step at the sonar's port, as of the command time (0 when there is none).",
};

QX5_COMMAND(RequestPlaybackLoop) = {
    .form = Form::Own,
    .operands = storage_playback::loopKeys,
    .note = "Direct. Sets the loop at the sonar's port, as of the command time (0 when there is none).",
};

} // namespace qx5::commands
