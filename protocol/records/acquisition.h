// Options around the acquisition of data.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5StackingEnabled{L"x5StackingEnabled", Kind::Bool, Unit::None, "stack pings"};
inline constexpr Key x5StackingValue{L"x5StackingValue", Kind::Int, Unit::None, "number of pings in a stack"};
inline constexpr Key x5PowerSaveMode{L"x5PowerSaveMode", Kind::Int, Unit::None, "power saving mode, a code of the sonar"};
inline constexpr Key x5PowerSaveBlankPercent{L"x5PowerSaveBlankPercent", Kind::Int, Unit::Percent, "share that power saving blanks"};
inline constexpr Key x5DutyCycleLimitation{L"x5DutyCycleLimitation", Kind::Int, Unit::None, "limitation of the transmitter's duty cycle, a code of the sonar"};
inline constexpr Key x57042UseBD{L"x57042UseBD", Kind::Bool, Unit::None, "record 7042 makes use of the bottom detection"};
inline constexpr Key x57042MagOnly{L"x57042MagOnly", Kind::Bool, Unit::None, "record 7042 carries magnitudes only"};
inline constexpr Key x57042Compress{L"x57042Compress", Kind::Bool, Unit::None, "record 7042 is compressed"};
inline constexpr Key x57042DownsampleType{L"x57042DownsampleType", Kind::Int, Unit::None, "how record 7042 is downsampled, a code of the sonar, 0 for not at all"};
inline constexpr Key x57042DownsampleDivisor{L"x57042DownsampleDivisor", Kind::Int, Unit::None, "divisor of that downsampling, at least 2 where there is any"};
inline constexpr Key MaxImageHeight{L"MaxImageHeight", Kind::Int, Unit::None, "greatest height of the image record, in pixels"};
inline constexpr Key BytesPerPixel{L"BytesPerPixel", Kind::Int, Unit::Byte, "size of a pixel of the image record"};
inline constexpr Key x5SoundVelocityProbeEnabled{L"x5SoundVelocityProbeEnabled", Kind::Bool, Unit::None, "use the sound velocity probe"};
inline constexpr Key ASDRecordingEnabled{L"ASDRecordingEnabled", Kind::Bool, Unit::None, "record the ASD data"};
inline constexpr Key StaveRecordingEnabled{L"StaveRecordingEnabled", Kind::Bool, Unit::None, "record stave data"};
inline constexpr Key StaveRecordingProcessingStage{L"StaveRecordingProcessingStage", Kind::Int, Unit::None, "stage of processing at which stave data are recorded, a code of the sonar"};
inline constexpr Key AScanBeamSubscribe{L"AScanBeamSubscribe", Kind::Bool, Unit::None, "deliver the A-scan stream"};

} // namespace keys

namespace records {

inline constexpr RecordTable PowerSave{1046, "power saving", 4, {
    {&keys::x5PowerSaveMode,         0, Wire::U8},
    {&keys::x5PowerSaveBlankPercent, 2, Wire::U16},
}};
inline constexpr RecordTable DutyCycleLimitation{1048, "duty cycle limitation", 2, {
    {&keys::x5DutyCycleLimitation, 0, Wire::U16},
}};
inline constexpr RecordTable Stacking{1603, "ping stacking", 2, {
    {&keys::x5StackingEnabled, 0, Wire::U8},
    {&keys::x5StackingValue,   1, Wire::U8},
}};
inline constexpr RecordTable ImageDataSetup{7011, "image data setup", 8, {
    {&keys::MaxImageHeight, 0, Wire::I32},
    {&keys::BytesPerPixel,  4, Wire::I32},
}};
inline constexpr RecordTable AScanBeams{7013, "A-scan beams", 12, {
    {&keys::AScanBeamSubscribe, 0, Wire::U32},
    {&keys::AScanBeamStart,     4, Wire::I32},
    {&keys::AScanBeamEnd,       8, Wire::I32},
}};
// The same bytes once more, for the detection unit.
inline constexpr RecordLayout AScanBeamsPassedOn = [] {
    RecordLayout layout = AScanBeams;
    layout.carrier = Carrier::PassThrough;
    return layout;
}();
// A divisor of 16 or more runs into the bits of the type.
inline constexpr RecordTable Options7042{7042, "options of record 7042", 4, {
    {&keys::x57042UseBD,    0, Wire::BitOfU32, Convert::None, 0},
    {&keys::x57042MagOnly,  0, Wire::BitOfU32, Convert::None, 1},
    {&keys::x57042Compress, 0, Wire::BitOfU32, Convert::None, 2},
    {.key = &keys::x57042DownsampleDivisor, .offset = 0, .wire = Wire::BitsOfU32, .extent = 4, .bitCount = 4},
    {.key = &keys::x57042DownsampleType,    .offset = 0, .wire = Wire::BitsOfU32, .extent = 8, .bitCount = 24},
}};
inline constexpr RecordTable SoundVelocityProbe{14005, "sound velocity probe", 4, {
    {&keys::x5SoundVelocityProbeEnabled, 0, Wire::U32},
}};
inline constexpr RecordTable AsdRecording{14006, "ASD recording", 4, {
    {&keys::ASDRecordingEnabled, 0, Wire::U32},
}};
inline constexpr RecordTable StaveRecording{14007, "stave recording", 8, {
    {&keys::StaveRecordingEnabled,         0, Wire::U32},
    {&keys::StaveRecordingProcessingStage, 4, Wire::I32},
}};

inline constexpr auto AcquisitionRecords = std::to_array<RecordLayout>({
    PowerSave, DutyCycleLimitation, Stacking, ImageDataSetup, AScanBeams, AScanBeamsPassedOn, Options7042,
    SoundVelocityProbe, AsdRecording, StaveRecording,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto AcquisitionKeys = std::to_array<Key const*>({
    &keys::x5StackingEnabled, &keys::x5StackingValue, &keys::x5PowerSaveMode, &keys::x5PowerSaveBlankPercent,
    &keys::x5DutyCycleLimitation, &keys::x57042UseBD, &keys::x57042MagOnly, &keys::x57042Compress,
    &keys::x57042DownsampleType, &keys::x57042DownsampleDivisor, &keys::MaxImageHeight, &keys::BytesPerPixel,
    &keys::x5SoundVelocityProbeEnabled, &keys::ASDRecordingEnabled, &keys::StaveRecordingEnabled,
    &keys::StaveRecordingProcessingStage, &keys::AScanBeamSubscribe,
});

} // namespace qx5::protocol
