// Records out of captured traffic, as `qx5 decode` prints them.
#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

namespace qx5::cli {

struct CaptureOptions
{
    std::optional<std::uint16_t> port; ///< connections with this port at one end alone; none: all
    bool json = false;
};

/// What was found. Connections without any record count only where `port` chose them or one end has the port 7000.
struct CaptureCounts
{
    std::uint64_t records = 0;
    std::uint64_t damagedFrames = 0;
    std::uint64_t skippedBytes = 0; ///< that belong to no good record
    std::uint64_t lostBytes = 0;    ///< that were not captured
    std::uint64_t unusable = 0;     ///< packets of TCP that say nothing, see TcpStreams
    std::string damage;             ///< of the file, see CaptureReader
};

/// Prints each record with the time of the packet that completed it, its connection and its two ends, in the order in
/// which they are completed. `beginning` is what was read from the stream already. Throws what printing throws.
CaptureCounts PrintCapture(std::istream& stream, std::string_view beginning, CaptureOptions const& options);

} // namespace qx5::cli
