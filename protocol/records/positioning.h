// The satellite positioning and inertial unit.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

} // namespace keys

namespace records {

inline constexpr std::array<RecordLayout, 0> PositioningRecords{};

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr std::array<Key const*, 0> PositioningKeys{};

} // namespace qx5::protocol
