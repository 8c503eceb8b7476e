// Bounds of what a sonar is set to, and the directions of beams that follow from it.
#include "ping_settings.h"

#include "decibel.h"
#include "valid_range.h"

#include <algorithm>
#include <cmath>

namespace qx5::acoustics {

std::optional<Failure> WhatIsWrong(PingSettings const& settings)
{
    if (auto failure = FirstOutside({
            {"range", "m", settings.range, 0.1, 50000.0},
            {"sample rate", "Hz", settings.sampleRate, 1.0, 1e8},
            {"sound velocity", "m/s", settings.soundSpeed, 1300.0, 1700.0},
            {"depth", "m", settings.depth, 0.0, 12000.0},
            {"power", "dB", settings.power, 0.0, 300.0},
            {"frequency", "Hz", settings.frequency, 200.0, 1e6},
            {"pulse length", "s", settings.pulseLength, 1e-6, 10.0},
            {"sweep", "Hz", settings.sweep, 0.0, 1e6},
            {"coverage", "degrees", settings.coverage, 0.0, 360.0},
            {"steering of the sector", "degrees", settings.sectorSteering, -180.0, 180.0},
            {"coverage of the flex sector", "degrees", settings.flexCoverage, 0.0, 360.0},
            {"steering of the flex sector", "degrees", settings.flexSteering, -180.0, 180.0},
            {"spacing outside of the flex sector", "degrees", settings.outsideSpacing, 0.0, 360.0},
            {"constant spacing", "m", settings.constantSpacing, 0.0, 50000.0},
            {"beam width along track", "degrees", settings.widthAlong, 0.01, 60.0},
            {"beam width across track", "degrees", settings.receiveWidth, 0.01, 60.0},
            {"width of the fan", "degrees", settings.fanWidth, 1.0, 360.0},
            {"tilt of the fan", "degrees", settings.tilt, -60.0, 60.0},
            {"steering of the fan", "degrees", settings.fanSteering, -180.0, 180.0},
            {"tilt of the depth gate", "degrees", settings.gates.tilt, -80.0, 80.0},
            {"window of the adaptive gate", "per cent", settings.gates.window, 0.0, 100.0},
        })) {
        return failure;
    }
    constexpr double far = 1e6;
    if (auto failure = FirstOutside({
            {"range gate", "m", settings.gates.range.least, -far, far},
            {"range gate", "m", settings.gates.range.greatest, -far, far},
            {"depth gate", "m", settings.gates.depth.least, -far, far},
            {"depth gate", "m", settings.gates.depth.greatest, -far, far},
            {"search depth", "m", settings.gates.search.least, -far, far},
            {"search depth", "m", settings.gates.search.greatest, -far, far},
        })) {
        return failure;
    }
    return WhatIsWrong(settings.receiver);
}

Sampling SamplingOf(PingSettings const& settings)
{
    double const listens = 2.0 * settings.range / settings.soundSpeed;
    double const most = std::clamp(settings.samples, 1, GreatestSamples);
    double const samples = std::clamp(std::ceil(listens * settings.sampleRate), 1.0, most);
    return {static_cast<std::uint32_t>(samples), listens / samples};
}

double EchoLength(PingSettings const& settings)
{
    return settings.sweep > 0.0 ? std::min(settings.pulseLength, 1.0 / settings.sweep) : settings.pulseLength;
}

double GreatestPingRate(double range, double soundSpeed)
{
    return range > 0.0 && soundSpeed > 0.0 && std::isfinite(range) ? soundSpeed / (2.0 * range) : 0.0;
}

namespace {

/// The sector, within what can be formed. Its ends are never the same.
struct Sector
{
    double from;
    double to;
};

Sector SectorOf(double middle, double coverage)
{
    double const from = std::clamp(middle - coverage / 2.0, -GreatestAngle, GreatestAngle - 0.01);
    return {from, std::clamp(middle + coverage / 2.0, from + 0.01, GreatestAngle)};
}

double ByDistance(Sector const& sector, double part)
{
    double const from = std::tan(Radians(sector.from));
    return Degrees(std::atan(from + (std::tan(Radians(sector.to)) - from) * part));
}

/// Dense within the flex sector. Those outside take as many beams as they need, but no more than half of all.
void FillFlex(PingSettings const& settings, Sector const& sector, std::size_t beams, std::vector<float>& angles)
{
    Sector dense = SectorOf(settings.flexSteering, settings.flexCoverage);
    dense.from = std::clamp(dense.from, sector.from, sector.to - 0.01);
    dense.to = std::clamp(dense.to, dense.from + 0.01, sector.to);
    double const outside = (dense.from - sector.from) + (sector.to - dense.to);
    double const most = std::floor(static_cast<double>(beams) / 2.0);
    double const spacing = std::max(settings.outsideSpacing, most > 0.0 ? outside / most : outside + 1.0);
    auto const countOf = [&](double width) {
        return spacing > 0.0 ? static_cast<std::size_t>(width / spacing) : std::size_t{0};
    };
    std::size_t const port = countOf(dense.from - sector.from);
    std::size_t const starboard = countOf(sector.to - dense.to);
    std::size_t const inside = std::max<std::size_t>(beams - std::min(beams, port + starboard), 1);
    for (std::size_t i = port; i > 0; --i) {
        angles.push_back(static_cast<float>(dense.from - spacing * static_cast<double>(i)));
    }
    for (std::size_t i = 0; i < inside; ++i) {
        double const part = inside > 1 ? static_cast<double>(i) / static_cast<double>(inside - 1) : 0.5;
        angles.push_back(static_cast<float>(dense.from + (dense.to - dense.from) * part));
    }
    for (std::size_t i = 1; i <= starboard; ++i) {
        angles.push_back(static_cast<float>(dense.to + spacing * static_cast<double>(i)));
    }
}

void FillByConstantSpacing(PingSettings const& settings, Sector const& sector, double depth, std::size_t beams,
                           std::vector<float>& angles)
{
    double const below = std::max(depth, 0.1);
    double const from = below * std::tan(Radians(sector.from));
    double const width = below * std::tan(Radians(sector.to)) - from;
    double spacing = settings.constantSpacing > 0.0 ? settings.constantSpacing : settings.range * 0.01;
    double const intervals = static_cast<double>(beams - 1);
    if (!settings.reduceCoverage && spacing * intervals < width) {
        spacing = intervals > 0.0 ? width / intervals : width;
    }
    double const formed = 1.0 + std::floor(std::min(intervals, width / spacing + 1e-9));
    double const first = from + (width - spacing * (formed - 1.0)) / 2.0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(formed); ++i) {
        angles.push_back(static_cast<float>(Degrees(std::atan((first + spacing * static_cast<double>(i)) / below))));
    }
}

} // namespace

