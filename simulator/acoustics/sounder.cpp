// From the seabed's pieces to levels over time: gathered once a ping, heard by each beam.
#include "sounder.h"

#include "decibel.h"
#include "speckle.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace qx5::acoustics {

namespace {

constexpr double levelStep = 0.4; // dB from one byte to the next
constexpr double levelSpan = 255.0 * levelStep;
/// What errors of its elements leave of an array's side lobes: no pattern is lower.
constexpr double sideLobeFloor = 1e-5;
constexpr double patternPerWidth = 96.0;
constexpr double patternWidths = 24.0;
constexpr std::size_t anglesOfStrength = 901;
constexpr std::size_t mostPieces = 8192; // to one side
constexpr std::size_t patchesBySample = 8;
constexpr int mostParts = 64;

/// 10 log10, within 0.001 dB. For normal numbers above 0.
inline float DecibelsOf(float ratio)
{
    auto const bits = std::bit_cast<std::uint32_t>(ratio);
    // The mantissa, brought to between the roots of a half and of 2.
    std::uint32_t const shifted = bits - 0x3F3504F3U;
    auto const exponent = static_cast<float>(static_cast<std::int32_t>(shifted) >> 23);
    auto const mantissa = std::bit_cast<float>((shifted & 0x007FFFFFU) + 0x3F3504F3U);
    float const t = (mantissa - 1.0F) / (mantissa + 1.0F);
    float const squared = t * t;
    float const series = t * (1.0F + squared * (1.0F / 3.0F + squared * (1.0F / 5.0F + squared * (1.0F / 7.0F))));
    return 3.01029996F * exponent + 8.68588964F * series;
}

double Sine(double degrees)
{
    return std::sin(Radians(degrees));
}

double Cosine(double degrees)
{
    return std::cos(Radians(degrees));
}

/// A direction that the sonar means, as it is in water of another sound speed: its array sees wavelengths.
double Bent(double sine, double ratio)
{
    return std::clamp(sine * ratio, -0.9999, 0.9999);
}

} // namespace

void Sounder::Patches::Resize(std::size_t size)
{
    sample.resize(size);
    sine.resize(size);
    energy.resize(size);
    start.resize(size);
    place.resize(size);
    count = 0;
}

Sounder::Sounder(Scene const& scene, Ship const& ship, Sea const& sea, std::uint64_t seed)
    : m_scene(scene), m_ship(ship), m_sea(sea), m_seed(seed)
{
    m_strengths.resize(Bottoms.size() * anglesOfStrength);
    for (std::size_t kind = 0; kind < Bottoms.size(); ++kind) {
        for (std::size_t tenth = 0; tenth < anglesOfStrength; ++tenth) {
            double const grazing = std::max(0.05, static_cast<double>(tenth) / 10.0);
            m_strengths[kind * anglesOfStrength + tenth] =
                static_cast<float>(FromDecibels(BottomStrength(Bottoms[kind].bottom, grazing)));
        }
    }
}

