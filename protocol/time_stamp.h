// The 10-byte time stamp of the record protocol: UTC as year, day of the year, seconds, hour and minute.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qx5::protocol {

/// u16 year, u16 day of the year (1 to 366), f32 seconds within the minute, u8 hour, u8 minute. All zero: no time.
struct TimeX5
{
    std::uint16_t year = 0;
    std::uint16_t dayOfYear = 0;
    float seconds = 0.0F;
    std::uint8_t hour = 0;
    std::uint8_t minute = 0;

    friend bool operator==(TimeX5 const&, TimeX5 const&) = default;
};

inline constexpr std::size_t TimeX5Size = 10;

/// The time stamp of a time in seconds since 1970-01-01 UTC. A time that is not finite or lies outside the years 1 to
/// 9999 gives the zero time. Seconds are narrowed to single precision as they are: within two millionths of the next
/// minute they round to 60.0 and stay so, without a carry into the minute.
TimeX5 ToTimeX5(double secondsSince1970);

/// Seconds since 1970-01-01 UTC. Nothing for the zero time and for fields out of range; seconds may be 60.0.
std::optional<double> FromTimeX5(TimeX5 const& time);

/// Both need TimeX5Size bytes from `offset` on.
void PutTimeX5LE(std::span<unsigned char> bytes, std::size_t offset, TimeX5 const& time);
TimeX5 GetTimeX5LE(std::span<unsigned char const> bytes, std::size_t offset);

/// "2023-11-14 22:13:20.000 UTC"; "no time" for the zero time, "invalid time" for fields out of range.
std::string TimeText(TimeX5 const& time);

} // namespace qx5::protocol
