// Pulse, frequency, gain, sample rate and ping pattern.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key PulseCharacteristicsMode{L"PulseCharacteristicsMode", Kind::Int, Unit::None, "how the sonar chooses its pulse"};
inline constexpr Key PulseControl{L"PulseControl", Kind::Int, Unit::None, "control of the pulse, a code of the sonar"};
inline constexpr Key PulseExtension{L"PulseExtension", Kind::Int, Unit::None, "extension of the pulse, a code of the sonar"};
inline constexpr Key SurveyDepthMin{L"SurveyDepthMin", Kind::Int, Unit::Metre, "least depth of the survey area"};
inline constexpr Key SurveyDepthMax{L"SurveyDepthMax", Kind::Int, Unit::Metre, "greatest depth of the survey area"};

inline constexpr Key x5CenterFrequency{L"x5CenterFrequency", Kind::Double, Unit::Hertz, "centre frequency of the pulse"};
inline constexpr Key x5FMSweep{L"x5FMSweep", Kind::Double, Unit::Kilohertz, "width of the frequency sweep around the centre frequency"};
inline constexpr Key x5FMSweepNegative{L"x5FMSweepNegative", Kind::Bool, Unit::None, "sweep from above the centre frequency down"};
inline constexpr Key x5PingSettingsList{L"x5PingSettingsList", Kind::Branch, Unit::None, "ping settings of one projector"};
inline constexpr Key PingSequenceFrequencyStart{L"PingSequenceFrequencyStart", Kind::Double, Unit::Kilohertz, "first frequency of a multi-frequency ping sequence"};
inline constexpr Key PingSequenceFrequencyEnd{L"PingSequenceFrequencyEnd", Kind::Double, Unit::Kilohertz, "last frequency of a multi-frequency ping sequence"};
inline constexpr Key PingSequenceFrequencyStep{L"PingSequenceFrequencyStep", Kind::Double, Unit::Kilohertz, "step between the frequencies of a ping sequence"};

inline constexpr Key x5VernierBfMode{L"x5VernierBfMode", Kind::Int, Unit::None, "mode of the vernier beamformer"};
inline constexpr Key x5VernierSmoothFilterType{L"x5VernierSmoothFilterType", Kind::Int, Unit::None, "kind of the vernier's smoothing filter"};
inline constexpr Key x5VernierSmoothFilterLength{L"x5VernierSmoothFilterLength", Kind::Int, Unit::None, "length of the vernier's smoothing filter"};

inline constexpr Key x5GainMode{L"x5GainMode", Kind::Int, Unit::None, "time-varied or fixed gain"};
inline constexpr Key x5GainStageSelection{L"x5GainStageSelection", Kind::Int, Unit::None, "stage of the gain"};
inline constexpr Key x5GainAlt{L"x5GainAlt", Kind::Double, Unit::Decibel, "receiver gain parked for the other gain mode"};
inline constexpr Key x5SourceLevelMode{L"x5SourceLevelMode", Kind::Int, Unit::None, "how the source level is chosen"};

inline constexpr Key x5IQRate{L"x5IQRate", Kind::Int, Unit::Hertz, "rate of the complex samples"};
inline constexpr Key x5MultiPingCount{L"x5MultiPingCount", Kind::Int, Unit::None, "number of pings in the water at the same time"};

} // namespace keys

namespace records {

inline constexpr RecordTable PulseType{1007, "pulse type", 4, {
    {&keys::x5PulseType, 0, Wire::I32},
}};
inline constexpr RecordTable GainMode{1017, "gain mode", 8, {
    {&keys::x5GainMode,           0, Wire::I32},
    {&keys::x5GainStageSelection, 4, Wire::I32},
}};
// Packed without padding: the numbers stand at odd offsets.
inline constexpr RecordTable VernierParameters{1019, "vernier parameters", 34, {
    {.offset = 0, .wire = Wire::U16, .name = "leading constant", .constant = 25},
    {&keys::x5VernierBfMode,              2, Wire::I32},
    {&keys::x5VernierSmoothFilterType,   11, Wire::I32},
    {&keys::x5VernierSmoothFilterLength, 15, Wire::U16},
}};
inline constexpr RecordTable CenterFrequency{1026, "centre frequency", 4, {
    {&keys::x5CenterFrequency, 0, Wire::F32},
}};

inline constexpr Field SweepStart{.offset = 0, .wire = Wire::F32, .unit = Unit::Hertz, .name = "start frequency"};
inline constexpr Field SweepStop{.offset = 4, .wire = Wire::F32, .unit = Unit::Hertz, .name = "stop frequency"};
inline constexpr RecordTable FMSweep{1027, "frequency sweep", 8, {
    SweepStart,
    SweepStop,
}};

// The key is an index; the record carries the rate that it stands for.
inline constexpr RecordTable SampleRate{1040, "sample rate", 4, {
    {.key = &keys::x5SampleRateSelection, .offset = 0, .wire = Wire::I32, .convert = Convert::Computed, .unit = Unit::Hertz},
}};
inline constexpr RecordTable MultiPing{1111, "number of pings in the water", 10, {
    {&keys::x5MultiPingCount, 0, Wire::U16},
}};
inline constexpr RecordTable PingSequence{1122, "ping sequence", 4, {
    {&keys::PingSequenceId, 0, Wire::I32},
}};
inline constexpr RecordTable MultiFrequency{1123, "multi-frequency ping sequence", 12, {
    {&keys::PingSequenceFrequencyStart, 0, Wire::F32, Convert::TimesThousand},
    {&keys::PingSequenceFrequencyEnd,   4, Wire::F32, Convert::TimesThousand},
    {&keys::PingSequenceFrequencyStep,  8, Wire::F32, Convert::TimesThousand},
}};
inline constexpr RecordTable SourceLevelMode{14001, "source level mode", 4, {
    {&keys::x5SourceLevelMode, 0, Wire::I32},
}};
inline constexpr RecordTable PulseCharacteristics{14002, "pulse characteristics", 20, {
    {&keys::PulseCharacteristicsMode, 0, Wire::I32},
    {&keys::PulseControl,             4, Wire::I32},
    {&keys::PulseExtension,           8, Wire::I32},
    {&keys::SurveyDepthMin,          12, Wire::I32},
    {&keys::SurveyDepthMax,          16, Wire::I32},
}};

inline constexpr auto PulseFrequencyGainRecords = std::to_array<RecordLayout>({
    PulseType, GainMode, VernierParameters, CenterFrequency, FMSweep, SampleRate, MultiPing, PingSequence,
    MultiFrequency, SourceLevelMode, PulseCharacteristics,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto PulseFrequencyGainKeys = std::to_array<Key const*>({
    &keys::PulseCharacteristicsMode, &keys::PulseControl, &keys::PulseExtension, &keys::SurveyDepthMin,
    &keys::SurveyDepthMax, &keys::x5CenterFrequency, &keys::x5FMSweep, &keys::x5FMSweepNegative,
    &keys::x5PingSettingsList, &keys::PingSequenceFrequencyStart, &keys::PingSequenceFrequencyEnd,
    &keys::PingSequenceFrequencyStep, &keys::x5VernierBfMode, &keys::x5VernierSmoothFilterType,
    &keys::x5VernierSmoothFilterLength, &keys::x5GainMode, &keys::x5GainStageSelection, &keys::x5GainAlt,
    &keys::x5SourceLevelMode, &keys::x5IQRate, &keys::x5MultiPingCount,
});

} // namespace qx5::protocol