std::optional<Failure> Sounder::Prepare(PingSettings const& settings)
{
    m_isPrepared = false;
    if (auto failure = WhatIsWrong(settings)) {
        return failure;
    }
    if (auto failure = FirstOutside({{"sound velocity of the water", "m/s", m_sea.soundSpeed, 1300.0, 1700.0}})) {
        return failure;
    }
    auto const medium = MediumOf(settings.frequency, m_sea.water, AbsorptionModel::FrancoisGarrison, m_sea.noise);
    if (!medium) {
        return medium.WhyNot();
    }
    auto const receive = LineArray::OfWidth(settings.receiveWidth, Taper::Hann);
    if (!receive) {
        return receive.WhyNot();
    }
    m_settings = settings;
    m_medium = *medium;
    m_medium.soundSpeed = m_sea.soundSpeed;
    m_sampling = SamplingOf(settings);
    std::size_t const samples = m_sampling.samples;
    m_sampleDistance = m_sampling.interval * m_sea.soundSpeed / 2.0;
    m_pulse = EchoLength(settings) * m_sea.soundSpeed / 2.0;
    m_together =
        static_cast<std::size_t>(std::clamp(std::round(m_pulse / m_sampleDistance), 1.0, static_cast<double>(samples)));

    m_sineWidth = 2.0 * Sine(settings.receiveWidth / 2.0);
    m_patternScale = patternPerWidth / m_sineWidth;
    m_pattern.resize(static_cast<std::size_t>(patternPerWidth * patternWidths) + 1);
    for (std::size_t i = 0; i < m_pattern.size(); ++i) {
        double const amplitude = receive->Amplitude(static_cast<double>(i) / m_patternScale);
        m_pattern[i] = static_cast<float>(std::max(amplitude * amplitude, sideLobeFloor));
    }
    m_pattern.back() = static_cast<float>(sideLobeFloor);

    Converter const converter;
    m_fullScale = static_cast<float>(FromDecibels(converter.fullScale));
    m_least = static_cast<float>(FromDecibels(converter.Step()));
    // The filter that fits the pulse takes a band of 1 / its length, whether it sweeps or not.
    double const noiseLevel = m_medium.noise + Decibels(1.0 / settings.pulseLength) - receive->DirectivityIndex();
    m_lost.resize(samples);
    m_noise.resize(samples);
    for (std::size_t i = 0; i < samples; ++i) {
        double const time = (static_cast<double>(i) + 0.5) * m_sampling.interval;
        double const range = time * m_sea.soundSpeed / 2.0;
        double const gain = ReceiverGain(settings.receiver, time * settings.soundSpeed / 2.0);
        double const echo =
            settings.power - SpreadingLoss(std::max(range, 0.1)) - AbsorptionLoss(range, m_medium.absorption) + gain;
        // Bounded so that neither they nor their squares leave what floats hold; nobody can tell such levels apart.
        m_lost[i] = static_cast<float>(FromDecibels(std::clamp(echo, -300.0, 300.0)));
        m_noise[i] = static_cast<float>(FromDecibels(std::clamp(noiseLevel + gain, -300.0, 300.0)));
    }
    m_gathered.Resize(patchesBySample * samples + 4096);
    m_patches.Resize(m_gathered.sample.size());
    m_weights.resize(m_gathered.sample.size());
    m_open.resize(samples);
    m_firstPatch.resize(samples + 1);
    m_row.resize(samples);
    m_speckle.assign(samples, 1.0F);
    for (std::vector<Piece>& pieces : m_pieces) {
        pieces.reserve(2 * mostPieces);
    }
    m_targets.reserve(Scene::GreatestTargets);
    // What the converter leaves is all that detection can tell noise from.
    std::vector<float> floor(m_noise);
    for (float& noise : floor) {
        noise = std::clamp(noise, m_least, m_fullScale);
    }
    m_detector.Prepare(settings, m_sampling, m_pulse / m_sampleDistance, m_together, m_medium.absorption, floor);
    m_isPrepared = true;
    return std::nullopt;
}

double Sounder::BodySine(double earthSine) const
{
    double const roll = Radians(m_pose.roll);
    return earthSine * std::cos(roll) + std::sqrt(std::max(0.0, 1.0 - earthSine * earthSine)) * std::sin(roll);
}

double Sounder::FanIntensity(double bodySine) const
{
    // A projector that is curved so that its fan is even: half the power at the ends of its width, and soon less
    // beyond.
    double const off = Degrees(std::asin(std::clamp(bodySine, -1.0, 1.0))) - m_settings.fanSteering;
    double const ends = off / (m_settings.fanWidth / 2.0);
    double const squared = ends * ends;
    double const fourth = squared * squared;
    return FromDecibels(-std::min(3.0103 * fourth * fourth, 60.0));
}

