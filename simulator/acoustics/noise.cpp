// Spectrum levels of the noise of the sea.
#include "noise.h"

#include "decibel.h"
#include "valid_range.h"

#include <cmath>

namespace qx5::acoustics {

namespace {

std::optional<Failure> FrequencyOutside(double frequency)
{
    return FirstOutside({{"frequency", "Hz", frequency, 1.0, 1e6}}, "the noise of the sea");
}

} // namespace

Result<double> ThermalNoiseLevel(double frequency)
{
    if (auto failure = FrequencyOutside(frequency)) {
        return *std::move(failure);
    }
    return -15.0 + 20.0 * std::log10(frequency / 1000.0);
}

Result<double> AmbientNoiseLevel(double frequency, NoiseSources const& sources)
{
    if (auto failure = FrequencyOutside(frequency)) {
        return *std::move(failure);
    }
    if (auto failure = FirstOutside(
            {{"wind speed", "m/s", sources.windSpeed, 0.0, 60.0}, {"shipping", "", sources.shipping, 0.0, 1.0}})) {
        return *std::move(failure);
    }
    double const kilohertz = frequency / 1000.0;
    double const decades = std::log10(kilohertz);
    double const turbulence = 17.0 - 30.0 * decades;
    double const ships = 40.0 + 20.0 * (sources.shipping - 0.5) + 26.0 * decades - 60.0 * std::log10(kilohertz + 0.03);
    double const wind = 50.0 + 7.5 * std::sqrt(sources.windSpeed) + 20.0 * decades - 40.0 * std::log10(kilohertz + 0.4);
    return Decibels(FromDecibels(turbulence) + FromDecibels(ships) + FromDecibels(wind));
}

Result<double> NoiseSpectrumLevel(double frequency, NoiseSources const& sources)
{
    auto const ambient = AmbientNoiseLevel(frequency, sources);
    if (!ambient) {
        return ambient;
    }
    return Decibels(FromDecibels(*ThermalNoiseLevel(frequency)) + FromDecibels(*ambient));
}

} // namespace qx5::acoustics
