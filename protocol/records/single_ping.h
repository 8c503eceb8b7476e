// The command that makes the sonar ping once.
#pragma once

#include <array>

#include <protocol/record_table.h>

namespace qx5::protocol {

namespace records {

inline constexpr RecordTable SinglePing{1107, "single ping"};

inline constexpr auto SinglePingRecords = std::to_array<RecordLayout>({SinglePing});

} // namespace records

} // namespace qx5::protocol
