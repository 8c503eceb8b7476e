// What the simulated sonar is: a shallow-water multibeam with two operation modes, its limits and factory settings.
//
// Upon connection it introduces itself with one attribute tree:
//   DeviceId, DeviceEnum, x5SystemIDH, x5EnumIsFixed, EchoRecords
//   x5SonarSettings, one branch for each operation mode, holding
//     SystemText, DeviceEnum, x5RxNumber, x5TxName
//     x5SampleRateSet for each sample rate: x5IQRate, x5RangeSet, x5Range (x5Min, x5Max)
//     x5PulseLengthSet for each pulse type: x5PulseLengthValues
//     x5Power, x5SoundVelocity (x5Min, x5Max); x5PingRate (x5Min, x5Max, x5Ratio, x5FreeRun)
//     x5Gain (x5Min, x5Max, x5Fixed (x5Available, x5Min, x5Max))
//     x5BeamWidthSetX, x5BeamWidthSetZ (x5Variable, x5BeamWidthList)
//     x5BeamSteer (x5MinX, x5MaxX, x5MinZ, x5MaxZ, x5Steerable)
//     x5Frequency (x5Min, x5Max, x5CenterFreq, x5Chirp)
//     MaxAbsorption, MaxSpreading
//     x5RangeGate, x5DepthGate, x5NadirGate (x5MinValue, x5MinWindow)
//   x5SampleRateSelection, x5PulseLengthValues (those of the pulse type in use), x5BeamModes for each beam mode
//   x5PingSettingsList, one branch for each operation mode: x5FMSweep, x5FMSweepNegative
//   x5Bracket, one branch for each head: x5BracketSelected, x5BracketX, x5BracketY, x5BracketZ
//   x5MBesXYZList, one branch for each head: one x5MBesXYZInfo with the place and size of its two arrays (x5MBesXYZ)
//   and every attribute that it holds a value of: the factory settings below and what was commanded since. Whatever a
//   command completes from the device's tree is among them; a test holds the tables of commands against it.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include <protocol/record_layout.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

