// The sonar's data recorder.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// One row a key, one row a field: tables are wider than code.
// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5RDRFilterList{L"x5RDRFilterList", Kind::IntList, Unit::None, "records that the recorder keeps, the sonar's own numbers"};
inline constexpr Key x5StorageSingleFile{L"x5StorageSingleFile", Kind::Bool, Unit::None, "record into a single file"};
inline constexpr Key x5StorageHistory{L"x5StorageHistory", Kind::Bool, Unit::None, "record the history as well"};
inline constexpr Key x5DirectoryName{L"x5DirectoryName", Kind::String, Unit::None, "directory that the recorder writes to"};
inline constexpr Key x5StorageFileNamePrefix{L"x5StorageFileNamePrefix", Kind::String, Unit::None, "what a recorded file's name begins with"};
inline constexpr Key x5StorageFileNamePostfix{L"x5StorageFileNamePostfix", Kind::String, Unit::None, "what a recorded file's name ends with"};

} // namespace keys

namespace records {

inline constexpr RecordTable RecordingDirectory{1207, "recording directory", 256, {
    {.key = &keys::x5DirectoryName, .offset = 0, .wire = Wire::Text, .extent = 256},
}};
inline constexpr RecordTable RecordingFileNameParts{1208, "recording file name parts", 512, {
    {.key = &keys::x5StorageFileNamePrefix,  .offset =   0, .wire = Wire::Text, .extent = 256},
    {.key = &keys::x5StorageFileNamePostfix, .offset = 256, .wire = Wire::Text, .extent = 256},
}};

inline constexpr Field RecorderFilterCount{.offset = 4, .wire = Wire::U16, .name = "number of entries"};
inline constexpr RecordTable RecorderFilter{1209, "recorder filter list", 6, {
    {.offset = 0, .wire = Wire::U32, .constant = 0x00010000},
    RecorderFilterCount,
}, {.tail = Tail::I32List, .tailName = "entries", .tailKey = &keys::x5RDRFilterList}};

inline constexpr RecordTable RecorderFileHandling{1211, "recorder file handling", 2, {
    {&keys::x5StorageSingleFile, 0, Wire::U8},
    {&keys::x5StorageHistory,    1, Wire::U8},
}};

inline constexpr auto RecorderSettingsRecords = std::to_array<RecordLayout>({
    RecordingDirectory, RecordingFileNameParts, RecorderFilter, RecorderFileHandling,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto RecorderSettingsKeys = std::to_array<Key const*>({
    &keys::x5RDRFilterList, &keys::x5StorageSingleFile, &keys::x5StorageHistory, &keys::x5DirectoryName,
    &keys::x5StorageFileNamePrefix, &keys::x5StorageFileNamePostfix,
});

} // namespace qx5::protocol
