// The terms of the sonar equation, and their sum.
#include "echo_level.h"

#include "decibel.h"
#include "line_array.h"
#include "valid_range.h"

#include <algorithm>
#include <cmath>

namespace qx5::acoustics {

Result<Medium> MediumOf(double frequency, Water const& water, AbsorptionModel model, NoiseSources const& sources)
{
    auto const absorption = Absorption(model, frequency, water);
    if (!absorption) {
        return absorption.WhyNot();
    }
    auto const soundSpeed = SoundSpeed(water);
    if (!soundSpeed) {
        return soundSpeed.WhyNot();
    }
    auto const noise = NoiseSpectrumLevel(frequency, sources);
    if (!noise) {
        return noise.WhyNot();
    }
    return Medium{.frequency = frequency, .soundSpeed = *soundSpeed, .absorption = *absorption, .noise = *noise};
}

double SpreadingLoss(double range)
{
    return 40.0 * std::log10(range);
}

double AbsorptionLoss(double range, double absorption)
{
    return 2.0 * absorption * range / 1000.0;
}

double InsonifiedArea(BottomBeam const& beam, double soundSpeed)
{
    double const grazing = Radians(beam.grazing);
    double const breadth = Radians(beam.widthAlong) * beam.range;
    double const ofBeam = Radians(beam.widthAcross) * beam.range / std::sin(grazing);
    double const ofPulse = soundSpeed * beam.pulseLength / (2.0 * std::cos(grazing));
    // Straight down all of the beam answers at one time: the cosine is then 0, or what rounding leaves of it.
    return breadth * (beam.grazing < 90.0 ? std::min(ofBeam, ofPulse) : ofBeam);
}

Result<EchoBudget> BudgetOf(double sourceLevel, BottomBeam const& beam, Bottom bottom, Medium const& medium)
{
    if (auto failure = FirstOutside({{"power", "dB", sourceLevel, 0.0, 300.0},
                                     {"range", "m", beam.range, 0.1, 50000.0},
                                     {"grazing angle", "degrees", beam.grazing, 0.01, 90.0},
                                     {"beam width along track", "degrees", beam.widthAlong, 0.01, 180.0},
                                     {"beam width across track", "degrees", beam.widthAcross, 0.01, 180.0},
                                     {"pulse length", "s", beam.pulseLength, 1e-6, 10.0}})) {
        return *std::move(failure);
    }
    auto const receive = LineArray::OfWidth(beam.widthAcross, Taper::Uniform);
    if (!receive) {
        return receive.WhyNot();
    }
    EchoBudget budget;
    budget.sourceLevel = sourceLevel;
    budget.spreadingLoss = SpreadingLoss(beam.range);
    budget.absorptionLoss = AbsorptionLoss(beam.range, medium.absorption);
    budget.area = InsonifiedArea(beam, medium.soundSpeed);
    budget.bottomStrength = BottomStrength(bottom, beam.grazing);
    budget.echoLevel = budget.sourceLevel - budget.spreadingLoss - budget.absorptionLoss + budget.bottomStrength +
                       Decibels(budget.area);
    budget.noiseLevel = medium.noise + Decibels(1.0 / beam.pulseLength) - receive->DirectivityIndex();
    budget.snr = budget.echoLevel - budget.noiseLevel;
    return budget;
}

Result<double> GreatestRangeHeard(double sourceLevel, BottomBeam beam, Bottom bottom, Medium const& medium,
                                  double leastSnr)
{
    // The further the weaker: spreading outweighs the area that grows with range.
    double near = 0.1;
    double far = 50'000.0;
    for (int step = 0; step < 60; ++step) {
        beam.range = std::sqrt(near * far);
        auto const budget = BudgetOf(sourceLevel, beam, bottom, medium);
        if (!budget) {
            return budget.WhyNot();
        }
        (budget->snr >= leastSnr ? near : far) = beam.range;
    }
    return near;
}

} // namespace qx5::acoustics