namespace qx5::simulator {

struct Limits
{
    double least = 0.0;
    double greatest = 0.0;
};
/// From the first to the last of ascending values.
constexpr Limits LimitsOf(std::span<double const> values)
{
    return {values.front(), values.back()};
}

/// One rate at which the receiver samples, and the ranges that its memory then reaches.
struct SampleRate
{
    std::int32_t rate;              ///< Hz
    std::span<double const> ranges; ///< m, ascending
};

/// One operation mode. Its enumerator is its place in the list of modes.
struct OperationMode
{
    std::wstring_view text;
    std::span<SampleRate const> sampleRates;
    std::array<std::span<double const>, 2> pulseLengths; ///< s, ascending; of pulse type 0 (CW) and 1 (FM)
    Limits power;                                        ///< dB; 0 is off
    Limits gain;                                         ///< dB, time-varied
    Limits fixedGain;                                    ///< dB
    Limits pingRate;                                     ///< pings per second
    Limits frequency;                                    ///< Hz
    double centreFrequency;                              ///< Hz
    std::span<double const> beamWidthsX;                 ///< degrees
    std::span<double const> beamWidthsZ;                 ///< degrees
    Limits steeringX;                                    ///< degrees
    Limits steeringZ;                                    ///< degrees
    double greatestAbsorption;                           ///< dB/km
    double greatestSpreading;                            ///< dB
};

namespace model {

inline constexpr std::int32_t DeviceId = 7125;
inline constexpr Limits SoundVelocity{1350.0, 1650.0}; ///< m/s
inline constexpr double PingRateRatio = 10.0;
inline constexpr double GateLeastValue = 0.5;  ///< m
inline constexpr double GateLeastWindow = 1.0; ///< m

inline constexpr auto NearRanges =
    std::to_array<double>({5, 8, 10, 15, 20, 25, 30, 35, 40, 50, 75, 100, 125, 150, 175, 200});
inline constexpr auto LowRanges =
    std::to_array<double>({5, 8, 10, 15, 20, 25, 30, 35, 40, 50, 75, 100, 125, 150, 175, 200, 250, 300, 350, 400, 500});
inline constexpr auto LowSampleRates = std::to_array<SampleRate>({{34483, LowRanges}, {68966, NearRanges}});
inline constexpr auto HighSampleRates = std::to_array<SampleRate>({{34483, NearRanges}, {68966, NearRanges}});
inline constexpr auto ToneLengths =
    std::to_array<double>({33e-6, 50e-6, 75e-6, 100e-6, 150e-6, 200e-6, 250e-6, 300e-6});
inline constexpr auto SweepLengths = std::to_array<double>({300e-6, 500e-6, 1e-3, 2e-3, 5e-3, 10e-3, 20e-3});
inline constexpr auto LowWidths = std::to_array<double>({2.0, 4.0, 8.0});
inline constexpr auto HighWidths = std::to_array<double>({1.0, 2.0, 4.0});
inline constexpr auto AcrossWidths = std::to_array<double>({140.0, 165.0});

inline constexpr auto Modes = std::to_array<OperationMode>({
    {L"Multibeam (200 kHz)",
     LowSampleRates,
     {ToneLengths, SweepLengths},
     {170, 220},
     {0, 83},
     {0, 83},
     {0, 50},
     {190e3, 220e3},
     200e3,
     LowWidths,
     AcrossWidths,
     {-10, 10},
     {0, 0},
     120,
     60},
    {L"Multibeam (400 kHz)",
     HighSampleRates,
     {ToneLengths, SweepLengths},
     {170, 220},
     {0, 83},
     {0, 83},
     {0, 50},
     {350e3, 420e3},
     400e3,
     HighWidths,
     AcrossWidths,
     {-10, 10},
     {0, 0},
     200,
     60},
});

inline constexpr std::wstring_view TransmitterName = L"T1";
inline constexpr std::int32_t TransmitUnit = 1;
inline constexpr std::int32_t ReceiveUnit = 1;

/// The names of the beam modes; the selection is the place in this list.
inline constexpr auto BeamModes =
    std::to_array<std::wstring_view>({L"Equi-angle", L"Equi-distant", L"Intermediate", L"Flex", L"Constant spacing"});

// The recorder.
inline constexpr double DiskBytes = 64.0e9;
inline constexpr double DiskFreeAtStart = 48.0e9;
inline constexpr std::wstring_view RecordingDirectory = L"/sonar/recordings";

/// A factory setting of one number; it takes the kind of its key.
struct FactorySetting
{
    protocol::Key const* key;
    double value;
};

// clang-format off
inline constexpr auto FactorySettings = std::to_array<FactorySetting>({
    {&protocol::keys::x5Range, 100.0},
    {&protocol::keys::x5MaxPingRate, 10.0},
    {&protocol::keys::x5Power, 190.0},
    {&protocol::keys::x5PulseType, 0},
    {&protocol::keys::x5PulseLength, 100e-6},
    {&protocol::keys::x5Gain, 20.0},
    {&protocol::keys::x5GainMode, 0},
    {&protocol::keys::x5GainAlt, 20.0},
    {&protocol::keys::x5GainStageSelection, 0},
    {&protocol::keys::x5Absorption, 70.0},
    {&protocol::keys::x5SpreadingLoss, 30.0},
    {&protocol::keys::x5SoundVelocity, 1500.0},
    {&protocol::keys::x5SoundVelocityOverride, 0},
    {&protocol::keys::x5SoundVelocityFilter, 1},
    {&protocol::keys::x5Temperature, 10.0},
    {&protocol::keys::x5TemperatureOverride, 0},
    {&protocol::keys::x5CoverageAngle, 140.0},
    {&protocol::keys::x5RxSteeringAngle, 0.0},
    {&protocol::keys::GUIMinAngle, -70.0},
    {&protocol::keys::GUIMaxAngle, 70.0},
    {&protocol::keys::x5Overlap, 0.0},
    {&protocol::keys::x5MotionCompensationRoll, 1},
    {&protocol::keys::x5MotionCompensationPitch, 0},
    {&protocol::keys::x5BeamModeSelection, 0},
    {&protocol::keys::x5CustomBeams, 0.0},
    {&protocol::keys::x5ConstantSpacing, 0.0},
    {&protocol::keys::x5ConstantSpacingEnabled, 0},
    {&protocol::keys::x5ConstantSpacingReduceCoverage, 0},
    {&protocol::keys::x5BeamSpacingMode, 0},
    {&protocol::keys::x5FlexSectorCoverage, 45.0},
    {&protocol::keys::x5FlexSectorSteering, 0.0},
    {&protocol::keys::x5FlexOutsideSpacing, 1.0},
    {&protocol::keys::x5MinBeams, 10.0},
    {&protocol::keys::x5MaxBeams, 512.0},
    {&protocol::keys::x5StdCoverage, 140.0},
    {&protocol::keys::x5BeamWidthX, 2.0},
    {&protocol::keys::x5BeamWidthZ, 140.0},
    {&protocol::keys::x5BeamSteer, 0.0},
    {&protocol::keys::x5ProjBeamAngleVer, 0.0},
    {&protocol::keys::x5ProjBeamAngleHor, 0.0},
    {&protocol::keys::x5CenterFrequency, 200e3},
    {&protocol::keys::x5FMSweep, 10.0},
    {&protocol::keys::x5FMSweepNegative, 0},
    {&protocol::keys::PingSequenceFrequencyStart, 190.0},
    {&protocol::keys::PingSequenceFrequencyEnd, 220.0},
    {&protocol::keys::PingSequenceFrequencyStep, 10.0},
    {&protocol::keys::PulseCharacteristicsMode, 0},
    {&protocol::keys::PulseControl, 0},
    {&protocol::keys::PulseExtension, 0},
    {&protocol::keys::SurveyDepthMin, 1},
    {&protocol::keys::SurveyDepthMax, 200},
    {&protocol::keys::x5VernierBfMode, 0},
    {&protocol::keys::x5VernierSmoothFilterType, 0},
    {&protocol::keys::x5VernierSmoothFilterLength, 1},
    {&protocol::keys::x5MultiPingCount, 1},
    {&protocol::keys::x5SystemMode, 0},
    {&protocol::keys::x5DualHeadMode, 0},
    {&protocol::keys::PingSequenceId, -1},
    {&protocol::keys::x5MinRangeGate, 1.0},
    {&protocol::keys::x5MaxRangeGate, 100.0},
    {&protocol::keys::x5MinDepthGate, 1.0},
    {&protocol::keys::x5MaxDepthGate, 80.0},
    {&protocol::keys::x5DepthGateTilt, 0.0},
    {&protocol::keys::x5RangeFilterEnabled, 0},
    {&protocol::keys::x5DepthFilterEnabled, 0},
    {&protocol::keys::x5DepthFilterFollow, 0},
    {&protocol::keys::x5AdaptiveGateEnabled, 0},
    {&protocol::keys::x5AGDepthFilterEnabled, 0},
    {&protocol::keys::x5AGDepthFilterFixed, 0},
    {&protocol::keys::x5AGWindowSize, 10.0},
    {&protocol::keys::x5AGSearchMin, 1.0},
    {&protocol::keys::x5AGSearchMax, 80.0},
    {&protocol::keys::x5TrackerRangeEnabled, 0},
    {&protocol::keys::x5TrackerPowerGainEnabled, 0},
    {&protocol::keys::x5TrackerPulseLengthEnabled, 0},
    {&protocol::keys::x5TrackerCoverageAngleEnabled, 0},
    {&protocol::keys::x5TrackerFixedSwathEnabled, 0},
    {&protocol::keys::x5TrackerFixedSwathWidth, 100.0},
    {&protocol::keys::x5TrackerLimitCoverage, 0},
    {&protocol::keys::x5TrackerMaxCoverageAngle, 140.0},
    {&protocol::keys::x5MultiDetectEnabled, 0},
    {&protocol::keys::x5MultiDetectObjectSize, 1},
    {&protocol::keys::x5MultiDetectSensitivity, 1},
    {&protocol::keys::x5MultiDetectMaxDetections, 4},
    {&protocol::keys::x5AutoSnippetWindow, 1},
    {&protocol::keys::x5SnippetWindowSize, 50},
    {&protocol::keys::SystemDepthSource, 0},
    {&protocol::keys::SystemDepthManual, 20.0},
    {&protocol::keys::x5PowerSaveMode, 0},
    {&protocol::keys::x5PowerSaveBlankPercent, 50},
    {&protocol::keys::x5StackingEnabled, 0},
    {&protocol::keys::x5StackingValue, 1},
    {&protocol::keys::x57042UseBD, 0},
    {&protocol::keys::x57042MagOnly, 0},
    {&protocol::keys::x57042Compress, 0},
    {&protocol::keys::x57042DownsampleType, 0},
    {&protocol::keys::x57042DownsampleDivisor, 2},
    {&protocol::keys::StaveRecordingEnabled, 0},
    {&protocol::keys::StaveRecordingProcessingStage, 0},
    {&protocol::keys::x5StorageSingleFile, 0},
    {&protocol::keys::x5StorageHistory, 0},
    {&protocol::keys::x5StoragePrependHeader, 0},
    {&protocol::keys::x5StorageAppendTrailer, 0},
    {&protocol::keys::x5StorageEnabled, 0},
    {&protocol::keys::Kv3PlaybackMode, 0},
    {&protocol::keys::Kv3PlaybackEnabled, 0},
    {&protocol::keys::Kv3PlaybackKeepTimestamps, 1},
    {&protocol::keys::x5PpsEdge, 0},
    {&protocol::keys::x5TriggerInputEdge, 1},
    {&protocol::keys::x5TriggerOutput, 0},
    {&protocol::keys::x5TriggerOutputDelay, 0.0},
    {&protocol::keys::x5TriggerOutputPulse, 1.0},
    {&protocol::keys::x5TriggerOutputRxDuration, 0},
    {&protocol::keys::x5TriggerPolarity, 0},
    {&protocol::keys::x5TriggerIndex, 0},
    {&protocol::keys::x5TriggerChannel, 0},
    {&protocol::keys::x5TriggerMode, 0},
    {&protocol::keys::x5StartupNormalization, 0},
    {&protocol::keys::x5RestorePingrate, 1},
    {&protocol::keys::x5RestorePower, 1},
    {&protocol::keys::x5SVInterlock, 0},
    {&protocol::keys::x5IgnorePpsErrors, 0},
    {&protocol::keys::x5RestoreRecording, 0},
    {&protocol::keys::x5RestoreTracker, 0},
    {&protocol::keys::PowerModeSelection, 0},
    {&protocol::keys::x5UseBuildInPOSMV, 0},
    {&protocol::keys::x5UseAttachedSVP, 0},
    {&protocol::keys::x5MotionSensorFormat, 0},
    {&protocol::keys::x5MotionSensorBaudrate, 0},
    {&protocol::keys::x5MotionSensorParity, 0},
    {&protocol::keys::x5MotionSensorDataBits, 0},
    {&protocol::keys::x5MotionSensorStopBits, 0},
    {&protocol::keys::x5MotionSensorOrientation, 0},
    {&protocol::keys::x5MotionSensorLatency, 0.0},
    {&protocol::keys::x5ZdaBaudrate, 0},
    {&protocol::keys::x5ZdaParity, 0},
    {&protocol::keys::x5ZdaDatabits, 0},
    {&protocol::keys::x5ZdaStopBits, 0},
    {&protocol::keys::x5GgaBaudrate, 0},
    {&protocol::keys::x5GgaParity, 0},
    {&protocol::keys::x5GgaDatabits, 0},
    {&protocol::keys::x5GgaStopBits, 0},
    {&protocol::keys::x5SvpBaudrate, 0},
    {&protocol::keys::x5SvpParity, 0},
    {&protocol::keys::x5SvpDatabits, 0},
    {&protocol::keys::x5SvpStopBits, 0},
    {&protocol::keys::x5HprBaudrate, 0},
    {&protocol::keys::x5HprParity, 0},
    {&protocol::keys::x5HprDatabits, 0},
    {&protocol::keys::x5HprStopBits, 0},
    {&protocol::keys::x5HdtBaudrate, 0},
    {&protocol::keys::x5HdtParity, 0},
    {&protocol::keys::x5HdtDatabits, 0},
    {&protocol::keys::x5HdtStopBits, 0},
    {&protocol::keys::x5BracketSelected, 0},
    {&protocol::keys::x5BracketX, 0.0},
    {&protocol::keys::x5BracketY, 0.0},
    {&protocol::keys::x5BracketZ, 0.0},
});

/// A factory setting that is a text.
struct FactoryText
{
    protocol::Key const* key;
    std::wstring_view text;
};
inline constexpr auto FactoryTexts = std::to_array<FactoryText>({
    {&protocol::keys::x5QMIOAddress1, L""},
    {&protocol::keys::x5QMIOAddress2, L""},
    {&protocol::keys::x5QMIOAddress3, L""},
    {&protocol::keys::x5StorageDirectory, L"/sonar/storage"},
    {&protocol::keys::x5StorageHeader, L""},
    {&protocol::keys::x5StorageTrailer, L""},
    {&protocol::keys::Kv3PlaybackDirectory, L"/sonar/playback"},
    {&protocol::keys::Kv3PlaybackFile, L""},
});

/// An attribute that the sonar tells within a branch; there is one such branch for each operation mode or each head.
struct BranchMember
{
    protocol::Key const* key;
    protocol::Key const* branch;
};
inline constexpr auto BranchMembers = std::to_array<BranchMember>({
    {&protocol::keys::x5FMSweep, &protocol::keys::x5PingSettingsList},
    {&protocol::keys::x5FMSweepNegative, &protocol::keys::x5PingSettingsList},
    {&protocol::keys::x5BracketSelected, &protocol::keys::x5Bracket},
    {&protocol::keys::x5BracketX, &protocol::keys::x5Bracket},
    {&protocol::keys::x5BracketY, &protocol::keys::x5Bracket},
    {&protocol::keys::x5BracketZ, &protocol::keys::x5Bracket},
});

/// One number of the head's two arrays, transmitter and receiver: m, degrees.
struct ArrayNumber
{
    protocol::Key const* key;
    std::array<double, 2> values;
};
inline constexpr auto ArrayNumbers = std::to_array<ArrayNumber>({
    {&protocol::keys::x5MBesXYZLength, {0.28, 0.46}},
    {&protocol::keys::x5MBesXYZWidth, {0.09, 0.10}},
    {&protocol::keys::x5MBesXYZHeight, {0.06, 0.08}},
    {&protocol::keys::x5MBesXYZRadius, {0.0, 0.0}},
    {&protocol::keys::x5MBesXYZOffsetX, {0.0, 0.0}},
    {&protocol::keys::x5MBesXYZOffsetY, {0.11, -0.10}},
    {&protocol::keys::x5MBesXYZOffsetZ, {0.02, 0.0}},
    {&protocol::keys::x5MBesXYZOffsetRoll, {0.0, 0.0}},
    {&protocol::keys::x5MBesXYZOffsetPitch, {0.0, 0.0}},
    {&protocol::keys::x5MBesXYZOffsetYaw, {0.0, 0.0}},
});

/// What a request for a record brings: the attributes that the listed commands carry, as the sonar now has them.
struct RecordAnswer
{
    std::uint32_t recordId;
    std::string_view name;
    bool everything = false;                      ///< limits and all attributes
    std::array<std::uint32_t, 6> commands = {};   ///< remote-control commands; 0 for none
    std::array<protocol::Key const*, 3> more = {}; ///< attributes without such a command
};

inline constexpr auto Answers = std::to_array<RecordAnswer>({
    {1504, "list of forwarded records", false, {1500, 1501, 1502, 1504}},
    {3006, "single-beam settings", false, {1058, 3002, 10001, 10005, 10007, 10008}},
    {7001, "configuration", true},
    {7002, "pulse", false, {1006, 1007, 1019, 1026, 1027, 14002}, {&protocol::keys::x5FMSweep, &protocol::keys::x5FMSweepNegative}},
    {7025, "installation", false, {1020, 1047, 1037, 1057}},
    {7052, "sensor inputs", false, {1602, 1604, 1605, 1607, 1608, 1610}},
    {7055, "calibration", false, {1002}},
    {7059, "motion and heading sensors", false, {1033, 1037, 1057}},
    {7503, "settings", true},
    {7504, "common settings", false, {1003, 1004, 1014, 1035}, {&protocol::keys::x5PingOnOffState, &protocol::keys::x5DataRecording}},
    {10000, "gates", false, {1009, 1010, 1016, 10016}},
    {10004, "single-beam operation", false, {10001, 10003, 10004, 10005, 10007, 10014}},
    {10060, "serial ports", false, {10020}},
    {10061, "port status", false, {10021}},
    {10063, "UDP ports", false, {10024}},
});
// clang-format on

} // namespace model

} // namespace qx5::simulator