/// Directions: those that are told, and those that they are.
void Sounder::Point(PingEchoes& out)
{
    double const ratio = m_sea.soundSpeed / m_settings.soundSpeed;
    double const pitch = m_pose.pitch;
    double const arrayTilt = m_settings.tilt - (m_settings.compensatePitch ? pitch : 0.0);
    m_arrayTilt = Degrees(std::asin(Bent(Sine(arrayTilt), ratio)));
    m_tilt = m_arrayTilt + pitch;
    out.steering = arrayTilt + pitch;
    m_transmit.reset();
    if (auto const transmit = LineArray::OfWidth(m_settings.widthAlong, Taper::Hann, m_arrayTilt)) {
        m_transmit = *transmit;
    }

    double const reckoned = m_settings.depthIsFixed || m_bottom <= 0.0 ? m_settings.depth : m_bottom;
    out.water.angles.reserve(GreatestBeams);
    FillBeamAngles(m_settings, reckoned, out.water.angles);
    m_beams.reserve(GreatestBeams);
    m_beams.resize(out.water.angles.size());
    for (std::size_t i = 0; i < m_beams.size(); ++i) {
        double const wanted = static_cast<double>(out.water.angles[i]);
        double const ofArray = std::clamp(wanted + (m_settings.compensateRoll ? m_pose.roll : 0.0), -89.0, 89.0);
        out.water.angles[i] = static_cast<float>(ofArray - m_pose.roll);
        TrueBeam& beam = m_beams[i];
        beam.sine = Bent(Sine(ofArray), ratio);
        double const angle = Degrees(std::asin(beam.sine));
        beam.earthSine = Sine(angle - m_pose.roll);
        auto const receive = LineArray::OfWidth(m_settings.receiveWidth, Taper::Hann, angle);
        beam.width = receive ? receive->Width() : m_settings.receiveWidth;
        beam.correction = 1.0F;
    }
}

BottomPlace Sounder::BottomAt(double along, double across, double& slopeAlong) const
{
    double const sine = Sine(m_pose.heading);
    double const cosine = Cosine(m_pose.heading);
    double const east = m_pose.east + along * sine + across * cosine;
    double const north = m_pose.north + along * cosine - across * sine;
    BottomPlace place = m_scene.At(east, north);
    constexpr double ahead = 0.1;
    slopeAlong = (m_scene.Depth(east + ahead * sine, north + ahead * cosine) - place.depth) / ahead;
    place.depth -= m_pose.depth;
    return place;
}

/// An echo from one range: the pulse spreads it over samples. `place` counts along the bottom: what is next to one
/// another there becomes one patch of a sample as long as a beam cannot tell it apart.
void Sounder::AddEcho(double range, double intensity, double sine, std::uint32_t place)
{
    double const pulse = m_pulse / m_sampleDistance;
    double const middle = range / m_sampleDistance;
    double const begin = std::max(0.0, middle - pulse / 2.0);
    double const end = std::min(static_cast<double>(m_sampling.samples), middle + pulse / 2.0);
    if (!(begin < end)) {
        return;
    }
    auto const first = static_cast<std::size_t>(begin);
    auto const last = std::min(static_cast<std::size_t>(std::ceil(end)), m_open.size());
    auto const apart = static_cast<float>(m_sineWidth / 4.0);
    for (std::size_t i = first; i < last; ++i) {
        double const share = std::min(end, static_cast<double>(i) + 1.0) - std::max(begin, static_cast<double>(i));
        auto const energy = static_cast<float>(intensity * share);
        std::int32_t patch = m_open[i];
        bool const isFull = m_gathered.count == m_gathered.sample.size();
        if (patch >= 0) {
            auto const at = static_cast<std::size_t>(patch);
            bool const isNext = place - m_gathered.place[at] <= 1;
            bool const isNear = std::abs(static_cast<float>(sine) - m_gathered.start[at]) < apart;
            if (!(isNext && isNear) && !isFull) {
                patch = -1;
            }
        }
        if (patch < 0) {
            if (isFull) {
                continue;
            }
            patch = static_cast<std::int32_t>(m_gathered.count++);
            auto const at = static_cast<std::size_t>(patch);
            m_gathered.sample[at] = static_cast<std::uint32_t>(i);
            m_gathered.start[at] = static_cast<float>(sine);
            m_gathered.sine[at] = 0.0F;
            m_gathered.energy[at] = 0.0F;
            m_open[i] = patch;
        }
        auto const at = static_cast<std::size_t>(patch);
        m_gathered.place[at] = place;
        m_gathered.energy[at] += energy;
        m_gathered.sine[at] += energy * static_cast<float>(sine);
    }
}

