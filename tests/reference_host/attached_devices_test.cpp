// Tests of the devices on a port: their order against a plain model, and what a walk sees while others come and go.
#include <VordalDataBlocksR/BaseDevice.h>
#include <reference_host/core/port.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

using vordal::PlainPort;

std::vector<BaseDevice*> Walk(BaseIOHandler const& port)
{
    std::vector<BaseDevice*> devices;
    for (int i = 0; i < port.GetDeviceCount(); ++i) {
        devices.push_back(port.GetDevice(i));
    }
    return devices;
}

TEST(AttachedDevices, AreThoseOfAPlainListAfterEveryChange)
{
    std::array<BaseDevice, 40> devices;
    std::mt19937 random(20250317);
    for (int round = 0; round < 50; ++round) {
        PlainPort port;
        std::vector<BaseDevice*> model;
        for (int change = 0; change < 200; ++change) {
            auto* const device = &devices[random() % devices.size()];
            auto const found = std::find(model.begin(), model.end(), device);
            ASSERT_EQ(port.IsAttached(device), found != model.end());
            // More come than go in the first half, so that it becomes full and empty again.
            if (random() % 4 < (change < 100 ? 3U : 1U)) {
                port.Attach(device);
                if (found == model.end()) {
                    model.push_back(device);
                }
            } else {
                port.Detach(device);
                if (found != model.end()) {
                    model.erase(found);
                }
            }
            ASSERT_EQ(Walk(port), model);
            ASSERT_EQ(port.GetDevice(-1), nullptr);
            ASSERT_EQ(port.GetDevice(static_cast<int>(model.size())), nullptr);
        }
    }
}

TEST(AttachedDevices, ThatStayAreFoundInOrderWhileOthersComeAndGo)
{
    std::array<BaseDevice, 3> staying;
    std::array<BaseDevice, 37> passing;
    PlainPort port;
    for (auto& device : staying) {
        port.Attach(&device);
    }
    std::set<BaseDevice*> known;
    for (auto& device : staying) {
        known.insert(&device);
    }
    for (auto& device : passing) {
        known.insert(&device);
    }
    std::atomic<bool> isOver{false};
    std::vector<std::thread> walkers;
    std::array<std::atomic<int>, 2> walks{};
    for (auto& count : walks) {
        walkers.emplace_back([&] {
            while (!isOver.load()) {
                // Those in front of all that pass keep their places, and no place shows what never was there.
                for (int i = 0; i < 3; ++i) {
                    EXPECT_EQ(port.GetDevice(i), &staying[static_cast<std::size_t>(i)]);
                }
                for (int i = 3, end = port.GetDeviceCount(); i < end; ++i) {
                    auto* const device = port.GetDevice(i);
                    EXPECT_TRUE(device == nullptr || known.count(device) != 0);
                }
                ++count;
            }
        });
    }
    std::mt19937 random(7);
    while (walks[0].load() < 2000 || walks[1].load() < 2000) {
        auto& device = passing[random() % passing.size()];
        if (random() % 2 == 0) {
            port.Attach(&device);
        } else {
            port.Detach(&device);
        }
    }
    isOver.store(true);
    for (auto& walker : walkers) {
        walker.join();
    }
}

} // namespace
