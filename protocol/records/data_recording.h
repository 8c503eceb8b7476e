// Recording by the sonar processor.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5DataRecording{L"x5DataRecording", Kind::Int, Unit::None, "0 stops the recording, other values start it"};

} // namespace keys

namespace records {

inline constexpr std::array<RecordLayout, 0> DataRecordingRecords{};

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto DataRecordingKeys = std::to_array<Key const*>({
    &keys::x5DataRecording,
});

} // namespace qx5::protocol
