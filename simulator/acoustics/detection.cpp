// Detection of the bottom by amplitude.
#include "detection.h"

#include "decibel.h"
#include "line_array.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qx5::acoustics {

namespace {

// Of noise alone, whose intensity is 1: mean and deviation of its amplitude (Rayleigh's).
constexpr double noiseMean = 0.886227;
constexpr double noiseDeviation = 0.463251;
/// Deviations of a mean of noise that a bottom must lie above it: once in some ten thousand beams noise does, too.
constexpr double certain = 6.2;
constexpr std::size_t mostHalfWindow = 256;
/// Half of the window of the centre of mass, in widths of the echo.
constexpr double reach = 1.4;
/// An echo whose middle or loudest part is nearer than that to an end of what is looked at, in its widths, lies beyond
/// that end.
constexpr double leastInside = 0.25;
constexpr std::size_t leans = 96;
/// Beams to each side that tell how levels change with the angle, within so many widths of a beam.
constexpr std::size_t mostNeighbours = 12;
constexpr double neighbourWidths = 2.0;

} // namespace

Interval Gate::RangesOf(double sineAcross, double sineAlong) const
{
    Interval allowed = range;
    double const down = std::sqrt(std::max(0.0, 1.0 - sineAcross * sineAcross - sineAlong * sineAlong));
    double const height = down - sineAcross * std::tan(Radians(tilt)); // for each m of range
    if (height > 1e-9) {
        allowed.least = std::max(allowed.least, depth.least / height);
        allowed.greatest = std::min(allowed.greatest, depth.greatest / height);
    } else if (depth.least > 0.0 || depth.greatest < 0.0) {
        return {1.0, 0.0};
    } else if (height < -1e-9) {
        allowed.greatest = std::min(allowed.greatest, depth.least / height);
    }
    return allowed;
}

Gate GateInForce(GateSettings const& settings, double bottom)
{
    Gate gate;
    if (settings.byRange) {
        gate.range = settings.range;
    }
    if (settings.byDepth) {
        gate.depth = settings.depth;
        gate.tilt = settings.tilt;
        if (settings.depthFollows && bottom > 0.0) {
            double const half = (settings.depth.greatest - settings.depth.least) / 2.0;
            gate.depth = {bottom - half, bottom + half};
        }
    }
    if (settings.adaptive) {
        Interval window{-Gate::Unlimited, Gate::Unlimited};
        if (settings.adaptiveFollows && bottom > 0.0) {
            double const half = bottom * settings.window / 200.0;
            window = {bottom - half, bottom + half};
        }
        if (settings.searchLimited) {
            window.least = std::max(window.least, settings.search.least);
            window.greatest = std::min(window.greatest, settings.search.greatest);
        }
        gate.depth.least = std::max(gate.depth.least, window.least);
        gate.depth.greatest = std::min(gate.depth.greatest, window.greatest);
    }
    return gate;
}

double DepthDeviation(double range, double angle, double beamWidth, double pulse, double sampleDistance)
{
    double const ofBeam = range * std::tan(Radians(std::abs(angle))) * Radians(beamWidth);
    double const width = std::hypot(ofBeam, pulse, sampleDistance);
    double const piece = std::max(pulse * 2.0 / 3.0, sampleDistance);
    return 0.15 * std::sqrt(width * piece) * std::cos(Radians(angle));
}

