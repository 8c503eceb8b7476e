// Recording by the sonar processor.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// One row a key, one row a field: tables are wider than code.
// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5DataRecording{L"x5DataRecording", Kind::Int, Unit::None, "0 stops the recording, other values start it"};
inline constexpr Key SyncDataRecording{L"SyncDataRecording", Kind::Bool, Unit::None, "the sonar's recording follows the host's logger"};

} // namespace keys

namespace records {

inline constexpr Field RecordingFileName{.offset = 4, .wire = Wire::Text, .extent = 256, .name = "file name, empty: the sonar chooses"};
inline constexpr RecordTable StartRecording{1200, "start recording", 260, {
    RecordingFileName,
}};
inline constexpr RecordTable StopRecording{1201, "stop recording"};

inline constexpr auto DataRecordingRecords = std::to_array<RecordLayout>({
    StartRecording, StopRecording,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto DataRecordingKeys = std::to_array<Key const*>({
    &keys::x5DataRecording, &keys::SyncDataRecording,
});

} // namespace qx5::protocol
