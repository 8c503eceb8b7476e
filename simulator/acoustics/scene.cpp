// Heights of the scenes as sums of simple shapes, and what floats in them.
#include "scene.h"

#include "chance.h"
#include "decibel.h"
#include "valid_range.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace qx5::acoustics {

namespace {

constexpr double leastDepth = 0.2; // m: nothing reaches the sonar

/// 0 up to `from`, 1 from `to` on, smooth between.
double Step(double value, double from, double to)
{
    double const part = std::clamp((value - from) / (to - from), 0.0, 1.0);
    return part * part * (3.0 - 2.0 * part);
}

double Wave(double along, double length, double phase)
{
    return std::sin(2.0 * std::numbers::pi * (along / length + phase));
}

/// Between -1 and 1, smooth, by chance at every whole place.
double Noise(std::uint64_t seed, double x, double y)
{
    double const left = std::floor(x);
    double const below = std::floor(y);
    auto const corner = [&](int dx, int dy) {
        auto const i = static_cast<std::uint64_t>(static_cast<std::int64_t>(left) + dx);
        auto const j = static_cast<std::uint64_t>(static_cast<std::int64_t>(below) + dy);
        return 2.0 * Uniform(MixedOf(seed, i, j)) - 1.0;
    };
    double const u = Step(x - left, 0.0, 1.0);
    double const v = Step(y - below, 0.0, 1.0);
    return std::lerp(std::lerp(corner(0, 0), corner(1, 0), u), std::lerp(corner(0, 1), corner(1, 1), u), v);
}

constexpr double hullLength = 60.0;
constexpr double hullBreadth = 10.0;

/// Along and across a hull that lies a little athwart of the survey line.
struct InHull
{
    double along;
    double across;
};

InHull ToHull(double east, double north)
{
    double const heading = Radians(20.0);
    double const x = east - 4.0;
    return {x * std::sin(heading) + north * std::cos(heading), x * std::cos(heading) - north * std::sin(heading)};
}

} // namespace

Scene::Scene(SceneKind kind, double depth, std::uint64_t seed) : m_kind(kind), m_depth(depth), m_seed(seed) {}

Result<Scene> Scene::OfName(std::string_view name, double depth, std::uint64_t seed)
{
    auto const row =
        std::find_if(SceneNames.begin(), SceneNames.end(), [&](SceneName const& scene) { return scene.name == name; });
    if (row == SceneNames.end()) {
        std::string line = "there is no scene '" + std::string(name) + "'; take one of ";
        for (SceneName const& scene : SceneNames) {
            line += scene.kind == SceneKind::Flat ? "" : ", ";
            line += scene.name;
        }
        return Failure{std::move(line)};
    }
    if (auto failure = FirstOutside({{"depth", "m", depth, 0.5, 11000.0}})) {
        return *std::move(failure);
    }
    return Scene(row->kind, depth, seed);
}

double Scene::Hull(double east, double north) const
{
    auto const [along, across] = ToHull(east, north);
    double const part = std::abs(along) / (hullLength / 2.0);
    if (part >= 1.0) {
        return 0.0;
    }
    double const half = hullBreadth / 2.0 * std::sqrt(1.0 - part * part * part * part);
    if (std::abs(across) >= half) {
        return 0.0;
    }
    // A deck with a house amidships and two holds that are open.
    double height = std::min(6.0, m_depth * 0.4) * std::sqrt(1.0 - std::pow(across / half, 8.0));
    if (std::abs(along) < 6.0 && std::abs(across) < 3.0) {
        height *= 1.4;
    } else if (std::abs(std::abs(along) - 15.0) < 4.0 && std::abs(across) < 2.5) {
        height *= 0.6;
    }
    return height;
}

double Scene::Pipe(double east, double north) const
{
    constexpr double radius = 0.4;
    double const across = east - (3.0 + 2.0 * Wave(north, 150.0, 0.0));
    if (std::abs(across) >= radius) {
        return 0.0;
    }
    // Half buried, but for 20 m where the bottom is washed away below it.
    double const lift = Step(std::abs(north - 10.0), 14.0, 10.0);
    return std::sqrt(radius * radius - across * across) + lift * 0.3;
}

double Scene::Relief(double east, double north) const
{
    double height = 0.0;
    double size = 1.0;
    double length = std::max(6.0, m_depth * 0.8);
    for (std::uint64_t octave = 0; octave < 3; ++octave) {
        height += size * Noise(m_seed + octave, east / length, north / length);
        size *= 0.45;
        length *= 0.4;
    }
    return height;
}

