// The published formulas of sound in sea water, each with the coefficients of its paper.
#include "water.h"

#include "decibel.h"
#include "valid_range.h"

#include <cmath>

namespace qx5::acoustics {

namespace {

/// What relaxation of one salt absorbs, in dB/km: its strength in dB/km/kHz, both frequencies in kHz.
double Relaxation(double strength, double relaxationFrequency, double frequency)
{
    double const squared = frequency * frequency;
    return strength * relaxationFrequency * squared / (relaxationFrequency * relaxationFrequency + squared);
}

/// c0 + c1 x + c2 x^2 ...
template <typename... Coefficients>
double Polynomial(double x, Coefficients... coefficients)
{
    double sum = 0.0;
    double power = 1.0;
    ((sum += coefficients * power, power *= x), ...);
    return sum;
}

double SaundersFofonoffDepth(double pressure, double latitude)
{
    double const sine = std::sin(Radians(latitude));
    double const gravity = 9.780318 * Polynomial(sine * sine, 1.0, 5.2788e-3, 2.36e-5) +
                           1.092e-6 * pressure; // m/s^2, of the column's mean
    return Polynomial(pressure, 0.0, 9.72659, -2.2512e-5, 2.279e-10, -1.82e-15) / gravity;
}

} // namespace

Result<double> AbsorptionFrancoisGarrison(double frequency, Water const& water)
{
    double const t = water.temperature;
    double const s = water.salinity;
    double const d = water.depth;
    if (auto failure = FirstOutside({{"frequency", "Hz", frequency, 200.0, 1e6},
                                     {"temperature", "C", t, -2.0, 30.0},
                                     {"salinity", "PSU", s, 0.0, 40.0},
                                     {"depth", "m", d, 0.0, 10000.0},
                                     {"pH", "", water.ph, 6.0, 9.0}},
                                    "absorption by Francois and Garrison")) {
        return *std::move(failure);
    }
    double const kilohertz = frequency / 1000.0;
    double const kelvin = 273.0 + t; // as the paper has it
    double const soundSpeed = 1412.0 + 3.21 * t + 1.19 * s + 0.0167 * d;

    // 8.86 as the paper has it; 8.68, which is handed on by a textbook, misses the paper's table by up to five of its
    // last digits.
    double const boric = 8.86 / soundSpeed * std::pow(10.0, 0.78 * water.ph - 5.0);
    double const boricFrequency = 2.8 * std::sqrt(s / 35.0) * std::pow(10.0, 4.0 - 1245.0 / kelvin);

    double const sulphate = 21.44 * s / soundSpeed * (1.0 + 0.025 * t);
    double const sulphatePressure = Polynomial(d, 1.0, -1.37e-4, 6.2e-9);
    double const sulphateFrequency = 8.17 * std::pow(10.0, 8.0 - 1990.0 / kelvin) / (1.0 + 0.0018 * (s - 35.0));

    double const pureWater = t <= 20.0 ? Polynomial(t, 4.937e-4, -2.59e-5, 9.11e-7, -1.50e-8)
                                       : Polynomial(t, 3.964e-4, -1.146e-5, 1.45e-7, -6.5e-10);
    double const pureWaterPressure = Polynomial(d, 1.0, -3.83e-5, 4.9e-10);

    return Relaxation(boric, boricFrequency, kilohertz) +
           sulphatePressure * Relaxation(sulphate, sulphateFrequency, kilohertz) +
           pureWater * pureWaterPressure * kilohertz * kilohertz;
}

Result<double> AbsorptionAinslieMcColm(double frequency, Water const& water)
{
    double const t = water.temperature;
    double const s = water.salinity;
    if (auto failure = FirstOutside({{"frequency", "Hz", frequency, 100.0, 1e6},
                                     {"temperature", "C", t, -6.0, 35.0},
                                     {"salinity", "PSU", s, 5.0, 50.0},
                                     {"depth", "m", water.depth, 0.0, 7000.0},
                                     {"pH", "", water.ph, 7.7, 8.3}},
                                    "absorption by Ainslie and McColm")) {
        return *std::move(failure);
    }
    double const kilohertz = frequency / 1000.0;
    double const kilometres = water.depth / 1000.0;
    double const boric = 0.106 * std::exp((water.ph - 8.0) / 0.56);
    double const boricFrequency = 0.78 * std::sqrt(s / 35.0) * std::exp(t / 26.0);
    double const sulphate = 0.52 * (1.0 + t / 43.0) * (s / 35.0) * std::exp(-kilometres / 6.0);
    double const sulphateFrequency = 42.0 * std::exp(t / 17.0);
    double const pureWater = 0.00049 * std::exp(-(t / 27.0 + kilometres / 17.0));
    return Relaxation(boric, boricFrequency, kilohertz) + Relaxation(sulphate, sulphateFrequency, kilohertz) +
           pureWater * kilohertz * kilohertz;
}

Result<double> Absorption(AbsorptionModel model, double frequency, Water const& water)
{
    return model == AbsorptionModel::AinslieMcColm ? AbsorptionAinslieMcColm(frequency, water)
                                                   : AbsorptionFrancoisGarrison(frequency, water);
}

Result<double> SoundSpeedChenMillero(double temperature, double salinity, double pressure)
{
    if (auto failure = FirstOutside({{"temperature", "C", temperature, 0.0, 40.0},
                                     {"salinity", "PSU", salinity, 0.0, 40.0},
                                     {"pressure", "dbar", pressure, 0.0, 10000.0}},
                                    "sound speed by Chen and Millero")) {
        return *std::move(failure);
    }
    double const t = temperature;
    double const bar = pressure / 10.0;
    double const pureWater =
        Polynomial(bar, Polynomial(t, 1402.388, 5.03711, -5.80852e-2, 3.3420e-4, -1.47800e-6, 3.1464e-9),
                   Polynomial(t, 0.153563, 6.8982e-4, -8.1788e-6, 1.3621e-7, -6.1185e-10),
                   Polynomial(t, 3.1260e-5, -1.7107e-6, 2.5974e-8, -2.5335e-10, 1.0405e-12),
                   Polynomial(t, -9.7729e-9, 3.8504e-10, -2.3643e-12));
    double const a = Polynomial(bar, Polynomial(t, 1.389, -1.262e-2, 7.164e-5, 2.006e-6, -3.21e-8),
                                Polynomial(t, 9.4742e-5, -1.2580e-5, -6.4885e-8, 1.0507e-8, -2.0122e-10),
                                Polynomial(t, -3.9064e-7, 9.1041e-9, -1.6002e-10, 7.988e-12),
                                Polynomial(t, 1.100e-10, 6.649e-12, -3.389e-13));
    double const b = Polynomial(bar, Polynomial(t, -1.922e-2, -4.42e-5), Polynomial(t, 7.3637e-5, 1.7945e-7));
    double const d = Polynomial(bar, 1.727e-3, -7.9836e-6);
    return pureWater + a * salinity + b * salinity * std::sqrt(salinity) + d * salinity * salinity;
}

Result<double> SoundSpeedMackenzie(double temperature, double salinity, double depth)
{
    if (auto failure = FirstOutside({{"temperature", "C", temperature, -2.0, 30.0},
                                     {"salinity", "PSU", salinity, 25.0, 40.0},
                                     {"depth", "m", depth, 0.0, 8000.0}},
                                    "sound speed by Mackenzie")) {
        return *std::move(failure);
    }
    return Polynomial(temperature, 1448.96, 4.591, -5.304e-2, 2.374e-4) + 1.340 * (salinity - 35.0) +
           Polynomial(depth, 0.0, 1.630e-2, 1.675e-7) - 1.025e-2 * temperature * (salinity - 35.0) -
           7.139e-13 * temperature * depth * depth * depth;
}

Result<double> SoundSpeed(Water const& water)
{
    if (auto const speed = SoundSpeedMackenzie(water.temperature, water.salinity, water.depth)) {
        return speed;
    }
    auto const pressure = PressureOfDepth(water.depth);
    if (!pressure) {
        return pressure.WhyNot();
    }
    return SoundSpeedChenMillero(water.temperature, water.salinity, *pressure);
}

Result<double> DepthOfPressure(double pressure, double latitude)
{
    if (auto failure =
            FirstOutside({{"pressure", "dbar", pressure, 0.0, 12000.0}, {"latitude", "degrees", latitude, -90.0, 90.0}},
                         "the depth by Saunders and Fofonoff")) {
        return *std::move(failure);
    }
    return SaundersFofonoffDepth(pressure, latitude);
}

Result<double> PressureOfDepth(double depth, double latitude)
{
    if (auto failure =
            FirstOutside({{"depth", "m", depth, 0.0, 11000.0}, {"latitude", "degrees", latitude, -90.0, 90.0}},
                         "the depth by Saunders and Fofonoff")) {
        return *std::move(failure);
    }
    // A dbar is little more than a metre, whatever the depth: each round leaves a twentieth of the error.
    double pressure = depth;
    for (int round = 0; round < 12; ++round) {
        pressure += depth - SaundersFofonoffDepth(pressure, latitude);
    }
    return pressure;
}

} // namespace qx5::acoustics
