// Custom storage and playback.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// One row a key, one row a field: tables are wider than code.
// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5StorageDirectory{L"x5StorageDirectory", Kind::String, Unit::None, "directory of the custom storage"};
inline constexpr Key x5StorageHeader{L"x5StorageHeader", Kind::String, Unit::None, "header of the custom storage's files"};
inline constexpr Key x5StorageTrailer{L"x5StorageTrailer", Kind::String, Unit::None, "trailer of the custom storage's files"};
inline constexpr Key x5StoragePrependHeader{L"x5StoragePrependHeader", Kind::Bool, Unit::None, "write the header before the data"};
inline constexpr Key x5StorageAppendTrailer{L"x5StorageAppendTrailer", Kind::Bool, Unit::None, "write the trailer after the data"};
inline constexpr Key x5StorageEnabled{L"x5StorageEnabled", Kind::Bool, Unit::None, "the custom storage is on"};

inline constexpr Key Kv3PlaybackDirectory{L"Kv3PlaybackDirectory", Kind::String, Unit::None, "directory that is played back from"};
inline constexpr Key Kv3PlaybackFile{L"Kv3PlaybackFile", Kind::String, Unit::None, "file that is played back"};
inline constexpr Key Kv3PlaybackMode{L"Kv3PlaybackMode", Kind::Int, Unit::None, "how the file is played back, a code of the sonar"};
inline constexpr Key Kv3PlaybackEnabled{L"Kv3PlaybackEnabled", Kind::Bool, Unit::None, "the custom playback is on"};
inline constexpr Key Kv3PlaybackKeepTimestamps{L"Kv3PlaybackKeepTimestamps", Kind::Bool, Unit::None, "keep the recorded times in what is played back"};

inline constexpr Key x5PlaybackCommandTime{L"x5PlaybackCommandTime", Kind::Double, Unit::Second, "time of a playback command"};
inline constexpr Key x5PlaybackSpeed{L"x5PlaybackSpeed", Kind::Double, Unit::None, "speed of the playback"};
inline constexpr Key x5PlaybackPosition{L"x5PlaybackPosition", Kind::Double, Unit::None, "position in the recorded file"};
inline constexpr Key x5PlaybackStepForward{L"x5PlaybackStepForward", Kind::Any, Unit::None, "step forward in the recorded file"};
inline constexpr Key x5PlaybackStepBack{L"x5PlaybackStepBack", Kind::Any, Unit::None, "step back in the recorded file"};
inline constexpr Key x5PlaybackLoop{L"x5PlaybackLoop", Kind::Double, Unit::None, "play the recorded file again and again"};

} // namespace keys

namespace records {

// The switches are of two widths, the last a word on an unaligned offset.
inline constexpr RecordTable CustomStorage{1600, "custom storage", 774, {
    {.key = &keys::x5StorageDirectory, .offset =   0, .wire = Wire::Text, .extent = 256},
    {.key = &keys::x5StorageHeader,    .offset = 256, .wire = Wire::Text, .extent = 256},
    {.key = &keys::x5StorageTrailer,   .offset = 512, .wire = Wire::Text, .extent = 256},
    {&keys::x5StoragePrependHeader, 768, Wire::U8},
    {&keys::x5StorageAppendTrailer, 769, Wire::U8},
    {&keys::x5StorageEnabled,       770, Wire::U32},
}};
inline constexpr RecordTable CustomPlayback{1601, "custom playback", 518, {
    {.key = &keys::Kv3PlaybackDirectory, .offset =   0, .wire = Wire::Text, .extent = 256},
    {.key = &keys::Kv3PlaybackFile,      .offset = 256, .wire = Wire::Text, .extent = 256},
    {&keys::Kv3PlaybackMode,           512, Wire::U32},
    {&keys::Kv3PlaybackEnabled,        516, Wire::U8},
    {&keys::Kv3PlaybackKeepTimestamps, 517, Wire::U8},
}};

inline constexpr auto StoragePlaybackRecords = std::to_array<RecordLayout>({
    CustomStorage, CustomPlayback,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto StoragePlaybackKeys = std::to_array<Key const*>({
    &keys::x5StorageDirectory, &keys::x5StorageHeader, &keys::x5StorageTrailer, &keys::x5StoragePrependHeader,
    &keys::x5StorageAppendTrailer, &keys::x5StorageEnabled, &keys::Kv3PlaybackDirectory, &keys::Kv3PlaybackFile,
    &keys::Kv3PlaybackMode, &keys::Kv3PlaybackEnabled, &keys::Kv3PlaybackKeepTimestamps, &keys::x5PlaybackCommandTime,
    &keys::x5PlaybackSpeed, &keys::x5PlaybackPosition, &keys::x5PlaybackStepForward, &keys::x5PlaybackStepBack,
    &keys::x5PlaybackLoop,
});

} // namespace qx5::protocol
