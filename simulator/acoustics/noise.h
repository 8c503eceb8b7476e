// The noise of the sea that a hydrophone hears beside the echo.
#pragma once

#include "result.h"

namespace qx5::acoustics {

/// What makes noise around the sonar.
struct NoiseSources
{
    double windSpeed = 5.0; ///< m/s at the surface, 0 to 60
    double shipping = 0.5;  ///< distant ships, from 0 (none) to 1 (busy)
};

/// Of the water's own molecules: spectrum level in dB re 1 uPa^2/Hz at a frequency in Hz (Mellen 1952). It leads above
/// about 100 kHz. 1 Hz to 1 MHz.
Result<double> ThermalNoiseLevel(double frequency);

/// Of turbulence, distant ships and wind together, likewise: the fit to the curves of Wenz (1962) by Coates,
/// "Underwater Acoustic Systems" (1990).
Result<double> AmbientNoiseLevel(double frequency, NoiseSources const& sources);

/// Both together, likewise.
Result<double> NoiseSpectrumLevel(double frequency, NoiseSources const& sources);

} // namespace qx5::acoustics
