// Calendar time as the local clock shows it, on Windows.
#include "platform/local_time.h"

#include <windows.h>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace qx5::platform {

namespace {

constexpr std::int64_t hour = 3600;
constexpr std::int64_t day = 24 * hour;

[[noreturn]] void Refuse()
{
    throw std::invalid_argument("time beyond the local calendar");
}

/// The calendar by the system's own count of 100 ns since 1601.
SYSTEMTIME CalendarOf(std::int64_t seconds)
{
    constexpr std::int64_t since1601 = 11'644'473'600;
    constexpr std::int64_t last = 910'692'730'085; // beyond it the system has none
    if (seconds < -since1601 || seconds > last) {
        Refuse();
    }
    auto const ticks = static_cast<std::uint64_t>(seconds + since1601) * 10'000'000;
    FILETIME const file{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    SYSTEMTIME calendar;
    if (FileTimeToSystemTime(&file, &calendar) == 0) {
        Refuse();
    }
    return calendar;
}

/// Days since 1970 of a day in the Gregorian calendar.
std::int64_t DaysOf(int year, int month, int dayOfMonth)
{
    std::int64_t const years = year - (month <= 2 ? 1 : 0);
    std::int64_t const era = (years >= 0 ? years : years - 399) / 400;
    std::int64_t const ofEra = years - era * 400;
    std::int64_t const ofYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + dayOfMonth - 1;
    return era * 146'097 + ofEra * 365 + ofEra / 4 - ofEra / 100 + ofYear - 719'468;
}

/// When a zone changes its clock: the week'th (5: last) weekday of a month, at a time of the clock that ends.
struct Change
{
    int month = 0;
    int week = 0;
    int weekday = 0;
    std::int64_t seconds = 2 * hour;

    std::int64_t In(int year) const
    {
        std::int64_t const first = DaysOf(year, month, 1);
        std::int64_t const firstWeekday = ((first + 4) % 7 + 7) % 7; // 1970 began on a Thursday
        std::int64_t at = first + (weekday - firstWeekday + 7) % 7 + 7 * (week - 1);
        std::int64_t const next = month == 12 ? DaysOf(year + 1, 1, 1) : DaysOf(year, month + 1, 1);
        while (at >= next) {
            at -= 7;
        }
        return at * day + seconds;
    }
};

/// A zone as the variable TZ tells it everywhere: "JST-9", "CET-1CEST,M3.5.0,M10.5.0/3". The system's own reading of it
/// knows one country's rules alone. What is of another form, "Europe/Berlin" too, leaves the zone to the system.
struct Zone
{
    std::int64_t offset = 0; ///< seconds that the clock is ahead of UTC
    std::optional<std::int64_t> summerOffset;
    Change begins{3, 2, 0};
    Change ends{11, 1, 0};
};

class ZoneReader
{
public:
    explicit ZoneReader(std::string_view text) : m_text(text) {}

    /// Nothing where it is none of that form.
    std::optional<Zone> Read()
    {
        Zone zone;
        if (m_text == "UTC" || m_text == "GMT") {
            return zone;
        }
        if (!TakeName() || !TakeTime(zone.offset)) {
            return std::nullopt;
        }
        zone.offset = -zone.offset;
        if (m_text.empty()) {
            return zone;
        }
        if (!TakeName()) {
            return std::nullopt;
        }
        zone.summerOffset = zone.offset + hour;
        if (!m_text.empty() && m_text.front() != ',') {
            std::int64_t west = 0;
            if (!TakeTime(west)) {
                return std::nullopt;
            }
            zone.summerOffset = -west;
        }
        if (!m_text.empty() && !(TakeChange(zone.begins) && TakeChange(zone.ends) && m_text.empty())) {
            return std::nullopt;
        }
        return zone;
    }

private:
    bool Take(char character)
    {
        bool const isNext = !m_text.empty() && m_text.front() == character;
        if (isNext) {
            m_text.remove_prefix(1);
        }
        return isNext;
    }
    bool TakeNumber(int& number)
    {
        auto const [end, problem] = std::from_chars(m_text.data(), m_text.data() + m_text.size(), number);
        if (problem != std::errc()) {
            return false;
        }
        m_text.remove_prefix(static_cast<std::size_t>(end - m_text.data()));
        return true;
    }
    /// Three letters and more, or anything between angle brackets.
    bool TakeName()
    {
        if (Take('<')) {
            auto const end = m_text.find('>');
            m_text.remove_prefix(end == std::string_view::npos ? m_text.size() : end + 1);
            return end != std::string_view::npos;
        }
        auto const isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
        std::size_t length = 0;
        while (length < m_text.size() && isLetter(m_text[length])) {
            ++length;
        }
        m_text.remove_prefix(length);
        return length >= 3;
    }
    /// hh, hh:mm or hh:mm:ss, with a sign or without.
    bool TakeTime(std::int64_t& seconds)
    {
        bool const isNegative = Take('-');
        if (!isNegative) {
            Take('+');
        }
        std::int64_t unit = hour;
        seconds = 0;
        do {
            int number = 0;
            if (!TakeNumber(number) || number < 0 || number > 167) {
                return false;
            }
            seconds += number * unit;
            unit /= 60;
        } while (unit > 0 && Take(':'));
        seconds = isNegative ? -seconds : seconds;
        return true;
    }
    bool TakeChange(Change& change)
    {
        bool const isRead = Take(',') && Take('M') && TakeNumber(change.month) && Take('.') &&
                            TakeNumber(change.week) && Take('.') && TakeNumber(change.weekday);
        change.seconds = 2 * hour;
        return isRead && change.month >= 1 && change.month <= 12 && change.week >= 1 && change.week <= 5 &&
               change.weekday >= 0 && change.weekday <= 6 && (!Take('/') || TakeTime(change.seconds));
    }

    std::string_view m_text;
};

std::tm ToTm(SYSTEMTIME const& calendar, bool isSummer)
{
    std::tm local{};
    local.tm_year = calendar.wYear - 1900;
    local.tm_mon = calendar.wMonth - 1;
    local.tm_mday = calendar.wDay;
    local.tm_hour = calendar.wHour;
    local.tm_min = calendar.wMinute;
    local.tm_sec = calendar.wSecond;
    local.tm_wday = calendar.wDayOfWeek;
    local.tm_yday =
        static_cast<int>(DaysOf(calendar.wYear, calendar.wMonth, calendar.wDay) - DaysOf(calendar.wYear, 1, 1));
    local.tm_isdst = isSummer ? 1 : 0;
    return local;
}

std::tm InZone(Zone const& zone, std::int64_t time)
{
    bool isSummer = false;
    if (zone.summerOffset) {
        int const year = CalendarOf(time + zone.offset).wYear;
        auto const begins = zone.begins.In(year) - zone.offset;
        auto const ends = zone.ends.In(year) - *zone.summerOffset;
        isSummer = begins < ends ? time >= begins && time < ends : time >= begins || time < ends;
    }
    return ToTm(CalendarOf(time + (isSummer ? *zone.summerOffset : zone.offset)), isSummer);
}

} // namespace

std::tm LocalTime(std::time_t time)
{
    SYSTEMTIME const utc = CalendarOf(time);
    if (char const* const told = std::getenv("TZ")) {
        if (auto const zone = ZoneReader(told).Read()) {
            return InZone(*zone, time);
        }
    }
    // With the rules that held in that year.
    TIME_ZONE_INFORMATION zone;
    SYSTEMTIME local;
    if (GetTimeZoneInformationForYear(utc.wYear, nullptr, &zone) == 0 ||
        SystemTimeToTzSpecificLocalTime(&zone, &utc, &local) == 0) {
        Refuse();
    }
    return ToTm(local, false);
}

} // namespace qx5::platform
