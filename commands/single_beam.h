// The commands for single-beam systems, as tables.
#pragma once

#include "command.h"
#include <protocol/records/single_beam.h>

namespace qx5::commands {

namespace single_beam {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr OperandOptions fromRequest{.source = Source::Request};

inline constexpr Operand transducerKeys[]{{keys::SbTransducerIndex, fromRequest}};
inline constexpr Sending transducerSends[]{{records::TransducerSelect}};
inline constexpr Condition whenLive = "the port is a live sonar connection";
inline constexpr FollowUp transducerAsks[]{
    {7001, OwnSonar, whenLive}, {10000, OwnSonar, whenLive}, {10004, OwnSonarZero, whenLive}};

inline constexpr Operand channelKeys[]{keys::SbChannelSelect};
inline constexpr Sending channelSends[]{{records::ChannelSelect}};

inline constexpr Operand draftKeys[]{keys::SbesTransducerDraft, keys::SbesTransducerIndex};
inline constexpr Sending draftSends[]{{records::TransducerDraft}};

inline constexpr Operand operationModeKeys[]{keys::SbesSystemState, keys::SbesOperationMode};
inline constexpr Sending operationModeSends[]{{records::OperationMode}};

inline constexpr Operand trackerTweakKeys[]{{keys::SbesTrackerTweakMode, fromRequest}};
inline constexpr Sending trackerTweakSends[]{{records::TrackerTweakMode}};

inline constexpr Operand gainTweakKeys[]{keys::x5GainTweak};
inline constexpr Sending gainTweakSends[]{{records::GainTweak}};
inline constexpr Operand powerTweakKeys[]{keys::x5PowerTweak};
inline constexpr Sending powerTweakSends[]{{records::PowerTweak}};
inline constexpr Operand pulseLengthTweakKeys[]{keys::x5PulseLengthTweak};
inline constexpr Sending pulseLengthTweakSends[]{{records::PulseLengthTweak}};
inline constexpr Operand rangeTweakKeys[]{keys::x5RangeTweak};
inline constexpr Sending rangeTweakSends[]{{records::RangeTweak}};

inline constexpr Operand transducerUpdateKeys[]{
    {keys::SbesTransducerUpdateXml, fromRequest},
    {keys::DeviceId, {.source = Source::Stored, .echo = Echo::None, .optional = true}}};
inline constexpr Sending transducerUpdateSends[]{{records::FileForSonar, OwnSonarZero, {}, Addressee::StoredDevice}};

inline constexpr Operand settingsUpdateKeys[]{{keys::SbesSettingsXmlChecksum, fromRequest},
                                              {keys::SbesSettingsXml, fromRequest}};
inline constexpr Sending settingsUpdateSends[]{{records::SettingsXml}};

inline constexpr Operand settingsReportKeys[]{keys::SbesGetSettingsXml};
inline constexpr FollowUp settingsReportAsks[]{{records::SettingsXml.Id(), OwnSonarZero}};

inline constexpr Operand defaultSettingsKeys[]{keys::x5DefaultSettings};
inline constexpr Sending defaultSettingsSends[]{{records::DefaultSettings, Processor}};

} // namespace single_beam

QX5_COMMAND(RequestTransducerIndex) = {
    .form = Form::Own,
    .operands = single_beam::transducerKeys,
    .sends = single_beam::transducerSends,
    .echoFlags = 0,
    .followUps = single_beam::transducerAsks,
    .note = "Direct. While a file is played back, or without a sonar's port, nothing is asked for.",
};

QX5_COMMAND(RequestSbesChannelSelect) = {
    .form = Form::Direct,
    .operands = single_beam::channelKeys,
    .sends = single_beam::channelSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSbesTransducerDraft) = {
    .form = Form::AllRequired,
    .operands = single_beam::draftKeys,
    .sends = single_beam::draftSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSbesOperationMode) = {
    .form = Form::AllRequired,
    .operands = single_beam::operationModeKeys,
    .sends = single_beam::operationModeSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSbesTrackerTweakMode) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = single_beam::trackerTweakKeys,
    .sends = single_beam::trackerTweakSends,
    .echoFlags = 0,
    .note = "Direct. 1000 sends 1000 for all seven settings, 1001 sends 1001 for settings 1, 2, 5 and 6 and 0 for the "
            "others, any other value sends 0 for all.",
};

QX5_COMMAND(RequestSbesGainTweak) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = single_beam::gainTweakKeys,
    .sends = single_beam::gainTweakSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSbesPowerTweak) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = single_beam::powerTweakKeys,
    .sends = single_beam::powerTweakSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSbesPulseLengthTweak) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = single_beam::pulseLengthTweakKeys,
    .sends = single_beam::pulseLengthTweakSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSbesRangeTweak) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = single_beam::rangeTweakKeys,
    .sends = single_beam::rangeTweakSends,
    .echoFlags = 0,
};

QX5_COMMAND(SendSbesTransducerUpdateXml) = {
    .form = Form::Own,
    .operands = single_beam::transducerUpdateKeys,
    .sends = single_beam::transducerUpdateSends,
    .note = "Direct. The text goes as a file \"transducer.update\", in a record framed here.",
};

QX5_COMMAND(RequestSbesSettingsXml) = {
    .form = Form::Presence,
    .operands = single_beam::settingsReportKeys,
    .followUps = single_beam::settingsReportAsks,
};

QX5_COMMAND(SendSbesSettingsUpdateXml) = {
    .form = Form::Own,
    .operands = single_beam::settingsUpdateKeys,
    .sends = single_beam::settingsUpdateSends,
    .note =
        "Both keys are required in the request. The checksum is cut at 128 bytes; the XML follows with a 0 at its end.",
};

QX5_COMMAND(RequestSbesDefaultSettings) = {
    .form = Form::Presence,
    .operands = single_beam::defaultSettingsKeys,
    .sends = single_beam::defaultSettingsSends,
};

} // namespace qx5::commands
