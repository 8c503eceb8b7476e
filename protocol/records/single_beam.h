// Single-beam systems.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key SbTransducerIndex{L"SbTransducerIndex", Kind::Int, Unit::None, "number of the transducer to work with"};
inline constexpr Key SbChannelSelect{L"SbChannelSelect", Kind::UInt, Unit::None, "channel to work with"};
inline constexpr Key SbesTransducerDraft{L"SbesTransducerDraft", Kind::Double, Unit::Metre, "draft of a transducer"};
inline constexpr Key SbesTransducerIndex{L"SbesTransducerIndex", Kind::Double, Unit::None, "number of the transducer whose draft is set"};
inline constexpr Key SbesSystemState{L"SbesSystemState", Kind::Int, Unit::None, "state that the system is to take, a code of the sonar"};
inline constexpr Key SbesOperationMode{L"SbesOperationMode", Kind::Int, Unit::None, "mode of operation, a code of the sonar"};
inline constexpr Key SbesTrackerTweakMode{L"SbesTrackerTweakMode", Kind::Int, Unit::None, "tweaks of the tracker: 1000 sets all, 1001 some, other values none"};
inline constexpr Key x5GainTweak{L"x5GainTweak", Kind::Double, Unit::None, "trim of the gain"};
inline constexpr Key x5PowerTweak{L"x5PowerTweak", Kind::Double, Unit::None, "trim of the transmit power"};
inline constexpr Key x5PulseLengthTweak{L"x5PulseLengthTweak", Kind::Double, Unit::None, "trim of the pulse length"};
inline constexpr Key x5RangeTweak{L"x5RangeTweak", Kind::Double, Unit::None, "trim of the range"};
inline constexpr Key SbesTransducerUpdateXml{L"SbesTransducerUpdateXml", Kind::String, Unit::None, "description of the transducers, XML"};
inline constexpr Key SbesSettingsXml{L"SbesSettingsXml", Kind::String, Unit::None, "settings of the system, XML"};
inline constexpr Key SbesSettingsXmlChecksum{L"SbesSettingsXmlChecksum", Kind::String, Unit::None, "checksum of the settings, a text"};
inline constexpr Key SbesGetSettingsXml{L"SbesGetSettingsXml", Kind::Any, Unit::None, "ask the system for its settings"};
inline constexpr Key x5DefaultSettings{L"x5DefaultSettings", Kind::Any, Unit::None, "go back to the default settings"};

} // namespace keys

namespace records {

inline constexpr RecordTable DefaultSettings{1058, "default settings"};

// A file for the sonar, framed by itself: here a description of transducers.
inline constexpr Field FileName{.offset = 0, .wire = Wire::Text, .extent = 128, .name = "file name"};
inline constexpr Field FileType{.offset = 128, .wire = Wire::Text, .extent = 16, .name = "file type"};
inline constexpr Field FileSize{.offset = 144, .wire = Wire::U32, .unit = Unit::Byte, .name = "size of the contents"};
inline constexpr RecordTable FileForSonar{3002, "file for the sonar", 180, {
    FileName,
    FileType,
    FileSize,
}, {.carrier = Carrier::Data, .tail = Tail::Bytes, .tailName = "contents"}};

inline constexpr Field SettingsXmlSize{
    .offset = 128, .wire = Wire::U32, .unit = Unit::Byte, .name = "size of the XML without its terminator"};
inline constexpr RecordTable SettingsXml{3006, "single-beam settings", 164, {
    {.key = &keys::SbesSettingsXmlChecksum, .offset = 0, .wire = Wire::Bytes, .extent = 128},
    SettingsXmlSize,
}, {.tail = Tail::Utf8Z, .tailKey = &keys::SbesSettingsXml}};

inline constexpr RecordTable TransducerDraft{10001, "draft of a transducer", 8, {
    {&keys::SbesTransducerDraft, 0, Wire::F32},
    {&keys::SbesTransducerIndex, 4, Wire::F32},
}};
inline constexpr RecordTable ChannelSelect{10004, "channel selection", 8, {
    {&keys::SbChannelSelect, 0, Wire::U32},
    {.offset = 4, .wire = Wire::U32, .name = "select", .constant = 1},
}};
inline constexpr RecordTable TransducerSelect{10005, "transducer selection", 4, {
    {&keys::SbTransducerIndex, 0, Wire::I32},
}};
inline constexpr RecordTable OperationMode{10007, "operation mode of a single-beam system", 8, {
    {&keys::SbesSystemState,   0, Wire::U32},
    {&keys::SbesOperationMode, 4, Wire::U32},
}};

inline constexpr Field TrackerTweakIndex{.offset = 0, .wire = Wire::U32, .name = "setting"};
inline constexpr Field TrackerTweakValue{&keys::SbesTrackerTweakMode, 4, Wire::U32, Convert::Computed};
inline constexpr RecordTable TrackerTweakMode{10008, "tracker tweak mode", 4, {
    {.offset = 0, .wire = Wire::U32, .name = "number of settings", .constant = 7},
}, RepeatedItems{8, {
    TrackerTweakIndex,
    TrackerTweakValue,
}}};

// The selector tells what is trimmed.
inline constexpr RecordTable GainTweak{10014, "gain tweak", 8, {
    {.offset = 0, .wire = Wire::U32, .name = "selector", .constant = 2},
    {&keys::x5GainTweak, 4, Wire::F32},
}};
inline constexpr RecordTable PowerTweak{10014, "power tweak", 8, {
    {.offset = 0, .wire = Wire::U32, .name = "selector", .constant = 6},
    {&keys::x5PowerTweak, 4, Wire::F32},
}};
inline constexpr RecordTable PulseLengthTweak{10014, "pulse length tweak", 8, {
    {.offset = 0, .wire = Wire::U32, .name = "selector", .constant = 5},
    {&keys::x5PulseLengthTweak, 4, Wire::F32},
}};
inline constexpr RecordTable RangeTweak{10014, "range tweak", 8, {
    {.offset = 0, .wire = Wire::U32, .name = "selector", .constant = 1},
    {&keys::x5RangeTweak, 4, Wire::F32},
}};

inline constexpr auto SingleBeamRecords = std::to_array<RecordLayout>({
    DefaultSettings, FileForSonar, SettingsXml, TransducerDraft, ChannelSelect, TransducerSelect, OperationMode,
    TrackerTweakMode, GainTweak, PowerTweak, PulseLengthTweak, RangeTweak,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto SingleBeamKeys = std::to_array<Key const*>({
    &keys::SbTransducerIndex, &keys::SbChannelSelect, &keys::SbesTransducerDraft, &keys::SbesTransducerIndex,
    &keys::SbesSystemState, &keys::SbesOperationMode, &keys::SbesTrackerTweakMode, &keys::x5GainTweak,
    &keys::x5PowerTweak, &keys::x5PulseLengthTweak, &keys::x5RangeTweak, &keys::SbesTransducerUpdateXml,
    &keys::SbesSettingsXml, &keys::SbesSettingsXmlChecksum, &keys::SbesGetSettingsXml, &keys::x5DefaultSettings,
});

} // namespace qx5::protocol
