// Handles of a fan: places, hits, drags.
#include "fan_handles.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace picture {

namespace {

constexpr double greatestGateTilt = 30.0; // degrees to either side, as the page's slider
constexpr double leastCoverage = 1.0;     // degrees
constexpr double tiltStep = 0.25;         // degrees, as the page's slider

/// Where the handle of a gate's limit lies on its line: beside the middle, so that none covers another.
constexpr double depthHandleAt = 0.08;  // of the range, to starboard
constexpr double searchHandleAt = -0.1; // to port
constexpr double tiltHandleAt = 0.3;

double Rounded(double value, double step)
{
    return std::round(value / step) * step;
}

double DepthLine(FanSettings const& settings, double depth, double x)
{
    return depth + x * std::tan(settings.depthGateTilt * radiansOf);
}

/// The gate with that limit at `value`: it holds, and the other one gives way.
Gate WithLimit(Gate gate, GateLimits const& limits, double greatest, bool isLeast, double value)
{
    if (greatest <= 0.0) {
        greatest = std::numeric_limits<double>::max();
    }
    if (isLeast) {
        gate.least = std::min(std::max(value, limits.leastValue), greatest - limits.leastWindow);
        gate.greatest = std::max(gate.greatest, gate.least + limits.leastWindow);
    } else {
        gate.greatest = std::max(std::min(value, greatest), limits.leastValue + limits.leastWindow);
        gate.least = std::min(gate.least, gate.greatest - limits.leastWindow);
    }
    return gate;
}

double NearestOf(std::vector<double> const& offered, double value)
{
    return *std::min_element(offered.begin(), offered.end(),
                             [value](double a, double b) { return std::abs(a - value) < std::abs(b - value); });
}

bool Acts(std::optional<Gate> const& gate)
{
    return gate && gate->acts;
}

void SetSector(FanSettings& settings, double port, double starboard)
{
    settings.coverage = starboard - port;
    settings.steering = (port + starboard) / 2.0;
}

} // namespace

std::string_view TextOf(Handle handle)
{
    switch (handle) {
    case Handle::Range:
        return "Range";
    case Handle::SectorPort:
        return "Sector, port end";
    case Handle::SectorMiddle:
        return "Sector steering";
    case Handle::SectorStarboard:
        return "Sector, starboard end";
    case Handle::MinRangeGate:
        return "Range gate, minimum";
    case Handle::MaxRangeGate:
        return "Range gate, maximum";
    case Handle::MinDepthGate:
        return "Depth gate, minimum";
    case Handle::MaxDepthGate:
        return "Depth gate, maximum";
    case Handle::DepthGateTilt:
        return "Depth gate tilt";
    case Handle::MinSearch:
        return "Adaptive gate, minimum search depth";
    case Handle::MaxSearch:
        return "Adaptive gate, maximum search depth";
    case Handle::FanTilt:
        break;
    }
    return "Vertical steering";
}

std::string_view UnitOf(Handle handle)
{
    switch (handle) {
    case Handle::SectorPort:
    case Handle::SectorMiddle:
    case Handle::SectorStarboard:
    case Handle::DepthGateTilt:
    case Handle::FanTilt:
        return "\xB0";
    default:
        return " m";
    }
}

Sector SectorOf(FanSettings const& settings, BeamFan const& beams)
{
    if (settings.coverage) {
        double const middle = settings.steering.value_or(0.0);
        return {middle - *settings.coverage / 2.0, middle + *settings.coverage / 2.0};
    }
    auto const limits = beams.Limits();
    return limits.empty() ? Sector{} : Sector{limits.front(), limits.back()};
}

std::optional<double> ValueOf(FanSettings const& settings, Handle handle)
{
    auto const limitOf = [](std::optional<Gate> const& gate, double Gate::*limit) {
        return Acts(gate) ? std::optional((*gate).*limit) : std::nullopt;
    };
    bool const hasSector = settings.coverage && settings.steering;
    switch (handle) {
    case Handle::Range:
        return settings.range;
    case Handle::SectorPort:
        return hasSector ? std::optional(*settings.steering - *settings.coverage / 2.0) : std::nullopt;
    case Handle::SectorMiddle:
        return hasSector ? settings.steering : std::nullopt;
    case Handle::SectorStarboard:
        return hasSector ? std::optional(*settings.steering + *settings.coverage / 2.0) : std::nullopt;
    case Handle::MinRangeGate:
        return limitOf(settings.rangeGate, &Gate::least);
    case Handle::MaxRangeGate:
        return limitOf(settings.rangeGate, &Gate::greatest);
    case Handle::MinDepthGate:
        return limitOf(settings.depthGate, &Gate::least);
    case Handle::MaxDepthGate:
        return limitOf(settings.depthGate, &Gate::greatest);
    case Handle::DepthGateTilt:
        return Acts(settings.depthGate) ? std::optional(settings.depthGateTilt) : std::nullopt;
    case Handle::MinSearch:
        return limitOf(settings.search, &Gate::least);
    case Handle::MaxSearch:
        return limitOf(settings.search, &Gate::greatest);
    case Handle::FanTilt:
        break;
    }
    return settings.fanTilt;
}

