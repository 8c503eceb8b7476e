// Moments of a recording as people write and read them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qx5::recording {

/// "2026-11-21T01:26:24.498123456Z" of nanoseconds since 1970 UTC, always with nine digits of the second.
std::string IsoTime(std::uint64_t nanoseconds);

/// Nanoseconds since 1970 UTC of an ISO 8601 time with Z or an offset ("2026-11-21T01:26:24.5Z",
/// "2026-11-21T02:26:24+01:00"; from 1970 to 2554, up to nine digits of the second), or of "+SECONDS" from `start` on
/// ("+12.5"). Nothing for any other text.
std::optional<std::uint64_t> ReadMoment(std::string_view text, std::uint64_t start);

} // namespace qx5::recording
