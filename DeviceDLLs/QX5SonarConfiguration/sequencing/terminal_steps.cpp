// The arithmetic behind the step codes and the presets of an operator terminal.
#include "terminal_steps.h"

#include <protocol/numbers.h>

#include <algorithm>
#include <cmath>

namespace qx5::terminal {

namespace {

using protocol::NarrowToFloat;
using protocol::TruncateToInt32;

constexpr double microsecondsPerSecond = 1000000.0;
/// Below this a present value counts as off.
constexpr double leastSetting = 0.1;

// Integers made of doubles have 32 bits; what is computed with them has 64 and cannot overflow.

/// How many whole steps `present` stands above `least`; 0 for one that is off.
std::int64_t WholeSteps(double present, double least, int stepsBelowLeast)
{
    if (!(present > leastSetting)) {
        return 0;
    }
    return std::int64_t{TruncateToInt32(std::floor(present) - least)} + stepsBelowLeast;
}

/// The index after a step on a scale from 0 to `span`.
std::optional<std::int64_t> StepIndex(std::int64_t index, std::int64_t span, Direction direction)
{
    if (direction == Direction::Down) {
        return index < 1 ? std::nullopt : std::optional(index - 1);
    }
    return index >= span ? std::nullopt : std::optional(index + 1);
}

std::int64_t SpanOf(double least, double greatest)
{
    // Limits that are slightly below a whole number count as that number.
    constexpr double hair = 0.001;
    return std::int64_t{TruncateToInt32(std::floor(greatest + hair))} - TruncateToInt32(std::floor(least + hair));
}

double ValueAt(std::int64_t index, double least)
{
    return static_cast<float>(index) + NarrowToFloat(least);
}

/// A tenth of the greatest power of ten that is not above the number: 10 for 123, 0 for all below 10.
std::int64_t TenthOfDecade(std::int64_t number)
{
    std::int64_t tenth = 0;
    for (std::int64_t power = 10; power <= number; power *= 10) {
        tenth = power / 10;
    }
    return tenth;
}

std::int64_t KeepTwoDigits(std::int64_t number)
{
    std::int64_t const unit = TenthOfDecade(number);
    return unit > 0 ? number - number % unit : number;
}

/// To the nearest microsecond. Only the length itself is in single precision, not the product.
std::int64_t Microseconds(float seconds)
{
    return TruncateToInt32(std::floor(double{seconds} * microsecondsPerSecond + 0.5));
}

double Seconds(std::int64_t microseconds)
{
    return static_cast<float>(microseconds) / static_cast<float>(microsecondsPerSecond);
}

/// -1 stands for a length that the sonar chooses by itself.
bool IsChosenBySonar(float seconds)
{
    return TruncateToInt32(seconds) == -1;
}

template <typename Number>
Number Limit(Number value, Number least, Number greatest)
{
    if (value < least) {
        value = least;
    }
    if (value > greatest) {
        value = greatest;
    }
    return value;
}

/// How many entries, from the first on, are not above the range.
std::size_t EntriesUpTo(double range, std::span<double const> ranges)
{
    auto const above = std::find_if(ranges.begin(), ranges.end(), [&](double entry) { return entry > range; });
    return static_cast<std::size_t>(above - ranges.begin());
}

} // namespace

std::optional<double> StepInteger(double present, double least, double greatest, Direction direction)
{
    auto const index = StepIndex(WholeSteps(present, least, 0), SpanOf(least, greatest), direction);
    if (!index.has_value()) {
        return std::nullopt;
    }
    return *index >= 0 ? ValueAt(*index, least) : 0.0;
}

std::optional<double> StepPower(double present, double least, double greatest, Direction direction)
{
    auto const index = StepIndex(WholeSteps(present, least, 1), SpanOf(least, greatest) + 1, direction);
    if (!index.has_value()) {
        return std::nullopt;
    }
    return *index > 0 ? ValueAt(*index - 1, least) : 0.0;
}

std::optional<double> StepPulseLength(double present, double least, double greatest, Direction direction)
{
    float const length = NarrowToFloat(present);
    if (IsChosenBySonar(length)) {
        return std::nullopt;
    }
    std::int64_t const microseconds = Microseconds(length);
    std::int64_t const step = TenthOfDecade(microseconds);
    std::int64_t const lower = TruncateToInt32(least * microsecondsPerSecond);
    std::int64_t const upper = TruncateToInt32(greatest * microsecondsPerSecond);
    if (direction == Direction::Down ? microseconds <= lower : microseconds >= upper) {
        return std::nullopt;
    }
    std::int64_t const next = direction == Direction::Down ? microseconds - step : microseconds + step;
    return Seconds(Limit(KeepTwoDigits(next), lower, upper));
}

std::optional<double> StepRange(double present, std::span<double const> ranges, Direction direction)
{
    std::size_t const upTo = EntriesUpTo(present, ranges);
    if (direction == Direction::Down) {
        return upTo < 2 ? std::nullopt : std::optional(ranges[upTo - 2]);
    }
    return upTo >= ranges.size() ? std::nullopt : std::optional(ranges[upTo]);
}

std::optional<int> StepProjector(int present, std::size_t count, Direction direction)
{
    if (present < 0) {
        return std::nullopt;
    }
    if (direction == Direction::Down) {
        return present < 1 ? std::nullopt : std::optional(present - 1);
    }
    return static_cast<std::size_t>(present) + 1 < count ? std::optional(present + 1) : std::nullopt;
}

std::optional<int> StepLightMode(int present, Direction direction)
{
    constexpr int darkest = 1;
    constexpr int daylight = 4;
    if (direction == Direction::Down) {
        return present > darkest ? std::optional(present - 1) : std::nullopt;
    }
    return present < daylight ? std::optional(present + 1) : std::nullopt;
}

int PresetProjector(double number, std::size_t count)
{
    std::int64_t const last = static_cast<std::int64_t>(count) - 1;
    return static_cast<int>(std::min<std::int64_t>(std::max(TruncateToInt32(number), 0), last));
}

double PresetPingRate(double rate, double greatest)
{
    return Limit(rate, 1.0, greatest);
}

std::optional<double> PresetRange(double range, std::span<double const> ranges)
{
    if (ranges.empty()) {
        return std::nullopt;
    }
    std::size_t const upTo = EntriesUpTo(range, ranges);
    return ranges[upTo > 0 ? upTo - 1 : 0];
}

double PresetPower(double power, double least, double greatest)
{
    double const raised = power < least ? 0.0 : power;
    return raised > greatest ? greatest : raised;
}

double PresetGain(double gain, double greatest)
{
    double const raised = gain < leastSetting ? 0.0 : gain;
    return raised > greatest ? greatest : raised;
}

double PresetPulseLength(double length, double least, double greatest)
{
    float const limited = NarrowToFloat(Limit(length, least, greatest));
    if (IsChosenBySonar(limited)) {
        return limited;
    }
    return Seconds(KeepTwoDigits(Microseconds(limited)));
}

} // namespace qx5::terminal
