// The seabeds and the ship above them: what lies where, and the same each time.
#include <simulator/acoustics/scene.h>
#include <simulator/acoustics/ship.h>

#include "refusal.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

Scene Named(std::string_view name, std::uint64_t seed = 1)
{
    auto const scene = Scene::OfName(name, 20.0, seed);
    EXPECT_TRUE(scene) << name;
    return *scene;
}

TEST(Scenes, AreKnownByName)
{
    for (char const* const name :
         {"flat", "slope", "sand-waves", "rock", "wreck", "pipeline", "harbour-wall", "fish", "gas-plume"}) {
        EXPECT_TRUE(Scene::OfName(name, 20.0, 1)) << name;
    }
    auto const unknown = Scene::OfName("moon", 20.0, 1);
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.WhyNot().line, "there is no scene 'moon'; take one of flat, slope, sand-waves, rock, wreck, "
                                     "pipeline, harbour-wall, fish, gas-plume");
    for (double const bad : test::NotFinite) {
        test::ExpectRefused(Scene::OfName("flat", bad, 1), "depth");
    }
    test::ExpectRefused(Scene::OfName("flat", 0.0, 1), "depth");
    test::ExpectRefused(Scene::OfName("flat", -5.0, 1), "depth");
}

TEST(Scenes, HaveTheShapesThatTheyAreNamedFor)
{
    EXPECT_EQ(Named("flat").Depth(12.0, -7.0), 20.0);
    // 10 degrees: 0.17633 m for each to the east.
    EXPECT_NEAR(Named("slope").Depth(30.0, 5.0), 20.0 + 30.0 * 0.17633, 1e-3);
    EXPECT_NEAR(Named("slope").Depth(-30.0, 5.0), 20.0 - 30.0 * 0.17633, 1e-3);
    EXPECT_NEAR(Named("harbour-wall").Depth(0.0, 0.0), 20.0, 1e-9);
    EXPECT_LT(Named("harbour-wall").Depth(19.0, 0.0), 3.0) << "the quay stands at 18 m";
    // Amidships, 4 m to the east: the house, 6 m and 40 per cent above the sand.
    EXPECT_NEAR(Named("wreck").Depth(4.0, 0.0), 20.0 - 6.0 * 1.4, 0.1);
    EXPECT_EQ(Named("wreck").At(4.0, 0.0).bottom, Bottom::Rock);
    EXPECT_EQ(Named("wreck").Depth(100.0, 100.0), 20.0);
    EXPECT_EQ(Named("wreck").At(100.0, 100.0).bottom, Bottom::Sand);
    // The pipe lies 3 m to the east of the origin and is 0.4 m in radius.
    EXPECT_LT(Named("pipeline").Depth(3.0, 0.0), 19.61);
    EXPECT_EQ(Named("pipeline").Depth(4.0, 0.0), 20.0);
    double least = 100.0;
    double most = 0.0;
    for (double north = -50.0; north < 50.0; north += 0.5) {
        least = std::min(least, Named("sand-waves").Depth(0.0, north));
        most = std::max(most, Named("sand-waves").Depth(0.0, north));
    }
    EXPECT_NEAR(least, 19.2, 0.15);
    EXPECT_NEAR(most, 20.8, 0.15);
}

TEST(Scenes, AreTheSameForTheSameSeedAndBoundedEverywhere)
{
    for (SceneName const& name : SceneNames) {
        Scene const one = Named(name.name);
        Scene const same = Named(name.name);
        bool differs = false;
        for (double east : {-1e9, -30.0, -0.3, 0.0, 4.0, 17.9, 1e9}) {
            for (double north : {-1e12, -20.0, 0.0, 3.7, 1e12}) {
                double const depth = one.Depth(east, north);
                EXPECT_EQ(depth, same.Depth(east, north));
                EXPECT_EQ(depth, one.At(east, north).depth);
                EXPECT_GE(depth, 0.2) << name.name;
                EXPECT_TRUE(std::isfinite(depth));
                differs = differs || depth != Named(name.name, 2).Depth(east, north);
            }
        }
        EXPECT_EQ(differs, name.kind == SceneKind::Rock || name.kind == SceneKind::SandWaves) << name.name;
    }
}

