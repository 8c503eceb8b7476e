// Single-beam systems.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

} // namespace keys

namespace records {

inline constexpr std::array<RecordLayout, 0> SingleBeamRecords{};

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr std::array<Key const*, 0> SingleBeamKeys{};

} // namespace qx5::protocol