/// Along the bottom as the fan meets it, from below the sonar outward to one side (-1: port).
void Sounder::GatherBottom(int side)
{
    std::vector<Piece>& pieces = m_pieces[side < 0 ? 0 : 1];
    pieces.clear();
    std::fill(m_open.begin(), m_open.end(), -1);
    double const reach = m_sampleDistance * static_cast<double>(m_sampling.samples) + m_pulse;
    double const tangent = std::tan(Radians(m_tilt));
    double const fineness = m_sineWidth / 3.0;
    double const leastStep = reach / static_cast<double>(mostPieces - 8);
    double const widthAlong = m_transmit ? Radians(m_transmit->Width()) : Radians(m_settings.widthAlong);

    double slopeAlong = 0.0;
    double across = 0.0;
    double down = BottomAt(0.0, 0.0, slopeAlong).depth;
    if (tangent != 0.0) {
        for (int round = 0; round < 3; ++round) {
            down = BottomAt(tangent * down, 0.0, slopeAlong).depth;
        }
    }
    double along = tangent * down;
    double furthest = -1.0; // sine of what has been met: what lies below that is in its shadow
    std::uint32_t place = 0;
    for (std::size_t step = 0; step < mostPieces && across < reach; ++step) {
        double const below = std::max(down, 0.1);
        double const byAngle = (below * below + across * across) / below * fineness;
        double const nextAcross = across + std::max(leastStep, std::min(0.8 * m_sampleDistance, byAngle));
        double nextAlong = tangent * std::hypot(nextAcross, down);
        BottomPlace next = BottomAt(nextAlong, side * nextAcross, slopeAlong);
        if (tangent != 0.0) {
            nextAlong = tangent * std::hypot(nextAcross, next.depth);
            next = BottomAt(nextAlong, side * nextAcross, slopeAlong);
        }
        double const stepAcross = nextAcross - across;
        double const stepDown = next.depth - down;
        double const slopeAcross = stepDown / stepAcross;
        double const normal = std::sqrt(1.0 + slopeAlong * slopeAlong + slopeAcross * slopeAcross);
        double const rangeHere = std::hypot(along, across, down);
        double const rangeNext = std::hypot(nextAlong, nextAcross, next.depth);
        double const sineHere = across / std::max(rangeHere, 1e-6);
        double const sineNext = nextAcross / std::max(rangeNext, 1e-6);
        // A wall is met by more than one sample and more than one beam.
        double const wanted = std::ceil(std::max(std::abs(rangeNext - rangeHere) / (0.9 * m_sampleDistance),
                                                 std::abs(sineNext - sineHere) / fineness));
        int const parts = static_cast<int>(std::clamp(wanted, 1.0, static_cast<double>(mostParts)));
        double const length = std::hypot(stepAcross, stepDown) / parts;
        for (int part = 0; part < parts; ++part) {
            ++place;
            double const share = (part + 0.5) / parts;
            double const x = along + (nextAlong - along) * share;
            double const y = across + stepAcross * share;
            double const z = down + stepDown * share;
            double const range = std::hypot(x, y, z);
            if (range < 0.05 || z <= 0.0) {
                continue;
            }
            double const sine = y / range;
            double const facing = (z - x * slopeAlong - y * slopeAcross) / (range * normal);
            if (sine <= furthest || facing <= 0.0) {
                continue;
            }
            furthest = sine;
            double const grazing = Degrees(std::asin(std::min(facing, 1.0)));
            double const tenth = std::clamp(grazing * 10.0, 0.0, static_cast<double>(anglesOfStrength - 1));
            std::size_t const row = static_cast<std::size_t>(next.bottom) * anglesOfStrength;
            double const bodySine = BodySine(side * sine);
            double const strength =
                static_cast<double>(m_strengths[row + static_cast<std::size_t>(std::lround(tenth))]) *
                FanIntensity(bodySine);
            pieces.push_back({sine, range, strength, facing});
            AddEcho(range, strength * widthAlong * range * length, bodySine, place);
        }
        across = nextAcross;
        along = nextAlong;
        down = next.depth;
    }
}

