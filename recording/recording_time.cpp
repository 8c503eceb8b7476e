// Moments of a recording as people write and read them.
#include "recording_time.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <limits>

#include <fmt/format.h>

namespace qx5::recording {

namespace {

constexpr std::uint64_t second = 1'000'000'000;
constexpr std::uint64_t latest = std::numeric_limits<std::uint64_t>::max();

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// Takes texts from the front of one; what is not there makes it bad for good.
class Take
{
public:
    explicit Take(std::string_view text) : m_text(text) {}

    /// A number of exactly so many digits, at most `greatest`.
    unsigned Number(std::size_t digits, unsigned greatest)
    {
        unsigned number = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            bool const isDigit = i < m_text.size() && IsDigit(m_text[i]);
            m_isGood = m_isGood && isDigit;
            number = number * 10 + (isDigit ? static_cast<unsigned>(m_text[i] - '0') : 0U);
        }
        m_text.remove_prefix(std::min(digits, m_text.size()));
        m_isGood = m_isGood && number <= greatest;
        return number;
    }
    void Letter(char letter)
    {
        m_isGood = m_isGood && Begins(letter);
        m_text.remove_prefix(m_text.empty() ? 0 : 1);
    }
    bool Begins(char letter) const { return !m_text.empty() && m_text.front() == letter; }
    /// Digits behind a point as billionths: one to nine of them.
    std::uint64_t Billionths()
    {
        std::uint64_t number = 0;
        std::size_t digits = 0;
        for (; digits < m_text.size() && IsDigit(m_text[digits]); ++digits) {
            number = digits < 9 ? number * 10 + static_cast<unsigned>(m_text[digits] - '0') : number;
        }
        m_text.remove_prefix(digits);
        m_isGood = m_isGood && digits >= 1 && digits <= 9;
        for (std::size_t i = digits; i < 9; ++i) {
            number *= 10;
        }
        return number;
    }
    bool IsGoodToTheEnd() const { return m_isGood && m_text.empty(); }

private:
    std::string_view m_text;
    bool m_isGood = true;
};

std::optional<std::uint64_t> ReadIso(std::string_view text)
{
    using namespace std::chrono;
    Take take(text);
    auto const years = take.Number(4, 2554);
    take.Letter('-');
    auto const months = take.Number(2, 12);
    take.Letter('-');
    auto const days = take.Number(2, 31);
    take.Letter('T');
    auto const clockHours = take.Number(2, 23);
    take.Letter(':');
    auto const clockMinutes = take.Number(2, 59);
    take.Letter(':');
    auto const clockSeconds = take.Number(2, 59);
    std::uint64_t billionths = 0;
    if (take.Begins('.')) {
        take.Letter('.');
        billionths = take.Billionths();
    }
    minutes offset{0};
    if (take.Begins('+') || take.Begins('-')) {
        bool const isAhead = take.Begins('+');
        take.Letter(isAhead ? '+' : '-');
        offset = hours(take.Number(2, 23));
        take.Letter(':');
        offset += minutes(take.Number(2, 59));
        offset = isAhead ? offset : -offset;
    } else {
        take.Letter('Z');
    }
    year_month_day const date(year(static_cast<int>(years)), month(months), day(days));
    if (!take.IsGoodToTheEnd() || !date.ok()) {
        return {};
    }
    auto const time = sys_days(date).time_since_epoch() + hours(clockHours) + minutes(clockMinutes) +
                      std::chrono::seconds(clockSeconds) - offset;
    if (time.count() < 0 || static_cast<std::uint64_t>(time.count()) >= latest / second) {
        return {};
    }
    return static_cast<std::uint64_t>(time.count()) * second + billionths;
}

} // namespace

std::string IsoTime(std::uint64_t nanoseconds)
{
    using namespace std::chrono;
    sys_seconds const time(std::chrono::seconds(nanoseconds / second));
    auto const day = floor<days>(time);
    year_month_day const date(day);
    hh_mm_ss const clock(time - day);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:09}Z", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), clock.hours().count(),
                       clock.minutes().count(), clock.seconds().count(), nanoseconds % second);
}

std::optional<std::uint64_t> ReadMoment(std::string_view text, std::uint64_t start)
{
    if (!text.starts_with('+')) {
        return ReadIso(text);
    }
    text.remove_prefix(1);
    std::uint64_t whole = 0;
    auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), whole);
    // 300 years: within what nanoseconds can count from any start that is a date.
    if (problem != std::errc() || whole > 9'467'280'000) {
        return {};
    }
    Take rest(text.substr(static_cast<std::size_t>(end - text.data())));
    std::uint64_t billionths = 0;
    if (rest.Begins('.')) {
        rest.Letter('.');
        billionths = rest.Billionths();
    }
    auto const offset = whole * second + billionths;
    if (!rest.IsGoodToTheEnd() || offset > latest - start) {
        return {};
    }
    return start + offset;
}

} // namespace qx5::recording
