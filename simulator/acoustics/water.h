// What water does to sound: how fast it travels, how much of it is absorbed, and what pressure there is at a depth.
//
// Temperatures are taken as on the scale of 1968 (IPTS-68), on which the formulas were fitted. A thermometer of today
// reads ITS-90: t68 = 1.00024 t90. Where that is left out, temperature is off by 0.01 C at most, sound speed by less
// than 0.03 m/s.
//
// All functions may be called on any thread. What lies outside of a formula's range, infinite or no number, is refused.
#pragma once

#include "result.h"

namespace qx5::acoustics {

/// Water at one place. Each formula tells for which it holds.
struct Water
{
    double temperature = 10.0; ///< C
    double salinity = 35.0;    ///< practical salinity, PSU
    double depth = 0.0;        ///< m below the surface
    double ph = 8.0;           ///< acidity
};

enum class AbsorptionModel
{
    FrancoisGarrison,
    AinslieMcColm,
};

/// Absorption in dB/km at a frequency in Hz by Francois and Garrison, "Sound absorption based on ocean measurements,
/// Part II", J. Acoust. Soc. Am. 72 (1982). From 200 Hz to 1 MHz, -2 to 30 C, 0 to 40 PSU, 0 to 10,000 m, pH 6 to 9.
Result<double> AbsorptionFrancoisGarrison(double frequency, Water const& water);

/// The same by Ainslie and McColm, "A simplified formula for viscous and chemical absorption in sea water", J. Acoust.
/// Soc. Am. 103 (1998): within a tenth of the former. From 100 Hz to 1 MHz, -6 to 35 C, 5 to 50 PSU, 0 to 7,000 m,
/// pH 7.7 to 8.3.
Result<double> AbsorptionAinslieMcColm(double frequency, Water const& water);

Result<double> Absorption(AbsorptionModel model, double frequency, Water const& water);

/// Sound speed in m/s by Chen and Millero (1977) as UNESCO Technical Papers in Marine Science 44 (1983) has it, from
/// temperature (0 to 40 C), salinity (0 to 40 PSU) and the pressure above that of the air (0 to 10,000 dbar; the
/// paper's own coefficients are for bar).
Result<double> SoundSpeedChenMillero(double temperature, double salinity, double pressure);

/// Sound speed in m/s by Mackenzie, "Nine-term equation for sound speed in the oceans", J. Acoust. Soc. Am. 70 (1981).
/// From -2 to 30 C, 25 to 40 PSU, 0 to 8,000 m.
Result<double> SoundSpeedMackenzie(double temperature, double salinity, double depth);

/// Sound speed in m/s: Mackenzie's where that holds, otherwise (fresh and brackish water, above 30 C) Chen and
/// Millero's. Refused in the words of the latter.
Result<double> SoundSpeed(Water const& water);

/// Where nothing is known of the latitude; gravity is then off by less than 0.3 per cent.
inline constexpr double MiddleLatitude = 45.0;

/// Depth in m at a pressure of 0 to 12,000 dbar above that of the air and a latitude of -90 to 90 degrees, by Saunders
/// and Fofonoff as UNESCO 44 has it, for a standard ocean (0 C, 35 PSU).
Result<double> DepthOfPressure(double pressure, double latitude = MiddleLatitude);

/// The pressure in dbar at which DepthOfPressure gives that depth, of 0 to 11,000 m.
Result<double> PressureOfDepth(double depth, double latitude = MiddleLatitude);

} // namespace qx5::acoustics
