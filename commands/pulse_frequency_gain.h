// The commands for pulse, frequency, gain, sample rate and ping pattern, as tables.
#pragma once

#include "command.h"
#include <protocol/records/pulse_frequency_gain.h>
#include <protocol/settings_keys.h>

namespace qx5::commands {

namespace pulse_frequency_gain {

namespace keys = protocol::keys;
namespace records = protocol::records;

/// Read from the stored tree to work something out, never requested or echoed here.
inline constexpr OperandOptions storedOnly{.source = Source::Stored, .echo = Echo::None};
/// The same where the command goes on without it.
inline constexpr OperandOptions storedIfThere{.source = Source::Stored, .echo = Echo::None, .optional = true};
/// Told as it is stored, if it is.
inline constexpr OperandOptions storedAndTold{.source = Source::Stored, .optional = true};

inline constexpr Operand pulseTypeKeys[]{{keys::x5PulseType, {.source = Source::Request}}};
inline constexpr Sending pulseTypeSends[]{{records::PulseType, OwnSonar, "the value is a whole number"}};
inline constexpr FollowUp pulseTypeAsks[]{{7503}};

inline constexpr Operand pulseCharacteristicsKeys[]{keys::PulseCharacteristicsMode, keys::PulseControl,
                                                    keys::PulseExtension, keys::SurveyDepthMin, keys::SurveyDepthMax};
inline constexpr Sending pulseCharacteristicsSends[]{{records::PulseCharacteristics}};

inline constexpr Operand centerFrequencyKeys[]{keys::x5CenterFrequency};
inline constexpr Sending centerFrequencySends[]{{records::CenterFrequency}};

inline constexpr Operand sweepKeys[]{{keys::x5FMSweep, {.source = Source::Completed}},
                                     {keys::x5FMSweepNegative, {.source = Source::Completed}},
                                     {keys::DeviceEnum, storedIfThere},
                                     {keys::x5PingSettingsList, {.source = Source::Stored}},
                                     {keys::x5CenterFrequency, storedOnly}};
inline constexpr Operand const* sweepEchoes[]{&sweepKeys[3], &sweepKeys[0], &sweepKeys[1]};
inline constexpr Sending sweepSends[]{{records::FMSweep}};

inline constexpr Operand multiFrequencyKeys[]{keys::PingSequenceFrequencyStart, keys::PingSequenceFrequencyEnd,
                                              keys::PingSequenceFrequencyStep};
inline constexpr Sending multiFrequencySends[]{{records::MultiFrequency, Processor}};

inline constexpr Operand vernierKeys[]{keys::x5VernierBfMode,
                                       keys::x5VernierSmoothFilterType,
                                       {keys::x5VernierSmoothFilterLength, {.echo = Echo::AsSent}}};
inline constexpr Sending vernierSends[]{{records::VernierParameters}};

inline constexpr Operand gainModeKeys[]{{keys::x5GainMode, {.source = Source::Completed, .optional = true}},
                                        {keys::x5GainStageSelection, {.source = Source::Completed, .optional = true}},
                                        {keys::x5Gain, storedAndTold},
                                        {keys::x5GainAlt, storedAndTold}};
inline constexpr Sending gainModeSends[]{{records::GainMode}};

inline constexpr Operand sourceLevelModeKeys[]{keys::x5SourceLevelMode};
inline constexpr Sending sourceLevelModeSends[]{{records::SourceLevelMode}};

inline constexpr Operand sampleRateKeys[]{{keys::x5SampleRateSelection, {.source = Source::Request}},
                                          {keys::DeviceEnum, storedIfThere},
                                          {keys::x5SonarSettings, storedIfThere},
                                          {keys::x5SampleRateSet, storedIfThere},
                                          {keys::x5IQRate, storedIfThere},
                                          {keys::x5BeamModes, storedAndTold},
                                          {keys::x5PulseType, storedIfThere},
                                          {keys::x5PulseLengthSet, storedIfThere},
                                          {keys::x5PulseLengthValues, storedAndTold}};
inline constexpr Sending sampleRateSends[]{{records::SampleRate}};

inline constexpr Operand pingSequenceKeys[]{keys::PingSequenceId};
inline constexpr Sending pingSequenceSends[]{{records::PingSequence, Processor}};

inline constexpr Operand multiPingKeys[]{keys::x5MultiPingCount};
inline constexpr Sending multiPingSends[]{{records::MultiPing}};

} // namespace pulse_frequency_gain

QX5_COMMAND(RequestPulseType) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::pulseTypeKeys,
    .sends = pulse_frequency_gain::pulseTypeSends,
    .echoFlags = 0,
    .followUps = pulse_frequency_gain::pulseTypeAsks,
    .note = "Direct, but the settings are asked for whenever the key is there, whatever its value.",
};

QX5_COMMAND(RequestPulseCharacteristics) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::pulseCharacteristicsKeys,
    .sends = pulse_frequency_gain::pulseCharacteristicsSends,
    .echoFlags = 4,
};

QX5_COMMAND(RequestCenterFrequency) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::centerFrequencyKeys,
    .sends = pulse_frequency_gain::centerFrequencySends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestFMSweep) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .keptIn = &protocol::keys::x5PingSettingsList,
    .operands = pulse_frequency_gain::sweepKeys,
    .sends = pulse_frequency_gain::sweepSends,
    .echoFlags = 0,
    .echoes = pulse_frequency_gain::sweepEchoes,
    .note = "Strict, but completed from the stored ping settings numbered by \"DeviceEnum\" (the first when there are "
            "none of that number) and echoed under them. The record holds the stored centre frequency, which must be "
            "there, less and plus half the sweep; a negative sweep begins above.",
};

QX5_COMMAND(RequestConfigureMultiFrequency) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::multiFrequencyKeys,
    .sends = pulse_frequency_gain::multiFrequencySends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestVernierParameters) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::vernierKeys,
    .sends = pulse_frequency_gain::vernierSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestGainMode) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::gainModeKeys,
    .sends = pulse_frequency_gain::gainModeSends,
    .echoFlags = 0,
    .note = "Lax. When the mode differs from a stored one, the echo tells it a second time and swaps the stored gain "
            "with the parked one, if both are there. The gain itself is not sent.",
};

QX5_COMMAND(RequestSourceLevelMode) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::sourceLevelModeKeys,
    .sends = pulse_frequency_gain::sourceLevelModeSends,
    .echoFlags = 4,
};

QX5_COMMAND(RequestSampleRate) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::sampleRateKeys,
    .sends = pulse_frequency_gain::sampleRateSends,
    .echoFlags = 0,
    .note = "Direct. The record holds the rate of the selected set in the active settings, 0 when there is none. The "
            "echo also tells the beam modes and the pulse lengths of the present pulse type.",
};

QX5_COMMAND(RequestPingSequence) = {
    .form = Form::Direct,
    .operands = pulse_frequency_gain::pingSequenceKeys,
    .sends = pulse_frequency_gain::pingSequenceSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestMultiPing) = {
    .form = Form::Lax,
    .keeps = Keeps::Settings,
    .operands = pulse_frequency_gain::multiPingKeys,
    .sends = pulse_frequency_gain::multiPingSends,
    .echoFlags = 0,
};

} // namespace qx5::commands