void Sounder::GatherTargets(double seconds)
{
    m_targets.clear();
    double const reach = m_sampleDistance * static_cast<double>(m_sampling.samples);
    m_scene.AppendTargets(m_pose.east, m_pose.north, reach, seconds, m_targets);
    if (!m_transmit) {
        return;
    }
    double const sine = Sine(m_pose.heading);
    double const cosine = Cosine(m_pose.heading);
    std::uint32_t place = 0;
    for (WaterTarget const& target : m_targets) {
        std::fill(m_open.begin(), m_open.end(), -1);
        double const east = target.east - m_pose.east;
        double const north = target.north - m_pose.north;
        double const along = east * sine + north * cosine;
        double const across = east * cosine - north * sine;
        double const down = target.depth - m_pose.depth;
        double const range = std::hypot(along, across, down);
        if (range < 0.1 || range > reach) {
            continue;
        }
        double const off = Degrees(std::asin(std::clamp(along / range, -1.0, 1.0))) - m_pose.pitch;
        double const amplitude = m_transmit->Amplitude(Sine(off));
        double const bodySine = BodySine(across / range);
        double const intensity =
            FromDecibels(target.strength) * FanIntensity(bodySine) * std::max(amplitude * amplitude, sideLobeFloor);
        AddEcho(range, intensity, bodySine, place += 2);
    }
}

void Sounder::SortPatches()
{
    std::fill(m_firstPatch.begin(), m_firstPatch.end(), 0U);
    for (std::size_t i = 0; i < m_gathered.count; ++i) {
        ++m_firstPatch[m_gathered.sample[i] + 1];
    }
    for (std::size_t i = 1; i < m_firstPatch.size(); ++i) {
        m_firstPatch[i] += m_firstPatch[i - 1];
    }
    std::copy(m_firstPatch.begin(), m_firstPatch.end() - 1, m_open.begin());
    m_patches.count = m_gathered.count;
    for (std::size_t i = 0; i < m_gathered.count; ++i) {
        std::uint32_t const sample = m_gathered.sample[i];
        auto const at = static_cast<std::size_t>(m_open[sample]++);
        float const energy = m_gathered.energy[i];
        m_patches.sample[at] = sample;
        m_patches.energy[at] = energy * m_lost[sample];
        m_patches.sine[at] = energy > 0.0F ? m_gathered.sine[i] / energy : 0.0F;
    }
}

/// The equation's area is the smaller of two; what the patches add up to passes from one to the other little by little.
/// This takes a beam as a whole to the equation on its axis; it is little, and bounded.
void Sounder::CorrectBeam(TrueBeam& beam) const
{
    std::vector<Piece> const& pieces = m_pieces[beam.earthSine < 0.0 ? 0 : 1];
    double const sine = std::abs(beam.earthSine);
    auto const beyond = std::lower_bound(pieces.begin(), pieces.end(), sine,
                                         [](Piece const& piece, double value) { return piece.earthSine < value; });
    if (beyond == pieces.end()) {
        return;
    }
    Piece met = *beyond;
    if (beyond != pieces.begin()) {
        Piece const& before = *(beyond - 1);
        double const gap = met.earthSine - before.earthSine;
        if (gap < m_sineWidth && std::abs(met.range - before.range) < 2.0 * m_sampleDistance) {
            double const share = (sine - before.earthSine) / std::max(gap, 1e-12);
            met.range = std::lerp(before.range, met.range, share);
            met.strength = std::lerp(before.strength, met.strength, share);
            met.sineOfGrazing = std::lerp(before.sineOfGrazing, met.sineOfGrazing, share);
        }
    }
    auto const sample = static_cast<std::size_t>(met.range / m_sampleDistance);
    if (sample >= m_sampling.samples) {
        return;
    }
    double const facing = std::min(met.sineOfGrazing, 1.0);
    double const ofBeam = Radians(beam.width) * met.range / facing;
    double const cosine = std::sqrt(1.0 - facing * facing);
    double const ofPulse = cosine > 1e-9 ? m_pulse / cosine : ofBeam;
    double const widthAlong = m_transmit ? Radians(m_transmit->Width()) : Radians(m_settings.widthAlong);
    double const wanted = met.strength * widthAlong * met.range * std::min(ofBeam, ofPulse);
    double heard = 0.0;
    double const near = 2.0 * m_sineWidth;
    for (std::size_t i = m_firstPatch[sample]; i < m_firstPatch[sample + 1]; ++i) {
        double const off = std::abs(static_cast<double>(m_patches.sine[i]) - beam.sine);
        if (off < near) {
            heard += static_cast<double>(m_patches.energy[i]) *
                     static_cast<double>(m_pattern[static_cast<std::size_t>(off * m_patternScale)]);
        }
    }
    heard /= static_cast<double>(m_lost[sample]);
    if (heard > 0.0) {
        beam.correction = static_cast<float>(std::clamp(wanted / heard, 0.5, 2.0));
    }
}