void Detector::Prepare(PingSettings const& settings, Sampling const& sampling, double pulse, std::size_t together,
                       double absorption, std::span<float const> noise)
{
    m_settings = settings;
    m_interval = sampling.interval;
    m_pulse = std::max(pulse, 1.0);
    std::size_t const samples = sampling.samples;
    m_perNoise.resize(samples);
    m_makeUp.resize(samples);
    m_amplitudes.resize(samples);
    m_sums.resize(samples + 1);
    m_raisedSums.assign(samples + 1, 0.0);
    double const step = sampling.interval * settings.soundSpeed / 2.0;
    for (std::size_t i = 0; i < samples; ++i) {
        m_perNoise[i] = 1.0F / noise[i];
        // Intensities fall by 50 log of the range (spreading twice, Lambert's law, the area as it grows) and by what
        // the water absorbs; amplitudes by half of that. No more than floats hold.
        double const range = (static_cast<double>(i) + 0.5) * step;
        double const level = 50.0 * std::log10(range) + 2.0 * absorption * range / 1000.0;
        m_makeUp[i] = static_cast<float>(std::pow(10.0, std::clamp(level, -200.0, 400.0) / 20.0));
    }
    m_thresholds.resize(mostHalfWindow + 1);
    m_forObjects.resize(mostHalfWindow + 1);
    double const alike = together > 1 ? static_cast<double>(together) * 2.0 / 3.0 : 1.0;
    double const careful = certain * (6 - std::clamp(settings.multiDetect.sensitivity, 1, 5));
    for (std::size_t half = 0; half <= mostHalfWindow; ++half) {
        double const apart = std::max(1.0, static_cast<double>(2 * half + 1) / alike);
        double const deviation = noiseDeviation / std::sqrt(apart);
        m_thresholds[half] = static_cast<float>(noiseMean + certain * deviation);
        m_forObjects[half] = static_cast<float>(noiseMean + careful * deviation);
    }

    if (m_leanWidth == settings.receiveWidth && !m_lean.empty()) {
        return;
    }
    m_leanWidth = settings.receiveWidth;
    m_lean.assign(leans, 0.0);
    m_variance.assign(leans, 0.0);
    m_leanOfPulse.assign(leans, 0.0);
    auto const receive = LineArray::OfWidth(settings.receiveWidth, Taper::Hann);
    if (!receive) {
        return;
    }
    double const sineWidth = 2.0 * std::sin(Radians(settings.receiveWidth / 2.0));
    for (std::size_t i = 0; i < leans; ++i) {
        // A beam on a flat bottom: its axis meets it at a range of 1, at the depth sqrt(1 - sine^2).
        double const sine = static_cast<double>(i) / leans;
        double const squaredDepth = 1.0 - sine * sine;
        double const half = reach * sineWidth * sine / squaredDepth;
        double centre = 1.0;
        for (int round = 0; round < 5 && half > 0.0; ++round) {
            constexpr int steps = 48;
            double mass = 0.0;
            double moment = 0.0;
            double square = 0.0;
            for (int j = 0; j < steps; ++j) {
                double const at = centre + half * (2.0 * (j + 0.5) / steps - 1.0);
                if (at * at <= squaredDepth) {
                    continue;
                }
                double const weight = std::abs(receive->Amplitude(std::sqrt(1.0 - squaredDepth / (at * at)) - sine));
                mass += weight;
                moment += weight * at;
                square += weight * at * at;
            }
            if (!(mass > 0.0)) {
                break;
            }
            centre = std::clamp(moment / mass, 0.5, 2.0);
            m_variance[i] = std::max(0.0, square / mass - centre * centre);
        }
        m_lean[i] = centre - 1.0;
        // Below the sonar, where one pulse covers all that the beam meets, its middle counts.
        constexpr int parts = 32;
        double mass = 0.0;
        double moment = 0.0;
        for (int j = 0; j < parts; ++j) {
            double const off = 2.0 * sineWidth * (2.0 * (j + 0.5) / parts - 1.0);
            double const at = std::min(std::abs(sine + off), 0.999);
            double const weight = std::pow(receive->Amplitude(off), 2.0);
            mass += weight;
            moment += weight * std::sqrt(squaredDepth / (1.0 - at * at));
        }
        m_leanOfPulse[i] = moment / mass - 1.0;
    }
}

std::size_t Detector::HalfWindow(std::size_t sample, float spread) const
{
    float const width = static_cast<float>(sample) * spread + static_cast<float>(m_pulse) - 1.0F;
    return static_cast<std::size_t>(std::min(0.5F * width, static_cast<float>(mostHalfWindow)));
}

bool Detector::FindPeak(std::size_t from, std::size_t to, float spread, std::span<float const> thresholds,
                        Peak& peak) const
{
    float best = 0.0F;
    std::size_t const least =
        m_settings.multiDetect.enabled
            ? static_cast<std::size_t>(std::clamp(m_settings.multiDetect.objectSize, 1, 100) - 1) / 2
            : 0;
    for (std::size_t i = from; i < to; ++i) {
        std::size_t const half = std::max(HalfWindow(i, spread), least);
        std::size_t const begin = i > from + half ? i - half : from;
        std::size_t const end = std::min(i + half + 1, to);
        auto const mean = static_cast<float>(m_sums[end] - m_sums[begin]) / static_cast<float>(end - begin);
        auto const raised =
            static_cast<float>(m_raisedSums[end] - m_raisedSums[begin]) / static_cast<float>(end - begin);
        float const threshold = thresholds[(end - begin - 1) / 2] * raised;
        float const score = (mean - threshold) * m_makeUp[i];
        if (score > best) {
            best = score;
            peak = {i, mean - threshold, threshold};
        }
    }
    return best > 0.0F;
}

