// Gain over range, and what the converter leaves of a level.
#include "receiver.h"

#include "echo_level.h"

#include <algorithm>
#include <cmath>

namespace qx5::acoustics {

std::optional<Failure> WhatIsWrong(ReceiverSettings const& settings)
{
    return FirstOutside({{"gain", "dB", settings.gain, -50.0, 150.0},
                         {"spreading", "dB", settings.spreading, 0.0, 100.0},
                         {"absorption", "dB/km", settings.absorption, 0.0, 1000.0}});
}

double ReceiverGain(ReceiverSettings const& settings, double range)
{
    if (settings.mode == GainMode::Fixed) {
        return settings.gain;
    }
    double const metres = std::max(1.0, range);
    return settings.gain + settings.spreading * std::log10(metres) + AbsorptionLoss(metres, settings.absorption);
}

double Converter::Step() const
{
    return fullScale - 20.0 * std::log10(2.0) * bits;
}

double Converter::Convert(double level) const
{
    return level > Step() ? std::min(level, fullScale) : Step();
}

} // namespace qx5::acoustics