void Sounder::HearBeam(std::size_t number, PingEchoes& out)
{
    TrueBeam const& beam = m_beams[number];
    std::size_t const samples = m_sampling.samples;
    std::copy(m_noise.begin(), m_noise.end(), m_row.begin());

    auto const sine = static_cast<float>(beam.sine);
    auto const scale = static_cast<float>(m_patternScale);
    auto const last = static_cast<float>(m_pattern.size() - 1);
    std::size_t const count = m_patches.count;
    float const* const sines = m_patches.sine.data();
    float const* const energies = m_patches.energy.data();
    float* const weights = m_weights.data();
    float const* const pattern = m_pattern.data();
    for (std::size_t i = 0; i < count; ++i) {
        weights[i] = std::min(std::abs(sines[i] - sine) * scale, last);
    }
    for (std::size_t i = 0; i < count; ++i) {
        weights[i] = energies[i] * pattern[static_cast<std::int32_t>(weights[i])];
    }
    for (std::size_t i = 0; i < samples; ++i) {
        float sum = 0.0F;
        for (std::uint32_t j = m_firstPatch[i]; j < m_firstPatch[i + 1]; ++j) {
            sum += weights[j];
        }
        m_row[i] += sum * beam.correction;
    }

    if (m_hasSpeckle) {
        Speckle(m_seed, static_cast<std::uint64_t>(out.number), number).Fill(m_speckle, m_together, m_scratch);
        for (std::size_t i = 0; i < samples; ++i) {
            m_row[i] *= m_speckle[i];
        }
    }
    float* const row = m_row.data();
    std::uint8_t* const levels = out.water.levels.data() + number * samples;
    auto const floor = static_cast<float>(out.water.floor);
    auto const perStep = static_cast<float>(1.0 / levelStep);
    float const least = m_least;
    float const most = m_fullScale;
    for (std::size_t i = 0; i < samples; ++i) {
        row[i] = std::min(std::max(row[i], least), most);
        float const steps = (DecibelsOf(row[i]) - floor) * perStep + 0.5F;
        levels[i] = static_cast<std::uint8_t>(std::min(std::max(steps, 0.0F), 255.0F));
    }

    double const told = Sine(static_cast<double>(out.water.angles[number]));
    Interval const ranges = m_gate.RangesOf(told, Sine(out.steering));
    double const toldDistance = m_sampling.interval * m_settings.soundSpeed / 2.0;
    // A little less, for what is told as floats.
    m_detector.Detect(
        {.number = static_cast<std::uint16_t>(number),
         .angle = out.water.angles[number],
         .width = beam.width,
         .samples = {ranges.least * (1.0 + 1e-6) / toldDistance, ranges.greatest * (1.0 - 1e-6) / toldDistance}},
        m_row, out.detections);
}