Detector::Mass Detector::CentreOfMass(Peak const& peak, double spread, std::size_t from, std::size_t to) const
{
    double centre = static_cast<double>(peak.sample) + 0.5;
    double const first = static_cast<double>(from);
    double const last = static_cast<double>(to);
    double used = reach;
    for (int round = 0; round < 5; ++round) {
        double const width = std::hypot(centre * spread, m_pulse);
        // As far to one side as to the other, within reason: an echo that a gate or the end of listening cuts is drawn
        // inward otherwise.
        double const half =
            std::max({1.0, 0.5 * reach * width, std::min({reach * width, centre - first, last - centre})});
        used = std::min(half / width, reach);
        double const begin = std::max(first, centre - half);
        double const end = std::min(last, centre + half);
        auto const beginSample = static_cast<std::size_t>(begin);
        auto const endSample = std::min(to, static_cast<std::size_t>(std::ceil(end)));
        double mass = 0.0;
        double moment = 0.0;
        for (std::size_t i = beginSample; i < endSample; ++i) {
            // Samples at the ends count as far as they lie in the window.
            double const left = std::max(begin, static_cast<double>(i));
            double const right = std::min(end, static_cast<double>(i) + 1.0);
            // What an amplitude of that mean is without the noise, whose intensity adds up with its own.
            double const mean = static_cast<double>(m_amplitudes[i]) / noiseMean;
            double const above = std::sqrt(std::max(0.0, mean * mean - 1.0));
            double const weight = above * m_makeUp[i] * (right - left);
            mass += weight;
            moment += weight * (left + right) / 2.0;
        }
        if (!(mass > 0.0)) {
            break;
        }
        double const next = moment / mass;
        bool const stands = std::abs(next - centre) < 1e-3;
        centre = next;
        if (stands) {
            break;
        }
    }
    auto const loudest = static_cast<double>(peak.sample) + 0.5;
    double const inside = std::min({centre - first, last - centre, loudest - first, last - loudest}) /
                          std::hypot(centre * spread, m_pulse);
    return {centre, used, inside >= leastInside};
}

double Detector::BySine(std::span<double const> table, float angle)
{
    double const sine = std::abs(std::sin(Radians(static_cast<double>(angle))));
    double const place = std::min(sine * leans, static_cast<double>(leans - 1));
    auto const row = std::min(static_cast<std::size_t>(place), leans - 2);
    return std::lerp(table[row], table[row + 1], place - static_cast<double>(row));
}

bool Detector::Add(DetectedBeam const& beam, Peak const& peak, double spread, std::size_t from, std::size_t to,
                   std::span<float const> intensities, std::vector<Detection>& detections) const
{
    Mass const mass = CentreOfMass(peak, spread, from, to);
    if (!mass.isInside) {
        return false;
    }
    double const part = mass.reach / reach;
    double const ofBeam = std::pow(mass.centre * spread, 2.0);
    double const share = ofBeam / (ofBeam + m_pulse * m_pulse);
    double const lean = std::lerp(BySine(m_leanOfPulse, beam.angle), BySine(m_lean, beam.angle) * part * part, share);
    double const axis = std::clamp(mass.centre / (1.0 + lean), beam.samples.least, beam.samples.greatest);
    auto const sample = std::min(static_cast<std::size_t>(axis), intensities.size() - 1);
    double const mean = peak.excess + peak.threshold;
    double const quality = 1.0 - (peak.threshold - noiseMean) / std::max(mean - noiseMean, 1e-9);
    detections.push_back({.beam = beam.number,
                          .angle = beam.angle,
                          .travelTime = static_cast<float>(axis * m_interval),
                          .level = static_cast<float>(Decibels(intensities[sample])),
                          .quality = static_cast<float>(std::clamp(quality, 0.0, 1.0))});
    return true;
}

void Detector::Begin(std::span<float const> sideLobes)
{
    m_found.clear();
    m_found.reserve(GreatestBeams);
    double sum = 0.0;
    for (std::size_t i = 0; i < m_perNoise.size(); ++i) {
        sum += std::sqrt(1.0 + static_cast<double>(sideLobes[i] * m_perNoise[i]));
        m_raisedSums[i + 1] = sum;
    }
}

