// Ping after ping takes no memory: counted by standing in for operator new, and so in a program of its own.
#include <simulator/acoustics/sounder.h>
#include <simulator/acoustics/tracker.h>

#include <cstddef>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

namespace {
std::size_t allocations = 0;
}

void* operator new(std::size_t size)
{
    ++allocations;
    if (void* const memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace qx5::acoustics {
namespace {

TEST(SounderMemory, IsTakenByTheFirstPingAlone)
{
    for (SceneName const& name : SceneNames) {
        for (BeamMode const mode : {BeamMode::EquiAngle, BeamMode::ConstantSpacing}) {
            Sounder sounder(*Scene::OfName(name.name, 20.0, 1), Ship({}, 1), {}, 1);
            PingSettings settings;
            settings.mode = mode;
            settings.constantSpacing = 1.0;
            settings.beams = 100;
            settings.samples = 300;
            settings.power = 215.0;
            settings.multiDetect = {.enabled = true, .objectSize = 1, .sensitivity = 5, .greatest = 4};
            PingEchoes echoes;
            Tracker tracker;
            TrackerLimits const limits;
            TrackerSwitches const switches{.on = true, .range = true, .powerAndGain = true};
            ASSERT_FALSE(sounder.Hear(settings, 0.0, 1, echoes));
            ASSERT_FALSE(sounder.Hear(settings, 0.1, 2, echoes)); // constant spacing knows the depth from now on
            tracker.Next(echoes, settings, switches, limits);
            std::size_t const before = allocations;
            for (int ping = 3; ping < 60; ++ping) {
                sounder.Hear(settings, 0.3 * ping, ping, echoes);
                tracker.Next(echoes, settings, switches, limits);
            }
            EXPECT_EQ(allocations, before) << name.name;
            EXPECT_GT(before, 10U) << "it counts";
        }
    }
}

} // namespace
} // namespace qx5::acoustics
