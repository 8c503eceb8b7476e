// The commands for options around the acquisition of data, as tables.
#pragma once

#include "command.h"
#include <protocol/records/acquisition.h>

namespace qx5::commands {

namespace acquisition {

namespace keys = protocol::keys;
namespace records = protocol::records;

/// The unit behind the sonar processor that takes A-scans.
inline constexpr Target DetectionUnit{7006, 0};

inline constexpr Operand stackingKeys[]{keys::x5StackingEnabled, keys::x5StackingValue};
inline constexpr Sending stackingSends[]{{records::Stacking}};

inline constexpr Operand powerSaveKeys[]{keys::x5PowerSaveMode, keys::x5PowerSaveBlankPercent};
inline constexpr Sending powerSaveSends[]{{records::PowerSave, Processor}};

inline constexpr Operand dutyCycleKeys[]{keys::x5DutyCycleLimitation};
inline constexpr Sending dutyCycleSends[]{{records::DutyCycleLimitation}};

inline constexpr Operand options7042Keys[]{keys::x57042UseBD, keys::x57042MagOnly, keys::x57042Compress,
                                           keys::x57042DownsampleType, keys::x57042DownsampleDivisor};
inline constexpr Sending options7042Sends[]{{records::Options7042}};

inline constexpr Operand imageDataKeys[]{{keys::MaxImageHeight, {.source = Source::Request, .optional = true}},
                                         {keys::BytesPerPixel, {.source = Source::Request, .optional = true}}};
inline constexpr Sending imageDataSends[]{{records::ImageDataSetup}};

inline constexpr Operand soundVelocityProbeKeys[]{keys::x5SoundVelocityProbeEnabled};
inline constexpr Sending soundVelocityProbeSends[]{{records::SoundVelocityProbe}};

inline constexpr Operand asdRecordingKeys[]{keys::ASDRecordingEnabled};
inline constexpr Sending asdRecordingSends[]{{records::AsdRecording}};

inline constexpr Operand staveRecordingKeys[]{keys::StaveRecordingEnabled, keys::StaveRecordingProcessingStage};
inline constexpr Sending staveRecordingSends[]{{records::StaveRecording}};

inline constexpr Operand aScanBeamsKeys[]{keys::AScanBeamSubscribe, keys::AScanBeamStart, keys::AScanBeamEnd};
inline constexpr Sending aScanBeamsSends[]{{records::AScanBeams},
                                           {records::AScanBeamsPassedOn, DetectionUnit, "the port is a sonar's"}};

} // namespace acquisition

QX5_COMMAND(RequestStacking) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = acquisition::stackingKeys,
    .sends = acquisition::stackingSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestPowerSaveMode) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = acquisition::powerSaveKeys,
    .sends = acquisition::powerSaveSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestDutyCycleLimitation) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = acquisition::dutyCycleKeys,
    .sends = acquisition::dutyCycleSends,
    .echoFlags = 0,
};

QX5_COMMAND(Request7042Options) = {
    .form = Form::Lax,
    .keeps = Keeps::Settings,
    .operands = acquisition::options7042Keys,
    .sends = acquisition::options7042Sends,
    .echoFlags = 0,
    .note = "With a downsample type other than 0 a divisor below 2 becomes 2, in the record and in the echo.",
};

QX5_COMMAND(RequestImageDataSetup) = {
    .form = Form::Own,
    .operands = acquisition::imageDataKeys,
    .sends = acquisition::imageDataSends,
    .echoFlags = 0,
    .note = "The height from the request or, failing that, the bytes per pixel, never both; the other goes out as 0. "
            "The echo leaves out what is 0 and may be empty.",
};

QX5_COMMAND(RequestSoundVelocityProbe) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = acquisition::soundVelocityProbeKeys,
    .sends = acquisition::soundVelocityProbeSends,
    .echoFlags = 4,
};

QX5_COMMAND(RequestASDRecording) = {
    .form = Form::Direct,
    .operands = acquisition::asdRecordingKeys,
    .sends = acquisition::asdRecordingSends,
    .echoFlags = 4,
};

QX5_COMMAND(RequestStaveRecording) = {
    .form = Form::Strict,
    .operands = acquisition::staveRecordingKeys,
    .sends = acquisition::staveRecordingSends,
    .echoFlags = 4,
};

QX5_COMMAND(RequestAScanBeams) = {
    .form = Form::AllRequired,
    .operands = acquisition::aScanBeamsKeys,
    .sends = acquisition::aScanBeamsSends,
};

} // namespace qx5::commands
