// The sonar equation for an echo of the bottom: what is sent, what is lost, what comes back, what noise is in it.
#pragma once

#include "bottom.h"
#include "noise.h"
#include "result.h"
#include "water.h"

namespace qx5::acoustics {

/// What water makes of sound of one frequency; computed once for a setting, used for every echo.
struct Medium
{
    double frequency = 0.0;  ///< Hz
    double soundSpeed = 0.0; ///< m/s
    double absorption = 0.0; ///< dB/km
    double noise = 0.0;      ///< spectrum level, dB re 1 uPa^2/Hz
};

/// Refused where one of its formulas is.
Result<Medium> MediumOf(double frequency, Water const& water, AbsorptionModel model = AbsorptionModel::FrancoisGarrison,
                        NoiseSources const& sources = {});

/// Spherical spreading there and back in dB, relative to 1 m: 40 log10(range), range in m above 0.
double SpreadingLoss(double range);

/// Absorption there and back in dB: range in m, absorption in dB/km.
double AbsorptionLoss(double range, double absorption);

/// A beam of a sonar that meets the bottom.
struct BottomBeam
{
    double range = 0.0;       ///< m along the beam, 0.1 to 50,000
    double grazing = 0.0;     ///< degrees between beam and bottom, 0.01 to 90
    double widthAlong = 0.0;  ///< degrees along track, half-power, one way, 0.01 to 180
    double widthAcross = 0.0; ///< degrees across track, likewise
    double pulseLength = 0.0; ///< s, 1e-6 to 10
};

/// The area in m^2 whose echoes arrive at one time: the smaller of what the beam covers,
///   along x across x range^2 / sin(grazing),
/// and of what the pulse covers at one time,
///   along x range x soundSpeed x pulseLength / (2 cos(grazing)),
/// with the widths in radians.
double InsonifiedArea(BottomBeam const& beam, double soundSpeed);

/// The terms of the sonar equation on the axis of the beam, all in dB but the area:
///   echo = source - spreading - absorption + strength + 10 log area; snr = echo - noise.
struct EchoBudget
{
    double sourceLevel = 0.0;    ///< re 1 uPa at 1 m
    double spreadingLoss = 0.0;  ///< there and back
    double absorptionLoss = 0.0; ///< there and back
    double area = 0.0;           ///< m^2
    double bottomStrength = 0.0; ///< of a square metre
    double echoLevel = 0.0;      ///< re 1 uPa, at the array: the mean of an echo that speckle makes fluctuate
    double noiseLevel = 0.0;     ///< re 1 uPa, of the band that the pulse takes, as the receive beam hears it
    double snr = 0.0;
};

/// The budget of one beam. `sourceLevel` is the power that the operator sets, 0 to 300 dB re 1 uPa at 1 m. The noise is
/// that of a band of 1 / pulseLength Hz, less the directivity index of an untapered receive array of widthAcross.
Result<EchoBudget> BudgetOf(double sourceLevel, BottomBeam const& beam, Bottom bottom, Medium const& medium);

/// The greatest range in m at which the echo of such a beam still lies `leastSnr` dB above the noise, up to 50,000; its
/// own range does not count. 0.1 where it does not even there. Refused as BudgetOf refuses.
Result<double> GreatestRangeHeard(double sourceLevel, BottomBeam beam, Bottom bottom, Medium const& medium,
                                  double leastSnr = 0.0);

} // namespace qx5::acoustics