std::optional<Failure> Sounder::Hear(PingSettings const& settings, double seconds, std::int32_t number, PingEchoes& out)
{
    out.number = number;
    out.utcSeconds = seconds;
    out.detections.clear();
    out.beams = 0;
    if (!m_isPrepared || !(settings == m_settings)) {
        if (auto failure = Prepare(settings)) {
            out.soundSpeed = 0.0;
            out.water.angles.clear();
            out.water.levels.clear();
            out.water.gain.clear();
            out.water.noise.clear();
            out.water.samples = 0;
            return failure;
        }
    }
    m_pose = m_ship.At(seconds);
    out.pose = m_pose;
    out.soundSpeed = settings.soundSpeed;
    Point(out);
    out.beams = static_cast<std::uint16_t>(m_beams.size());
    std::size_t const mostOfBeam = m_settings.multiDetect.enabled ? 1 + MultiDetectSettings::Most : 1;
    out.detections.reserve(MostBeams(m_settings) * mostOfBeam);
    std::size_t const samples = m_sampling.samples;
    out.water.samples = m_sampling.samples;
    out.water.interval = m_sampling.interval;
    out.water.step = levelStep;
    out.water.floor = Converter{}.fullScale - levelSpan;
    out.water.levels.reserve(MostBeams(m_settings) * samples);
    out.water.levels.resize(m_beams.size() * samples);
    out.water.gain.resize(samples);
    out.water.noise.resize(samples);
    for (std::size_t i = 0; i < samples; ++i) {
        double const range = (static_cast<double>(i) + 0.5) * m_sampling.interval * settings.soundSpeed / 2.0;
        out.water.gain[i] = static_cast<float>(ReceiverGain(settings.receiver, range));
        out.water.noise[i] = DecibelsOf(std::clamp(m_noise[i], m_least, m_fullScale));
    }

    m_gathered.count = 0;
    m_pieces[0].clear();
    m_pieces[1].clear();
    bool const transmits = settings.power > 0.0;
    if (transmits) {
        GatherBottom(-1);
        GatherBottom(1);
        GatherTargets(std::isfinite(seconds) ? seconds : 0.0);
    }
    SortPatches();
    m_gate = GateInForce(settings.gates, m_bottom);
    // Some dB above what the lowest side lobes let in, as speckle goes up and down.
    constexpr auto letIn = static_cast<float>(4.0 * sideLobeFloor);
    std::fill(m_row.begin(), m_row.end(), 0.0F);
    for (std::size_t i = 0; i < m_patches.count; ++i) {
        m_row[m_patches.sample[i]] += m_patches.energy[i] * letIn;
    }
    m_detector.Begin(m_row);
    for (std::size_t beam = 0; beam < m_beams.size(); ++beam) {
        CorrectBeam(m_beams[beam]);
        HearBeam(beam, out);
    }
    m_detector.Finish(out.detections);

    m_depths.clear();
    m_depths.reserve(out.detections.capacity());
    double const alongSine = Sine(out.steering);
    for (Detection const& detection : out.detections) {
        double const sine = Sine(static_cast<double>(detection.angle));
        double const range = static_cast<double>(detection.travelTime) * settings.soundSpeed / 2.0;
        m_depths.push_back(
            static_cast<float>(range * std::sqrt(std::max(0.0, 1.0 - sine * sine - alongSine * alongSine))));
    }
    m_bottom = 0.0;
    if (!m_depths.empty()) {
        auto const middle = m_depths.begin() + static_cast<std::ptrdiff_t>(m_depths.size() / 2);
        std::nth_element(m_depths.begin(), middle, m_depths.end());
        m_bottom = static_cast<double>(*middle);
    }
    return std::nullopt;
}

std::optional<BeamAxis> Sounder::AxisOf(std::size_t beam) const
{
    if (beam >= m_beams.size() || !m_isPrepared) {
        return std::nullopt;
    }
    double const across = m_beams[beam].earthSine;
    double const along = Sine(m_tilt);
    double const down = std::sqrt(std::max(0.0, 1.0 - across * across - along * along));
    double const sine = Sine(m_pose.heading);
    double const cosine = Cosine(m_pose.heading);
    auto const placeAt = [&](double range) {
        double const x = range * along;
        double const y = range * across;
        return BeamAxis{range, range * down + m_pose.depth, m_pose.east + x * sine + y * cosine,
                        m_pose.north + x * cosine - y * sine};
    };
    // The first place where the axis is below the bottom, and then halves of the step that led there.
    double const reach = 2.0 * m_settings.range;
    double const step = std::min(0.25, reach / 400.0);
    auto const isBelow = [&](double range) {
        BeamAxis const place = placeAt(range);
        return place.depth >= m_scene.Depth(place.east, place.north);
    };
    double from = 0.0;
    double to = step;
    while (!isBelow(to)) {
        from = to;
        to += step;
        if (from > reach) {
            return std::nullopt;
        }
    }
    for (int half = 0; half < 40; ++half) {
        double const middle = (from + to) / 2.0;
        (isBelow(middle) ? to : from) = middle;
    }
    return placeAt(to);
}

} // namespace qx5::acoustics
