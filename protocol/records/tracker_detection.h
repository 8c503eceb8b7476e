// Tracker, automatic configuration, detections, echo markers and depth.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

} // namespace keys

namespace records {

inline constexpr std::array<RecordLayout, 0> TrackerDetectionRecords{};

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr std::array<Key const*, 0> TrackerDetectionKeys{};

} // namespace qx5::protocol
