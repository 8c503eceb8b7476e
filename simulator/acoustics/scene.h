// The seabed that the simulated sonar surveys, and what floats above it.
#pragma once

#include "bottom.h"
#include "result.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::acoustics {

enum class SceneKind
{
    Flat,
    Slope,
    SandWaves,
    Rock,
    Wreck,
    Pipeline,
    HarbourWall,
    Fish,
    GasPlume,
    Described, ///< by SceneShapes; not among the names
};

struct SceneName
{
    SceneKind kind;
    std::string_view name;
    std::string_view text; ///< for people
};

inline constexpr std::array<SceneName, 9> SceneNames{{
    {SceneKind::Flat, "flat", "level sand"},
    {SceneKind::Slope, "slope", "sand that falls by 10 degrees to the east"},
    {SceneKind::SandWaves, "sand-waves", "waves of sand with ripples, mud in their troughs"},
    {SceneKind::Rock, "rock", "boulders and ridges, gravel between them"},
    {SceneKind::Wreck, "wreck", "a hull of 60 m with its mast on level sand"},
    {SceneKind::Pipeline, "pipeline", "a pipe, half buried, with a free span"},
    {SceneKind::HarbourWall, "harbour-wall", "a quay to starboard with stones at its foot"},
    {SceneKind::Fish, "fish", "schools of fish above level sand"},
    {SceneKind::GasPlume, "gas-plume", "bubbles that rise from level mud"},
}};

/// The bottom at one place.
struct BottomPlace
{
    double depth = 0.0; ///< m
    Bottom bottom = Bottom::Sand;
};

/// Something small in the water.
struct WaterTarget
{
    double east = 0.0;     ///< m
    double north = 0.0;    ///< m
    double depth = 0.0;    ///< m
    double strength = 0.0; ///< dB of a sphere of 2 m radius that scatters all
};

/// A seabed of one's own: a plane, and what is laid upon it.
struct SceneShapes
{
    /// A wave of the bottom.
    struct Wave
    {
        double height = 0.0;  ///< m above and below
        double length = 10.0; ///< m from crest to crest
        double heading = 0.0; ///< degrees, across the crests
    };
    /// A hill, or with a height below 0 a pit.
    struct Mound
    {
        double east = 0.0;            ///< m
        double north = 0.0;           ///< m
        double radius = 1.0;          ///< m
        double height = 0.0;          ///< m
        std::optional<Bottom> bottom; ///< within the radius; none: as around it
    };
    static constexpr std::size_t MostWaves = 16;
    static constexpr std::size_t MostMounds = 64;

    double depth = 30.0;     ///< m at the origin, 0.5 to 11,000
    double slopeEast = 0.0;  ///< degrees by which it falls to the east, -60 to 60
    double slopeNorth = 0.0; ///< likewise
    Bottom bottom = Bottom::Sand;
    std::vector<Wave> waves;
    std::vector<Mound> mounds;
    std::vector<WaterTarget> targets; ///< at most Scene::GreatestTargets
};

/// One of the scenes. Places are m east and north of its origin; depths are m below where the sonar lies in calm water.
/// The same for the same name, depth and seed, on every platform. A value type; all of it may be called on any thread.
class Scene
{
public:
    /// By its name in SceneNames; `depth` is the mean one, 0.5 to 11,000 m.
    static Result<Scene> OfName(std::string_view name, double depth, std::uint64_t seed);

    /// Refused where a number is none, or there are too many of something.
    static Result<Scene> OfShapes(SceneShapes shapes);

    BottomPlace At(double east, double north) const;
    double Depth(double east, double north) const;
    /// Appends what floats within `reach` m of a place, at most GreatestTargets; bubbles move with time.
    void AppendTargets(double east, double north, double reach, double seconds,
                       std::vector<WaterTarget>& targets) const;
    static constexpr std::size_t GreatestTargets = 1024;
    double MeanDepth() const { return m_depth; }

private:
    Scene(SceneKind kind, double depth, std::uint64_t seed);
    double Hull(double east, double north) const;
    double Pipe(double east, double north) const;
    double Relief(double east, double north) const;
    double Shaped(double east, double north) const;

    SceneKind m_kind;
    double m_depth;
    std::uint64_t m_seed;
    SceneShapes m_shapes; // empty unless it is described by them
};

} // namespace qx5::acoustics
