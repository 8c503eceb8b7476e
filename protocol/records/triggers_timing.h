// Triggers and timing signals.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5PpsEdge{L"x5PpsEdge", Kind::Int, Unit::None, "edge of the pulse-per-second input that counts"};
inline constexpr Key x5TriggerInputEdge{L"x5TriggerInputEdge", Kind::Int, Unit::None, "edge of the trigger input that counts"};
inline constexpr Key x5TriggerInput{L"x5TriggerInput", Kind::Bool, Unit::None, "ping on the trigger input"};
inline constexpr Key x5TriggerOutput{L"x5TriggerOutput", Kind::Bool, Unit::None, "give a trigger pulse with every ping"};
inline constexpr Key x5TriggerOutputRxDuration{L"x5TriggerOutputRxDuration", Kind::Bool, Unit::None, "the trigger pulse lasts as long as the sonar receives"};
inline constexpr Key x5TriggerOutputPulse{L"x5TriggerOutputPulse", Kind::Double, Unit::Millisecond, "width of the trigger pulse"};
inline constexpr Key x5TriggerOutputDelay{L"x5TriggerOutputDelay", Kind::Double, Unit::Millisecond, "delay of the trigger pulse"};
inline constexpr Key x5TriggerPolarity{L"x5TriggerPolarity", Kind::Int, Unit::None, "polarity of the trigger pulse"};
inline constexpr Key x5TriggerIndex{L"x5TriggerIndex", Kind::Int, Unit::None, "which trigger output"};
inline constexpr Key x5TriggerChannel{L"x5TriggerChannel", Kind::Int, Unit::None, "channel of the trigger output, kept with the device and not sent"};
inline constexpr Key x5TriggerMode{L"x5TriggerMode", Kind::Int, Unit::None, "mode of the trigger output"};

} // namespace keys

namespace records {

inline constexpr RecordTable TriggerInput{1114, "trigger input"};
inline constexpr RecordTable TriggerOutput{1115, "trigger output", 20, {
    {&keys::x5TriggerOutput,            0, Wire::BitOfU32, Convert::None, 0},
    {&keys::x5TriggerOutputRxDuration,  0, Wire::BitOfU32, Convert::None, 1},
    {&keys::x5TriggerOutputPulse,       4, Wire::F64, Convert::Thousandth},
    {&keys::x5TriggerOutputDelay,      12, Wire::F64, Convert::Thousandth},
}};
// A set bit stands for the attribute value 0; every other value clears it.
inline constexpr RecordTable SignalEdges{1116, "edges of the timing inputs", 4, {
    {&keys::x5PpsEdge,          0, Wire::BitOfU32, Convert::SetWhenZero, 0},
    {&keys::x5TriggerInputEdge, 0, Wire::BitOfU32, Convert::SetWhenZero, 1},
}};
inline constexpr RecordTable AdvancedTriggerOutput{1117, "advanced trigger output", 28, {
    {&keys::x5TriggerIndex,        0, Wire::I32},
    {&keys::x5TriggerMode,         4, Wire::I32},
    {&keys::x5TriggerPolarity,     8, Wire::I32},
    {&keys::x5TriggerOutputPulse, 12, Wire::F64, Convert::Thousandth},
    {&keys::x5TriggerOutputDelay, 20, Wire::F64, Convert::Thousandth},
}};

inline constexpr auto TriggersTimingRecords = std::to_array<RecordLayout>({
    TriggerInput, TriggerOutput, SignalEdges, AdvancedTriggerOutput,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto TriggersTimingKeys = std::to_array<Key const*>({
    &keys::x5PpsEdge, &keys::x5TriggerInputEdge, &keys::x5TriggerInput, &keys::x5TriggerOutput,
    &keys::x5TriggerOutputRxDuration, &keys::x5TriggerOutputPulse, &keys::x5TriggerOutputDelay,
    &keys::x5TriggerPolarity, &keys::x5TriggerIndex, &keys::x5TriggerChannel, &keys::x5TriggerMode,
});

} // namespace qx5::protocol