std::optional<Place> PlaceOfHandle(FanSettings const& settings, Sector const& sector, double range, Handle handle)
{
    auto const value = ValueOf(settings, handle);
    if (!value) {
        return std::nullopt;
    }
    double const middle = (sector.port + sector.starboard) / 2.0;
    double const quarter = (sector.starboard - sector.port) / 4.0;
    switch (handle) {
    case Handle::Range:
        return PlaceAt(middle, *value);
    case Handle::SectorPort:
    case Handle::SectorStarboard:
        return PlaceAt(*value, 0.8 * range);
    case Handle::SectorMiddle:
        return PlaceAt(*value, 0.9 * range);
    case Handle::MinRangeGate:
    case Handle::MaxRangeGate:
        return PlaceAt(middle - quarter, *value);
    case Handle::MinDepthGate:
    case Handle::MaxDepthGate:
        return Place{depthHandleAt * range, DepthLine(settings, *value, depthHandleAt * range)};
    case Handle::DepthGateTilt:
        return Place{tiltHandleAt * range, DepthLine(settings, settings.depthGate->greatest, tiltHandleAt * range)};
    case Handle::MinSearch:
    case Handle::MaxSearch:
        return Place{searchHandleAt * range, *value};
    case Handle::FanTilt:
        break;
    }
    return std::nullopt;
}

std::optional<Handle> HandleAt(FanSettings const& settings, Sector const& sector, double range, Place place,
                               double reach)
{
    auto const nearest = [&](auto distanceOf) {
        std::optional<Handle> found;
        double least = reach;
        for (Handle const handle : allHandles) {
            if (auto const distance = distanceOf(handle); distance && *distance < least) {
                least = *distance;
                found = handle;
            }
        }
        return found;
    };
    auto const toHandle = [&](Handle handle) -> std::optional<double> {
        auto const at = PlaceOfHandle(settings, sector, range, handle);
        return at ? std::optional(std::hypot(at->x - place.x, at->z - place.z)) : std::nullopt;
    };
    if (auto const found = nearest(toHandle)) {
        return found;
    }
    double const distance = RangeOf(place);
    double const angle = AngleOf(place);
    bool const isInside = angle >= sector.port && angle <= sector.starboard && distance <= range + reach;
    auto const toLine = [&](Handle handle) -> std::optional<double> {
        auto const value = ValueOf(settings, handle);
        if (!value || handle == Handle::FanTilt || handle == Handle::DepthGateTilt || handle == Handle::SectorMiddle) {
            return std::nullopt;
        }
        if (handle == Handle::SectorPort || handle == Handle::SectorStarboard) {
            double const off = (angle - *value) * radiansOf;
            return std::abs(off) < 0.5 && distance <= range ? std::optional(std::abs(distance * std::sin(off)))
                                                            : std::nullopt;
        }
        if (!isInside) {
            return std::nullopt;
        }
        switch (handle) {
        case Handle::MinDepthGate:
        case Handle::MaxDepthGate:
            return std::abs(place.z - DepthLine(settings, *value, place.x)) *
                   std::cos(settings.depthGateTilt * radiansOf);
        case Handle::MinSearch:
        case Handle::MaxSearch:
            return std::abs(place.z - *value);
        default:
            return std::abs(distance - *value);
        }
    };
    return nearest(toLine);
}

double ValueAt(FanSettings const& settings, Handle handle, Place place)
{
    switch (handle) {
    case Handle::Range:
    case Handle::MinRangeGate:
    case Handle::MaxRangeGate:
        return RangeOf(place);
    case Handle::SectorPort:
    case Handle::SectorMiddle:
    case Handle::SectorStarboard:
        return AngleOf(place);
    case Handle::MinDepthGate:
    case Handle::MaxDepthGate:
        return place.z - place.x * std::tan(settings.depthGateTilt * radiansOf);
    case Handle::DepthGateTilt: {
        // About the middle of the line; at the middle itself it would be no angle.
        double const depth = settings.depthGate ? settings.depthGate->greatest : 0.0;
        return place.x == 0.0 ? settings.depthGateTilt : std::atan((place.z - depth) / place.x) / radiansOf;
    }
    case Handle::MinSearch:
    case Handle::MaxSearch:
        return place.z;
    case Handle::FanTilt:
        break;
    }
    return AngleOf(place); // in a side view: forward and down
}