Result<Scene> Scene::OfShapes(SceneShapes shapes)
{
    constexpr double far = 1e6;
    if (auto failure = FirstOutside({{"depth", "m", shapes.depth, 0.5, 11000.0},
                                     {"slope to the east", "degrees", shapes.slopeEast, -60.0, 60.0},
                                     {"slope to the north", "degrees", shapes.slopeNorth, -60.0, 60.0},
                                     {"number of waves", "", static_cast<double>(shapes.waves.size()), 0.0,
                                      static_cast<double>(SceneShapes::MostWaves)},
                                     {"number of mounds", "", static_cast<double>(shapes.mounds.size()), 0.0,
                                      static_cast<double>(SceneShapes::MostMounds)},
                                     {"number of targets", "", static_cast<double>(shapes.targets.size()), 0.0,
                                      static_cast<double>(GreatestTargets)}})) {
        return *std::move(failure);
    }
    for (SceneShapes::Wave const& wave : shapes.waves) {
        if (auto failure = FirstOutside({{"height of a wave", "m", wave.height, 0.0, 1000.0},
                                         {"length of a wave", "m", wave.length, 0.1, far},
                                         {"heading of a wave", "degrees", wave.heading, -360.0, 360.0}})) {
            return *std::move(failure);
        }
    }
    for (SceneShapes::Mound const& mound : shapes.mounds) {
        if (auto failure = FirstOutside({{"east of a mound", "m", mound.east, -far, far},
                                         {"north of a mound", "m", mound.north, -far, far},
                                         {"radius of a mound", "m", mound.radius, 0.01, far},
                                         {"height of a mound", "m", mound.height, -11000.0, 11000.0}})) {
            return *std::move(failure);
        }
    }
    for (WaterTarget const& target : shapes.targets) {
        if (auto failure = FirstOutside({{"east of a target", "m", target.east, -far, far},
                                         {"north of a target", "m", target.north, -far, far},
                                         {"depth of a target", "m", target.depth, 0.0, 11000.0},
                                         {"strength of a target", "dB", target.strength, -150.0, 50.0}})) {
            return *std::move(failure);
        }
    }
    Scene scene(SceneKind::Described, shapes.depth, 0);
    scene.m_shapes = std::move(shapes);
    return scene;
}

double Scene::Shaped(double east, double north) const
{
    double depth =
        m_depth + east * std::tan(Radians(m_shapes.slopeEast)) + north * std::tan(Radians(m_shapes.slopeNorth));
    for (SceneShapes::Wave const& wave : m_shapes.waves) {
        double const crossing = north * std::cos(Radians(wave.heading)) + east * std::sin(Radians(wave.heading));
        depth -= wave.height * Wave(crossing, wave.length, 0.0);
    }
    for (SceneShapes::Mound const& mound : m_shapes.mounds) {
        depth -= mound.height * (1.0 - Step(std::hypot(east - mound.east, north - mound.north), 0.0, mound.radius));
    }
    return depth;
}

double Scene::Depth(double east, double north) const
{
    double depth = m_depth;
    switch (m_kind) {
    case SceneKind::Flat:
    case SceneKind::Fish:
    case SceneKind::GasPlume:
        break;
    case SceneKind::Slope:
        depth += east * std::tan(Radians(10.0));
        break;
    case SceneKind::SandWaves: {
        double const phase = Uniform(Mixed(m_seed));
        double const crossing = north * std::cos(Radians(30.0)) + east * std::sin(Radians(30.0));
        depth -= std::min(0.8, m_depth * 0.1) * Wave(crossing, 14.0, phase) +
                 std::min(0.06, m_depth * 0.01) * Wave(crossing * 0.9 + east * 0.3, 2.5, phase);
        break;
    }
    case SceneKind::Rock:
        depth -= m_depth * 0.15 * Relief(east, north);
        break;
    case SceneKind::Wreck: {
        auto const [along, across] = ToHull(east, north);
        double const distance = std::hypot(along / (hullLength * 0.62), across / (hullBreadth * 0.95));
        depth += 0.6 * (1.0 - Step(std::abs(distance - 0.8), 0.0, 0.3)); // what the current has washed out around it
        depth -= Hull(east, north);
        break;
    }
    case SceneKind::Pipeline:
        depth -= Pipe(east, north);
        break;
    case SceneKind::HarbourWall: {
        double const wall = m_depth * 0.9;
        depth -= m_depth * 0.15 * Step(east, wall * 0.7, wall); // stones
        depth -= m_depth * 0.75 * Step(east, wall, wall + 0.3);
        break;
    }
    case SceneKind::Described:
        depth = Shaped(east, north);
        break;
    }
    return std::max(depth, leastDepth);
}

