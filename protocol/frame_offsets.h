// Where the words of a frame's header stand, for those who look at frames byte by byte; all others use frame.h.
#pragma once

#include <cstddef>

namespace qx5::protocol::frame_offsets {

inline constexpr std::size_t Version = 0;
inline constexpr std::size_t DataOffset = 2;
inline constexpr std::size_t Sync = 4;
inline constexpr std::size_t TotalSize = 8;
inline constexpr std::size_t Time = 20;
inline constexpr std::size_t RecordVersion = 30;
inline constexpr std::size_t RecordId = 32;
inline constexpr std::size_t DeviceId = 36;
inline constexpr std::size_t Enumerator = 42;

} // namespace qx5::protocol::frame_offsets