FanSettings WithValue(FanSettings settings, FanLimits const& limits, Handle handle, double value)
{
    auto const current = ValueOf(settings, handle);
    if (!current || !std::isfinite(value)) {
        return settings;
    }
    double const port = settings.steering.value_or(0.0) - settings.coverage.value_or(0.0) / 2.0;
    double const starboard = settings.steering.value_or(0.0) + settings.coverage.value_or(0.0) / 2.0;
    switch (handle) {
    case Handle::Range:
        if (!limits.ranges.empty()) {
            settings.range = NearestOf(limits.ranges, value);
        } else {
            double const most = limits.greatestRange > 0.0 ? limits.greatestRange : value;
            settings.range = std::clamp(Rounded(value, 0.1), 0.1, std::max(most, 0.1));
        }
        break;
    case Handle::SectorPort:
        SetSector(settings, std::min(std::max(Rounded(value, 0.1), limits.leastAngle), starboard - leastCoverage),
                  starboard);
        break;
    case Handle::SectorStarboard:
        SetSector(settings, port, std::max(std::min(Rounded(value, 0.1), limits.greatestAngle), port + leastCoverage));
        break;
    case Handle::SectorMiddle: {
        double const half = *settings.coverage / 2.0;
        double const most = std::max(limits.greatestAngle - half, limits.leastAngle + half);
        settings.steering = std::min(std::max(Rounded(value, 0.1), limits.leastAngle + half), most);
        break;
    }
    case Handle::MinRangeGate:
    case Handle::MaxRangeGate:
        settings.rangeGate = WithLimit(*settings.rangeGate, limits.rangeGate, limits.greatestRange,
                                       handle == Handle::MinRangeGate, Rounded(value, 0.1));
        break;
    case Handle::MinDepthGate:
    case Handle::MaxDepthGate:
        settings.depthGate = WithLimit(*settings.depthGate, limits.depthGate, limits.greatestRange,
                                       handle == Handle::MinDepthGate, Rounded(value, 0.1));
        break;
    case Handle::DepthGateTilt:
        settings.depthGateTilt = std::clamp(std::round(value), -greatestGateTilt, greatestGateTilt);
        break;
    case Handle::MinSearch:
    case Handle::MaxSearch:
        settings.search = WithLimit(*settings.search, limits.search, limits.greatestRange, handle == Handle::MinSearch,
                                    Rounded(value, 0.1));
        break;
    case Handle::FanTilt:
        settings.fanTilt = std::min(std::max(Rounded(value, tiltStep), limits.leastTilt),
                                    std::max(limits.leastTilt, limits.greatestTilt));
        break;
    }
    return settings;
}

FanSettings WithStep(FanSettings const& settings, FanLimits const& limits, Handle handle, int steps, bool isLarge)
{
    auto const value = ValueOf(settings, handle);
    if (!value) {
        return settings;
    }
    if (handle == Handle::Range && !limits.ranges.empty()) {
        auto const& offered = limits.ranges;
        auto const now = std::lower_bound(offered.begin(), offered.end(), NearestOf(offered, *value)) - offered.begin();
        auto const last = static_cast<std::ptrdiff_t>(offered.size()) - 1;
        auto const next = std::clamp<std::ptrdiff_t>(now + steps * (isLarge ? 5 : 1), 0, last);
        return WithValue(settings, limits, handle, offered[static_cast<std::size_t>(next)]);
    }
    double step = 0.1;
    switch (handle) {
    case Handle::Range:
    case Handle::DepthGateTilt:
        step = 1.0;
        break;
    case Handle::SectorPort:
    case Handle::SectorMiddle:
    case Handle::SectorStarboard:
        step = 0.5;
        break;
    case Handle::FanTilt:
        step = tiltStep;
        break;
    default:
        break;
    }
    return WithValue(settings, limits, handle, *value + steps * step * (isLarge ? 10.0 : 1.0));
}

std::vector<Wish> WishesOf(FanSettings const& settings, Handle handle)
{
    auto const gate = [](std::optional<Gate> const& of, Setting least, Setting greatest) {
        return of ? std::vector<Wish>{{least, of->least}, {greatest, of->greatest}} : std::vector<Wish>{};
    };
    switch (handle) {
    case Handle::Range:
        return settings.range ? std::vector<Wish>{{Setting::Range, *settings.range}} : std::vector<Wish>{};
    case Handle::SectorPort:
    case Handle::SectorMiddle:
    case Handle::SectorStarboard:
        if (settings.coverage && settings.steering) {
            return {{Setting::Coverage, *settings.coverage}, {Setting::Steering, *settings.steering}};
        }
        return {};
    case Handle::MinRangeGate:
    case Handle::MaxRangeGate:
        return gate(settings.rangeGate, Setting::MinRangeGate, Setting::MaxRangeGate);
    case Handle::MinDepthGate:
    case Handle::MaxDepthGate:
        return gate(settings.depthGate, Setting::MinDepthGate, Setting::MaxDepthGate);
    case Handle::DepthGateTilt:
        return {{Setting::DepthGateTilt, settings.depthGateTilt}};
    case Handle::MinSearch:
    case Handle::MaxSearch:
        return gate(settings.search, Setting::MinSearch, Setting::MaxSearch);
    case Handle::FanTilt:
        break;
    }
    return settings.fanTilt ? std::vector<Wish>{{Setting::FanTilt, *settings.fanTilt, settings.fanTurn}}
                            : std::vector<Wish>{};
}

} // namespace picture