void Detector::Detect(DetectedBeam const& beam, std::span<float const> intensities, std::vector<Detection>& detections)
{
    std::size_t const samples = intensities.size();
    // Whole samples whose middles lie within the gates.
    double const least = std::max(std::ceil(beam.samples.least - 0.5), 0.0);
    double const greatest = std::min(std::floor(beam.samples.greatest - 0.5), static_cast<double>(samples) - 1.0);
    if (!(least <= greatest)) {
        return;
    }
    auto const from = static_cast<std::size_t>(least);
    auto const to = static_cast<std::size_t>(greatest) + 1;
    for (std::size_t i = from; i < to; ++i) {
        m_amplitudes[i] = std::sqrt(intensities[i] * m_perNoise[i]);
    }
    double sum = 0.0;
    m_sums[from] = 0.0;
    for (std::size_t i = from; i < to; ++i) {
        sum += static_cast<double>(m_amplitudes[i]);
        m_sums[i + 1] = sum;
    }
    double const spread =
        std::min(1.0, std::abs(std::tan(Radians(static_cast<double>(beam.angle)))) * Radians(beam.width));
    auto const narrow = static_cast<float>(spread);
    Peak peak{};
    if (!FindPeak(from, to, narrow, m_thresholds, peak)) {
        return;
    }
    std::size_t const first = detections.size();
    if (!Add(beam, peak, spread, from, to, intensities, detections)) {
        return;
    }
    m_found.push_back({static_cast<double>(beam.angle), beam.width, beam.samples, first,
                       static_cast<double>(std::log((peak.excess + peak.threshold) * m_makeUp[peak.sample]))});
    MultiDetectSettings const& objects = m_settings.multiDetect;
    if (!objects.enabled) {
        return;
    }
    float const bottom = detections.back().travelTime;
    // What is found is taken out, and the rest is looked at again.
    int const most = std::clamp(objects.greatest, 0, MultiDetectSettings::Most);
    for (int i = 0; i < most; ++i) {
        std::size_t const half = 2 * HalfWindow(peak.sample, narrow) + static_cast<std::size_t>(m_pulse) + 1 +
                                 static_cast<std::size_t>(std::clamp(objects.objectSize, 1, 100));
        std::size_t const begin = peak.sample > from + half ? peak.sample - half : from;
        std::size_t const end = std::min(to, peak.sample + half + 1);
        std::fill(m_amplitudes.begin() + static_cast<std::ptrdiff_t>(begin),
                  m_amplitudes.begin() + static_cast<std::ptrdiff_t>(end), 0.0F);
        for (std::size_t j = begin; j < to; ++j) {
            m_sums[j + 1] = m_sums[j] + static_cast<double>(m_amplitudes[j]);
        }
        if (!FindPeak(from, to, narrow, m_forObjects, peak)) {
            break;
        }
        Add(beam, peak, spread, from, to, intensities, detections);
    }
    auto const begin = detections.begin() + static_cast<std::ptrdiff_t>(first);
    std::sort(begin, detections.end(),
              [](Detection const& one, Detection const& other) { return one.travelTime < other.travelTime; });
    m_found.back().detection += static_cast<std::size_t>(
        std::find_if(begin, detections.end(), [&](Detection const& one) { return one.travelTime == bottom; }) - begin);
}

void Detector::Finish(std::vector<Detection>& detections) const
{
    for (std::size_t i = 0; i < m_found.size(); ++i) {
        Found const& found = m_found[i];
        // The slope of a straight line through the levels of this beam and of those beside it.
        double const near = neighbourWidths * found.width;
        double count = 0.0;
        double angles = 0.0;
        double levels = 0.0;
        double squares = 0.0;
        double products = 0.0;
        std::size_t const begin = i > mostNeighbours ? i - mostNeighbours : 0;
        std::size_t const end = std::min(m_found.size(), i + mostNeighbours + 1);
        for (std::size_t j = begin; j < end; ++j) {
            double const off = m_found[j].angle - found.angle;
            if (std::abs(off) <= near) {
                count += 1.0;
                angles += off;
                levels += m_found[j].logAmplitude;
                squares += off * off;
                products += off * m_found[j].logAmplitude;
            }
        }
        double const spread = squares - angles * angles / std::max(count, 1.0);
        double const tangent = std::tan(Radians(found.angle));
        if (count < 5.0 || !(spread > 0.0) || std::abs(tangent) < 1e-3) {
            continue;
        }
        double const slope = (products - angles * levels / count) / spread; // of the logarithm, for each degree
        double const pulled = slope * Degrees(1.0 / tangent) * BySine(m_variance, static_cast<float>(found.angle));
        double const most = 0.25 * Radians(found.width) * std::abs(tangent);
        Detection& detection = detections[found.detection];
        double const place =
            static_cast<double>(detection.travelTime) / m_interval / (1.0 + std::clamp(pulled, -most, most));
        detection.travelTime =
            static_cast<float>(std::clamp(place, found.samples.least, found.samples.greatest) * m_interval);
    }
}

} // namespace qx5::acoustics