BottomPlace Scene::At(double east, double north) const
{
    BottomPlace place{Depth(east, north), Bottom::Sand};
    switch (m_kind) {
    case SceneKind::Flat:
    case SceneKind::Slope:
    case SceneKind::Fish:
        break;
    case SceneKind::SandWaves:
        place.bottom = place.depth > m_depth + 0.5 * std::min(0.8, m_depth * 0.1) ? Bottom::Mud : Bottom::Sand;
        break;
    case SceneKind::Rock:
        place.bottom = place.depth < m_depth ? Bottom::Rock : Bottom::Gravel;
        break;
    case SceneKind::Wreck:
        place.bottom = Hull(east, north) > 0.0 ? Bottom::Rock : Bottom::Sand;
        break;
    case SceneKind::Pipeline:
        place.bottom = Pipe(east, north) > 0.0 ? Bottom::Rock : Bottom::Sand;
        break;
    case SceneKind::HarbourWall:
        place.bottom = east > m_depth * 0.9 * 0.7 ? Bottom::Rock : Bottom::Mud;
        break;
    case SceneKind::GasPlume:
        place.bottom = Bottom::Mud;
        break;
    case SceneKind::Described:
        place.bottom = m_shapes.bottom;
        for (SceneShapes::Mound const& mound : m_shapes.mounds) {
            if (mound.bottom && std::hypot(east - mound.east, north - mound.north) < mound.radius) {
                place.bottom = *mound.bottom;
            }
        }
        break;
    }
    return place;
}

void Scene::AppendTargets(double east, double north, double reach, double seconds,
                          std::vector<WaterTarget>& targets) const
{
    std::size_t const most = targets.size() + GreatestTargets;
    auto const add = [&](WaterTarget const& target) {
        if (targets.size() < most && std::abs(target.north - north) < reach && std::abs(target.east - east) < reach) {
            targets.push_back(target);
        }
    };
    // The n-th number by chance of something that is counted.
    auto const chance = [&](std::uint64_t what, std::uint64_t n) { return Uniform(MixedOf(m_seed, what, n)); };
    for (WaterTarget const& target : m_shapes.targets) {
        add(target);
    }
    if (m_kind == SceneKind::Wreck) {
        // A mast of iron, 8 m above the house.
        double const house = Depth(4.0, 0.0);
        for (int part = 1; part <= 16; ++part) {
            double const depth = house - 0.5 * part;
            if (depth > leastDepth) {
                add({4.0, 0.0, depth, -28.0});
            }
        }
    } else if (m_kind == SceneKind::Fish) {
        // Schools along the line, one every 25 m; each fish within an ellipsoid of its own.
        auto const nearest = static_cast<std::int64_t>(std::floor(north / 25.0));
        for (std::int64_t school = nearest - 1; school <= nearest + 2; ++school) {
            auto const number = static_cast<std::uint64_t>(school);
            double const middleEast = (chance(number, 0) - 0.5) * m_depth * 1.2;
            double const middleNorth = 25.0 * static_cast<double>(school) + 10.0 * chance(number, 1);
            double const middleDepth = m_depth * (0.35 + 0.35 * chance(number, 2));
            for (std::uint64_t fish = 0; fish < 100; ++fish) {
                auto const within = [&](std::uint64_t n) {
                    return chance(number, 3 + fish * 6 + n) + chance(number, 4 + fish * 6 + n) - 1.0;
                };
                add({middleEast + within(0) * m_depth * 0.2, middleNorth + within(2) * 6.0,
                     middleDepth + within(4) * m_depth * 0.08, -36.0 - 8.0 * chance(number, 7 + fish * 6)});
            }
        }
    } else if (m_kind == SceneKind::GasPlume) {
        // Two vents; bubbles rise by 0.25 m/s, spread, and are taken aside by the current.
        for (std::uint64_t vent = 0; vent < 2; ++vent) {
            double const ventEast = vent == 0 ? m_depth * 0.25 : -m_depth * 0.5;
            double const ventNorth = vent == 0 ? -20.0 : 15.0;
            for (std::uint64_t bubble = 0; bubble < 300; ++bubble) {
                double const height = std::fmod(m_depth * chance(vent, bubble * 4) + 0.25 * seconds, m_depth * 0.9);
                double const spread = 0.2 + 0.06 * height;
                double const aside = 0.15 * height;
                add({ventEast + aside + spread * (chance(vent, bubble * 4 + 1) - 0.5) * 2.0,
                     ventNorth + spread * (chance(vent, bubble * 4 + 2) - 0.5) * 2.0, m_depth - height,
                     -42.0 - 8.0 * chance(vent, bubble * 4 + 3)});
            }
        }
    }
}

} // namespace qx5::acoustics
