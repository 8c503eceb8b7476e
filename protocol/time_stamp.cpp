// The calendar behind the time stamp: the Gregorian one, carried on to all years.
#include <protocol/time_stamp.h>

#include <chrono>
#include <cmath>
#include <cstdio>

#include <protocol/bytes.h>

namespace qx5::protocol {

namespace {

constexpr double SecondsOfDay = 86400.0;
constexpr double FirstSecond = -62135596800.0; // 0001-01-01 00:00:00
constexpr double EndSecond = 253402300800.0;   // 10000-01-01 00:00:00

bool IsValid(TimeX5 const& time)
{
    if (time.year < 1 || time.year > 9999 || time.dayOfYear < 1 || time.hour > 23 || time.minute > 59) {
        return false;
    }
    if (time.dayOfYear > (std::chrono::year(time.year).is_leap() ? 366 : 365)) {
        return false;
    }
    return time.seconds >= 0.0F && time.seconds <= 60.0F; // false for NaN
}

std::chrono::sys_days FirstOfYear(std::chrono::year year)
{
    return std::chrono::sys_days(year / std::chrono::January / 1);
}

} // namespace

TimeX5 ToTimeX5(double secondsSince1970)
{
    if (!(secondsSince1970 >= FirstSecond && secondsSince1970 < EndSecond)) { // also NaN
        return {};
    }
    double days = std::floor(secondsSince1970 / SecondsOfDay);
    double secondOfDay = secondsSince1970 - days * SecondsOfDay;
    // Just before midnight the quotient or the difference can round up to the next day.
    if (secondOfDay >= SecondsOfDay) {
        days += 1.0;
        secondOfDay = 0.0;
    } else if (secondOfDay < 0.0) {
        days -= 1.0;
        secondOfDay += SecondsOfDay;
    }
    std::chrono::sys_days const day{std::chrono::days(static_cast<int>(days))};
    std::chrono::year const year = std::chrono::year_month_day(day).year();
    double const minuteOfDay = std::floor(secondOfDay / 60.0);
    auto const minutes = static_cast<unsigned>(minuteOfDay);
    TimeX5 time;
    time.year = static_cast<std::uint16_t>(static_cast<int>(year));
    time.dayOfYear = static_cast<std::uint16_t>((day - FirstOfYear(year)).count() + 1);
    time.seconds = static_cast<float>(secondOfDay - minuteOfDay * 60.0);
    time.hour = static_cast<std::uint8_t>(minutes / 60);
    time.minute = static_cast<std::uint8_t>(minutes % 60);
    return time;
}

std::optional<double> FromTimeX5(TimeX5 const& time)
{
    if (!IsValid(time)) {
        return std::nullopt;
    }
    auto const day = FirstOfYear(std::chrono::year(time.year)) + std::chrono::days(time.dayOfYear - 1);
    return static_cast<double>(day.time_since_epoch().count()) * SecondsOfDay + time.hour * 3600.0 +
           time.minute * 60.0 + static_cast<double>(time.seconds);
}

void PutTimeX5LE(std::span<unsigned char> bytes, std::size_t offset, TimeX5 const& time)
{
    PutU16LE(bytes, offset, time.year);
    PutU16LE(bytes, offset + 2, time.dayOfYear);
    PutF32LE(bytes, offset + 4, time.seconds);
    PutU8(bytes, offset + 8, time.hour);
    PutU8(bytes, offset + 9, time.minute);
}

TimeX5 GetTimeX5LE(std::span<unsigned char const> bytes, std::size_t offset)
{
    TimeX5 time;
    time.year = GetU16LE(bytes, offset);
    time.dayOfYear = GetU16LE(bytes, offset + 2);
    time.seconds = GetF32LE(bytes, offset + 4);
    time.hour = GetU8(bytes, offset + 8);
    time.minute = GetU8(bytes, offset + 9);
    return time;
}

std::string TimeText(TimeX5 const& time)
{
    if (time == TimeX5{}) {
        return "no time";
    }
    if (!IsValid(time)) {
        return "invalid time";
    }
    auto const day = FirstOfYear(std::chrono::year(time.year)) + std::chrono::days(time.dayOfYear - 1);
    std::chrono::year_month_day const date(day);
    auto const milliseconds = static_cast<unsigned>(std::lround(static_cast<double>(time.seconds) * 1000.0));
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%03u UTC", unsigned{time.year},
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), unsigned{time.hour},
                  unsigned{time.minute}, milliseconds / 1000, milliseconds % 1000);
    return text;
}

} // namespace qx5::protocol
