// The receiver: the gain that the operator has set, and the converter behind it.
#pragma once

#include "valid_range.h"

#include <optional>

namespace qx5::acoustics {

enum class GainMode
{
    TimeVaried, ///< grows with range, to make up for what the sound has lost
    Fixed,
};

/// As the operator has set it. Where spreading and absorption are not those of the water, echoes of one bottom grow or
/// fall with range: a tilt across the picture.
struct ReceiverSettings
{
    GainMode mode = GainMode::TimeVaried;
    double gain = 20.0;       ///< dB, -50 to 150
    double spreading = 30.0;  ///< dB for each tenfold range, 0 to 100
    double absorption = 70.0; ///< dB/km one way, 0 to 1000

    bool operator==(ReceiverSettings const&) const = default;
};

/// What is wrong with them, if anything.
std::optional<Failure> WhatIsWrong(ReceiverSettings const& settings);

/// Gain in dB for echoes from a range in m: fixed the gain alone, time-varied gain + spreading log10(range) +
/// 2 absorption range / 1000. A range below 1 m counts as 1 m.
double ReceiverGain(ReceiverSettings const& settings, double range);

/// The converter. Levels are in dB re 1 uPa at the array plus the receiver's gain.
struct Converter
{
    double fullScale = 200.0; ///< the greatest level that it tells
    int bits = 16;            ///< of amplitude: its step lies 6.02 dB a bit below full scale

    double Step() const;
    /// What it makes of a level: no more than full scale, no less than its step; NaN counts as nothing, the step.
    double Convert(double level) const;
    bool Saturates(double level) const { return level > fullScale; }
};

} // namespace qx5::acoustics