TEST(Scenes, FishAndBubblesFloatAboveTheBottom)
{
    for (char const* const name : {"fish", "gas-plume", "wreck"}) {
        std::vector<WaterTarget> targets;
        std::vector<WaterTarget> again;
        Named(name).AppendTargets(0.0, 0.0, 60.0, 10.0, targets);
        Named(name).AppendTargets(0.0, 0.0, 60.0, 10.0, again);
        EXPECT_GT(targets.size(), 5U) << name;
        EXPECT_LE(targets.size(), Scene::GreatestTargets);
        ASSERT_EQ(targets.size(), again.size());
        for (std::size_t i = 0; i < targets.size(); ++i) {
            EXPECT_EQ(targets[i].depth, again[i].depth);
            EXPECT_GT(targets[i].depth, 0.0) << name;
            EXPECT_LE(targets[i].depth, 20.6) << name;
            EXPECT_LE(std::abs(targets[i].east), 60.0);
        }
        again.clear();
        Named(name).AppendTargets(0.0, 0.0, 0.0, 10.0, again);
        EXPECT_TRUE(again.empty()) << "none within nothing";
    }
    std::vector<WaterTarget> before;
    std::vector<WaterTarget> after;
    Named("gas-plume").AppendTargets(0.0, 0.0, 60.0, 10.0, before);
    Named("gas-plume").AppendTargets(0.0, 0.0, 60.0, 11.0, after);
    EXPECT_NEAR(before.front().depth - after.front().depth, 0.25, 1e-9) << "bubbles rise by 0.25 m/s";
}

TEST(ShipTest, RunsLinesToTheNorthAndBackNextToThem)
{
    // 2 m/s, lines of 100 m 20 m apart: 50 s each, half circles of 31.416 m, 15.708 s.
    Ship const ship({.speed = 2.0, .lineLength = 100.0, .lineSpacing = 20.0, .lines = 3, .calm = true}, 1);
    Pose const start = ship.At(0.0);
    EXPECT_NEAR(start.north, -40.0, 1e-9);
    EXPECT_NEAR(start.east, 0.0, 1e-9);
    EXPECT_EQ(start.heading, 0.0);
    EXPECT_EQ(start.roll, 0.0);
    EXPECT_EQ(start.pitch, 0.0);
    EXPECT_EQ(start.heave, 0.0);
    EXPECT_NEAR(ship.At(20.0).north, 0.0, 1e-9);
    // The line ends after 45 s; half way round the turn it heads east, 10 m further north and east.
    Pose const turning = ship.At(45.0 + 15.708 / 2.0);
    EXPECT_NEAR(turning.north, 60.0, 1e-3);
    EXPECT_NEAR(turning.east, 10.0, 1e-3);
    EXPECT_NEAR(turning.heading, 90.0, 0.01);
    Pose const second = ship.At(45.0 + 15.708 + 25.0);
    EXPECT_NEAR(second.north, 0.0, 1e-3);
    EXPECT_NEAR(second.east, 20.0, 1e-9);
    EXPECT_EQ(second.heading, 180.0);
    Pose const third = ship.At(45.0 + 2 * 15.708 + 50.0 + 25.0);
    EXPECT_NEAR(third.east, 40.0, 1e-9);
    EXPECT_EQ(third.heading, 0.0);
    // And back to the second line, then the first.
    Pose const fourth = ship.At(45.0 + 3 * 15.708 + 2 * 50.0 + 25.0);
    EXPECT_NEAR(fourth.east, 20.0, 1e-9);
    EXPECT_EQ(fourth.heading, 180.0);
}

TEST(ShipTest, MovesSmoothlyAndOnlyWithTheSea)
{
    Ship const ship({}, 9);
    Ship const same({}, 9);
    double most = 0.0;
    for (double seconds = 0.0; seconds < 600.0; seconds += 0.05) {
        Pose const now = ship.At(seconds);
        Pose const next = ship.At(seconds + 0.05);
        EXPECT_EQ(now.roll, same.At(seconds).roll);
        EXPECT_LT(std::hypot(next.east - now.east, next.north - now.north), 2.5 * 0.05 * 1.01);
        EXPECT_LT(std::abs(next.roll - now.roll), 0.5);
        EXPECT_LT(std::abs(next.heave - now.heave), 0.1);
        EXPECT_GE(now.heading, 0.0);
        EXPECT_LT(now.heading, 360.0);
        EXPECT_EQ(now.depth, -now.heave);
        most = std::max(most, std::abs(now.roll));
    }
    EXPECT_GT(most, 2.0);
    EXPECT_LT(most, 5.0);
    for (double const bad : test::NotFinite) {
        EXPECT_EQ(ship.At(bad).north, ship.At(0.0).north);
    }
}

} // namespace
} // namespace qx5::acoustics
