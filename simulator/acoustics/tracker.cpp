// The tracker's rules: small steps, and none while what was heard is good enough.
#include "tracker.h"

#include "decibel.h"
#include "water.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace qx5::acoustics {

namespace {

/// The range that is listened to, in those at which the bottom is found; none smaller is taken unless it is well
/// enough.
constexpr double roomBeyond = 1.2;
constexpr double roomToShrink = 1.35;
/// c x pulse / 2 for each m of depth.
constexpr double pulseOfDepth = 0.0025;
constexpr double wantedSnr = 25.0;
constexpr double snrBand = 6.0;
constexpr double wantedBelowFullScale = 35.0;
constexpr double levelBand = 4.0;
constexpr double mostStep = 3.0;         // dB
constexpr double mostCoverageStep = 2.0; // degrees
constexpr double wantedSpreading = 30.0; // dB: what an echo of the bottom loses by range
constexpr double foundEnough = 0.1;      // of all beams
constexpr double edge = 0.1;             // of the beams, at each side

/// The nearest of ascending values that is not below; the last where all are.
double Offered(std::span<double const> values, double wanted, double otherwise)
{
    if (values.empty()) {
        return otherwise;
    }
    auto const at = std::lower_bound(values.begin(), values.end(), wanted);
    return at == values.end() ? values.back() : *at;
}

double Within(double value, Interval const& limits)
{
    return limits.least <= limits.greatest ? std::clamp(value, limits.least, limits.greatest) : value;
}

double Towards(double value, double wanted, double band, double step)
{
    return std::abs(wanted - value) <= band ? value : value + std::clamp(wanted - value, -step, step);
}

float Middle(std::vector<float>& values, double part)
{
    auto const at = values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

} // namespace

TrackedSettings Tracker::Next(PingEchoes const& echoes, PingSettings const& settings, TrackerSwitches const& switches,
                              TrackerLimits const& limits)
{
    TrackedSettings next{.range = settings.range,
                         .power = settings.power,
                         .gain = settings.receiver.gain,
                         .absorption = settings.receiver.absorption,
                         .spreading = settings.receiver.spreading,
                         .pulseLength = settings.pulseLength,
                         .coverage = settings.coverage};
    if (!switches.on || echoes.beams == 0) {
        return next;
    }
    std::vector<Detection> const& found = echoes.detections;
    bool const isLost = static_cast<double>(found.size()) < foundEnough * echoes.beams;
    if (switches.powerAndGain) {
        // These follow from what the sonar is, not from what it hears.
        next.spreading = std::min(wantedSpreading, limits.greatestSpreading);
        if (auto const absorption = AbsorptionFrancoisGarrison(settings.frequency, {})) {
            next.absorption = std::min(*absorption, limits.greatestAbsorption);
        }
    }
    if (isLost) {
        // Louder and further, until something is heard.
        if (switches.range) {
            next.range = Offered(limits.ranges, settings.range * 1.001, settings.range);
        }
        if (switches.powerAndGain && !echoes.water.noise.empty()) {
            // Noise that fills the converter, or is below what that tells apart, hides any echo.
            Converter const converter;
            auto const noise = static_cast<double>(echoes.water.noise[echoes.water.noise.size() / 2]);
            if (noise > converter.fullScale - wantedBelowFullScale) {
                next.gain = Within(settings.receiver.gain - mostStep, limits.gain);
            } else if (noise < converter.Step() + levelBand && settings.receiver.gain < limits.gain.greatest) {
                next.gain = Within(settings.receiver.gain + mostStep, limits.gain);
            } else {
                next.power = Within(settings.power + mostStep, limits.power);
            }
        }
        return next;
    }

    m_sorted.reserve(found.capacity());
    m_sorted.clear();
    for (Detection const& detection : found) {
        m_sorted.push_back(static_cast<float>(static_cast<double>(detection.travelTime) * echoes.soundSpeed / 2.0));
    }
    auto const furthest = static_cast<double>(Middle(m_sorted, 0.97));
    m_sorted.clear();
    for (Detection const& detection : found) {
        m_sorted.push_back(static_cast<float>(static_cast<double>(detection.travelTime) * echoes.soundSpeed / 2.0 *
                                              std::cos(Radians(static_cast<double>(detection.angle)))));
    }
    auto const depth = static_cast<double>(Middle(m_sorted, 0.5));

    if (switches.range) {
        double const wanted = Offered(limits.ranges, furthest * roomBeyond, settings.range);
        // Further at once; nearer only with room to spare, so that it does not go to and fro.
        if (wanted > settings.range || wanted >= furthest * roomToShrink) {
            next.range = wanted;
        } else {
            next.range = std::min(settings.range, Offered(limits.ranges, furthest * roomToShrink, settings.range));
        }
    }
    if (switches.pulseLength) {
        next.pulseLength =
            Offered(limits.pulseLengths, 2.0 * pulseOfDepth * depth / echoes.soundSpeed, settings.pulseLength);
    }
    if (switches.powerAndGain && settings.power > 0.0) {
        m_sorted.clear();
        for (Detection const& detection : found) {
            m_sorted.push_back(detection.level);
        }
        double const level = static_cast<double>(Middle(m_sorted, 0.5));
        m_sorted.clear();
        WaterColumn const& water = echoes.water;
        for (Detection const& detection : found) {
            if (water.noise.empty() || !(water.interval > 0.0)) {
                break;
            }
            double const place = static_cast<double>(detection.travelTime) / water.interval;
            auto const sample =
                static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(water.noise.size() - 1)));
            m_sorted.push_back(detection.level - water.noise[sample]);
        }
        double const snr = m_sorted.empty() ? wantedSnr : static_cast<double>(Middle(m_sorted, 0.5));
        next.power = Within(Towards(settings.power, settings.power + wantedSnr - snr, snrBand, mostStep), limits.power);
        double const wanted = Converter{}.fullScale - wantedBelowFullScale - level;
        // What the power changes the gain need not.
        double const byPower = next.power - settings.power;
        next.gain =
            Within(Towards(settings.receiver.gain, settings.receiver.gain + wanted - byPower, levelBand, mostStep),
                   limits.gain);
    }
    if (switches.coverage) {
        Interval allowed = limits.coverage;
        if (switches.limitCoverage) {
            allowed.greatest = std::max(allowed.least, std::min(allowed.greatest, switches.greatestCoverage));
        }
        double wanted = settings.coverage;
        if (switches.fixedSwath) {
            wanted = 2.0 * Degrees(std::atan(switches.swathWidth / 2.0 / std::max(depth, 0.1)));
        } else {
            auto const outer = static_cast<std::size_t>(edge * echoes.beams);
            auto const heard = static_cast<double>(std::count_if(found.begin(), found.end(), [&](Detection const& one) {
                return one.beam < outer || one.beam >= echoes.beams - outer;
            }));
            double const share = outer > 0 ? heard / static_cast<double>(2 * outer) : 1.0;
            wanted += share > 0.9 ? mostCoverageStep : share < 0.6 ? -mostCoverageStep : 0.0;
        }
        next.coverage = Within(
            settings.coverage + std::clamp(wanted - settings.coverage, -mostCoverageStep * 5.0, mostCoverageStep * 5.0),
            allowed);
    }
    return next;
}

} // namespace qx5::acoustics