std::size_t MostBeams(PingSettings const& settings)
{
    int const most = std::clamp(settings.mostBeams, 1, GreatestBeams);
    int const least = std::clamp(settings.leastBeams, 1, most);
    return static_cast<std::size_t>(settings.beams > 0 ? std::clamp(settings.beams, least, most) : most);
}

void FillBeamAngles(PingSettings const& settings, double depth, std::vector<float>& angles)
{
    std::size_t const beams = MostBeams(settings);
    Sector const sector = SectorOf(settings.sectorSteering, settings.coverage);
    angles.clear();
    if (settings.mode == BeamMode::Flex) {
        FillFlex(settings, sector, beams, angles);
        return;
    }
    if (settings.mode == BeamMode::ConstantSpacing) {
        FillByConstantSpacing(settings, sector, depth, beams, angles);
        return;
    }
    for (std::size_t i = 0; i < beams; ++i) {
        double const part = beams > 1 ? static_cast<double>(i) / static_cast<double>(beams - 1) : 0.5;
        double const byAngle = sector.from + (sector.to - sector.from) * part;
        double angle = byAngle;
        if (settings.mode == BeamMode::EquiDistant) {
            angle = ByDistance(sector, part);
        } else if (settings.mode == BeamMode::Intermediate) {
            angle = (byAngle + ByDistance(sector, part)) / 2.0;
        }
        angles.push_back(static_cast<float>(angle));
    }
}

} // namespace qx5::acoustics
