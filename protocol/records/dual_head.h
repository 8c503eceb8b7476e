// Two heads that work as one system: coupling and the list of forwarded records.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

} // namespace keys

namespace records {

inline constexpr std::array<RecordLayout, 0> DualHeadRecords{};

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr std::array<Key const*, 0> DualHeadKeys{};

} // namespace qx5::protocol
