// The arithmetic behind the step codes and the presets of an operator terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qx5::terminal {

enum class Direction : std::uint8_t
{
    Down,
    Up
};

// A step gives the value to ask for, or nothing where the end of the scale is reached. Numbers may be anything,
// infinities and NaN too: integers made of them saturate at 32 bits, NaN counts as 0. Where single precision is told,
// it shows in the bytes that leave.

/// Whole steps from `least` on. The value is a sum in single precision.
std::optional<double> StepInteger(double present, double least, double greatest, Direction direction);

/// The same with one step more below `least`, which is 0: off.
std::optional<double> StepPower(double present, double least, double greatest, Direction direction);

/// A step of a tenth of the decade that the pulse is in, kept to two significant digits of microseconds. All in
/// seconds; the value is a quotient in single precision. A pulse that truncates to -1 has no step.
std::optional<double> StepPulseLength(double present, double least, double greatest, Direction direction);

/// The neighbour in a table of ascending ranges; a range between two of them counts as the lower.
std::optional<double> StepRange(double present, std::span<double const> ranges, Direction direction);

/// The number of the next projector, of `count`.
std::optional<int> StepProjector(int present, std::size_t count, Direction direction);

/// The next light mode, 1 to 4.
std::optional<int> StepLightMode(int present, Direction direction);

// What a preset's value becomes. Limits apply low first, then high, so that an upper limit below the lower one holds.

/// The number of a projector from a double, 0 to `count` - 1; -1 when there is none.
int PresetProjector(double number, std::size_t count);
/// At least one ping per second.
double PresetPingRate(double rate, double greatest);
/// The entry of the table that the range counts as; nothing for an empty table.
std::optional<double> PresetRange(double range, std::span<double const> ranges);
/// Below the lower limit the power is off, 0.
double PresetPower(double power, double least, double greatest);
/// Below 0.1 the gain is 0.
double PresetGain(double gain, double greatest);
/// Within the limits, in seconds, kept to two significant digits of microseconds; a pulse that truncates to -1 is not
/// rounded.
double PresetPulseLength(double length, double least, double greatest);

} // namespace qx5::terminal
